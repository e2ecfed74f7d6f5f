#include "ini/KvIniPool.h"

#include <gtest/gtest.h>

#include <set>

namespace {

// Tells how many of its kind live.
struct Counted {
    Counted() { ++living; }
    ~Counted() { --living; }
    Counted(const Counted&) = delete;
    Counted& operator=(const Counted&) = delete;

    Counted* next = nullptr;
    int content = 0;
    static int living;
};
int Counted::living = 0;

TEST(KvIniPool, MakesNodesThatStayWhereTheyAre) {
    KvIniPool<Counted> pool;
    std::set<Counted*> nodes;
    for (int i = 0; i < 5000; ++i) {
        Counted* node = pool.make();
        ASSERT_TRUE(nodes.insert(node).second);
        node->content = i;
    }
    int sum = 0;
    for (const Counted* node : nodes) {
        sum += node->content;
    }
    EXPECT_EQ(sum, 4999 * 5000 / 2);
}

TEST(KvIniPool, UsesAgainWhatIsGivenBackAsNew) {
    KvIniPool<Counted> pool;
    Counted* first = pool.make();
    Counted* second = pool.make();
    first->content = 7;
    pool.giveBack(first);
    pool.giveBack(second);
    EXPECT_EQ(pool.make(), second);
    Counted* again = pool.make();
    EXPECT_EQ(again, first);
    EXPECT_EQ(again->content, 0);
    EXPECT_EQ(again->next, nullptr);
}

TEST(KvIniPool, DestroysEveryNodeOnce) {
    {
        KvIniPool<Counted> pool;
        for (int i = 0; i < 100; ++i) {
            Counted* node = pool.make();
            if (i % 3 == 0) {
                pool.giveBack(node);
            }
        }
    }
    EXPECT_EQ(Counted::living, 0);
}

}  // namespace
