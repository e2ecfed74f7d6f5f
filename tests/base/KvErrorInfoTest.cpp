#include "base/KvErrorInfo.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace {

TEST(KvErrorInfo, IsTwoNumbersATextAndTwoNumbers) {
    static_assert(offsetof(tag_ErrorInfo, category) == 0);
    static_assert(offsetof(tag_ErrorInfo, combinedCode) == 4);
    static_assert(offsetof(tag_ErrorInfo, text) == 8);
    static_assert(sizeof(tag_ErrorInfo::text) == 1024);
    static_assert(offsetof(tag_ErrorInfo, firstDetail) == 1032);
    static_assert(offsetof(tag_ErrorInfo, secondDetail) == 1036);
    EXPECT_EQ(sizeof(tag_ErrorInfo), 1040u);
}

TEST(KvErrorInfo, CombinesCategoryAndCode) {
    struct Row {
        unsigned short category;
        unsigned short code;
        uint32_t combined;
    };
    const Row rows[] = {{0, 0, 0},
                        {1, 2, 0x00010002},
                        {0xFFFF, 0xFFFF, 0xFFFFFFFF},
                        {0x8000, 0, 0x80000000},
                        {0, 0xFFFF, 0x0000FFFF}};
    for (const Row& row : rows) {
        tag_ErrorInfo info;
        memset(&info, 0x7E, sizeof(info));
        MakeErrorInfo(&info, row.category, row.code);
        EXPECT_EQ(info.category, row.category);
        EXPECT_EQ(info.combinedCode, row.combined);
        EXPECT_EQ(info.firstDetail, 0u);
        EXPECT_EQ(info.secondDetail, 0u);
        EXPECT_TRUE(std::all_of(std::begin(info.text), std::end(info.text),
                                [](char ch) { return ch == '\0'; }));
    }
}

TEST(KvErrorInfo, NullIsLeftAlone) {
    tag_ErrorInfo* none = nullptr;
    MakeErrorInfo(none, 1, 2);
    EXPECT_EQ(none, nullptr);
}

}  // namespace
