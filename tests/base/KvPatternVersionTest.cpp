#include <gtest/gtest.h>

#include <climits>
#include <cstdio>
#include <string>

#include "base/KvVersion.h"
#include "tests/support/GuardedBuffer.h"

namespace {

TEST(KvPatternVersion, EveryOldNumberHasItsNewOne) {
    for (unsigned old = 0; old <= 999; ++old) {
        char text[16];
        snprintf(text, sizeof(text), "1%03u00", old);
        ASSERT_EQ(std::to_string(OldPatternVersionToNew(old)), text);
        ASSERT_EQ(NewPatternVersionToOld(OldPatternVersionToNew(old)), old);
        ASSERT_EQ(NewPatternVersionToOld(old), old) << "is old already";
    }
}

TEST(KvPatternVersion, ANewNumberStaysAsItIs) {
    for (const unsigned number : {1000u, 1001u, 100000u, 112300u, 199900u, UINT_MAX}) {
        EXPECT_EQ(OldPatternVersionToNew(number), number);
    }
    EXPECT_EQ(OldPatternVersionToNew(999), 199900u);
}

TEST(KvPatternVersion, TheOldNumberIsThreeDigitsOfTheNewOne) {
    const auto byDigits = [](unsigned number) {
        std::string digits = std::to_string(number);
        digits.resize(digits.size() - 2);
        return std::stoul(digits.size() > 3 ? digits.substr(digits.size() - 3) : digits);
    };
    for (unsigned number = 1000; number < 300000; number += 7) {
        ASSERT_EQ(NewPatternVersionToOld(number), byDigits(number)) << number;
    }
    EXPECT_EQ(NewPatternVersionToOld(112300), 123u);
    EXPECT_EQ(NewPatternVersionToOld(1000), 10u);
    EXPECT_EQ(NewPatternVersionToOld(UINT_MAX), 672u);
}

TEST(KvPatternVersion, PrintsAndReadsNumbers) {
    for (const int number : {0, 1, 999, 112300, -1, INT_MAX, INT_MIN}) {
        char text[16];
        const std::string expected = std::to_string(number);
        EXPECT_EQ(PatternVersionToString(number, text, sizeof(text)),
                  static_cast<int>(expected.size()));
        EXPECT_EQ(text, expected);
        EXPECT_EQ(StringToPatternVersion(text), number);
    }
    EXPECT_EQ(StringToPatternVersion(" 12x"), 12);
    EXPECT_EQ(StringToPatternVersion("x"), 0);
    EXPECT_EQ(StringToPatternVersion(""), 0);
    EXPECT_EQ(StringToPatternVersion(nullptr), 0);
}

TEST(KvPatternVersion, PrintingStaysWithinTheBuffer) {
    const std::string full("112300");
    for (size_t size = 1; size <= 8; ++size) {
        GuardedBuffer buffer(size);
        EXPECT_EQ(PatternVersionToString(112300, buffer.data(), buffer.size()), 6);
        EXPECT_EQ(buffer.data(), full.substr(0, size - 1));
        EXPECT_TRUE(buffer.isIntact());
    }
    GuardedBuffer none(0);
    EXPECT_EQ(PatternVersionToString(1, none.data(), 0), 0);
    EXPECT_EQ(PatternVersionToString(1, none.data(), -1), 0);
    EXPECT_EQ(PatternVersionToString(1, nullptr, 10), 0);
    EXPECT_TRUE(none.isIntact());
}

TEST(KvPatternVersion, AtMostOneBitIsOnePattern) {
    EXPECT_TRUE(isOnlyOnePatternType(0));
    for (int i = 0; i < 32; ++i) {
        EXPECT_TRUE(isOnlyOnePatternType(1u << i));
        for (int j = 0; j < i; ++j) {
            EXPECT_FALSE(isOnlyOnePatternType((1u << i) | (1u << j)));
        }
    }
    EXPECT_FALSE(isOnlyOnePatternType(UINT_MAX));
}

}  // namespace
