#include "ini/KvIniText.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "base/KvText.h"

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

KvIniText stored(const std::string& text) {
    return KvIniText::borrowed(text.c_str(), text.size());
}

TEST(KvIniName, MatchesWhatStrEqualCallsEqual) {
    // Every pair of bytes, in the part that is taken eight at a time and in the rest.
    for (const std::string frame : {"", "prefix8_", "in the middle of it"}) {
        for (int a = 1; a < 256; ++a) {
            for (int b = 1; b < 256; ++b) {
                const std::string left = frame + "<" + static_cast<char>(a) + ">" + frame;
                const std::string right = frame + "<" + static_cast<char>(b) + ">" + frame;
                for (const bool caseSensitive : {false, true}) {
                    const bool equal = Str_Equal(left.c_str(), right.c_str(), caseSensitive);
                    const KvIniName name(right.c_str());
                    ASSERT_EQ(name.matches(stored(left), caseSensitive), equal) << a << " " << b;
                    if (equal) {
                        ASSERT_EQ(name.hash(caseSensitive),
                                  KvIniName::hash(stored(left), caseSensitive));
                    }
                }
            }
        }
    }
}

TEST(KvIniName, LengthsCount) {
    EXPECT_FALSE(KvIniName("abc").matches(stored("abcd"), true));
    EXPECT_FALSE(KvIniName("abcd").matches(stored("abc"), true));
    EXPECT_FALSE(KvIniName("").matches(stored("a"), true));
    EXPECT_TRUE(KvIniName("").matches(stored(""), true));
}

TEST(KvIniName, IsTrimmedWhileTheStoredNameIsNot) {
    EXPECT_TRUE(KvIniName(" \r\n\t\fa b \f").matches(stored("a b"), true));
    EXPECT_FALSE(KvIniName("a").matches(stored(" a"), true));
    EXPECT_FALSE(KvIniName("\va").matches(stored("a"), true));
    EXPECT_TRUE(KvIniName(nullptr).empty());
    EXPECT_TRUE(KvIniName(" \t").empty());
}

TEST(KvIniName, AStoredNameEndsAtItsNul) {
    const KvIniText name = KvIniText::borrowed("a\0b", 3);
    EXPECT_TRUE(KvIniName("A").matches(name, false));
    EXPECT_EQ(KvIniName("A").hash(false), KvIniName::hash(name, false));
    EXPECT_TRUE(KvIniName::equal(name, stored("a"), false));
    EXPECT_FALSE(KvIniName::equal(name, stored("ab"), false));
}

}  // namespace
