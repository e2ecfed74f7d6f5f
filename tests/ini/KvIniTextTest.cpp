#include "ini/KvIniText.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace {

TEST(KvIniText, IsTwoWordsWideAndEmptyAtFirst) {
    EXPECT_EQ(sizeof(KvIniText), 2 * sizeof(void*));
    const KvIniText text;
    EXPECT_STREQ(text.c_str(), "");
    EXPECT_EQ(text.length(), 0U);
    EXPECT_TRUE(text.empty());
}

TEST(KvIniText, BorrowsWithoutCopying) {
    const char bytes[] = "abcdef";
    const KvIniText text = KvIniText::borrowed(bytes + 1, 3);
    EXPECT_EQ(text.c_str(), bytes + 1);
    EXPECT_EQ(text.length(), 3U);
}

TEST(KvIniText, CopiesIntoABlockOfItsOwn) {
    std::string source = "text";
    KvIniText text;
    ASSERT_TRUE(text.copy(source.c_str()));
    source[0] = 'n';
    EXPECT_STREQ(text.c_str(), "text");
    ASSERT_TRUE(text.copy(text.c_str() + 2));
    EXPECT_STREQ(text.c_str(), "xt");
    ASSERT_TRUE(text.copy(nullptr));
    EXPECT_TRUE(text.empty());
    EXPECT_STREQ(text.c_str(), "");
}

TEST(KvIniText, MovesItsBlock) {
    KvIniText text;
    ASSERT_TRUE(text.copy("moved"));
    const char* block = text.c_str();
    KvIniText other(std::move(text));
    EXPECT_EQ(other.c_str(), block);
    KvIniText third;
    third = std::move(other);
    EXPECT_EQ(third.c_str(), block);
    EXPECT_EQ(third.length(), 5U);
}

TEST(KvIniText, AppendsExactlyItsBytes) {
    KvSimpleString out;
    KvIniText().appendTo(out);
    EXPECT_EQ(out.length(), 0U);
    KvIniText::borrowed("a\0b", 3).appendTo(out);
    EXPECT_EQ(std::string(out.c_str(), out.length()), std::string("a\0b", 3));
}

}  // namespace
