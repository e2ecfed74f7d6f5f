#include "base/KvVersion.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdio>
#include <iterator>
#include <string>

#include "tests/support/GuardedBuffer.h"

namespace {

constexpr const char* kNull = nullptr;

struct VersionRow {
    const char* text;
    uint32_t version;
    uint32_t build;
};

const VersionRow kVersions[] = {
    {"5.2", 0x00052000, 0},
    {"5.02", 0x00050200, 0},
    {"5.1234", 0x00051234, 0},
    {"5.12345", 0x00051234, 0},
    {"6", 0x00060000, 0},
    {"5.10", 0x00051000, 0},
    {"5.9", 0x00059000, 0},
    {"5.0", 0x00050000, 0},
    {"", 0, 0},
    {".", 0, 0},
    {".5", 0x00005000, 0},
    {"5.", 0x00050000, 0},
    {"5.x", 0x00050000, 0},
    {"5.1x2", 0x00051000, 0},
    {"5.ab", 0x00050000, 0},
    {"x.1", 0x00001000, 0},
    {" 7.1", 0x00071000, 0},
    {"65535.9999", 0xFFFF9999, 0},
    {"65536.1", 0x00001000, 0},
    {"-1.1", 0xFFFF1000, 1},
    {"5.2.1234", 0x00052000, 1234},
    {"5.2-1234", 0x00052000, 1234},
    {"5.2.1.7", 0x00052000, 1},
    {"1.2.3-4", 0x00012000, 3},
    {"1.2-3.4", 0x00012000, 4},
    {"1.2.", 0x00012000, 0},
    {"1.2. ", 0x00012000, 0},
    {"1.2-7.", 0x00012000, 7},
    {"1-7.2.", 0x00012000, 7},
    {"1.2-7. ", 0x00012000, 0},  // a blank makes a third piece
    {"1.2.-4", 0x00012000, 0xFFFFFFFC},
    {"1.2..7", 0x00012000, 0},
    {"1..7", 0x00010000, 7},
    {"..7", 0, 7},
    {"1.2. 7 ", 0x00012000, 7},
    {"1.2- 7\t", 0x00012000, 7},
    {"1.2-", 0x00012000, 0},
    {"1.2-5-6", 0x00012000, 5},
    {"1.2--6", 0x00012000, 0},
    {"-6", 0xFFFA0000, 6},
    {"1-6", 0x00010000, 6},
    {"1.2.x", 0x00012000, 0},
    {"1.2.4294967295", 0x00012000, 0xFFFFFFFF},
};

TEST(KvVersion, ReadsVersionAndBuild) {
    for (const VersionRow& row : kVersions) {
        EXPECT_EQ(MakeVersion(row.text), row.version) << row.text;
        const tag_Version version = MakeVersionBuild(row.text);
        EXPECT_EQ(version.version, row.version) << row.text;
        EXPECT_EQ(version.build, row.build) << row.text;
        EXPECT_EQ(version.reserved, 0u);
    }
}

TEST(KvVersion, NullIsNoVersion) {
    EXPECT_EQ(MakeVersion(kNull), 0u);
    for (const unsigned cls : {0u, 1u, 2u, 3u}) {
        const tag_Version version = MakeVersionByClass(kNull, cls);
        EXPECT_EQ(version.version, 0u);
        EXPECT_EQ(version.build, 0u);
        EXPECT_EQ(version.reserved, 0u);
    }
}

TEST(KvVersion, OverlongTextsAreRead) {
    const std::string digits(100000, '1');
    EXPECT_EQ(MakeVersion(("5." + digits).c_str()), 0x00051111u);
    EXPECT_EQ(MakeVersionBuild(("5.2." + std::string(100000, ' ') + "7").c_str()).build, 7u);
    EXPECT_EQ(MakeVersionBuild((std::string(100000, '0') + "5.2").c_str()).version, 0x00052000u);
}

TEST(KvVersion, APatternIsOnePlainNumber) {
    EXPECT_EQ(MakeVersionByClass("112300", 3).version, 112300u);
    EXPECT_EQ(MakeVersionByClass("112300", 3).build, 0u);
    EXPECT_EQ(MakeVersionByClass("5.2.7", 3).version, 5u);
    EXPECT_EQ(MakeVersionByClass("5.2.7", 3).build, 0u);
    EXPECT_EQ(MakeVersionByClass("-1", 3).version, 0xFFFFFFFFu);
    for (const unsigned cls : {0u, 1u, 2u, 4u, UINT_MAX}) {
        EXPECT_EQ(MakeVersionByClass("5.2.7", cls).version, 0x00052000u);
        EXPECT_EQ(MakeVersionByClass("5.2.7", cls).build, 7u);
    }
}

struct TextRow {
    uint32_t version;
    uint32_t build;
    const char* text;
};

TEST(KvVersion, PrintsVersionAndBuild) {
    const TextRow rows[] = {
        {0x00052000, 0, "5.2"},        {0x00050000, 0, "5.0"},
        {0x00051230, 0, "5.123"},      {0x00051234, 0, "5.1234"},
        {0x00050200, 0, "5.02"},       {0, 0, "0.0"},
        {0xFFFFFFFF, 0, "65535.ffff"}, {0x00010001, 0, "1.0001"},
        {0x000A0ABC, 0, "10.0abc"},    {0x00052000, 1234, "5.2.1234"},
        {0x00050000, 1, "5.0.1"},      {0xFFFF9999, 0xFFFFFFFF, "65535.9999.4294967295"},
    };
    for (const TextRow& row : rows) {
        char text[64];
        if (row.build == 0) {
            MakeVersionString(row.version, text, sizeof(text));
            EXPECT_STREQ(text, row.text);
        }
        MakeVersionBuildString({row.version, row.build, 0}, text, sizeof(text));
        EXPECT_STREQ(text, row.text);
        MakeVersionStringByClass(kClassEngine, {row.version, row.build, 0}, text, sizeof(text));
        EXPECT_STREQ(text, row.text);
    }
}

TEST(KvVersion, EveryMinorNumberComesBackAsItWasWritten) {
    for (int minor = 0; minor <= 9999; ++minor) {
        char text[32];
        snprintf(text, sizeof(text), "3.%04d", minor);
        std::string expected(text);
        while (expected.size() > 3 && expected.back() == '0') {
            expected.pop_back();
        }
        MakeVersionString(MakeVersion(text), text, sizeof(text));
        ASSERT_EQ(expected, text);
    }
}

TEST(KvVersion, PrintsByClass) {
    char text[64];
    const tag_Version version{0x00052000, 7, 0};
    MakeVersionStringByClass(3, version, text, sizeof(text));
    EXPECT_STREQ(text, "335872");
    MakeVersionStringByClass(3, {0xFFFFFFFF, 7, 0}, text, sizeof(text));
    EXPECT_STREQ(text, "-1");
    for (const unsigned cls : {0u, 1u, 2u, 4u}) {
        MakeVersionStringByClass(cls, version, text, sizeof(text));
        EXPECT_STREQ(text, "5.2.7");
    }
}

TEST(KvVersion, PrintingStaysWithinTheBuffer) {
    const tag_Version plain{0x00051234, 0, 0};
    const tag_Version built{0x00051234, 789, 0};
    const std::string plainText("5.1234");
    const std::string builtText("5.1234.789");
    for (int size = 1; size <= 12; ++size) {
        const auto capacity = static_cast<size_t>(size);
        GuardedBuffer buffer(capacity);
        MakeVersionString(plain.version, buffer.data(), size);
        EXPECT_EQ(buffer.data(), plainText.substr(0, capacity - 1));
        MakeVersionBuildString(plain, buffer.data(), static_cast<unsigned>(size));
        EXPECT_EQ(buffer.data(), plainText.substr(0, capacity - 1));
        MakeVersionBuildString(built, buffer.data(), static_cast<unsigned>(size));
        EXPECT_EQ(buffer.data(), builtText.substr(0, capacity - 1));
        MakeVersionStringByClass(3, {112300, 0, 0}, buffer.data(), static_cast<unsigned>(size));
        EXPECT_EQ(buffer.data(), std::string("112300").substr(0, capacity - 1));
        EXPECT_TRUE(buffer.isIntact());
    }
}

TEST(KvVersion, PrintingWithoutABufferDoesNothing) {
    const tag_Version built{0x00051234, 789, 0};
    GuardedBuffer none(0);
    MakeVersionString(1, nullptr, 10);
    MakeVersionString(1, none.data(), 0);
    MakeVersionString(1, none.data(), INT_MIN);
    MakeVersionBuildString(built, nullptr, 10);
    MakeVersionBuildString(built, none.data(), 0);
    MakeVersionBuildString({1, 0, 0}, none.data(), 0);
    MakeVersionStringByClass(3, built, nullptr, 10);
    MakeVersionStringByClass(3, built, none.data(), 0);
    MakeVersionStringByClass(1, built, none.data(), 0);
    EXPECT_TRUE(none.isIntact());

    char wide[16];
    MakeVersionBuildString({0x00052000, 0, 0}, wide, sizeof(wide));
    EXPECT_STREQ(wide, "5.2");
}

TEST(KvVersion, OrdersByVersionThenBuild) {
    const tag_Version rising[] = {
        {0, 0, 0},          {0, 1, 9},          {0x00051000, 7, 0},         {0x00059000, 1, 0},
        {0x00059000, 2, 0}, {0x80000000, 0, 0}, {0x80000000, 0x80000000, 0}};
    const int count = static_cast<int>(std::size(rising));
    for (int i = 0; i < count; ++i) {
        for (int j = 0; j < count; ++j) {
            const tag_Version& a = rising[i];
            const tag_Version& b = rising[j];
            EXPECT_EQ(a < b, i < j);
            EXPECT_EQ(a > b, i > j);
            EXPECT_EQ(a <= b, i <= j);
            EXPECT_EQ(a >= b, i >= j);
            EXPECT_EQ(a == b, i == j);
            EXPECT_EQ(a != b, i != j);
        }
    }
}

TEST(KvVersion, TheReservedWordIsNeverCompared) {
    const tag_Version a{1, 2, 3};
    const tag_Version b{1, 2, 4};
    EXPECT_TRUE(a == b);
    EXPECT_FALSE(a < b);
    EXPECT_FALSE(a > b);
}

struct CompareRow {
    const char* a;
    const char* b;
    int result;
};

TEST(KvVersion, ComparesTextsWithoutTheirBuilds) {
    const CompareRow rows[] = {
        {kNull, kNull, 0},   {kNull, "", -1},       {"", kNull, 1},     {"1.0.5", "1.0.9", 0},
        {"5.10", "5.9", -1}, {"5.9", "5.10", 1},    {"5.2", "5.20", 0}, {"6", "5.9", 1},
        {"32768", "1", 1},   {"5.2-1", "5.2-2", 0}, {"", "0", 0},
    };
    for (const CompareRow& row : rows) {
        EXPECT_EQ(VersionCompare(row.a, row.b), row.result);
    }
    EXPECT_LT(MakeVersion("5.10"), MakeVersion("5.9"));
}

TEST(KvVersionPatterns, EveryOldNumberHasItsNewOne) {
    for (unsigned old = 0; old <= 999; ++old) {
        char text[16];
        snprintf(text, sizeof(text), "1%03u00", old);
        ASSERT_EQ(std::to_string(OldPatternVersionToNew(old)), text);
        ASSERT_EQ(NewPatternVersionToOld(OldPatternVersionToNew(old)), old);
        ASSERT_EQ(NewPatternVersionToOld(old), old) << "is old already";
    }
}

TEST(KvVersionPatterns, ANewNumberStaysAsItIs) {
    for (const unsigned number : {1000u, 1001u, 100000u, 112300u, 199900u, UINT_MAX}) {
        EXPECT_EQ(OldPatternVersionToNew(number), number);
    }
    EXPECT_EQ(OldPatternVersionToNew(999), 199900u);
}

TEST(KvVersionPatterns, TheOldNumberIsThreeDigitsOfTheNewOne) {
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

TEST(KvVersionPatterns, PrintsAndReadsNumbers) {
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

TEST(KvVersionPatterns, PrintingStaysWithinTheBuffer) {
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

TEST(KvVersionPatterns, AtMostOneBitIsOnePattern) {
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
