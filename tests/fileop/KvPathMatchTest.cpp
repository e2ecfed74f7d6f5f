#include <gtest/gtest.h>

#include <random>
#include <string>

#include "fileop/KvPath.h"

namespace {

// The rules of matching one by one, each in its own words and without any thought of cost.
bool matchesByRule(const char* pattern, const char* name) {
    if (*pattern == '\0') {
        return *name == '\0';
    }
    if (*pattern == '*' &&
        (matchesByRule(pattern + 1, name) || (*name != '\0' && matchesByRule(pattern, name + 1)))) {
        return true;
    }
    if (*pattern == '?' && *name != '\0' && matchesByRule(pattern + 1, name + 1)) {
        return true;
    }
    return *pattern == *name && matchesByRule(pattern + 1, name + 1);
}

std::string randomText(std::mt19937& random, const std::string& letters, size_t longest) {
    std::string text(random() % (longest + 1), '\0');
    for (char& letter : text) {
        letter = letters[random() % letters.size()];
    }
    return text;
}

}  // namespace

TEST(KvPathMatch, TellsPatternsFromNames) {
    EXPECT_TRUE(isWildcardName("*.ini"));
    EXPECT_TRUE(isWildcardName("a?"));
    EXPECT_TRUE(isWildcardName("a*/b"));
    EXPECT_FALSE(isWildcardName("name.[ab]"));
    EXPECT_FALSE(isWildcardName(""));
    EXPECT_FALSE(isWildcardName(nullptr));
}

TEST(KvPathMatch, FollowsTheTable) {
    struct Case {
        const char* pattern;
        const char* name;
        bool matches;
    };
    constexpr Case kCases[] = {
        {"", "", true},
        {"", "a", false},
        {"a", "", false},
        {"a", "a", true},
        {"a", "A", false},
        {"ab", "a", false},
        {"a", "ab", false},
        {"*", "", true},
        {"**", "", true},
        {"*", "anything", true},
        {"?", "", false},
        {"?", "a", true},
        {"?", "ab", false},
        {"??", "ab", true},
        {"*?", "", false},
        {"*?", "a", true},
        {"?*", "abc", true},
        {"*.ini", "a/b.ini", true},
        {"*.ini", "b.INI", false},
        {"*.ini", ".ini", true},
        {"*.ini", "a.ini.x", false},
        {"*.ini", "a.ini.ini", true},
        {"a*b*c", "abxbc", true},
        {"a*b*c", "acb", false},
        {"*ab", "aab", true},
        {"*a?", "aba", false},
        {"*a?", "abab", true},
        {"*", "*", true},
        {"?", "*", true},
        {"a", "*", false},
        {"a", "?", false},
        {"[ab]", "a", false},
        {"[ab]", "[ab]", true},
        {"\\*", "*", false},
        {"\\*", "\\x", true},
        {"*.*", "name", false},
        {"a**b", "ab", true},
        {"\xFF*", "\xFF\x80", true},
    };
    for (const Case& entry : kCases) {
        EXPECT_EQ(_fnmatch(entry.pattern, entry.name), entry.matches)
            << entry.pattern << " on " << entry.name;
    }
}

TEST(KvPathMatch, NeverMatchesNothing) {
    EXPECT_FALSE(_fnmatch(nullptr, "a"));
    EXPECT_FALSE(_fnmatch("*", nullptr));
    EXPECT_FALSE(_fnmatch(nullptr, nullptr));
}

TEST(KvPathMatch, AgreesWithTheRulesOnRandomPairs) {
    std::mt19937 random(20240607);
    int matches = 0;
    constexpr int kPairs = 60000;
    for (int i = 0; i < kPairs; ++i) {
        const std::string pattern = randomText(random, "ab*?", 8);
        const std::string name = randomText(random, "aab*?/", 9);
        const bool expected = matchesByRule(pattern.c_str(), name.c_str());
        ASSERT_EQ(_fnmatch(pattern.c_str(), name.c_str()), expected) << pattern << " on " << name;
        matches += expected ? 1 : 0;
    }
    // Both answers were put to the test.
    EXPECT_GT(matches, kPairs / 100);
    EXPECT_LT(matches, kPairs / 2);
}

TEST(KvPathMatch, TakesBoundedTimeOnManyStars) {
    const std::string name(5000, 'a');
    std::string pattern;
    for (int i = 0; i < 500; ++i) {
        pattern += "*a";
    }
    EXPECT_TRUE(_fnmatch(pattern.c_str(), name.c_str()));
    EXPECT_FALSE(_fnmatch((pattern + "*b").c_str(), name.c_str()));
    EXPECT_FALSE(_fnmatch("*a*a*a*a*a*b", name.c_str()));
}

TEST(CompareFullPath, ComparesBytes) {
    EXPECT_EQ(CompareFullPath("/a/b", "/a/b"), 0);
    EXPECT_NE(CompareFullPath("/a/b", "/A/b"), 0);
    EXPECT_NE(CompareFullPath("/a/b", "/a/./b"), 0);
    EXPECT_NE(CompareFullPath("/a/b", "\\a\\b"), 0);
    EXPECT_NE(CompareFullPath("/a/b", "/a/b/"), 0);
    EXPECT_LT(CompareFullPath("/a", "/b"), 0);
    EXPECT_GT(CompareFullPath("/b", "/a"), 0);
    // High bytes sort behind ASCII.
    EXPECT_GT(CompareFullPath("/\xC4", "/a"), 0);
}

TEST(CompareFullPath, TakesNullForTheEmptyPath) {
    EXPECT_EQ(CompareFullPath(nullptr, nullptr), 0);
    EXPECT_EQ(CompareFullPath(nullptr, ""), 0);
    EXPECT_LT(CompareFullPath(nullptr, "/a"), 0);
}
