// Rollbacks that fail part-way: afterwards the destinations are what they were, in content and
// time.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "fileop/KvDiskNames.h"
#include "tests/run/AgentRule.h"
#include "tests/run/PatchScenario.h"
#include "tests/run/TwoItemUpdate.h"

namespace fs = std::filesystem;

namespace {

using testing::Contains;

struct Stores {
    explicit Stores(const PatchScenario& patch)
        : app(patch.destination("app").store()), lib(patch.destination("lib").store()) {}

    FileTree app;
    FileTree lib;
};

// Copies that were put in place are used up; nothing else differs.
void expectNothingNew(const FileTree& before, const FileTree& after) {
    EXPECT_EQ(before.at(kBackupRecordName), after.at(kBackupRecordName));
    for (const auto& [name, content] : after) {
        const auto found = before.find(name);
        EXPECT_TRUE(found != before.end() && found->second == content) << name;
    }
}

// An updated product of two items on two destinations. The second item, on "lib", is rolled back
// first.
class RollbackFailure : public testing::Test {
  protected:
    void updateWith(ScriptedAgent::Interface which) {
        agent = &patch.agent(which);
        update();
    }

    void update() {
        planTwoItems(patch);
        ASSERT_EQ(patch.update().status, 0);
        if (agent != nullptr) {
            agent->forgetCalls();
        }
    }

    RunOutcome expectUndone(int status) {
        const Destinations before(patch);
        const Stores stores(patch);
        RunOutcome run = patch.rollback();
        EXPECT_EQ(run.status, status);
        expectSame(before, Destinations(patch));
        expectNothingNew(stores.app, patch.destination("app").store());
        expectNothingNew(stores.lib, patch.destination("lib").store());
        return run;
    }

    void expectFirstTrees() const {
        EXPECT_EQ(patch.destination("app").files(), (FileTree{{"a.dat", "old app/a.dat"},
                                                              {"sub/", ""},
                                                              {"sub/b.dat", "old app/sub/b.dat"}}));
        EXPECT_EQ(patch.destination("lib").files(), (FileTree{{"c.dat", "old lib/c.dat"},
                                                              {"sub/", ""},
                                                              {"sub/d.dat", "old lib/sub/d.dat"}}));
        for (const std::string& name : kOldFiles) {
            EXPECT_EQ(patch.tree().time(name), kLongAgo) << name;
        }
    }

    PatchScenario patch;
    ScriptedAgent* agent = nullptr;
};

class RollbackRefused : public RollbackFailure, public testing::WithParamInterface<AgentRule> {};

TEST_P(RollbackRefused, LeavesEverythingAsItWas) {
    updateWith(GetParam().which);
    agent->script(GetParam().rule);
    (void)expectUndone(60);
}

INSTANTIATE_TEST_SUITE_P(
    ByANewAgent, RollbackRefused,
    newAgent({"IsRollbackEx = 0", "StartAction = 1", "StartItem #1 = 0", "StartItem #2 = 0",
              "EndItem #1 = 0", "EndItem #2 = 0", "CheckFileEx #1 = -1", "CheckFileEx #2 = -1",
              "CheckFileEx #3 = -1", "CheckFileEx #4 = -1", "CheckFileEx #5 = -1",
              "CheckFileEx #6 = -1",
              // Files that were left alone stay so.
              "CheckFileEx #5 = -1\nCheckFileEx #2 = 0\nCheckFileEx #1 = -2",
              // The undoing's own calls fail as well.
              "CheckFileEx #6 = -1\nStartItem #3 = 0\nStartItem #4 = 0\nEndItem = 0"}));

INSTANTIATE_TEST_SUITE_P(ByAnOldAgent, RollbackRefused,
                         oldAgent({"IsRollback = 0", "StartPatch = 1", "StartEngine #1 = 0",
                                   "StartPattern #1 = 0", "EndEngine #1 = 0", "EndPattern #1 = 0",
                                   "CheckFile #1 = -1", "CheckFile #2 = -1", "CheckFile #3 = -1",
                                   "CheckFile #4 = -1", "CheckFile #5 = -1", "CheckFile #6 = -1",
                                   "CheckFile #6 = -1\nStartPattern #2 = 0\nStartEngine #2 = 0\n"
                                   "EndPattern = 0\nEndEngine = 0"}));

class RollbackWithAProgramOpen : public RollbackRefused {};

// The one refusal with a status of its own.
TEST_P(RollbackWithAProgramOpen, LeavesEverythingAsItWas) {
    updateWith(GetParam().which);
    agent->script(GetParam().rule);
    (void)expectUndone(3);
}

INSTANTIATE_TEST_SUITE_P(ByANewAgent, RollbackWithAProgramOpen, newAgent({"StartAction = 2"}));
INSTANTIATE_TEST_SUITE_P(ByAnOldAgent, RollbackWithAProgramOpen, oldAgent({"StartPatch = 2"}));

TEST_F(RollbackFailure, BeforeTheFirstItemUndoesNothing) {
    updateWith(ScriptedAgent::kNew);
    agent->script("StartAction = 1");
    const RunOutcome run = expectUndone(60);
    EXPECT_THAT(run.log, LogHas({"Inf rollbackWithPatchAgent: error quit.",
                                 "Err rollback: rollbackWithPatchAgent failed."}));
    EXPECT_THAT(run.log, LogLacks({"rollbackWithPatchAgent: auto rollback."}));
}

// The one that was refused has no class and no versions yet, but its place is known.
TEST_F(RollbackFailure, TellsTheAgentOfTheRefusedItemToo) {
    updateWith(ScriptedAgent::kNew);
    agent->script("StartItem #2 = 0");

    const RunOutcome run = expectUndone(60);

    const std::vector<std::string> calls = agent->calls();
    ASSERT_GE(calls.size(), 6U);
    EXPECT_EQ(
        std::vector<std::string>(calls.end() - 6, calls.end()),
        (std::vector<std::string>{
            "StartItem(NULL, 3, 5, 0x2, 0x64/0, 0x65/0)", "EndItem(0, 0x64/0, 0x65/0)",
            "StartItem(, 2, 4, 0x2, 0x60000/0, 0x52000/0)", "EndItem(1, 0x60000/0, 0x52000/0)",
            "StartItem(, 0, 0, 0x2, 0x0/0, 0x0/0)", "EndItem(1, 0x0/0, 0x0/0)"}));
    EXPECT_THAT(run.log, LogHas({"Err rollbackWithPatchAgent: start item failed.",
                                 "Inf rollbackWithPatchAgent: auto rollback done."}));
}

// The agent that ends an item badly outweighs the disk.
TEST_F(RollbackFailure, ReportsTheAgentWhenTheDiskFailedToo) {
    updateWith(ScriptedAgent::kNew);
    fs::remove(patch.destination("lib").recordPath());
    agent->script("EndItem #1 = 0");

    const RunOutcome run = patch.rollback();

    EXPECT_EQ(run.status, 60);
    EXPECT_THAT(agent->calls(), Contains("EndItem(0, 0x52000/0, 0x60000/0)"));
    EXPECT_THAT(run.log, LogHas({"Err rollbackWithPatchAgent: access failed.",
                                 "Err rollbackWithPatchAgent: end item failed.",
                                 "Err rollbackWithPatchAgent: item failed."}));
}

TEST_F(RollbackFailure, AtTheFirstItemCanBeTriedAgain) {
    updateWith(ScriptedAgent::kNew);
    agent->script("StartItem = 0");
    (void)expectUndone(60);
    agent->forgetScript();

    EXPECT_EQ(patch.rollback().status, 0);

    expectFirstTrees();
}

TEST_F(RollbackFailure, AtAMissingRecordUndoesTheItemsBefore) {
    update();
    const std::string record = patch.destination("app").recordPath();
    fs::remove(record);
    const Destinations before(patch);
    const Stores stores(patch);

    const RunOutcome run = patch.rollback();

    EXPECT_EQ(run.status, 58);
    EXPECT_THAT(run.log, LogHas({"Inf rollbackItem: rollback added file done.",
                                 "Err rollbackItem: " + record + " doesnot exist.",
                                 "Err rollbackWithPatchAgent: access failed.",
                                 "Err rollbackWithPatchAgent: item failed."}));
    expectSame(before, Destinations(patch));
    EXPECT_EQ(patch.destination("app").store(), stores.app);
    expectNothingNew(stores.lib, patch.destination("lib").store());
}

TEST_F(RollbackFailure, AtTheMissingRecordOfTheLastItemTouchesNothing) {
    update();
    fs::remove(patch.destination("lib").recordPath());
    const FileTree app = patch.tree().snapshot("app");
    const FileTree lib = patch.tree().snapshot("lib");

    EXPECT_EQ(patch.rollback().status, 58);

    EXPECT_EQ(patch.tree().snapshot("app"), app);
    EXPECT_EQ(patch.tree().snapshot("lib"), lib);
}

TEST_F(RollbackFailure, AtARecordThatMayNotBeReadUndoesTheItemsBefore) {
    update();
    patch.asOrdinaryUser();
    const std::string record = patch.destination("app").recordPath();
    const Destinations before(patch);
    const Stores stores(patch);
    fs::permissions(record, fs::perms::none);

    const RunOutcome run = patch.rollback();

    EXPECT_EQ(run.status, 58);
    EXPECT_THAT(run.log, LogHas({"Err rollbackItem: phaseIniForBackup failed.",
                                 "Err rollbackWithPatchAgent: access failed."}));
    fs::permissions(record, fs::perms::owner_read | fs::perms::owner_write);
    expectSame(before, Destinations(patch));
    EXPECT_EQ(patch.destination("app").store(), stores.app);
    expectNothingNew(stores.lib, patch.destination("lib").store());
}

TEST_F(RollbackFailure, AtAnItemThatTheRecordDoesNotKnowUndoesTheItemsBefore) {
    update();
    patch.clearStaging();
    patch.item(3, 6);
    patch.item(2, 4).to("lib").versions("5.2", "6.0");

    const RunOutcome run = expectUndone(58);

    EXPECT_THAT(run.log, LogHas({"Inf rollbackItem: item not found."}));
}

TEST_F(RollbackFailure, AtAStoreThatTakesNoFileUndoesTheItemsBefore) {
    update();
    patch.asOrdinaryUser();
    fs::permissions(patch.destination("app").storePath("3/5"),
                    fs::perms::owner_read | fs::perms::owner_exec);

    const RunOutcome run = expectUndone(58);

    EXPECT_THAT(run.log, LogHas({"Err rollbackItem: crtUniFile failed.",
                                 "Err rollbackItem: rollback added file failed."}));
}

TEST_F(RollbackFailure, ForgetsTheFilesThatWereToWaitForTheRestart) {
    updateWith(ScriptedAgent::kNew);
    agent->script("CheckFileEx = -2\nEndItem #2 = 0");
    const RunOutcome run = expectUndone(60);
    EXPECT_THAT(run.log, LogLacks({"adding reboot list into system registry/ini..."}));
}

TEST_F(RollbackFailure, SavesTheStagingDirectoryWhenNobodyWaits) {
    updateWith(ScriptedAgent::kNew);
    agent->script("EndItem #2 = 0");
    patch.set("nowaiting", "1");
    const Destinations before(patch);

    const RunOutcome run = patch.rollback();

    EXPECT_EQ(run.status, std::nullopt);
    expectSame(before, Destinations(patch));
    EXPECT_FALSE(patch.tree().exists("staging"));
    EXPECT_TRUE(patch.saveDir().has(patch.savedDescription()));
}

// From here on: what the undoing of a rollback does not bring back, and never did.

using RollbackNotUndone = RollbackFailure;

// A rollback that failed is as one that was not tried: the saved copies are still there.
TEST_F(RollbackFailure, CanBeRepeated) {
    updateWith(ScriptedAgent::kNew);
    for (const char* stop : {"EndItem #1 = 0", "EndItem #2 = 0", "CheckFileEx #1 = -1",
                             "CheckFileEx #2 = -1", "CheckFileEx #3 = -1"}) {
        SCOPED_TRACE(stop);
        agent->script(stop);
        EXPECT_EQ(patch.rollback().status, 60);
        EXPECT_TRUE(patch.destination("lib").hasSaved("2/4/000"));
        EXPECT_EQ(patch.destination("lib").read("c.dat"), "new c");
        agent->forgetScript();
    }

    EXPECT_EQ(patch.rollback().status, 0);

    EXPECT_EQ(patch.destination("lib").read("c.dat"), "old lib/c.dat");
    EXPECT_FALSE(patch.destination("lib").has("added.dat"));
    EXPECT_EQ(patch.destination("app").read("a.dat"), "old app/a.dat");
}

// There is nothing to save, and of nothing an empty copy is made.
TEST_F(RollbackNotUndone, AFileThatWasGoneBefore) {
    updateWith(ScriptedAgent::kNew);
    agent->script("EndItem #1 = 0");
    fs::remove(patch.destination("lib").path("added.dat"));

    EXPECT_EQ(patch.rollback().status, 60);

    EXPECT_TRUE(patch.destination("lib").has("added.dat"));
    EXPECT_EQ(patch.destination("lib").read("added.dat"), "");
}

}  // namespace
