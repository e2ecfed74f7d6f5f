// Splits, separators, names and patterns.
#include "fileop/KvPath.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "tests/support/CodePage.h"
#include "tests/support/GuardedBuffer.h"

namespace {

struct SplitCase {
    const char* path;
    const char* directory;
    const char* name;
};

constexpr SplitCase kSplits[] = {
    {"a/b/c", "a/b/", "c"},     {"a/b/", "a/b/", ""}, {"a/file", "a/", "file"},
    {"abc", "", "abc"},         {"", "", ""},         {nullptr, "", ""},
    {"/file", "", "file"},      {"/etc", "", "etc"},  {"/", "", ""},
    {"//", "//", ""},           {"//x", "//", "x"},   {"/a/b", "/a/", "b"},
    {"/a/", "/a/", ""},         {"a\\b", "", "a\\b"}, {"a/b\\c", "a/", "b\\c"},
    {"D:\\x/y", "D:\\x/", "y"},
};

std::string withExtension(const char* name, const char* extension) {
    char out[64] = "<untouched>";
    EXPECT_EQ(ReplaceExtName(out, sizeof out, name, extension), 0);
    return out;
}

TEST(KvPathSplit, DirectoryPartAndFileName) {
    for (const SplitCase& split : kSplits) {
        SCOPED_TRACE(split.path != nullptr ? split.path : "null");
        EXPECT_STREQ(DirNameOf(split.path).c_str(), split.directory);
        EXPECT_STREQ(FileNameOf(split.path).c_str(), split.name);
    }
}

TEST(KvPathSplit, ASlashBehindALeadByteIsASeparatorAllTheSame) {
    for (const unsigned int codePage : {0U, 932U, 936U, 949U, 950U}) {
        const CodePage current(codePage);
        EXPECT_STREQ(DirNameOf("a/\x95/b").c_str(), "a/\x95/");
        EXPECT_STREQ(FileNameOf("a/\x95/b").c_str(), "b");
        EXPECT_STREQ(FileNameOf("a/\x95\x5C").c_str(), "\x95\x5C");
    }
}

TEST(KvPathSplit, TakesPathsLongerThanAnyBuffer) {
    const std::string directory = "/" + std::string(100000, 'd') + "/";
    const std::string name(5000, 'n');
    EXPECT_EQ(DirNameOf((directory + name).c_str()).c_str(), directory);
    EXPECT_EQ(FileNameOf((directory + name).c_str()).c_str(), name);
}

TEST(GetFileExtName, GivesTheTextBehindTheLastDot) {
    EXPECT_STREQ(GetFileExtName("archive.tar.gz"), "gz");
    EXPECT_STREQ(GetFileExtName("a.b"), "b");
    EXPECT_STREQ(GetFileExtName("name"), "");
    EXPECT_STREQ(GetFileExtName("name."), "");
    EXPECT_STREQ(GetFileExtName("a.b."), "");
    EXPECT_STREQ(GetFileExtName("."), "");
    EXPECT_STREQ(GetFileExtName(""), "");
    EXPECT_STREQ(GetFileExtName(nullptr), "");
}

TEST(GetFileExtName, IsNotStoppedBySeparatorsOrALeadingDot) {
    EXPECT_STREQ(GetFileExtName("dir.d/file"), "d/file");
    EXPECT_STREQ(GetFileExtName(".profile"), "profile");
}

TEST(GetFileExtName, PointsIntoTheName) {
    const char name[] = "file.txt";
    EXPECT_EQ(GetFileExtName(name), name + 5);
}

TEST(ReplaceExtName, PutsTheNewExtensionInPlaceOfTheOld) {
    EXPECT_EQ(withExtension("a.txt", ".dsc"), "a.dsc");
    EXPECT_EQ(withExtension("a", ".dsc"), "a.dsc");
    EXPECT_EQ(withExtension("a.", ".dsc"), "a.dsc");
    EXPECT_EQ(withExtension("archive.tar.gz", ".sig"), "archive.tar.sig");
    EXPECT_EQ(withExtension("a.txt", "dsc"), "adsc");
    EXPECT_EQ(withExtension(".profile", ".dsc"), ".dsc");
    EXPECT_EQ(withExtension("dir.d/file", ".dsc"), "dir.dsc");
}

TEST(ReplaceExtName, RemovesTheExtensionWhenThereIsNoNewOne) {
    EXPECT_EQ(withExtension("a.txt", nullptr), "a");
    EXPECT_EQ(withExtension("a.txt", ""), "a");
}

TEST(ReplaceExtName, LeavesAnEmptyNameEmpty) {
    EXPECT_EQ(withExtension("", ".dsc"), "");
    EXPECT_EQ(withExtension(nullptr, ".dsc"), "");
}

TEST(ReplaceExtName, TellsTheCapacityItNeedsAndWritesNothing) {
    for (int size = 1; size < 6; ++size) {
        GuardedBuffer out(static_cast<size_t>(size));
        out.data()[0] = '!';
        EXPECT_EQ(ReplaceExtName(out.data(), size, "a.txt", ".dsc"), 6);
        EXPECT_EQ(out.data()[0], '!');
        EXPECT_TRUE(out.isIntact());
    }
    GuardedBuffer exact(6);
    EXPECT_EQ(ReplaceExtName(exact.data(), exact.size(), "a.txt", ".dsc"), 0);
    EXPECT_STREQ(exact.data(), "a.dsc");
    EXPECT_TRUE(exact.isIntact());
}

TEST(ReplaceExtName, GivesOneWithoutABuffer) {
    char out[] = "kept";
    EXPECT_EQ(ReplaceExtName(nullptr, 10, "a.txt", ".dsc"), 1);
    EXPECT_EQ(ReplaceExtName(out, 0, "a.txt", ".dsc"), 1);
    EXPECT_EQ(ReplaceExtName(out, -1, "a.txt", ".dsc"), 1);
    EXPECT_STREQ(out, "kept");
}

TEST(ReplaceExtName, WorksInPlace) {
    char name[16] = "a.txt";
    EXPECT_EQ(ReplaceExtName(name, sizeof name, name, ".html"), 0);
    EXPECT_STREQ(name, "a.html");
}

TEST(KvPathDefaultNames, CompareWithTheReplacedExtension) {
    EXPECT_TRUE(IsDefaultDscFilename("pattern.zip", "pattern.dsc"));
    EXPECT_TRUE(IsDefaultDscFilename("pattern.zip", "PATTERN.Dsc"));
    EXPECT_TRUE(IsDefaultDscFilename("pattern", "pattern.dsc"));
    EXPECT_FALSE(IsDefaultDscFilename("pattern.zip", "pattern.sig"));
    EXPECT_TRUE(IsDefaultSigFilename("archive.tar.gz", "archive.tar.sig"));
    EXPECT_FALSE(IsDefaultSigFilename("pattern.zip", "pattern.dsc"));
}

TEST(KvPathDefaultNames, TakeMissingTexts) {
    EXPECT_TRUE(IsDefaultDscFilename("", ""));
    EXPECT_TRUE(IsDefaultSigFilename(nullptr, ""));
    EXPECT_FALSE(IsDefaultDscFilename("", ".dsc"));
    EXPECT_FALSE(IsDefaultDscFilename("a.txt", nullptr));
    EXPECT_FALSE(IsDefaultSigFilename(nullptr, nullptr));
}

TEST(KvPathDefaultNames, RefuseANameThatIsTooLong) {
    // 1019 bytes and the extension are 1023 and their NUL.
    const std::string longest(1019, 'n');
    EXPECT_TRUE(IsDefaultDscFilename(longest.c_str(), (longest + ".dsc").c_str()));
    const std::string longer(1020, 'n');
    EXPECT_FALSE(IsDefaultDscFilename(longer.c_str(), (longer + ".dsc").c_str()));
    EXPECT_FALSE(IsDefaultSigFilename(longer.c_str(), ""));
}

std::string slashed(const char* text) {
    KvSimpleString path(text);
    normalizeSeptor(path);
    std::string buffer(text);
    ReplaceBackSlash(buffer.data());
    EXPECT_STREQ(path.c_str(), buffer.c_str());
    return buffer;
}

TEST(KvPathSeparator, IsOnlyTheSlash) {
    EXPECT_TRUE(isPathSeparator('/'));
    EXPECT_FALSE(isPathSeparator('\\'));
    EXPECT_FALSE(isPathSeparator('\0'));
    EXPECT_FALSE(isPathSeparator(':'));
}

TEST(KvPathSeparator, AtTheEndMakesADirectoryForm) {
    EXPECT_TRUE(EndsWithSeparator("a/"));
    EXPECT_TRUE(EndsWithSeparator("/"));
    EXPECT_FALSE(EndsWithSeparator("a"));
    EXPECT_FALSE(EndsWithSeparator("a\\"));
    EXPECT_FALSE(EndsWithSeparator(""));
    EXPECT_FALSE(EndsWithSeparator(nullptr));
    const CodePage shiftJis(932);
    EXPECT_TRUE(EndsWithSeparator("\x95/"));
    EXPECT_FALSE(EndsWithSeparator("\x95\x5C"));
}

TEST(KvPathSeparator, IsRemovedOnceFromTheEnd) {
    struct Case {
        const char* path;
        const char* rest;
        bool removed;
    };
    for (const Case& entry :
         {Case{"a/b/", "a/b", true}, Case{"a//", "a/", true}, Case{"/", "", true},
          Case{"a/b", "a/b", false}, Case{"a\\", "a\\", false}, Case{"", "", false}}) {
        KvSimpleString path(entry.path);
        EXPECT_EQ(RemoveTrailingSeparator(path), entry.removed) << entry.path;
        EXPECT_STREQ(path.c_str(), entry.rest);
    }
}

TEST(KvPathSeparator, ReplacesBackslashes) {
    EXPECT_EQ(slashed("D:\\a\\b/c\\"), "D:/a/b/c/");
    EXPECT_EQ(slashed("\\\\srv\\s"), "//srv/s");
    EXPECT_EQ(slashed("plain/path"), "plain/path");
    EXPECT_EQ(slashed(""), "");
    ReplaceBackSlash(nullptr);
}

TEST(KvPathSeparator, ReplacesNoTrailingByteOfADoubleByteCharacter) {
    for (const unsigned int codePage : {932U, 936U, 949U, 950U}) {
        const CodePage current(codePage);
        EXPECT_EQ(slashed("\\\x95\x5C\\x"), "/\x95\x5C/x");
        EXPECT_EQ(slashed("\x95\x95\\"), "\x95\x95/");
    }
    const CodePage singleByte(0);
    EXPECT_EQ(slashed("\\\x95\x5C"), "/\x95/");
}

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

}  // namespace
