#include <gtest/gtest.h>

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

TEST(KvValueChecks, VersionsAndNumbers) {
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

TEST(KvValueChecks, HexadecimalDigitsUpToTheFirstOtherCharacter) {
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

TEST(KvValueChecks, HttpsLevelsAreZeroOneAndTwo) {
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

TEST(KvValueChecks, ComparesPathsWithEitherSeparator) {
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

TEST(KvValueChecks, EveryBackslashCountsAsASeparatorWhateverTheCodePage) {
    const CodePage japanese(932);
    EXPECT_EQ(Str_Comp_Ex("\x83\\", "\x83/", true, false), 0);
    const std::string many(100000, '\\');
    EXPECT_EQ(Str_Comp_Ex(many.c_str(), std::string(100000, '/').c_str(), true, false), 0);
    EXPECT_EQ(many, std::string(100000, '\\')) << "the caller's text is left alone";
}

}  // namespace
