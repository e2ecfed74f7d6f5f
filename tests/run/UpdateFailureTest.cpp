// Updates that fail part-way: afterwards the destinations are what they were, in content and time.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/run/AgentRule.h"
#include "tests/run/PatchScenario.h"
#include "tests/run/TwoItemUpdate.h"

namespace fs = std::filesystem;

namespace {

class UpdateRefused : public testing::TestWithParam<AgentRule> {};

TEST_P(UpdateRefused, LeavesEverythingAsItWas) {
    PatchScenario patch;
    planTwoItems(patch);
    patch.agent(GetParam().which).script(GetParam().rule);
    const Destinations before(patch);

    const RunOutcome run = patch.update();

    EXPECT_EQ(run.status, 60);
    EXPECT_THAT(run.log, LogHas({"Inf updateWithPatchAgent: error quit.",
                                 "Err update: updateWithPatchAgent failed."}));
    expectSame(before, Destinations(patch));
    expectEmptyStore(patch.destination("app"));
    expectEmptyStore(patch.destination("lib"));
}

INSTANTIATE_TEST_SUITE_P(ByANewAgent, UpdateRefused,
                         newAgent({"StartAction = 1", "StartAction = 2", "StartItem #1 = 0",
                                   "StartItem #2 = 0", "EndItem #1 = 0", "EndItem #2 = 0",
                                   "CheckFileEx #1 = -1", "CheckFileEx #2 = -1",
                                   "CheckFileEx #3 = -1", "CheckFileEx #4 = -1",
                                   "CheckFileEx #5 = -1", "CheckFileEx #6 = -1",
                                   // The rollback's own calls fail as well.
                                   "CheckFileEx #6 = -1\nStartItem #3 = 0\n"
                                   "StartItem #4 = 0\nEndItem = 0"}));

INSTANTIATE_TEST_SUITE_P(ByAnOldAgent, UpdateRefused,
                         oldAgent({"StartPatch = 1", "StartPatch = 2", "StartPattern #1 = 0",
                                   "StartEngine #1 = 0", "EndPattern #1 = 0", "EndEngine #1 = 0",
                                   "CheckFile #1 = -1", "CheckFile #2 = -1", "CheckFile #3 = -1",
                                   "CheckFile #4 = -1", "CheckFile #5 = -1", "CheckFile #6 = -1",
                                   "CheckFile #6 = -1\nStartPattern #2 = 0\nStartEngine #2 = 0\n"
                                   "EndPattern = 0\nEndEngine = 0"}));

class ThirdItemRefused : public testing::TestWithParam<AgentRule> {};

TEST_P(ThirdItemRefused, LeavesEverythingAsItWas) {
    PatchScenario patch;
    planTwoItems(patch);
    patch.destination().write("e.dat", "old e");
    patch.tree().setTime("app/e.dat", kLongAgo);
    patch.item(1, 7).versions("5.2", "6.0").stage("e.dat", "new e").stage("f.dat", "new f");
    patch.agent(GetParam().which).script(GetParam().rule);
    const Destinations before(patch);

    EXPECT_EQ(patch.update().status, 60);

    expectSame(before, Destinations(patch));
    expectEmptyStore(patch.destination("app"));
    expectEmptyStore(patch.destination("lib"));
}

INSTANTIATE_TEST_SUITE_P(ByANewAgent, ThirdItemRefused,
                         newAgent({"StartItem #3 = 0", "EndItem #3 = 0", "CheckFileEx #8 = -1"}));
INSTANTIATE_TEST_SUITE_P(ByAnOldAgent, ThirdItemRefused,
                         oldAgent({"StartProduct #1 = 0", "EndProduct #1 = 0",
                                   "CheckFile #8 = -1"}));

// Old files are saved whatever the description says of a backup.
TEST(UpdateFailure, IsUndoneWithoutABackupToo) {
    PatchScenario patch;
    planTwoItems(patch);
    patch.set("backup", "0");
    patch.agent(ScriptedAgent::kNew).script("EndItem #2 = 0");
    const Destinations before(patch);

    EXPECT_EQ(patch.update().status, 60);

    expectSame(before, Destinations(patch));
    expectEmptyStore(patch.destination("app"));
    expectEmptyStore(patch.destination("lib"));
}

TEST(UpdateFailure, BeforeTheFirstItemMakesNoRollback) {
    PatchScenario patch;
    planTwoItems(patch);
    patch.agent(ScriptedAgent::kNew).script("StartAction = 2");

    const RunOutcome run = patch.update();

    EXPECT_THAT(run.log, LogLacks({"updateWithPatchAgent: auto rollback."}));
}

TEST(UpdateFailure, TellsTheAgentOfTheReachedItemsOnly) {
    PatchScenario patch;
    planTwoItems(patch);
    ScriptedAgent& agent = patch.agent(ScriptedAgent::kNew);
    agent.script("StartItem #2 = 0");

    const RunOutcome run = patch.update();

    const std::vector<std::string> calls = agent.calls();
    ASSERT_GE(calls.size(), 4U);
    EXPECT_EQ(
        std::vector<std::string>(calls.end() - 4, calls.end()),
        (std::vector<std::string>{
            "StartItem(NULL, 2, 4, 0x0, 0x52000/0, 0x60000/0)", "EndItem(0, 0x52000/0, 0x60000/0)",
            "StartItem(, 3, 5, 0x2, 0x65/0, 0x64/0)", "EndItem(1, 0x65/0, 0x64/0)"}));
    EXPECT_THAT(run.log, LogHas({"Inf updateWithPatchAgent: auto rollback.",
                                 "Inf updateWithPatchAgent: auto rollback done."}));
}

// The agent that ends an item badly outweighs the disk.
TEST(UpdateFailure, ReportsTheAgentWhenTheDiskFailedToo) {
    PatchScenario patch;
    planTwoItems(patch);
    fs::create_directories(patch.destination().path("added.dat"));
    patch.agent(ScriptedAgent::kNew).script("EndItem = 0");

    const RunOutcome run = patch.update();

    EXPECT_EQ(run.status, 60);
    EXPECT_THAT(run.log, LogHas({"Err updateWithPatchAgent: xcopy failed, disk access.",
                                 "Err updateWithPatchAgent: end item failed."}));
}

class FileInTurn : public testing::TestWithParam<std::string> {
  protected:
    FileInTurn() { planTwoItems(patch); }

    void expectUndoneDiskFailure() {
        const Destinations before(patch);
        const RunOutcome run = patch.update();
        EXPECT_EQ(run.status, 58);
        EXPECT_THAT(run.log, LogHas({"Err updateWithPatchAgent: xcopy failed, disk access."}));
        expectSame(before, Destinations(patch));
    }
    void expectDiskFailure() {
        expectUndoneDiskFailure();
        expectEmptyStore(patch.destination("app"));
        expectEmptyStore(patch.destination("lib"));
    }
    // What the stores of both destinations hold.
    [[nodiscard]] std::vector<std::string> savedContents() const {
        std::vector<std::string> contents;
        for (const char* destination : {"app", "lib"}) {
            for (const auto& entry : patch.destination(destination).store()) {
                if (entry.first.back() != '/') {
                    contents.push_back(entry.second);
                }
            }
        }
        return contents;
    }

    PatchScenario patch;
};

TEST_P(FileInTurn, FindsADirectoryInItsWay) {
    fs::remove(patch.tree().path(GetParam()));
    patch.tree().write(GetParam() + "/inner", "kept");
    patch.tree().setTime(GetParam() + "/inner", kLongAgo);
    expectDiskFailure();
}

TEST_P(FileInTurn, CannotBeReadFromTheStagingDirectory) {
    const std::string item = GetParam().substr(0, 3) == "app" ? "staging/3/5" : "staging/2/4";
    const std::string staged = patch.tree().path(item + GetParam().substr(3));
    fs::permissions(staged, fs::perms::none);
    patch.asOrdinaryUser();
    expectDiskFailure();
}

INSTANTIATE_TEST_SUITE_P(Each, FileInTurn, testing::ValuesIn(kTouchedFiles));

class OldFileInTurn : public FileInTurn {};

// A file that cannot be put back keeps its copy, whatever the file itself has become.
TEST_P(OldFileInTurn, MayBeReadButNotWritten) {
    fs::permissions(patch.tree().path(GetParam()), fs::perms::owner_read);
    patch.asOrdinaryUser();
    expectUndoneDiskFailure();
    EXPECT_EQ(savedContents(), std::vector<std::string>{"old " + GetParam()});
}

INSTANTIATE_TEST_SUITE_P(Each, OldFileInTurn, testing::ValuesIn(kOldFiles));

TEST(UpdateFailure, FindsAFileWhereADirectoryShouldGo) {
    PatchScenario patch;
    planTwoItems(patch);
    fs::remove_all(patch.destination("lib").path("sub"));
    patch.destination("lib").write("sub", "a file");
    const Destinations before(patch);

    const RunOutcome run = patch.update();

    EXPECT_EQ(run.status, 58);
    expectSame(before, Destinations(patch));
}

TEST(UpdateFailure, FindsAFileWhereTheDestinationShouldBe) {
    PatchScenario patch;
    patch.tree().write("file", "kept");
    patch.item(3, 5).stage("a.dat", "a").set("destination", patch.tree().path("file"));

    const RunOutcome run = patch.update();

    // A pattern cannot be copied onto a file.
    EXPECT_EQ(run.status, 12);
    EXPECT_THAT(run.log, LogHas({"Err updateWithPatchAgent: xcopy failed, bad parameters."}));
    EXPECT_EQ(patch.tree().read("file"), "kept");
}

TEST(UpdateFailure, CannotWriteIntoTheDestination) {
    PatchScenario patch;
    planTwoItems(patch);
    patch.asOrdinaryUser();
    fs::permissions(patch.destination("lib").path(), fs::perms::owner_read | fs::perms::owner_exec);
    const Destinations before(patch);

    const RunOutcome run = patch.update();

    EXPECT_EQ(run.status, 58);
    expectSame(before, Destinations(patch));
}

TEST(UpdateFailure, LeavesTheStoreOfEarlierGenerationsAlone) {
    PatchScenario patch;
    planTwoItems(patch);
    EXPECT_EQ(patch.update().status, 0);
    const FileTree appStore = patch.destination("app").store();
    const FileTree libStore = patch.destination("lib").store();

    patch.clearStaging();
    patch.item(3, 5).stage("a.dat", "newer a");
    patch.item(2, 4).to("lib").versions("6.0", "6.1").stage("c.dat", "newer c");
    patch.agent(ScriptedAgent::kNew).script("EndItem #2 = 0");
    const Destinations before(patch);
    EXPECT_EQ(patch.update().status, 60);

    expectSame(before, Destinations(patch));
    EXPECT_EQ(patch.destination("app").store(), appStore);
    EXPECT_EQ(patch.destination("lib").store(), libStore);
}

TEST(UpdateFailure, PutsBackWhatTwoItemsReplacedInTurn) {
    PatchScenario patch;
    patch.destination().write("a.dat", "old");
    patch.tree().setTime("app/a.dat", kLongAgo);
    patch.item(3, 5).stage("a.dat", "first").stage("b.dat", "first");
    patch.item(3, 6).stage("a.dat", "second").stage("b.dat", "second");
    patch.agent(ScriptedAgent::kNew).script("EndItem #2 = 0");

    EXPECT_EQ(patch.update().status, 60);

    EXPECT_EQ(patch.destination().files(), (FileTree{{"a.dat", "old"}}));
    EXPECT_EQ(patch.tree().time("app/a.dat"), kLongAgo);
    expectEmptyStore(patch.destination());
}

TEST(UpdateFailure, PutsFilesBackWhereTheAgentHadThemGo) {
    PatchScenario patch;
    patch.tree().write("moved/a.dat", "old");
    patch.tree().setTime("moved/a.dat", kLongAgo);
    patch.item(3, 5).stage("a.dat", "new").stage("b.dat", "more");
    patch.agent(ScriptedAgent::kOld)
        .script("EndPattern #1 = 0\nGetPatternPath = " + patch.tree().path("moved"));

    EXPECT_EQ(patch.update().status, 60);

    EXPECT_EQ(patch.destination("moved").files(), (FileTree{{"a.dat", "old"}}));
    EXPECT_EQ(patch.tree().time("moved/a.dat"), kLongAgo);
    expectEmptyStore(patch.destination());
}

TEST(UpdateFailure, DeletesAnAddedFileWithACommaOrABlankInItsName) {
    PatchScenario patch;
    patch.destination().write("a.dat", "kept");
    patch.tree().setTime("app/a.dat", kLongAgo);
    patch.item(3, 5).stage("a,b.dat", "new").stage("c d.dat", "new");
    patch.agent(ScriptedAgent::kNew).script("EndItem #1 = 0");

    EXPECT_EQ(patch.update().status, 60);

    EXPECT_EQ(patch.destination().files(), (FileTree{{"a.dat", "kept"}}));
    EXPECT_EQ(patch.tree().time("app/a.dat"), kLongAgo);
}

TEST(UpdateFailure, KeepsADeferredFileAndItsTime) {
    PatchScenario patch;
    planTwoItems(patch);
    patch.agent(ScriptedAgent::kNew).script("CheckFileEx = -2\nEndItem #2 = 0");
    const Destinations before(patch);

    EXPECT_EQ(patch.update().status, 60);

    expectSame(before, Destinations(patch));
    expectEmptyStore(patch.destination("app"));
}

}  // namespace
