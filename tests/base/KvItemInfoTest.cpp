#include "base/KvItemInfo.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <type_traits>

namespace {

TEST(KvItemInfo, FieldsStandInTheOrderOfTheItemSectionAndTheSelectorsLast) {
    const size_t offsets[] = {
        offsetof(tag_ItemInfo, itemClass),     offsetof(tag_ItemInfo, type),
        offsetof(tag_ItemInfo, originVersion), offsetof(tag_ItemInfo, resultVersion),
        offsetof(tag_ItemInfo, forceUpdate),   offsetof(tag_ItemInfo, destination),
        offsetof(tag_ItemInfo, zipFile),       offsetof(tag_ItemInfo, firstSelector),
        offsetof(tag_ItemInfo, secondSelector)};
    for (size_t i = 0; i + 1 < std::size(offsets); ++i) {
        EXPECT_LT(offsets[i], offsets[i + 1]);
    }
    EXPECT_EQ(offsetof(tag_ItemInfo, originVersion), 8u);
    EXPECT_EQ(offsetof(tag_ItemInfo, forceUpdate), 32u);
    EXPECT_TRUE(std::is_trivial_v<tag_ItemInfo>) << "records are zeroed and copied as bytes";
}

struct ExpandRow {
    uint32_t itemClass;
    uint32_t type;
    uint32_t first;
    uint32_t second;
    bool expandable;
};

TEST(KvItemInfo, AnItemForAllTypesIsExpandable) {
    constexpr uint32_t all = 0xFFFFFFFF;
    const ExpandRow rows[] = {
        {1, all, 0, 0, true},    {2, all, 0, 0, true},    {3, all, 0, 0, true},
        {0, all, 0, 0, true},    {9, all, 0, 0, true},    {1, 5, 0, 0, false},
        {2, 5, 0, 0, false},     {3, 5, 0, 0, false},     {1, 5, all, 0, true},
        {1, 5, 0, all, true},    {1, 5, all, all, true},  {9, 5, all, 0, true},
        {2, 5, all, all, false}, {3, 5, all, all, false}, {1, all - 1, all - 1, 7, false},
        {0, 0, 0, all, true},
    };
    for (const ExpandRow& row : rows) {
        tag_ItemInfo item{};
        item.itemClass = row.itemClass;
        item.type = row.type;
        item.firstSelector = row.first;
        item.secondSelector = row.second;
        EXPECT_EQ(IsExpandableItem(&item), row.expandable) << row.itemClass << " " << row.type;
    }
}

TEST(KvItemInfo, NullIsNotExpandable) {
    EXPECT_FALSE(IsExpandableItem(nullptr));
}

}  // namespace
