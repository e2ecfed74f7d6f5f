#include "updater/KvCleanup.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <memory>
#include <string>

#include "log/KvLogSettings.h"
#include "log/KvVcLog.h"
#include "tests/updater/CleanupTest.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

using KvCleanup = CleanupTest;

// --- The configuration.

TEST_F(KvCleanup, DoesNothingWhereNoCacheIsManaged) {
    tree.write("vc/vccfg.ini",
               "[Downloader]\nUseCacheManagement=0\nkeep_cache_file_on_success=1\n");
    tree.write("cache/a.bin", "1");
    removeCached("cachedfilescount=1\ncachedfile_0=,a.bin,a.etag,1\n");
    EXPECT_THAT(log.lines(), IsEmpty());
    EXPECT_TRUE(tree.exists("cache/a.bin"));
}

TEST_F(KvCleanup, KeepsTheCacheWhenAskedTo) {
    tree.write("vc/vccfg.ini", "[downloader]\nKEEP_CACHE_FILE_ON_SUCCESS = 1 \n");
    tree.write("cache/a.bin", "1");
    tree.makeDir("cache/empty");
    removeCached("cachedfilescount=1\ncachedfile_0=,a.bin,a.etag,1\n");
    EXPECT_THAT(log.lines(), ElementsAre(kKeeps));
    EXPECT_TRUE(tree.exists("cache/a.bin"));
    EXPECT_TRUE(tree.exists("cache/empty"));
}

TEST_F(KvCleanup, TakesOnlyTheExactValues) {
    for (const char* const config :
         {"", "[Downloader]\n", "[Downloader]\nUseCacheManagement=00\n",
          "[Downloader]\nUseCacheManagement=1\nkeep_cache_file_on_success=01\n",
          "[Downloader]\nUseCacheManagement=no\nkeep_cache_file_on_success=yes\n",
          "UseCacheManagement=0\nkeep_cache_file_on_success=1\n"}) {
        tree.write("vc/vccfg.ini", config);
        log.forget();
        removeCached("cachedfilescount=0\n");
        EXPECT_THAT(log.lines(), ElementsAre(kRemoves, kSucceeds)) << config;
        EXPECT_EQ(tree.read("vc/vccfg.ini"), config);
    }
}

// --- The keys of the description.

TEST_F(KvCleanup, EndsQuietlyWithoutACachePath) {
    tree.makeDir("cache/empty");
    remove("cachedfilescount=0\n");
    EXPECT_THAT(log.lines(), ElementsAre(kRemoves));
    EXPECT_TRUE(tree.exists("cache/empty"));
}

TEST_F(KvCleanup, EndsQuietlyWithoutACount) {
    tree.makeDir("cache/empty");
    removeCached("cachedfile_0=,a.bin,a.etag,1\n");
    EXPECT_THAT(log.lines(), ElementsAre(kRemoves));
    EXPECT_TRUE(tree.exists("cache/empty"));
}

TEST_F(KvCleanup, LooksOnlyForEmptyDirectoriesWhenTheCountIsBelowOne) {
    for (const char* const count : {"0", "-1", "none", ""}) {
        tree.makeDir("cache/empty");
        tree.write("cache/a.bin", "1");
        log.forget();
        removeCached(std::string("cachedfilescount=") + count + "\ncachedfile_0=,a.bin,a.etag,1\n");
        EXPECT_THAT(log.lines(), ElementsAre(kRemoves, kSucceeds, dirRemoved(cache("empty"))));
        EXPECT_TRUE(tree.exists("cache/a.bin"));
        EXPECT_FALSE(tree.exists("cache/empty"));
    }
}

TEST_F(KvCleanup, EndsAtTheFirstMissingEntry) {
    for (const char* const count : {"3", "2147483647"}) {
        tree.write("cache/a.bin", "1");
        tree.write("cache/c.bin", "1");
        tree.makeDir("cache/empty");
        log.forget();
        removeCached(std::string("cachedfilescount=") + count +
                     "\ncachedfile_0=,a.bin,a.etag,1\ncachedfile_2=,c.bin,c.etag,1\n");
        EXPECT_THAT(log.lines(),
                    ElementsAre(kRemoves, removed(cache("a.bin")), tagRemoved(cache("a.etag"))));
        EXPECT_FALSE(tree.exists("cache/a.bin"));
        EXPECT_TRUE(tree.exists("cache/c.bin"));
        EXPECT_TRUE(tree.exists("cache/empty"));
    }
}

// --- The entries.

TEST_F(KvCleanup, RemovesAFileWithItsTag) {
    tree.write("cache/sub/data.bin", "1");
    tree.write("cache/sub/data.etag", "1");
    tree.write("cache/sub/other", "1");
    removeCached("cachedfilescount=1\ncachedfile_0=sub/,data.bin,data.etag,1\n");
    EXPECT_THAT(log.lines(), ElementsAre(kRemoves, removed(cache("sub/data.bin")),
                                         tagRemoved(cache("sub/data.etag")), kSucceeds));
    EXPECT_THAT(tree.snapshot("cache"),
                ElementsAre(testing::Key("sub/"), testing::Key("sub/other")));
}

// The prefix brings its own separator.
TEST_F(KvCleanup, JoinsPrefixAndNameAsTheyStand) {
    tree.write("cache/sub-data.bin", "1");
    removeCached("cachedfilescount=1\ncachedfile_0= sub- , data.bin ,\tdata.etag, 1 \n");
    EXPECT_THAT(log.lines(), Contains(removed(cache("sub-data.bin"))));
    EXPECT_FALSE(tree.exists("cache/sub-data.bin"));
}

TEST_F(KvCleanup, LeavesUnmarkedEntriesAlone) {
    for (const char* const entry : {",a.bin,a.etag,0", ",a.bin,a.etag,", ",a.bin,a.etag", ",a.bin",
                                    "", ",a.bin,a.etag,11", ",a.bin,a.etag,,1"}) {
        tree.write("cache/a.bin", "1");
        tree.write("cache/a.etag", "1");
        log.forget();
        removeCached(std::string("cachedfilescount=1\ncachedfile_0=") + entry + "\n");
        EXPECT_THAT(log.lines(), ElementsAre(kRemoves, kSucceeds)) << entry;
        EXPECT_TRUE(tree.exists("cache/a.bin"));
        EXPECT_TRUE(tree.exists("cache/a.etag"));
    }
}

TEST_F(KvCleanup, TakesFurtherFieldsForNothing) {
    tree.write("cache/a.bin", "1");
    removeCached("cachedfilescount=1\ncachedfile_0=,a.bin,a.etag,1,0,rest\n");
    EXPECT_FALSE(tree.exists("cache/a.bin"));
}

TEST_F(KvCleanup, CountsAFileThatIsGoneAsRemoved) {
    tree.write("cache/a.etag", "1");
    removeCached("cachedfilescount=1\ncachedfile_0=,a.bin,a.etag,1\n");
    EXPECT_THAT(log.lines(), ElementsAre(kRemoves, removed(cache("a.bin")),
                                         tagRemoved(cache("a.etag")), kSucceeds));
    EXPECT_FALSE(tree.exists("cache/a.etag"));
}

TEST_F(KvCleanup, TakesNamesWithoutEmptyFieldsForTheCacheItself) {
    removeCached("cachedfilescount=1\ncachedfile_0=,,,1\n");
    EXPECT_THAT(log.lines(),
                ElementsAre(kRemoves, removed(cache("")), tagRemoved(cache("")), kSucceeds));
    EXPECT_FALSE(tree.exists("cache"));
}

TEST_F(KvCleanup, ReportsAFileThatCannotBeDeletedAndGoesOn) {
    tree.write("cache/b.bin", "1");
    // No system deletes a directory by this name.
    removeCached("cachedfilescount=2\ncachedfile_0=,.,a.etag,1\ncachedfile_1=,b.bin,b.etag,1\n");
    EXPECT_THAT(log.lines(),
                ElementsAre(kRemoves, "Err 6 Cause: " + cache(".") + ": Invalid argument",
                            notRemoved(cache(".")), removed(cache("b.bin")),
                            tagRemoved(cache("b.etag")), kSucceeds));
    EXPECT_FALSE(tree.exists("cache/b.bin"));
}

TEST_F(KvCleanup, KeepsAFileThatAnotherProcessHolds) {
    tree.write("cache/a.bin", "1");
    tree.write("cache/a.etag", "1");
    const HeldElsewhere held(cache("a.bin"));
    removeCached("cachedfilescount=1\ncachedfile_0=,a.bin,a.etag,1\n");
    // It counts as removed all the same, and its tag file goes.
    EXPECT_THAT(log.lines(), ElementsAre(kRemoves, removed(cache("a.bin")),
                                         tagRemoved(cache("a.etag")), kSucceeds));
    EXPECT_TRUE(tree.exists("cache/a.bin"));
    EXPECT_FALSE(tree.exists("cache/a.etag"));
}

TEST_F(KvCleanup, KeepsAFileWhoseLockCannotBeHad) {
    const std::string longest(255, 'x');
    tree.write("cache/" + longest, "1");
    removeCached("cachedfilescount=1\ncachedfile_0=," + longest + ",a.etag,1\n");
    EXPECT_THAT(log.lines(), Contains(removed(cache(longest))));
    EXPECT_TRUE(tree.exists("cache/" + longest));
}

TEST_F(KvCleanup, LeavesNoLockFilesBehind) {
    tree.write("cache/a.bin", "1");
    tree.makeDir("cache/empty");
    removeCached("cachedfilescount=1\ncachedfile_0=,a.bin,a.etag,1\n");
    EXPECT_THAT(tree.snapshot("cache"), IsEmpty());
}

// --- The directories.

TEST_F(KvCleanup, RemovesDirectoriesWithoutAByte) {
    tree.makeDir("cache/empty");
    tree.makeDir("cache/nest/of/empty/ones");
    tree.write("cache/hollow/zero.bin", "");
    tree.write("cache/half/full/data.bin", "1");
    tree.makeDir("cache/half/empty");
    tree.write("cache/top.bin", "");
    removeCached("cachedfilescount=0\n");

    EXPECT_THAT(log.lines(),
                UnorderedElementsAre(kRemoves, kSucceeds, dirRemoved(cache("empty")),
                                     dirRemoved(cache("nest")), dirRemoved(cache("hollow")),
                                     dirRemoved(cache("half/empty"))));
    EXPECT_THAT(tree.snapshot("cache"),
                UnorderedElementsAre(testing::Key("half/"), testing::Key("half/full/"),
                                     testing::Key("half/full/data.bin"), testing::Key("top.bin")));
}

TEST_F(KvCleanup, RemovesADirectoryThatItsOwnFilesLeftEmpty) {
    tree.write("cache/sub/data.bin", "1");
    tree.write("cache/sub/data.etag", "1");
    removeCached("cachedfilescount=1\ncachedfile_0=sub/,data.bin,data.etag,1\n");
    EXPECT_THAT(tree.snapshot("cache"), IsEmpty());
    EXPECT_TRUE(tree.exists("cache"));
}

TEST_F(KvCleanup, KeepsADirectoryThatAnotherProcessHolds) {
    tree.makeDir("cache/held/inner");
    tree.makeDir("cache/free");
    const HeldElsewhere held(cache("held"));
    removeCached("cachedfilescount=0\n");
    EXPECT_FALSE(tree.exists("cache/free"));
    EXPECT_TRUE(tree.exists("cache/held"));
    // The walk goes on below: nobody holds this one.
    EXPECT_FALSE(tree.exists("cache/held/inner"));
}

// What it would name is the working directory.
TEST_F(KvCleanup, TakesAnEmptyCachePathForAMissingOne) {
    tree.write("cache/a.bin", "1");
    tree.makeDir("cache/empty");
    ASSERT_EQ(chdir(cachePath.c_str()), 0);
    for (const char* path : {"", "  "}) {
        remove(std::string("cachepath=") + path +
               "\ncachedfilescount=1\ncachedfile_0=,a.bin,a.etag,1\n");
    }
    ASSERT_EQ(chdir("/"), 0);
    EXPECT_THAT(log.lines(), ElementsAre(kRemoves, kRemoves));
    EXPECT_TRUE(tree.exists("cache/a.bin"));
    EXPECT_TRUE(tree.exists("cache/empty"));
}

// It may say that the files are to be kept.
TEST_F(KvCleanup, RemovesNothingWhenTheConfigurationCannotBeRead) {
    tree.makeDir("vc/vccfg.ini");
    tree.write("cache/a.bin", "1");
    removeCached("cachedfilescount=1\ncachedfile_0=,a.bin,a.etag,1\n");
    EXPECT_THAT(log.lines(),
                ElementsAre("Err 6 Cause: " + tree.path("vc/vccfg.ini") + ": Is a directory"));
    EXPECT_TRUE(tree.exists("cache/a.bin"));
}

TEST_F(KvCleanup, MissesNoCache) {
    cachePath = tree.path("nowhere");
    removeCached("cachedfilescount=0\n");
    EXPECT_THAT(log.lines(), ElementsAre(kRemoves, kSucceeds));
    EXPECT_FALSE(tree.exists("nowhere"));
}

TEST_F(KvCleanup, LooksForNothingInNoDescription) {
    removeCachedFiles(nullptr);
    EXPECT_THAT(log.lines(), IsEmpty());
}

// --- The callbacks.

KvFileOpUtil::CallbackEntry entryOf(const std::string& path, uint32_t action) {
    KvFileOpUtil::CallbackEntry entry{};
    entry.cbSize = sizeof entry;
    entry.path = path.c_str();
    entry.action = action;
    return entry;
}

TEST_F(KvCleanup, AsksOnlyAboutFilesThatAreDeleted) {
    const std::string file = tree.write("cache/a.bin", "1");
    const HeldElsewhere held(file);
    for (uint32_t action = KvFileOpUtil::kNewFile; action <= KvFileOpUtil::kVisitFile; ++action) {
        KvFileOpUtil::CallbackEntry entry = entryOf(file, action);
        EXPECT_EQ(CB_DeleteFile(&entry), action == KvFileOpUtil::kDeleteFile ? 2 : 0);
    }
    EXPECT_EQ(CB_DeleteFile(nullptr), 0);
}

TEST_F(KvCleanup, LetsAFreeFileBeDeleted) {
    const std::string file = tree.write("cache/a.bin", "1");
    KvFileOpUtil::CallbackEntry entry = entryOf(file, KvFileOpUtil::kDeleteFile);
    EXPECT_EQ(CB_DeleteFile(&entry), 0);
    EXPECT_TRUE(tree.exists("cache/a.bin"));
    EXPECT_FALSE(tree.exists("cache/a.bin.lock"));
}

TEST_F(KvCleanup, DeletesOnlyVisitedDirectories) {
    const std::string dir = tree.makeDir("cache/empty");
    for (uint32_t action = KvFileOpUtil::kNewFile; action <= KvFileOpUtil::kVisitFile; ++action) {
        if (action != KvFileOpUtil::kVisitDir) {
            KvFileOpUtil::CallbackEntry entry = entryOf(dir, action);
            EXPECT_EQ(CB_CheckEmptyDir(&entry), 0);
        }
    }
    EXPECT_TRUE(tree.exists("cache/empty"));
    EXPECT_EQ(CB_CheckEmptyDir(nullptr), 0);
}

TEST_F(KvCleanup, TellsAnEmptyDirectoryByItsLine) {
    const std::string dir = tree.makeDir("cache/empty");
    KvFileOpUtil::CallbackEntry entry = entryOf(dir, KvFileOpUtil::kVisitDir);
    EXPECT_EQ(CB_CheckEmptyDir(&entry), 0);
    EXPECT_EQ(s_line, 154);
    EXPECT_EQ(s_type, kLogInfo);
    EXPECT_THAT(log.lines(), ElementsAre(dirRemoved(dir)));
}

TEST_F(KvCleanup, SkipsAHeldDirectory) {
    const std::string dir = tree.makeDir("cache/held");
    const HeldElsewhere held(dir);
    KvFileOpUtil::CallbackEntry entry = entryOf(dir, KvFileOpUtil::kVisitDir);
    EXPECT_EQ(CB_CheckEmptyDir(&entry), 2);
    EXPECT_TRUE(tree.exists("cache/held"));
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(KvCleanup, PassesOverADirectoryWithContents) {
    tree.write("cache/full/a.bin", "1");
    const std::string dir = cache("full");
    KvFileOpUtil::CallbackEntry entry = entryOf(dir, KvFileOpUtil::kVisitDir);
    EXPECT_EQ(CB_CheckEmptyDir(&entry), 0);
    EXPECT_TRUE(tree.exists("cache/full/a.bin"));
}

}  // namespace
