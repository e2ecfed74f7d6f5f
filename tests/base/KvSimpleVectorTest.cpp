#include "base/KvSimpleVector.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <iterator>
#include <string>
#include <type_traits>
#include <vector>

namespace {

// A list of strings that shows what it holds.
class OpenVector : public KvSimpleStringVector {
  public:
    using KvSimpleStringVector::_alloc;
    using KvSimpleStringVector::_clear;
    using KvSimpleStringVector::KvSimpleStringVector;

    [[nodiscard]] uint64_t capacity() const { return capacity_; }
    [[nodiscard]] int32_t growStep() const { return growStep_; }
    [[nodiscard]] void** items() const { return items_; }

    void fill(uint64_t count) {
        while (size() < count) {
            push_back(std::to_string(size()).c_str());
        }
    }
};

TEST(KvSimpleVector, NoArrayExistsBeforeTheFirstElement) {
    OpenVector list(100, 10);
    EXPECT_EQ(list.items(), nullptr);
    EXPECT_EQ(list.size(), 0u);
    EXPECT_TRUE(list.empty());
    list.push_back("a");
    EXPECT_NE(list.items(), nullptr);
    EXPECT_FALSE(list.empty());
    EXPECT_EQ(list.capacity(), 125u) << "100 and the step, raised to a quarter of it";
}

TEST(KvSimpleVector, ASmallGrowStepBecomesFour) {
    for (int step = 0; step <= 4; ++step) {
        OpenVector list(0, step);
        EXPECT_EQ(list.growStep(), 4);
        list.push_back("a");
        EXPECT_EQ(list.capacity(), 4u);
    }
    EXPECT_EQ(OpenVector(0, 5).growStep(), 5);
    EXPECT_EQ(OpenVector(0, -1).growStep(), -1);
    EXPECT_EQ(OpenVector(0, INT_MIN).growStep(), INT_MIN);
}

TEST(KvSimpleVector, TheGrowStepIsRaisedForGoodToAQuarterOfTheCapacity) {
    OpenVector list(0, 4);
    list.fill(16);
    EXPECT_EQ(list.capacity(), 16u);
    EXPECT_EQ(list.growStep(), 4);
    list.fill(20);
    EXPECT_EQ(list.capacity(), 20u);
    EXPECT_EQ(list.growStep(), 4);  // 16 / 4
    list.fill(21);
    EXPECT_EQ(list.capacity(), 25u);
    EXPECT_EQ(list.growStep(), 5);  // 20 / 4
    list.clear();
    EXPECT_EQ(list.growStep(), 5);
}

TEST(KvSimpleVector, ANegativeGrowStepStillFindsRoomForEveryElement) {
    for (const int capacity : {0, 2, 100}) {
        OpenVector list(capacity, -8);
        list.fill(300);
        for (size_t i = 0; i < 300; ++i) {
            EXPECT_STREQ(list[i].c_str(), std::to_string(i).c_str());
        }
    }
    OpenVector two(2, -8);
    two.push_back("a");
    EXPECT_EQ(two.capacity(), 2u);
}

TEST(KvSimpleVector, ANegativeCapacityCountsAsNone) {
    OpenVector list(-5, 4);
    EXPECT_EQ(list.capacity(), 0u);
    list.push_back("a");
    EXPECT_EQ(list.capacity(), 4u);
}

TEST(KvSimpleVector, KeepsCopiesInOrder) {
    OpenVector list(0, 0);
    KvSimpleString text("first");
    list.push_back(text);
    text = "changed";
    list.fill(500);
    EXPECT_STREQ(list[0].c_str(), "first");
    const OpenVector& reading = list;
    EXPECT_STREQ(reading[499].c_str(), "499");
    list[3] = "new";
    EXPECT_STREQ(reading[3].c_str(), "new");
    EXPECT_EQ(list.size(), 500u);
}

TEST(KvSimpleVector, AnElementOfTheListMayBePushed) {
    OpenVector list(0, 4);
    list.push_back("a");
    for (int i = 0; i < 100; ++i) {
        list.push_back(list[0]);  // several times with the array full
    }
    EXPECT_EQ(list.size(), 101u);
    EXPECT_STREQ(list[100].c_str(), "a");
}

TEST(KvSimpleVector, PastTheEndStandsAnEmptyString) {
    OpenVector list(0, 0);
    EXPECT_STREQ(list[0].c_str(), "");
    list.push_back("a");
    list[7] = "lost";
    EXPECT_STREQ(list[1].c_str(), "");
    EXPECT_STREQ(static_cast<const OpenVector&>(list)[SIZE_MAX].c_str(), "");
    EXPECT_EQ(list.size(), 1u);
}

TEST(KvSimpleVector, ClearDeletesElementsAndArray) {
    OpenVector list(0, 0);
    list.fill(50);
    list.clear();  // a leak here is reported by the sanitizer
    EXPECT_TRUE(list.empty());
    EXPECT_EQ(list.items(), nullptr);
    list.clear();
    list.fill(2);
    EXPECT_STREQ(list[1].c_str(), "1");
}

TEST(KvSimpleVector, ClearWithoutTheElementsFreesOnlyTheArray) {
    OpenVector list(0, 0);
    list.push_back("kept");
    auto* element = &list[0];
    list._clear(false);
    EXPECT_EQ(list.size(), 0u);
    EXPECT_EQ(list.items(), nullptr);
    EXPECT_STREQ(element->c_str(), "kept");
    delete element;
}

TEST(KvSimpleVector, AClearedListStartsFromItsGrowStepAlone) {
    OpenVector list(100, 5);
    list.push_back("a");
    EXPECT_EQ(list.growStep(), 25);
    list.clear();
    EXPECT_EQ(list.capacity(), 0u) << "not even the 100 stay";
    list.push_back("a");
    EXPECT_EQ(list.capacity(), 25u);

    OpenVector raised(0, 4);
    raised.fill(21);
    ASSERT_EQ(raised.growStep(), 5);
    raised.clear();
    EXPECT_EQ(raised.capacity(), 0u);
    raised.push_back("a");
    EXPECT_EQ(raised.capacity(), 5u);
}

TEST(KvSimpleVector, ClearingAndFillingAgainDoesNotGrowTheArray) {
    OpenVector list(16, 4);
    list.fill(20);
    const uint64_t first = list.capacity();
    for (int round = 0; round < 50; ++round) {
        list.clear();
        list.fill(20);
    }
    EXPECT_LE(list.capacity(), first + 5);
}

TEST(KvSimpleVector, AllocMovesTheOldPointersIntoZeroedSlots) {
    OpenVector list(0, 0);
    list.fill(2);
    auto* second = &list[1];
    list._alloc(64);
    EXPECT_EQ(list.size(), 0u) << "the caller restores it";
    EXPECT_EQ(list.capacity(), 64u);
    EXPECT_EQ(list.items()[1], second);
    for (int i = 2; i < 64; ++i) {
        EXPECT_EQ(list.items()[i], nullptr);
    }
    delete static_cast<KvSimpleString*>(list.items()[0]);
    delete second;
}

TEST(KvSimpleVector, WithoutMemoryTheListStaysAsItWas) {
    OpenVector list(0, 0);
    list.push_back("a");
    list._alloc(ULONG_MAX / 16);
    EXPECT_EQ(list.size(), 1u);
    EXPECT_EQ(list.capacity(), 4u);
    EXPECT_STREQ(list[0].c_str(), "a");
}

// Notes every clearing of its list: whether the elements were to go, too.
class WatchedVector : public KvSimpleStringVector {
  public:
    WatchedVector() : KvSimpleStringVector(0, 4) {}
    std::vector<bool> clearings;

  protected:
    void _clear(bool deleteElements) override {
        clearings.push_back(deleteElements);
        KvSimpleStringVector::_clear(deleteElements);
    }
};

TEST(KvSimpleVector, GrowingFreesTheOldArrayThroughTheVirtualOperation) {
    WatchedVector list;
    for (int i = 0; i < 4; ++i) {
        list.push_back("a");
    }
    list.clearings.clear();
    list.push_back("b");
    EXPECT_EQ(list.clearings, std::vector<bool>({false})) << "the array alone";
    EXPECT_EQ(list.size(), 5u);
    EXPECT_STREQ(list[0].c_str(), "a");
}

// Records which of its virtual operations ran.
class Recorder : public KvSimpleVector {
  public:
    Recorder() : KvSimpleVector(7, 9) {}

    // The addresses of the fields must rise in the order capacity, grow step, size, array.
    [[nodiscard]] bool fieldsInOrder() const {
        const void* fields[] = {&capacity_, &growStep_, &size_, &items_};
        return std::is_sorted(std::begin(fields), std::end(fields)) && capacity_ == 7 &&
               growStep_ == 9;
    }
    static_assert(std::is_same_v<decltype(capacity_), uint64_t> &&
                  std::is_same_v<decltype(growStep_), int32_t> &&
                  std::is_same_v<decltype(size_), uint64_t>);

    bool cleared = false;
    unsigned long allocated = 0;

  protected:
    void _clear(bool deleteElements) override { cleared = deleteElements; }
    void _alloc(unsigned long newCapacity) override { allocated = newCapacity; }
};

TEST(KvSimpleVector, FieldsStandInTheirOrder) {
    EXPECT_TRUE(Recorder().fieldsInOrder());
}

TEST(KvSimpleVector, ClearGoesThroughTheVirtualOperation) {
    Recorder list;
    list.clear();
    EXPECT_TRUE(list.cleared);
}

TEST(KvSimpleVector, VirtualOperationsStandInTheirSlots) {
    // A virtual destructor takes the slots 0 and 1 of the table.
    using Clear = void (*)(KvSimpleVector*, bool);
    using Alloc = void (*)(KvSimpleVector*, unsigned long);
    Recorder list;
    void** table = nullptr;
    memcpy(&table, static_cast<const void*>(&list), sizeof(table));

    reinterpret_cast<Clear>(table[2])(&list, true);
    EXPECT_TRUE(list.cleared);
    reinterpret_cast<Alloc>(table[3])(&list, 42);
    EXPECT_EQ(list.allocated, 42u);
}

}  // namespace
