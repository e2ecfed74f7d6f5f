// The list with its index, against a map from names to queues; and the pool.
#include "ini/KvIniNode.h"

#include <gtest/gtest.h>

#include <deque>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace {

// A list with the pool that its nodes live in.
class Keys : public KvIniList<KvIniEntry> {
  public:
    KvIniEntry* append(const std::string& name) {
        KvIniEntry* entry = pool_.make();
        EXPECT_TRUE(entry->name.copy(name.c_str()));
        KvIniNodeList::append(entry);
        return entry;
    }
    void remove(KvIniEntry* entry) {
        unlink(entry);
        pool_.giveBack(entry);
    }

  private:
    KvIniPool<KvIniEntry> pool_;
};

TEST(KvIniList, KeepsOrderAndEnds) {
    Keys list;
    EXPECT_TRUE(list.empty());
    EXPECT_EQ(list.last(), nullptr);
    KvIniEntry* a = list.append("a");
    KvIniEntry* b = list.append("b");
    KvIniEntry* c = list.append("c");
    EXPECT_EQ(list.first(), a);
    EXPECT_EQ(list.last(), c);
    EXPECT_EQ(list.before(c), b);
    list.remove(b);
    EXPECT_EQ(list.before(c), a);
    EXPECT_EQ(list.after(a), c);
    list.remove(c);
    EXPECT_EQ(list.last(), a);
    list.remove(a);
    EXPECT_TRUE(list.empty());
    EXPECT_EQ(list.last(), nullptr);
    KvIniEntry* d = list.append("d");
    EXPECT_EQ(list.first(), d);
    EXPECT_EQ(list.last(), d);
    EXPECT_EQ(list.before(d), nullptr);
    EXPECT_EQ(list.size(), 1U);
}

TEST(KvIniList, StartsAnewAfterClear) {
    Keys list;
    for (int i = 0; i < 100; ++i) {
        list.append(std::to_string(i));
    }
    EXPECT_NE(list.find(KvIniName("42"), false), nullptr);
    list.clear();
    EXPECT_EQ(list.size(), 0U);
    EXPECT_EQ(list.find(KvIniName("42"), false), nullptr);
    KvIniEntry* again = list.append("42");
    EXPECT_EQ(list.find(KvIniName("42"), false), again);
}

// Names that meet each other often, many of them twice; first in, first out for each.
TEST(KvIniList, AlwaysFindsTheFirstOfAName) {
    std::mt19937 random(7);
    Keys list;
    std::map<std::string, std::deque<KvIniEntry*>> expected;
    for (int step = 0; step < 20000; ++step) {
        const std::string name = "name" + std::to_string(random() % 1500);
        std::deque<KvIniEntry*>& alike = expected[name];
        KvIniEntry* found = list.find(KvIniName(name.c_str()), false);
        ASSERT_EQ(found, alike.empty() ? nullptr : alike.front()) << step;
        if (random() % 100 < (step / 4000 % 2 == 0 ? 70U : 30U)) {
            alike.push_back(list.append(name));
        } else if (found != nullptr) {
            list.remove(found);
            alike.pop_front();
        }
    }
    for (auto& [name, alike] : expected) {
        for (; !alike.empty(); alike.pop_front()) {
            ASSERT_EQ(list.find(KvIniName(name.c_str()), false), alike.front());
            list.remove(alike.front());
        }
        ASSERT_EQ(list.find(KvIniName(name.c_str()), false), nullptr);
    }
    EXPECT_TRUE(list.empty());
}

// Questions in list order take another way than those out of order.
TEST(KvIniList, FindsTheFirstOfANameAlsoWhenAskedInOrder) {
    Keys list;
    std::vector<KvIniEntry*> entries;
    std::map<std::string, std::deque<KvIniEntry*>> alike;
    for (int i = 0; i < 300; ++i) {
        // Every third name was there before; some stand twice in a row.
        const int number = i % 3 == 0 ? i / 2 : i % 10 == 1 ? i - 1 : i;
        const std::string name = "name" + std::to_string(number);
        entries.push_back(list.append(name));
        alike[name].push_back(entries.back());
    }
    for (const KvIniEntry* each : entries) {
        const char* name = each->name.c_str();
        ASSERT_EQ(list.find(KvIniName(name), false), alike[name].front()) << name;
        ASSERT_EQ(list.find(KvIniName(name), false), alike[name].front()) << name;
    }
    while (!list.empty()) {
        const std::string name = list.first()->name.c_str();
        KvIniEntry* found = list.find(KvIniName(name.c_str()), false);
        ASSERT_EQ(found, alike[name].front()) << name;
        list.remove(found);
        alike[name].pop_front();
        KvIniEntry* next = alike[name].empty() ? nullptr : alike[name].front();
        ASSERT_EQ(list.find(KvIniName(name.c_str()), false), next) << name;
    }
}

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
