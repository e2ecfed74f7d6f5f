// The list with its index, against a map from names to queues.
#include "ini/KvIniList.h"

#include <gtest/gtest.h>

#include <deque>
#include <map>
#include <random>
#include <string>

#include "ini/KvIniNode.h"

namespace {

KvIniEntry* append(KvIniList<KvIniEntry>& list, const std::string& name) {
    auto entry = std::make_unique<KvIniEntry>();
    EXPECT_TRUE(entry->name.copy(name.c_str()));
    return list.append(std::move(entry));
}

TEST(KvIniList, KeepsOrderAndEnds) {
    KvIniList<KvIniEntry> list;
    EXPECT_TRUE(list.empty());
    EXPECT_EQ(list.last(), nullptr);
    KvIniEntry* a = append(list, "a");
    KvIniEntry* b = append(list, "b");
    KvIniEntry* c = append(list, "c");
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
    KvIniEntry* d = append(list, "d");
    EXPECT_EQ(list.first(), d);
    EXPECT_EQ(list.last(), d);
    EXPECT_EQ(list.before(d), nullptr);
    EXPECT_EQ(list.size(), 1U);
}

TEST(KvIniList, StartsAnewAfterClear) {
    KvIniList<KvIniEntry> list;
    for (int i = 0; i < 100; ++i) {
        append(list, std::to_string(i));
    }
    EXPECT_NE(list.find(KvIniName("42"), false), nullptr);
    list.clear();
    EXPECT_EQ(list.size(), 0U);
    EXPECT_EQ(list.find(KvIniName("42"), false), nullptr);
    KvIniEntry* again = append(list, "42");
    EXPECT_EQ(list.find(KvIniName("42"), false), again);
}

// Names that meet each other often, many of them twice; first in, first out for each.
TEST(KvIniList, AlwaysFindsTheFirstOfAName) {
    std::mt19937 random(7);
    KvIniList<KvIniEntry> list;
    std::map<std::string, std::deque<KvIniEntry*>> expected;
    for (int step = 0; step < 20000; ++step) {
        const std::string name = "name" + std::to_string(random() % 1500);
        std::deque<KvIniEntry*>& alike = expected[name];
        KvIniEntry* found = list.find(KvIniName(name.c_str()), false);
        ASSERT_EQ(found, alike.empty() ? nullptr : alike.front()) << step;
        if (random() % 100 < (step / 4000 % 2 == 0 ? 70U : 30U)) {
            alike.push_back(append(list, name));
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

}  // namespace
