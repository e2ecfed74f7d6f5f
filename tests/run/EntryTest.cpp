// How the binary is entered and left: arguments, paths, switches, the lock and the result file.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <thread>

#include "fileop/KvDiskNames.h"
#include "tests/run/PatchScenario.h"

namespace fs = std::filesystem;

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

// Of a run on the scenario's own directories.
std::string greeting(const PatchScenario& patch) {
    return "Inf VcPatch[1.0.0.1027] argv[1]: " + patch.staging().path() +
           "VC Path: " + patch.velocore().path();
}

// The result file in this directory; "" is the one that the run works in.
std::string resultIn(const std::string& directory) {
    return directory.empty() ? kResultName : directory + "/" + kResultName;
}

std::string writing(const std::string& directory, int status) {
    return "Inf Writing result file (" + resultIn(directory) +
           "), status = " + std::to_string(status);
}

// One waiting file and one item that replaces it.
void planUpdate(PatchScenario& patch) {
    patch.destination().write("a.dat", "old");
    patch.item(3, 5).stage("a.dat", "new");
}

// The same in a description that says so, for runs on arguments of their own.
void writeUpdate(PatchScenario& patch, const char* action = "0") {
    planUpdate(patch);
    patch.set("action", action);
    patch.writeDescription();
}

class BadArguments : public testing::TestWithParam<std::vector<std::string>> {};

// There is no staging directory then: the result lands where the run works, the log beside the
// binary.
TEST_P(BadArguments, EndTheRunAtOnce) {
    PatchScenario patch;
    writeUpdate(patch);

    const RunOutcome run = patch.runWith(GetParam());

    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(patch.tree().read(resultIn("")), "result=57\n");
    EXPECT_THAT(run.log, LogIs({writing("", 57), "Inf VcPatch end."}));
    EXPECT_EQ(run.status, std::nullopt);
    EXPECT_EQ(patch.destination().read("a.dat"), "old");
}

INSTANTIATE_TEST_SUITE_P(Counts, BadArguments,
                         testing::Values(std::vector<std::string>{},
                                         std::vector<std::string>{"staging", "staging"},
                                         std::vector<std::string>{"a", "b", "c"}));

TEST(Entry, SaysWhatItDoesInOrder) {
    PatchScenario patch;
    planUpdate(patch);
    patch.set("backup", "0");
    const std::string file = patch.destination().path("a.dat");

    const RunOutcome run = patch.update();

    EXPECT_THAT(
        run.log,
        LogIs(
            {greeting(patch), "Inf VcPatch Action: update.",
             "Inf update: update with new patch agent.",
             "Inf No patchagent. Use default patchagent inside VC",
             "Inf Call PatchAgent StartAction with: void.",
             "Inf Call PatchAgent StartItem with: NULL_String, 3, 0x5, 0x0, 100, 101",
             "Inf xcopy from: " + patch.staging().path("3/5/*") +
                 " to: " + patch.destination().path(),
             "Inf Call PatchAgent CheckFileEx( " + file + " ) return 1,(OK)",
             "Inf callBackForUpdate: Overwrite file(" + savedName("000") + ", " + file + ") done.",
             "Inf Call PatchAgent EndItem with: TRUE, 100, 101",
             "Inf Call PatchAgent EndAction with: void", "Inf mergeBackupIni: no need to backup.",
             "Inf mergeBackupIni: no backup done.", writing(patch.staging().path(), 0),
             "Inf VcPatch end."}));
}

TEST(Entry, SaysWhatFailsAsAnError) {
    PatchScenario patch;
    patch.without("velocore_path");
    patch.set("itemcount", "1");
    patch.set("action", "0");
    patch.writeDescription();
    (void)patch.runWith({"staging"});

    EXPECT_THAT(
        patch.logIn(patch.dataDir("")),
        LogIs({"Inf VcPatch[1.0.0.1027] argv[1]: stagingVC Path: ", "Inf VcPatch Action: update.",
               "Err phaseIniForUpdate: fetch velocore full path failed.",
               "Inf phaseIniForUpdate: error quit.", "Err update: phaseIniForUpdate failed.",
               writing("staging", 12), "Inf VcPatch end."}));
}

TEST(Entry, KeepsWhatElseTheResultFileHolds) {
    PatchScenario patch;
    writeUpdate(patch, "2");
    const std::unique_ptr<RunningPatch> first = patch.start();
    (void)patch.finish(*first);
    EXPECT_EQ(patch.result(), "result=0\n");

    patch.staging().write(kResultName, "; kept\nother = 1\nresult=99\n\n[more]\nresult=5\n");
    const ChildResult second = runChild(patch.command({patch.staging().path()}));
    EXPECT_EQ(second.exitCode, 0);
    EXPECT_EQ(patch.result(), "; kept\nother=1\nresult=0\n\n[more]\nresult=5\n");
}

struct Waiting {
    const char* value;
    bool isWaitedFor;
};

class NoWaiting : public testing::TestWithParam<Waiting> {};

// Only the number 1 counts.
TEST_P(NoWaiting, DecidesAboutTheResultFile) {
    PatchScenario patch;
    planUpdate(patch);
    patch.set("nowaiting", GetParam().value);

    const RunOutcome run = patch.update();

    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.status.has_value(), GetParam().isWaitedFor);
    EXPECT_EQ(patch.tree().exists("staging"), GetParam().isWaitedFor);
    EXPECT_EQ(patch.destination().read("a.dat"), "new");
    EXPECT_THAT(run.log, LogEndsWith({"Inf VcPatch end."}));
}

INSTANTIATE_TEST_SUITE_P(Values, NoWaiting,
                         testing::Values(Waiting{"1", false}, Waiting{"1x", false},
                                         Waiting{" 01 ", false}, Waiting{"yes", true},
                                         Waiting{"10", true}, Waiting{"0", true}, Waiting{"", true},
                                         Waiting{"-1", true}, Waiting{"2", true}));

TEST(Entry, TakesARelativeStagingPath) {
    PatchScenario patch;
    writeUpdate(patch);

    const RunOutcome run = patch.runWith({"./staging/"});

    EXPECT_EQ(run.status, 0);
    EXPECT_THAT(run.log, LogHas({writing("./staging", 0)}));
    EXPECT_EQ(patch.destination().read("a.dat"), "new");
}

TEST(Entry, CutsAStagingPathThatIsTooLong) {
    PatchScenario patch;
    writeUpdate(patch);
    std::string deep = patch.tree().path();
    while (deep.size() < 1500) {
        deep += "/" + std::string(std::min<size_t>(100, 1500 - deep.size()), 'd');
    }
    fs::create_directories(deep);
    fs::copy(patch.staging().path(), deep, fs::copy_options::recursive);

    const RunOutcome run = patch.runWith({deep});

    // The description is read where it is, but the paths of the run hold 1,023 bytes.
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_THAT(run.log, LogHas({"Inf VcPatch[1.0.0.1027] argv[1]: " + deep +
                                     "VC Path: " + patch.velocore().path(),
                                 "Inf VcPatch Action: update.", writing(deep.substr(0, 1023), 0)}));
    EXPECT_THAT(run.log, LogEndsWith({"Inf VcPatch end."}));
    EXPECT_FALSE(fs::exists(resultIn(deep)));
    EXPECT_EQ(patch.destination().read("a.dat"), "old");
}

TEST(Entry, GoesOnWithoutLockAndResultInAReadOnlyStagingDirectory) {
    PatchScenario patch;
    patch.asOrdinaryUser();
    writeUpdate(patch);
    fs::permissions(patch.staging().path(), fs::perms::owner_write, fs::perm_options::remove);

    const RunOutcome run = patch.runWith({patch.staging().path()});

    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.status, std::nullopt);
    EXPECT_FALSE(fs::exists(patch.lockPath()));
    EXPECT_EQ(patch.destination().read("a.dat"), "new");
    EXPECT_THAT(run.log, LogEndsWith({"Inf VcPatch end."}));
}

TEST(Entry, FindsNoActionWithoutAStagingDirectory) {
    PatchScenario patch;
    const RunOutcome run = patch.runWith({patch.tree().path("nowhere")});

    EXPECT_EQ(run.exitCode, 0);
    EXPECT_FALSE(patch.tree().exists("nowhere"));
    EXPECT_THAT(
        patch.logIn(patch.dataDir("")),
        LogIs(
            {"Inf VcPatch[1.0.0.1027] argv[1]: " + patch.tree().path("nowhere") + "VC Path: ",
             "Err VcPatch fetch (common:action) failed.", writing(patch.tree().path("nowhere"), 57),
             "Err Cause: " + resultIn(patch.tree().path("nowhere")) + ": No such file or directory",
             "Inf VcPatch end."}));
}

TEST(Entry, TakesTheWorkingDirectoryForAnEmptyArgument) {
    PatchScenario patch;
    writeUpdate(patch, "2");
    patch.workIn(patch.staging().path());
    EXPECT_EQ(patch.runWith({""}).status, 0);
}

// Without an installation root the data directory is that in the working directory.
TEST(Entry, WorksWithoutAVelocorePath) {
    const std::pair<const char*, int> cases[] = {{"0", 4}, {"1", 5}};
    for (const auto& [action, status] : cases) {
        PatchScenario patch;
        patch.without("velocore_path");
        patch.set("action", action);
        patch.set("itemcount", "0");
        const RunOutcome run = patch.run();
        EXPECT_EQ(run.status, status);
        EXPECT_THAT(run.log, IsEmpty());
        EXPECT_THAT(patch.logIn(patch.dataDir("")), LogEndsWith({"Inf VcPatch end."}));
    }
}

TEST(Entry, NeedsAVelocorePathForItems) {
    for (const char* const action : {"0", "1"}) {
        PatchScenario patch;
        planUpdate(patch);
        patch.without("velocore_path");
        patch.set("action", action);
        EXPECT_EQ(patch.run().status, 12);
    }
}

TEST(Entry, LogsUnderTheRootItselfInTheOldOrganisation) {
    PatchScenario patch;
    planUpdate(patch);
    patch.configure("[common]\nbkd_use_old_dir_organization=1\n");
    EXPECT_EQ(patch.update().status, 0);

    EXPECT_THAT(patch.logIn("vc"), LogEndsWith({"Inf VcPatch end."}));
    EXPECT_FALSE(patch.tree().exists(patch.dataDir()));
}

// The second byte of this character is a backslash to who does not know the code page.
TEST(Entry, KeepsDoubleByteCharactersOfTheCodePageWhole) {
    PatchScenario patch;
    const std::string name = "\x83\x5C";
    std::error_code refused;
    fs::create_directory(patch.destination().path(name), refused);
    if (refused) {
        GTEST_SKIP() << "file names here are UTF-8 only";
    }
    patch.item(3, 5).stage("a.dat", "new").to("app/" + name);

    patch.set("codepage", "932");
    EXPECT_EQ(patch.update().status, 0);
    EXPECT_EQ(patch.destination().read(name + "/a.dat"), "new");

    patch.without("codepage");
    EXPECT_EQ(patch.update().status, 0);
    EXPECT_EQ(patch.destination().read("\x83/a.dat"), "new");
}

// Two real processes on one staging directory: the second begins when the first has ended.
TEST(Entry, WaitsForAnotherRunOnTheSameStagingDirectory) {
    PatchScenario patch;
    planUpdate(patch);
    const std::string gate = patch.tree().path("gate");
    ScriptedAgent& agent = patch.agent(ScriptedAgent::kNew);
    agent.script("StartAction waits " + gate);
    patch.set("action", "0");
    patch.writeDescription();

    const std::unique_ptr<RunningPatch> first = patch.start();
    while (agent.calls().empty()) {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    const std::unique_ptr<RunningPatch> second = patch.start();
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    EXPECT_THAT(agent.calls(), ElementsAre("StartAction()"));

    patch.tree().write("gate", "");
    EXPECT_EQ(patch.finish(*first).exitCode, 0);
    EXPECT_EQ(patch.finish(*second).status, 0);
    EXPECT_THAT(
        agent.calls(),
        ElementsAre("StartAction()", StartsWith("StartItem"), StartsWith("CheckFileEx"),
                    StartsWith("EndItem"), "EndAction()", "StartAction()", StartsWith("StartItem"),
                    StartsWith("CheckFileEx"), StartsWith("EndItem"), "EndAction()"));
}

TEST(Entry, LeavesTheLockFileBehind) {
    PatchScenario patch;
    planUpdate(patch);
    (void)patch.update();

    struct stat status {};
    ASSERT_EQ(stat(patch.lockPath().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0600U);
    EXPECT_EQ(status.st_size, 0);
}

// A lock dies with its process.
TEST(Entry, IsNotHeldUpByAKilledRun) {
    PatchScenario patch;
    planUpdate(patch);
    ScriptedAgent& agent = patch.agent(ScriptedAgent::kNew);
    agent.script("StartAction kills");
    const RunOutcome killed = patch.update();
    EXPECT_EQ(killed.exitCode, -1);
    EXPECT_THAT(killed.log, LogLacks({"VcPatch end."}));

    agent.forgetScript();
    EXPECT_EQ(patch.update().status, 0);
}

TEST(Entry, PrintsNothing) {
    PatchScenario patch;
    writeUpdate(patch);
    const ChildResult run = runChild(patch.command({patch.staging().path()}));
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "");
}

}  // namespace
