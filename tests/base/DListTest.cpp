#include "base/DList.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <iterator>
#include <type_traits>
#include <vector>

namespace {

// Twenty things to point at; `at(i)` is a pointer to the i-th.
int s_things[20] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19};

void* at(int i) {
    return &s_things[i];
}

void fill(DList& list, const std::vector<int>& things) {
    for (const int thing : things) {
        ASSERT_GE(list.Add(at(thing)), 0);
    }
}

std::vector<int> contents(const DList& list) {
    std::vector<int> things;
    for (int i = 0; i < list.count; ++i) {
        things.push_back(*static_cast<int*>(list.items[i]));
    }
    return things;
}

using Things = std::vector<int>;

TEST(DList, IsEmptyAtFirst) {
    const DList list;
    EXPECT_EQ(list.items, nullptr);
    EXPECT_EQ(list.capacity, 0);
    EXPECT_EQ(list.count, 0);
    EXPECT_FALSE(list.Has(at(0)));
}

TEST(DList, FieldsStandInTheirOrder) {
    const DList list;
    const void* fields[] = {&list.items, &list.capacity, &list.count};
    EXPECT_TRUE(std::is_sorted(std::begin(fields), std::end(fields)));
    EXPECT_TRUE((std::is_same_v<decltype(list.items), void**>));
    EXPECT_TRUE((std::is_same_v<decltype(list.capacity), int32_t>));
    EXPECT_TRUE((std::is_same_v<decltype(list.count), int32_t>));
}

// Says the same as its base, but in its own way: it is only heard where the base is virtual.
class Louder : public DList {
  public:
    int Add(void* /*p*/) { return 99; }
    int Remove(void* /*p*/) { return 99; }
    void* Remove(int /*index*/) { return this; }
    int Merge(void* /*p*/) { return 99; }
    [[nodiscard]] bool Has(const void* /*p*/) const { return true; }
};

TEST(DList, OnlyTheDestructorIsVirtual) {
    EXPECT_TRUE(std::has_virtual_destructor_v<DList>);
    Louder louder;
    DList& list = louder;
    EXPECT_FALSE(list.Has(at(1)));
    EXPECT_EQ(list.Add(at(1)), 0);
    EXPECT_EQ(list.Merge(at(2)), 1);
    EXPECT_EQ(list.Remove(at(1)), 0);
    EXPECT_EQ(list.Remove(0), at(2));
}

TEST(DList, GrowsByEightSlots) {
    DList list;
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(list.Add(at(i)), i);
        EXPECT_EQ(list.capacity, i < 8 ? 8 : i < 16 ? 16 : 24);
        EXPECT_EQ(list.count, i + 1);
    }
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(list.items[i], at(i));
    }
}

TEST(DList, RefusesNull) {
    DList list;
    EXPECT_EQ(list.Add(nullptr), -1);
    EXPECT_EQ(list.items, nullptr);
    fill(list, {1});
    EXPECT_EQ(list.Add(nullptr), -1);
    EXPECT_EQ(list.Merge(nullptr), -1);
    EXPECT_EQ(list.Remove(static_cast<void*>(nullptr)), -1);
    EXPECT_FALSE(list.Has(nullptr));
    EXPECT_EQ(contents(list), Things({1}));
}

TEST(DList, StaysAsItWasWhenItCannotGrow) {
    DList list;
    fill(list, {1, 2});
    void** items = list.items;
    list.count = list.capacity = INT32_MAX - 7;  // no room for eight more slots in its numbers
    EXPECT_EQ(list.Add(at(3)), -1);
    EXPECT_EQ(list.items, items);
    EXPECT_EQ(list.capacity, INT32_MAX - 7);
    EXPECT_EQ(list.count, INT32_MAX - 7);

    list.count = 2;
    list.capacity = 8;
    EXPECT_EQ(contents(list), Things({1, 2}));
}

TEST(DList, RemovesTheFirstOccurrence) {
    DList list;
    fill(list, {1, 2, 3, 2, 4});
    EXPECT_EQ(list.Remove(at(2)), 1);
    EXPECT_EQ(contents(list), Things({1, 3, 2, 4}));
    EXPECT_EQ(list.Remove(at(2)), 2);
    EXPECT_EQ(list.Remove(at(2)), -1);
    EXPECT_EQ(contents(list), Things({1, 3, 4}));
    EXPECT_EQ(list.capacity, 8);
}

TEST(DList, RemovesASlot) {
    DList list;
    fill(list, {1, 2, 3});
    EXPECT_EQ(list.Remove(1), at(2));
    EXPECT_EQ(contents(list), Things({1, 3}));
    for (const int index : {-1, 2, 99, INT_MAX, INT_MIN}) {
        EXPECT_EQ(list.Remove(index), nullptr);
    }
    EXPECT_EQ(contents(list), Things({1, 3}));
    EXPECT_EQ(list.Remove(1), at(3));
    EXPECT_EQ(list.Remove(0), at(1));
    EXPECT_EQ(list.Remove(0), nullptr);
    EXPECT_EQ(list.items, nullptr) << "no array while the list is empty";
    EXPECT_EQ(list.capacity, 0);
}

TEST(DList, HasWhatWasAdded) {
    DList list;
    fill(list, {1, 2});
    EXPECT_TRUE(list.Has(at(1)));
    EXPECT_TRUE(list.Has(at(2)));
    EXPECT_FALSE(list.Has(at(3)));
}

TEST(DList, MergesOnlyWhatIsNotThere) {
    DList list;
    EXPECT_EQ(list.Merge(at(1)), 0);
    EXPECT_EQ(list.Merge(at(2)), 1);
    EXPECT_EQ(list.Merge(at(1)), 0);
    EXPECT_EQ(contents(list), Things({1, 2}));
}

TEST(DList, TakesOverOtherLists) {
    DList list;
    DList other;
    fill(list, {1, 2, 3});
    fill(other, {3, 4, 4});

    list.AddList(&other);
    EXPECT_EQ(contents(list), Things({1, 2, 3, 3, 4, 4}));
    list.RemoveList(&other);
    EXPECT_EQ(contents(list), Things({1, 2, 3})) << "3 goes once, 4 twice";
    list.MergeList(&other);
    EXPECT_EQ(contents(list), Things({1, 2, 3, 4}));
    EXPECT_EQ(contents(other), Things({3, 4, 4}));
}

TEST(DList, NullAndEmptyListsChangeNothing) {
    DList list;
    const DList empty;
    fill(list, {1, 2});
    for (const DList* other : {static_cast<const DList*>(nullptr), &empty}) {
        list.AddList(other);
        list.MergeList(other);
        list.RemoveList(other);
        EXPECT_EQ(contents(list), Things({1, 2}));
    }
}

TEST(DList, TheOtherListMayBeTheListItself) {
    DList list;
    fill(list, {1, 2, 1});
    list.AddList(&list);
    EXPECT_EQ(contents(list), Things({1, 2, 1, 1, 2, 1}));
    list.MergeList(&list);
    EXPECT_EQ(list.count, 6);
    list.RemoveList(&list);
    EXPECT_EQ(list.count, 0);
}

int byThing(const void* left, const void* right) {
    return **static_cast<int* const*>(left) - **static_cast<int* const*>(right);
}

TEST(DList, SortsInPlace) {
    DList list;
    fill(list, {5, 3, 9, 1, 3, 7, 0, 8, 2, 6});
    list.qSort(byThing);
    EXPECT_EQ(contents(list), Things({0, 1, 2, 3, 3, 5, 6, 7, 8, 9}));
    list.qSort(nullptr);
    EXPECT_EQ(list.count, 10);

    DList empty;
    empty.qSort(byThing);
    EXPECT_EQ(empty.count, 0);
}

TEST(DList, ClearFreesTheArray) {
    DList list;
    fill(list, {1, 2, 3});
    list.Clear();
    EXPECT_EQ(list.items, nullptr);
    EXPECT_EQ(list.capacity, 0);
    EXPECT_EQ(list.count, 0);
    list.Clear();
    fill(list, {4});
    EXPECT_EQ(contents(list), Things({4}));
}

TEST(DList, OwnsOnlyItsArray) {
    int thing = 7;
    {
        DList list;
        list.Add(&thing);
    }
    EXPECT_EQ(thing, 7);
}

}  // namespace
