// Runs whose result nobody waits for: they clean up behind themselves.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "fileop/KvDiskNames.h"
#include "fileop/KvVcLock.h"
#include "tests/run/PatchScenario.h"
#include "tests/support/ForkedProcess.h"

namespace fs = std::filesystem;

namespace {

using testing::IsEmpty;

// An update that replaces one file and was downloaded into a cache; nobody waits for its result.
class Unattended : public testing::Test {
  protected:
    Unattended() { plan(); }

    void plan() {
        patch.destination().write("a.dat", "old");
        patch.item(3, 5).stage("a.dat", "new");
        patch.set("nowaiting", "1");
        cache.write("sub/data.bin", "download");
        cache.write("sub/data.etag", "tag");
        patch.append("[cachedfiles]\ncachepath=" + cache.path() +
                     "\ncachedfilescount=1\ncachedfile_0=sub/,data.bin,data.etag,1\n");
    }

    PatchScenario patch;
    const ScenarioDir cache = patch.destination("cache");
    const ScenarioDir saved = patch.saveDir();
};

TEST_F(Unattended, SuccessLeavesNeitherCacheNorStaging) {
    const RunOutcome run = patch.update();

    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.status, std::nullopt);
    EXPECT_EQ(patch.destination().read("a.dat"), "new");
    EXPECT_FALSE(patch.tree().exists("staging"));
    EXPECT_THAT(cache.files(), IsEmpty());
    EXPECT_FALSE(fs::exists(saved.path()));
    EXPECT_THAT(run.log, LogEndsWith({"Inf VcPatch end."}));
}

TEST_F(Unattended, FailureSavesStagingAndLeavesTheCache) {
    patch.agent(ScriptedAgent::kNew).script("CheckFileEx = -1");
    const FileTree before = cache.files();

    const RunOutcome run = patch.update();

    EXPECT_EQ(run.exitCode, 0);
    EXPECT_FALSE(patch.tree().exists("staging"));
    EXPECT_EQ(saved.read("staging/3/5/a.dat"), "new");
    EXPECT_TRUE(saved.has(patch.savedDescription()));
    EXPECT_FALSE(saved.has(std::string("staging/") + kResultName));
    EXPECT_EQ(cache.files(), before);
    EXPECT_THAT(run.log, LogEndsWith({"Inf VcPatch end."}));
}

// Status 1 is a success to who reads it, but not the plain one that the clean-up asks for.
TEST_F(Unattended, AnUpdateThatAwaitsTheRestartCountsAsFailure) {
    patch.agent(ScriptedAgent::kNew).script("CheckFileEx = -2");
    const FileTree before = cache.files();
    (void)patch.update();
    EXPECT_EQ(saved.read("staging/3/5/a.dat"), "new");
    EXPECT_EQ(cache.files(), before);
}

TEST_F(Unattended, SuccessDropsWhatAnEarlierFailureLeft) {
    ScriptedAgent& agent = patch.agent(ScriptedAgent::kNew);
    agent.script("StartAction = 1");
    (void)patch.update();
    ASSERT_TRUE(saved.has(patch.savedDescription()));

    agent.forgetScript();
    patch.clearStaging();
    plan();
    (void)patch.update();
    EXPECT_FALSE(fs::exists(saved.path()));
    EXPECT_FALSE(patch.tree().exists("staging"));
}

TEST_F(Unattended, FailureReplacesWhatAnEarlierOneLeft) {
    saved.write("staging/former", "1");
    saved.write("other/former", "1");
    patch.set("action", "7");
    (void)patch.run();
    EXPECT_FALSE(saved.has("staging/former"));
    EXPECT_FALSE(saved.has("other"));
    EXPECT_EQ(saved.read("staging/3/5/a.dat"), "new");
}

TEST_F(Unattended, RollbackAndNoOpLeaveTheCache) {
    for (const char* const action : {"1", "2"}) {
        patch.clearStaging();
        plan();
        patch.set("nowaiting", "0");
        ASSERT_EQ(patch.update().status, 0);
        const FileTree before = cache.files();

        patch.set("nowaiting", "1");
        patch.set("action", action);
        const RunOutcome run = patch.run();

        EXPECT_EQ(cache.files(), before);
        EXPECT_FALSE(patch.tree().exists("staging"));
        EXPECT_THAT(run.log, LogEndsWith({"Inf VcPatch end."}));
    }
}

TEST_F(Unattended, WaitedForUpdateLeavesTheCache) {
    patch.set("nowaiting", "0");
    const FileTree before = cache.files();
    EXPECT_EQ(patch.update().status, 0);
    EXPECT_EQ(cache.files(), before);
    EXPECT_TRUE(patch.staging().has("3/5/a.dat"));
}

TEST_F(Unattended, CleansTheCacheBeforeTheStaging) {
    patch.configure("[Debug]\nLevel=-1\n");
    EXPECT_THAT(patch.update().log,
                LogEndsWith({"Inf Flag \"keep_cache_file_on_success\" in configure file is off. "
                             "Remove cached files.",
                             "Inf Remove cached file[" + cache.path("sub/data.bin") + "].",
                             "Inf Remove etag file[" + cache.path("sub/data.etag") + "].",
                             "Inf VcPatch Action: remove cached files succeed.",
                             "Inf Directory [" + cache.path("sub") + "] is empty, deleted.",
                             "Inf VcPatch end."}));
}

TEST_F(Unattended, SaysNothingOfTheCacheByDefault) {
    EXPECT_THAT(patch.update().log, LogLacks({"cache"}));
}

TEST_F(Unattended, TellsTheFlagFromLevelThree) {
    patch.configure("[Debug]\nLevel=3\n[Downloader]\nkeep_cache_file_on_success=1\n");
    const FileTree before = cache.files();
    const RunOutcome run = patch.update();
    EXPECT_THAT(run.log, LogHas({"Inf Flag \"keep_cache_file_on_success\" in configure file is on. "
                                 "Don't remove cached files."}));
    EXPECT_THAT(run.log, LogLacks({"VcPatch Action: remove cached files succeed."}));
    EXPECT_EQ(cache.files(), before);
}

TEST_F(Unattended, LeavesAnUnmanagedCacheAlone) {
    patch.configure("[Downloader]\nUseCacheManagement=0\n");
    const FileTree before = cache.files();
    (void)patch.update();
    EXPECT_EQ(cache.files(), before);
    EXPECT_FALSE(patch.tree().exists("staging"));
}

TEST_F(Unattended, KeepsACachedFileThatADownloadHolds) {
    ForkedProcess download([&](const Talk& talk) {
        KvVcLock lock(kFileAndThreadLock, cache.path("sub/data.bin").c_str(), true);
        talk.tell();
        return talk.hears() && lock.isLocked() ? 0 : 1;
    });
    ASSERT_TRUE(download.talk().hears());
    (void)patch.update();
    download.talk().tell();

    EXPECT_EQ(download.finish(), 0);
    EXPECT_TRUE(cache.has("sub/data.bin"));
    EXPECT_FALSE(cache.has("sub/data.etag"));
    EXPECT_FALSE(patch.tree().exists("staging"));
}

TEST_F(Unattended, SavesUnderTheRootItselfInTheOldOrganisation) {
    patch.configure("[common]\nbkd_use_old_dir_organization=1\n");
    patch.set("action", "7");
    (void)patch.run();
    EXPECT_TRUE(patch.saveDir("vc").has(patch.savedDescription()));
}

TEST_F(Unattended, SavesBesideTheRunWithoutAVelocorePath) {
    patch.without("velocore_path");
    (void)patch.update();
    EXPECT_TRUE(patch.saveDir(patch.dataDir("")).has(patch.savedDescription()));
    EXPECT_FALSE(patch.tree().exists("staging"));
}

TEST_F(Unattended, StaysWhereTheSaveDirectoryWouldLieInIt) {
    patch.without("velocore_path");
    patch.workIn(patch.staging().path());
    const RunOutcome run = patch.update();
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(patch.staging().read("3/5/a.dat"), "new");
    EXPECT_THAT(patch.saveDir(patch.dataDir("staging")).files(), IsEmpty());
}

}  // namespace
