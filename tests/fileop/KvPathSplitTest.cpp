#include <gtest/gtest.h>

#include <string>

#include "fileop/KvPath.h"
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

}  // namespace

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
