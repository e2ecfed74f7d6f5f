// The clean-up's first step and cache directories that only look empty: links, and sizes that wrap.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "tests/updater/CleanupTest.h"

namespace {

using testing::ElementsAre;

using KvCleanupLinks = CleanupTest;

// A link may lead to bytes, and is worth as much when it leads nowhere.
TEST_F(KvCleanupLinks, KeepsADirectoryThatHoldsALink) {
    tree.makeDir("cache/dangling");
    tree.makeDir("cache/deep/er");
    ASSERT_EQ(symlink("/nowhere", cache("dangling/link").c_str()), 0);
    ASSERT_EQ(symlink(tree.makeDir("elsewhere").c_str(), cache("deep/er/link").c_str()), 0);
    removeCached("cachedfilescount=0\n");
    EXPECT_THAT(log.lines(), ElementsAre(kRemoves, kSucceeds));
    EXPECT_TRUE(tree.exists("cache/dangling"));
    EXPECT_TRUE(tree.exists("cache/deep/er"));
}

TEST_F(KvCleanupLinks, LooksForNoEmptyDirectoriesBehindLinks) {
    tree.makeDir("important/empty");
    tree.write("cache/full/file", "1");
    ASSERT_EQ(symlink(tree.path("important").c_str(), cache("link").c_str()), 0);
    ASSERT_EQ(symlink(tree.path("important").c_str(), cache("full/link").c_str()), 0);
    removeCached("cachedfilescount=0\n");
    EXPECT_THAT(log.lines(), ElementsAre(kRemoves, kSucceeds));
    EXPECT_TRUE(tree.exists("important/empty"));
    EXPECT_TRUE(tree.exists("cache/link"));
}

// 4 GiB are no byte in 32 bits.
TEST_F(KvCleanupLinks, KeepsADirectoryWhoseSizeWraps) {
    tree.write("cache/huge/sparse", "");
    if (truncate(cache("huge/sparse").c_str(), off_t{1} << 32) != 0) {
        GTEST_SKIP() << "no file of this size here";
    }
    removeCached("cachedfilescount=0\n");
    EXPECT_THAT(log.lines(), ElementsAre(kRemoves, kSucceeds));
    EXPECT_TRUE(tree.exists("cache/huge/sparse"));
}

}  // namespace
