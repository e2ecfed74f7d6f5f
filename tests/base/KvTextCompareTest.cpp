#include <gtest/gtest.h>

#include <random>
#include <string>

#include "base/KvText.h"

namespace {

constexpr const char* kNull = nullptr;

struct CompareRow {
    const char* a;
    const char* b;
    bool caseSensitive;
    int result;
};

TEST(KvTextCompare, TheResultIsTheDifferenceOfTheFirstBytesThatDiffer) {
    const CompareRow rows[] = {
        {"", "", true, 0},
        {"abc", "abc", true, 0},
        {"abc", "abd", true, 'c' - 'd'},
        {"abz", "abd", true, 'z' - 'd'},
        {"ab", "abc", true, -'c'},
        {"abc", "ab", true, 'c'},
        {"", "a", true, -'a'},
        {"abc", "ABC", true, 'a' - 'A'},
        {"abc", "ABC", false, 0},
        {"ABC", "abd", false, 'c' - 'd'},
        {"ABCd", "abc", false, 'd'},
        {"Z[", "z{", false, '[' - '{'},
        {"@", "`", false, '@' - '`'},
        {"_", "A", false, '_' - 'a'},
        {"_", "A", true, '_' - 'A'},
        {"\x80", "a", true, -128 - 'a'},
        {"\xFF", "", true, -1},
        {"", "\xFF", true, 1},
        {"\x7F", "\x80", true, 127 + 128},
        {"\xC4", "\xE4", false, 0xC4 - 0xE4},
        {"\x80", "\xFF", true, -128 + 1},
    };
    for (const CompareRow& row : rows) {
        EXPECT_EQ(Str_Comp(row.a, row.b, row.caseSensitive), row.result) << row.a << " " << row.b;
        EXPECT_EQ(Str_Comp(row.b, row.a, row.caseSensitive), -row.result) << row.a << " " << row.b;
        EXPECT_EQ(Str_Equal(row.a, row.b, row.caseSensitive), row.result == 0);
    }
}

TEST(KvTextCompare, NullSortsFirst) {
    for (const bool caseSensitive : {false, true}) {
        EXPECT_EQ(Str_Comp(kNull, kNull, caseSensitive), 0);
        EXPECT_EQ(Str_Comp(kNull, "", caseSensitive), -1);
        EXPECT_EQ(Str_Comp("", kNull, caseSensitive), 1);
        EXPECT_TRUE(Str_Equal(kNull, kNull, caseSensitive));
        EXPECT_FALSE(Str_Equal(kNull, "", caseSensitive));
    }
}

TEST(KvTextCompare, OnlyTheLettersOfAsciiAreFolded) {
    for (int a = 1; a < 256; ++a) {
        for (int b = 1; b < 256; ++b) {
            const char left[] = {static_cast<char>(a), '\0'};
            const char right[] = {static_cast<char>(b), '\0'};
            const bool pairOfLetters =
                (a >= 'A' && a <= 'Z' && b == a + 32) || (b >= 'A' && b <= 'Z' && a == b + 32);
            ASSERT_EQ(Str_Equal(left, right, false), a == b || pairOfLetters) << a << " " << b;
        }
    }
}

struct FindRow {
    const char* text;
    const char* pattern;
    int sensitive;
    int insensitive;
};

TEST(KvTextCompare, FindsTheFirstOccurrence) {
    const FindRow rows[] = {
        {"hello", "", 0, 0},
        {"", "", 0, 0},
        {"", "a", -1, -1},
        {"ab", "abc", -1, -1},
        {"hello", "l", 2, 2},
        {"hello", "lo", 3, 3},
        {"hello", "LO", -1, 3},
        {"HELLO", "hello", -1, 0},
        {"aab", "ab", 1, 1},
        {"abab", "ab", 0, 0},
        {"hello", "x", -1, -1},
        {"\xC4"
         "b",
         "b", 1, 1},
        {"\xC4", "\xE4", -1, -1},
        {"AaB", "ab", -1, 1},
    };
    for (const FindRow& row : rows) {
        EXPECT_EQ(Str_Find(row.text, row.pattern, true), row.sensitive) << row.text;
        EXPECT_EQ(Str_Find(row.text, row.pattern, false), row.insensitive) << row.text;
    }
    EXPECT_EQ(Str_Find(kNull, "a", true), -1);
    EXPECT_EQ(Str_Find("a", kNull, true), -1);
    EXPECT_EQ(Str_Find(kNull, kNull, false), -1);
}

// Every substring of the pattern's length is compared with Str_Equal, from the left.
int findBySubstrings(const std::string& text, const std::string& pattern, bool caseSensitive) {
    for (size_t i = 0; i + pattern.size() <= text.size(); ++i) {
        if (Str_Equal(text.substr(i, pattern.size()).c_str(), pattern.c_str(), caseSensitive)) {
            return static_cast<int>(i);
        }
    }
    return -1;
}

TEST(KvTextCompare, FindsWhatComparingEverySubstringFinds) {
    std::mt19937 random(7);
    const auto word = [&random](size_t longest) {
        std::string text(random() % (longest + 1), 'a');
        for (char& ch : text) {
            ch = "aAbB"[random() % 4];
        }
        return text;
    };
    for (int round = 0; round < 3000; ++round) {
        const std::string text = word(12);
        const std::string pattern = word(4);
        for (const bool caseSensitive : {false, true}) {
            ASSERT_EQ(Str_Find(text.c_str(), pattern.c_str(), caseSensitive),
                      findBySubstrings(text, pattern, caseSensitive))
                << text << " " << pattern;
        }
    }
}

struct EndRow {
    const char* text;
    const char* suffix;
    bool sensitive;
    bool insensitive;
};

TEST(KvTextCompare, ASuffixThatAlsoOccursEarlierIsNoSuffix) {
    const EndRow rows[] = {
        {"file.ini", ".ini", true, true},
        {"file.INI", ".ini", false, true},
        {"abab", "ab", false, false},
        {"xab", "ab", true, true},
        {"ABxab", "ab", true, false},
        {"aa", "a", false, false},
        {"ab", "ab", true, true},
        {"ab", "abc", false, false},
        {"", "", true, true},
        {"abc", "", false, false},
        {"abc", "b", false, false},
    };
    for (const EndRow& row : rows) {
        EXPECT_EQ(Str_EndWith(row.text, row.suffix, true), row.sensitive) << row.text;
        EXPECT_EQ(Str_EndWith(row.text, row.suffix, false), row.insensitive) << row.text;
    }
    EXPECT_FALSE(Str_EndWith(kNull, "a", true));
    EXPECT_FALSE(Str_EndWith("a", kNull, true));
    EXPECT_FALSE(Str_EndWith(kNull, kNull, true));
}

}  // namespace
