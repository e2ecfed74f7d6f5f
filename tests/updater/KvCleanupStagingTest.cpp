// The staging directory at the end of a run.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <map>
#include <string>

#include "fileop/KvVcLock.h"
#include "tests/support/ForkedProcess.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TempTree.h"
#include "updater/KvCleanup.h"

namespace fs = std::filesystem;

namespace {

using testing::IsEmpty;

using FileTree = std::map<std::string, std::string>;

class KvCleanupStaging : public testing::Test {
  protected:
    FileTree stage() const {
        tree.write("staging/VcPatch.ini", "[common]\n");
        tree.write("staging/3/5/a.dat", "new");
        tree.makeDir("staging/empty");
        tree.makeDir("data");
        return tree.snapshot("staging");
    }

    void cleanUp(bool success) const {
        CleanupTempFiles(success, tree.path("staging").c_str(), tree.path("data").c_str());
    }

    TempTree tree;
    const FileTree staged = stage();
};

const char kSaved[] = "data/VC_Log/TempSave/staging";

TEST_F(KvCleanupStaging, IsDeletedAfterASuccess) {
    const LogCapture log;
    cleanUp(true);
    EXPECT_FALSE(tree.exists("staging"));
    EXPECT_FALSE(tree.exists("data/VC_Log"));
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(KvCleanupStaging, IsSavedAfterAFailure) {
    const LogCapture log;
    cleanUp(false);
    EXPECT_FALSE(tree.exists("staging"));
    EXPECT_EQ(tree.snapshot(kSaved), staged);
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(KvCleanupStaging, IsSavedUnderItsNameWithASeparatorToo) {
    CleanupTempFiles(false, (tree.path("staging") + "/").c_str(),
                     (tree.path("data") + "/").c_str());
    EXPECT_FALSE(tree.exists("staging"));
    EXPECT_EQ(tree.snapshot(kSaved), staged);
}

TEST_F(KvCleanupStaging, OfTheLastFailureAloneIsKept) {
    tree.write("data/VC_Log/TempSave/former/file", "1");
    tree.write("data/VC_Log/TempSave/staging/file", "1");
    tree.write("data/VC_Log/KvuDump.txt", "log");
    cleanUp(false);
    EXPECT_EQ(tree.snapshot(kSaved), staged);
    EXPECT_FALSE(tree.exists("data/VC_Log/TempSave/former"));
    EXPECT_EQ(tree.read("data/VC_Log/KvuDump.txt"), "log");
}

TEST_F(KvCleanupStaging, OfAnEarlierFailureGoesWithASuccess) {
    cleanUp(false);
    tree.write("staging/VcPatch.ini", "[common]\n");
    cleanUp(true);
    EXPECT_FALSE(tree.exists("data/VC_Log/TempSave"));
    EXPECT_FALSE(tree.exists("staging"));
}

TEST_F(KvCleanupStaging, IsSavedAcrossFileSystems) {
    struct stat here {};
    struct stat there {};
    ASSERT_EQ(stat(tree.path().c_str(), &here), 0);
    if (stat("/dev/shm", &there) != 0 || here.st_dev == there.st_dev ||
        access("/dev/shm", W_OK) != 0) {
        GTEST_SKIP() << "there is no second file system at hand";
    }
    std::string far = "/dev/shm/kv-test-XXXXXX";
    ASSERT_NE(mkdtemp(far.data()), nullptr);
    CleanupTempFiles(false, tree.path("staging").c_str(), far.c_str());
    EXPECT_FALSE(tree.exists("staging"));
    fs::rename(tree.makeDir("data"), tree.path("former"));
    fs::copy(far, tree.path("data"), fs::copy_options::recursive);
    fs::remove_all(far);
    EXPECT_EQ(tree.snapshot(kSaved), staged);
}

// Copied into itself it would grow until the names become too long.
TEST_F(KvCleanupStaging, StaysWhereItHoldsTheSaveDirectory) {
    CleanupTempFiles(false, tree.path("staging").c_str(), tree.path("staging/data").c_str());
    FileTree after = staged;
    after["data/"] = after["data/VC_Log/"] = after["data/VC_Log/TempSave/"] = "";
    EXPECT_EQ(tree.snapshot("staging"), after);
}

TEST_F(KvCleanupStaging, IsNotTakenForTheOneWhoseNameItBegins) {
    CleanupTempFiles(false, tree.path("staging").c_str(), tree.path("staging2").c_str());
    EXPECT_EQ(tree.snapshot("staging2/VC_Log/TempSave/staging"), staged);
}

TEST_F(KvCleanupStaging, StaysWhenTheSaveDirectoryHasTooLongAName) {
    const std::string tooLong = tree.path("data") + std::string(1024, '/');
    CleanupTempFiles(false, tree.path("staging").c_str(), tooLong.c_str());
    EXPECT_EQ(tree.snapshot("staging"), staged);
    CleanupTempFiles(true, tree.path("staging").c_str(), tooLong.c_str());
    EXPECT_FALSE(tree.exists("staging"));
    EXPECT_TRUE(tree.exists("data"));
}

// The last failed run was saved by this tool in a directory of its own; a link is somebody else's.
TEST_F(KvCleanupStaging, IsNotSavedThroughALink) {
    tree.write("important/file", "1");
    tree.makeDir("data/VC_Log");
    for (const bool success : {false, true}) {
        ASSERT_EQ(
            symlink(tree.path("important").c_str(), tree.path("data/VC_Log/TempSave").c_str()), 0);
        cleanUp(success);
        EXPECT_EQ(tree.snapshot("important"), (FileTree{{"file", "1"}}));
        EXPECT_FALSE(fs::is_symlink(tree.path("data/VC_Log/TempSave")));
        EXPECT_EQ(tree.exists(kSaved), !success);
        fs::remove_all(tree.path("data/VC_Log/TempSave"));
    }
}

TEST_F(KvCleanupStaging, TakesTheLinksInItAndNothingBehindThem) {
    for (const bool success : {true, false}) {
        tree.write("important/file", "kept");
        (void)stage();
        fs::create_directory_symlink(tree.path("important"), tree.path("staging/3/link"));
        cleanUp(success);
        EXPECT_FALSE(tree.exists("staging"));
        EXPECT_EQ(tree.read("important/file"), "kept");
    }
}

TEST_F(KvCleanupStaging, LosesItsContentsWhenItIsNamedThroughALink) {
    ASSERT_EQ(symlink("staging", tree.path("named").c_str()), 0);
    CleanupTempFiles(true, tree.path("named").c_str(), tree.path("data").c_str());
    EXPECT_THAT(tree.snapshot("staging"), IsEmpty());
    EXPECT_TRUE(fs::is_symlink(tree.path("named")));
}

TEST_F(KvCleanupStaging, IsMovedWhenItIsNamedThroughALink) {
    ASSERT_EQ(symlink("staging", tree.path("named").c_str()), 0);
    CleanupTempFiles(false, tree.path("named").c_str(), tree.path("data").c_str());
    EXPECT_THAT(tree.snapshot("staging"), IsEmpty());
    EXPECT_EQ(tree.snapshot("data/VC_Log/TempSave/named"), staged);
}

TEST_F(KvCleanupStaging, MayBeMissing) {
    for (const bool success : {false, true}) {
        CleanupTempFiles(success, tree.path("nowhere").c_str(), tree.path("data").c_str());
        CleanupTempFiles(success, "", tree.path("data").c_str());
        CleanupTempFiles(success, nullptr, tree.path("data").c_str());
    }
    EXPECT_EQ(tree.snapshot("staging"), staged);
}

// The run's own lock outlives the move: whoever waits for it must not begin on what is being moved.
TEST_F(KvCleanupStaging, IsSavedUnderTheRunsLock) {
    KvVcLock lock;
    ASSERT_TRUE(lock.create(kFileLock, tree.path("staging/VcPatch.ini").c_str(), true));
    ForkedProcess waiter([&](const Talk& talk) {
        const ScopedFd file(open(tree.path("staging/VcPatch.ini.lock").c_str(), O_WRONLY));
        talk.tell();
        struct flock whole {};
        whole.l_type = F_WRLCK;
        return talk.hears() && fcntl(file.get(), F_SETLK, &whole) != 0 ? 0 : 1;
    });
    ASSERT_TRUE(waiter.talk().hears());

    cleanUp(false);
    waiter.talk().tell();

    EXPECT_EQ(waiter.finish(), 0) << "the lock was free";
    FileTree after = staged;
    after["VcPatch.ini.lock"] = "";
    EXPECT_EQ(tree.snapshot(kSaved), after);
}

}  // namespace
