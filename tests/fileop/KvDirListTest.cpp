#include "fileop/KvDirList.h"

#include <dirent.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <memory>
#include <string>
#include <vector>

#include "tests/fileop/TestProcess.h"
#include "tests/support/TempTree.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

std::vector<std::string> pathsOf(const char* pathOrPattern) {
    KvDirList list(pathOrPattern);
    std::vector<std::string> paths;
    while (list.hasNext()) {
        paths.emplace_back(list.getNext().c_str());
    }
    return paths;
}

// Lists with paths that are relative to a tree.
class DirListing : public testing::Test {
  protected:
    std::vector<std::string> list(const std::string& name) { return pathsOf(name.c_str()); }

    TempTree tree;
    WorkingDir workingDir{tree.path()};
};

TEST_F(DirListing, ADirectoryListsEverythingInIt) {
    tree.write("d/a.ini", "");
    tree.write("d/b.txt", "");
    tree.write("d/sub/c.ini", "");
    EXPECT_THAT(list("d/"), UnorderedElementsAre("d/a.ini", "d/b.txt", "d/sub"));
}

TEST_F(DirListing, ADirectoryNeedsNoSeparatorAtItsEnd) {
    tree.write("d/a.ini", "");
    tree.makeDir("d/sub");
    EXPECT_THAT(list("d"), UnorderedElementsAre("d/a.ini", "d/sub"));
    EXPECT_STREQ(KvDirList("d").getFilter().c_str(), "*");
}

TEST_F(DirListing, APatternTakesTheFilesThatMatchAndAllDirectories) {
    tree.write("d/a.ini", "");
    tree.write("d/b.txt", "");
    tree.makeDir("d/sub");
    tree.makeDir("d/sub.ini");
    EXPECT_THAT(list("d/*.ini"), UnorderedElementsAre("d/a.ini", "d/sub", "d/sub.ini"));
    const KvDirList found("d/*.ini");
    EXPECT_EQ(found.getFileCount(), 1U);
    EXPECT_STREQ(found.getFirstFileName().c_str(), "d/a.ini");
    EXPECT_STREQ(found.getFilter().c_str(), "*.ini");
    EXPECT_TRUE(found.hasSubDir());
}

TEST_F(DirListing, AFileListsItselfBesideTheDirectories) {
    tree.write("d/a", "");
    tree.write("d/b", "");
    tree.makeDir("d/sub");
    EXPECT_THAT(list("d/a"), UnorderedElementsAre("d/a", "d/sub"));
}

TEST_F(DirListing, HandsOutOneEntryAtATime) {
    tree.write("d/only", "");
    KvDirList found("d/");
    ASSERT_TRUE(found.hasNext());
    EXPECT_STREQ(found.getFileName().c_str(), "only");
    EXPECT_STREQ(found.getFileName().c_str(), "only") << "looking does not move on";
    EXPECT_FALSE(found.isNextDir());
    EXPECT_STREQ(found.getNext().c_str(), "d/only");
    EXPECT_FALSE(found.hasNext());
    EXPECT_STREQ(found.getNext().c_str(), "");
    EXPECT_STREQ(found.getFileName().c_str(), "");
    EXPECT_FALSE(found.isNextDir());
}

TEST_F(DirListing, CountsStayWhileTheEntriesAreHandedOut) {
    tree.write("d/a", "");
    tree.write("d/b", "");
    KvDirList found("d/");
    while (found.hasNext()) {
        (void)found.getNext();
    }
    EXPECT_EQ(found.getFileCount(), 2U);
    EXPECT_FALSE(found.hasSubDir());
    EXPECT_STRNE(found.getFirstFileName().c_str(), "");
}

TEST_F(DirListing, OnlyDirectoriesHaveNoFirstFile) {
    tree.makeDir("d/sub");
    const KvDirList found("d/");
    EXPECT_STREQ(found.getFirstFileName().c_str(), "");
    EXPECT_EQ(found.getFileCount(), 0U);
    EXPECT_TRUE(found.isNextDir());
}

TEST_F(DirListing, WhatCannotBeOpenedListsNothing) {
    tree.write("file", "");
    EXPECT_THAT(list("missing/"), IsEmpty());
    EXPECT_THAT(list("missing/*"), IsEmpty());
    EXPECT_THAT(list("file/"), IsEmpty());
    EXPECT_THAT(list(std::string(5000, 'x') + "/"), IsEmpty());
}

TEST_F(DirListing, TheEmptyTextListsTheWorkingDirectory) {
    tree.write("a", "");
    tree.write("b", "");
    EXPECT_THAT(list(""), UnorderedElementsAre("a", "b"));
    EXPECT_THAT(pathsOf(nullptr), UnorderedElementsAre("a", "b"));
    EXPECT_THAT(list("a"), ElementsAre("a"));
}

TEST_F(DirListing, APatternUnderTheRootListsTheWorkingDirectory) {
    tree.write("xa", "");
    tree.write("y", "");
    EXPECT_THAT(list("/x*"), ElementsAre("xa"));
    EXPECT_THAT(list("/"), UnorderedElementsAre("xa", "y"));
}

TEST_F(DirListing, ABackslashSeparates) {
    tree.write("d/e/a.ini", "");
    tree.write("d/e/b.txt", "");
    EXPECT_THAT(list("d\\e\\*.ini"), ElementsAre("d/e/a.ini"));
}

// Kept: a directory is recognised before backslashes become separators.
TEST_F(DirListing, ADirectoryNamedWithABackslashIsAFilter) {
    tree.write("d/e/x", "");
    tree.write("d/f", "");
    EXPECT_THAT(list("d\\e"), ElementsAre("d/e"));
    EXPECT_STREQ(KvDirList("d\\e").getFilter().c_str(), "e");
    EXPECT_THAT(list("d\\"), UnorderedElementsAre("d/e", "d/f"));
}

TEST_F(DirListing, ADirectoryThatBearsAPatternAsItsNameIsListed) {
    tree.write("*/inside", "");
    tree.write("outside", "");
    EXPECT_THAT(list("*"), ElementsAre("*/inside"));
}

TEST_F(DirListing, OddNamesComeAsTheyAre) {
    const std::vector<std::string> names{"a b", "line\nbreak", "st*r", "back\\slash", "...", ".h"};
    for (const std::string& name : names) {
        tree.write("d/" + name, "");
    }
    EXPECT_EQ(KvDirList("d/").getFileCount(), names.size());
    EXPECT_THAT(list("d/"), UnorderedElementsAre("d/a b", "d/line\nbreak", "d/st*r",
                                                 "d/back\\slash", "d/...", "d/.h"));
}

TEST_F(DirListing, ALinkIsWhatItPointsAt) {
    tree.makeDir("target");
    tree.write("d/file", "");
    ASSERT_EQ(symlink("../target", tree.path("d/toDir").c_str()), 0);
    ASSERT_EQ(symlink("file", tree.path("d/toFile").c_str()), 0);
    ASSERT_EQ(symlink("nowhere", tree.path("d/dangling").c_str()), 0);
    EXPECT_THAT(list("d/none*"), ElementsAre("d/toDir"));
    EXPECT_EQ(KvDirList("d/").getFileCount(), 3U);
}

TEST_F(DirListing, KeepsTheOrderOfTheSystem) {
    for (int i = 0; i < 100; ++i) {
        tree.write("d/" + std::to_string(i * 7919), "");
    }
    std::vector<std::string> expected;
    const std::unique_ptr<DIR, int (*)(DIR*)> dir(opendir("d"), closedir);
    while (const dirent* const entry = readdir(dir.get())) {
        const std::string name = entry->d_name;
        if (name != "." && name != "..") {
            expected.push_back("d/" + name);
        }
    }
    EXPECT_EQ(list("d/"), expected);
}

// The kind of an entry comes with its name: without the permission to search the directory a
// `stat` would fail, and the directory in it would count as a file.
TEST_F(DirListing, KindsAreKnownWithoutAStat) {
    tree.makeDir("d/sub");
    tree.write("d/file", "");
    ASSERT_EQ(chmod(tree.path().c_str(), 0755), 0);
    ASSERT_EQ(chmod(tree.path("d").c_str(), 0444), 0);
    EXPECT_EQ(resultInChild([] { return KvDirList("d/").hasSubDir() ? 1 : 0; }), 1);
    EXPECT_EQ(resultInChild([] { return static_cast<int>(KvDirList("d/").getFileCount()); }), 1);
}

TEST_F(DirListing, ADirectoryThatMayNotBeReadListsNothing) {
    tree.write("d/file", "");
    ASSERT_EQ(chmod(tree.path().c_str(), 0755), 0);
    ASSERT_EQ(chmod(tree.path("d").c_str(), 0111), 0);
    EXPECT_EQ(resultInChild([] { return KvDirList("d/").hasNext() ? 1 : 0; }), 0);
    EXPECT_EQ(resultInChild([] { return KvDirList("d/").getError() == EACCES ? 1 : 0; }), 1);
    EXPECT_TRUE(KvDirList("missing/").isComplete());
    EXPECT_TRUE(KvDirList("d/file/").isComplete());
}

TEST_F(DirListing, ATextWithoutMemoryListsNothing) {
    tree.write("file", "");
    KvSimpleString failed;
    failed.fail();
    const KvDirList list(failed.c_str());
    EXPECT_FALSE(list.hasNext());
    EXPECT_EQ(list.getError(), ENOMEM);
    EXPECT_TRUE(KvDirList("").hasNext()) << "only what is really empty is the working directory";
}

TEST_F(DirListing, LeavesNoDirectoryOpen) {
    tree.write("d/file", "");
    const int before = nextDescriptor();
    for (int i = 0; i < 100; ++i) {
        (void)list("d/");
        (void)list("missing/");
    }
    EXPECT_EQ(nextDescriptor(), before);
}

}  // namespace
