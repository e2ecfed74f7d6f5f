#include "fileop/KvTreeStep.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "fileop/KvDirList.h"
#include "fileop/KvFileOpUtil.h"
#include "fileop/KvPath.h"
#include "tests/fileop/TestProcess.h"
#include "tests/support/TempTree.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

// Each match as its path, with a '/' behind a directory.
std::vector<std::string> matchesOf(const std::string& path) {
    KvMatchList matches(path.c_str(), KvLinks::kFollowed);
    std::vector<std::string> found;
    while (matches.next()) {
        EXPECT_STREQ(FileNameOf(matches.path().c_str()).c_str(), matches.name().c_str());
        found.push_back(std::string(matches.path().c_str()) + (matches.isDir() ? "/" : ""));
    }
    return found;
}

// The same by listing, whatever the path is like.
std::vector<std::string> listedMatchesOf(const std::string& path) {
    KvDirList list(path.c_str());
    std::vector<std::string> found;
    while (list.hasNext()) {
        const bool isDir = list.isNextDir();
        const KvSimpleString name = list.getFileName();
        const std::string entry = list.getNext().c_str();
        if (!isDir || _fnmatch(list.getFilter().c_str(), name.c_str())) {
            found.push_back(entry + (isDir ? "/" : ""));
        }
    }
    return found;
}

class MatchListing : public testing::Test {
  protected:
    TempTree tree;
    WorkingDir here{tree.path()};
};

TEST_F(MatchListing, APatternLeavesOutDirectoriesThatDoNotMatch) {
    tree.write("d/a.x", "");
    tree.write("d/b.y", "");
    tree.makeDir("d/c.x");
    tree.makeDir("d/e.y");
    EXPECT_THAT(matchesOf("d/*.x"), UnorderedElementsAre("d/a.x", "d/c.x/"));
}

TEST_F(MatchListing, APlainNameMatchesOnlyItself) {
    tree.write("d/a", "");
    tree.makeDir("d/sub");
    EXPECT_THAT(matchesOf("d/a"), ElementsAre("d/a"));
    EXPECT_THAT(matchesOf("d/none"), IsEmpty());
    EXPECT_THAT(matchesOf("d/sub/"), IsEmpty());
    EXPECT_THAT(matchesOf(""), ElementsAre("d/"));
}

// Looking a plain name up must tell what the listing would.
TEST_F(MatchListing, EveryKindOfPathGivesWhatTheListingGives) {
    tree.write("d/a", "");
    tree.write("d/st*r", "");
    tree.write("d/sub/b", "");
    tree.write("kv-under-root", "");
    tree.makeDir("kv-dir-under-root");
    ASSERT_EQ(symlink("sub", "d/toDir"), 0);
    ASSERT_EQ(symlink("a", "d/toFile"), 0);
    ASSERT_EQ(symlink("nowhere", "d/dangling"), 0);
    const std::string paths[] = {"",
                                 "d",
                                 "d/",
                                 "d//",
                                 "d/a",
                                 "d/none",
                                 "d/a/",
                                 "d/a/x",
                                 "d/dangling",
                                 "d/toDir",
                                 "d/toFile",
                                 "d/st*r",
                                 "d/*",
                                 "d/?",
                                 "d/sub/b",
                                 "none/x",
                                 "/",
                                 "/*",
                                 "/kv-under-root",
                                 "/kv-dir-under-root",
                                 "/kv-none",
                                 "d/./a",
                                 "d/../d/a",
                                 ".",
                                 "..",
                                 "d/sub/..",
                                 std::string("d/") + std::string(300, 'x'),
                                 std::string(5000, 'x')};
    for (const std::string& path : paths) {
        EXPECT_EQ(matchesOf(path), listedMatchesOf(path)) << path;
    }
}

}  // namespace
