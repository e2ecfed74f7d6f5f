#include "ini/KvIniName.h"

#include <gtest/gtest.h>

#include <string>

#include "base/KvText.h"

namespace {

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
