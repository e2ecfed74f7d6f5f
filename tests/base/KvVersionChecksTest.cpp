// Component classes, engines and the small checks of settings.
#include <gtest/gtest.h>

#include <iterator>
#include <string>

#include "base/KvVersion.h"
#include "tests/support/CodePage.h"

namespace {

constexpr const char* kNull = nullptr;

struct CheckRow {
    const char* text;
    bool version;
    bool number;
};

TEST(KvVersionChecks, VersionsAndNumbers) {
    const CheckRow rows[] = {
        {"5.2", true, false},    {"0.0", true, false},   {"05.20", true, false},
        {"5", false, true},      {".5", false, false},   {"5.", false, false},
        {"5.2.1", false, false}, {"5a.2", false, false}, {"5.2a", false, false},
        {"", false, false},      {".", false, false},    {"..", false, false},
        {"5..2", false, false},  {" 5.2", false, false}, {"5.2 ", false, false},
        {"-5.2", false, false},  {"0", false, true},     {"0123456789", false, true},
        {"-1", false, false},    {"1 ", false, false},   {"1x", false, false},
        {kNull, false, false},
    };
    for (const CheckRow& row : rows) {
        EXPECT_EQ(isValidVersion(row.text), row.version) << (row.text ? row.text : "null");
        EXPECT_EQ(isValidNumber(row.text), row.number) << (row.text ? row.text : "null");
    }
    const std::string digits(100000, '7');
    EXPECT_TRUE(isValidNumber(digits.c_str()));
    EXPECT_TRUE(isValidVersion((digits + "." + digits).c_str()));
}

struct HexRow {
    const char* text;
    unsigned value;
};

TEST(KvVersionChecks, HexadecimalDigitsUpToTheFirstOtherCharacter) {
    const HexRow rows[] = {
        {"0", 0},
        {"9", 9},
        {"a", 10},
        {"f", 15},
        {"A", 10},
        {"F", 15},
        {"10", 16},
        {"fF", 255},
        {"12g4", 0x12},
        {"g", 0},
        {"", 0},
        {"0x12", 0},
        {" 1", 0},
        {"-1", 0},
        {"1 2", 1},
        {"ffffffff", 0xFFFFFFFF},
        {"123456789", 0x23456789},
        {"@", 0},
        {"`", 0},
        {"G", 0},
        {":", 0},
        {"/", 0},
        {kNull, 0},
        {"0123456789abcdefABCDEF", 0xEFABCDEF},
    };
    for (const HexRow& row : rows) {
        EXPECT_EQ(xa2ui(row.text), row.value) << (row.text ? row.text : "null");
    }
}

TEST(KvVersionChecks, HttpsLevelsAreZeroOneAndTwo) {
    EXPECT_TRUE(IsValidHttpsLevel(0));
    EXPECT_TRUE(IsValidHttpsLevel(1));
    EXPECT_TRUE(IsValidHttpsLevel(2));
    EXPECT_FALSE(IsValidHttpsLevel(3));
    EXPECT_FALSE(IsValidHttpsLevel(0xFFFFFFFF));
}

struct PathRow {
    const char* a;
    const char* b;
    bool ignoreSeparatorKind;
    bool ignoreCase;
    int result;
};

TEST(KvVersionChecks, ComparesPathsWithEitherSeparator) {
    const PathRow rows[] = {
        {"a/b", "a\\b", true, false, 0},  {"a/b", "a\\b", false, false, '/' - '\\'},
        {"A/b", "a\\B", true, true, 0},   {"A/b", "a/b", true, false, 'A' - 'a'},
        {"A/b", "a/b", false, true, 0},   {"a\\", "a/b", true, false, -'b'},
        {"\\\\x", "//x", true, false, 0}, {"", "", true, true, 0},
        {"a", "b", true, true, -1},       {kNull, kNull, true, true, 0},
        {kNull, "", true, false, -1},     {kNull, "", false, false, -1},
        {"", kNull, true, false, 1},      {"", kNull, false, true, 1},
    };
    for (const PathRow& row : rows) {
        EXPECT_EQ(Str_Comp_Ex(row.a, row.b, row.ignoreSeparatorKind, row.ignoreCase), row.result);
    }
}

TEST(KvVersionChecks, EveryBackslashCountsAsASeparatorWhateverTheCodePage) {
    const CodePage japanese(932);
    EXPECT_EQ(Str_Comp_Ex("\x83\\", "\x83/", true, false), 0);
    const std::string many(100000, '\\');
    EXPECT_EQ(Str_Comp_Ex(many.c_str(), std::string(100000, '/').c_str(), true, false), 0);
    EXPECT_EQ(many, std::string(100000, '\\')) << "the caller's text is left alone";
}

// In the order in which the table is searched.
constexpr EngineSection kExpected[] = {
    {"Path_ZELTA32_95", 0x1},          {"Path_ZELTA32_VXD", 0x2},
    {"Path_ZELTA32_NT_I386", 0x4},     {"Path_ZELTA32_NT_ALPHA", 0x8},
    {"Path_ZELTA32_NT_KD", 0x10},      {"Path_ZELTA32_NLM", 0x20},
    {"Path_ZELTA32_OS2", 0x40},        {"Path_ZELTA32_DOS4G", 0x80},
    {"Path_ZELTA32_SOLARIS", 0x100},   {"Path_ZELTA32_HPUX", 0x200},
    {"Path_ZELTA32_AIX", 0x400},       {"Path_ZELTA16", 0x800},
    {"Path_PREZELTA32_95", 0x1000},    {"Path_PREZELTA32_NT", 0x2000},
    {"Path_PREZELTA16", 0x4000},       {"Path_ZELTA_ALL", 0x8000},
    {"Path_ZELTA32_LINUX", 0x20000},   {"Path_ZELTA32_SOLARIS_SPARC", 0x10000},
    {"Path_ZELTA_MIPS_4926", 0x40000}, {"Path_ZELTA32_S390", 0x80000},
    {"Path_ZELTA32_AS400", 0x100000},
};

TEST(KvVersionComponents, TheEngineTableHasItsRowsInOrderAndEndsWithoutAName) {
    for (size_t i = 0; i < std::size(kExpected); ++i) {
        EXPECT_STREQ(sectionTableEngine[i].name, kExpected[i].name);
        EXPECT_EQ(sectionTableEngine[i].identifier, kExpected[i].identifier);
    }
    EXPECT_EQ(sectionTableEngine[std::size(kExpected)].name, nullptr);
}

TEST(KvVersionComponents, EveryEngineHasItsName) {
    for (const EngineSection& row : kExpected) {
        EXPECT_STREQ(EngineIdToString(row.identifier), row.name);
    }
}

TEST(KvVersionComponents, AMaskOfSeveralEnginesHasNoName) {
    EXPECT_EQ(EngineIdToString(0x3), nullptr);
    EXPECT_EQ(EngineIdToString(0), nullptr);
    EXPECT_EQ(EngineIdToString(0x200000), nullptr);
    EXPECT_EQ(EngineIdToString(0xFFFFFFFF), nullptr);
}

TEST(KvVersionComponents, ClassesHaveDescriptions) {
    EXPECT_STREQ(GetClassDescription(kClassProduct), "Product");
    EXPECT_STREQ(GetClassDescription(kClassEngine), "Engine");
    EXPECT_STREQ(GetClassDescription(kClassPattern), "Pattern");
    EXPECT_STREQ(GetClassDescription(1), "Product");
    EXPECT_STREQ(GetClassDescription(2), "Engine");
    EXPECT_STREQ(GetClassDescription(3), "Pattern");
    for (const unsigned cls : {0u, 4u, 0x80000001u, 0xFFFFFFFFu}) {
        EXPECT_STREQ(GetClassDescription(cls), "Unknown Component");
    }
}

}  // namespace
