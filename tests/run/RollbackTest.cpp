// The rollback on request, told by what the real binary leaves behind.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/run/PatchScenario.h"
#include "tests/run/RecordModel.h"

namespace {

using testing::ElementsAre;

// An updated product: "a.dat" was replaced, "sub/b.dat" was added.
class Rollback : public testing::Test {
  protected:
    Rollback() {
        patch.destination().write("a.dat", "old");
        patch.tree().setTime("app/a.dat", 1000000000);
    }

    void updateOnce() {
        patch.item(3, 5).stage("a.dat", "new").stage("sub/b.dat", "more");
        ASSERT_EQ(patch.update().status, 0);
    }

    PatchScenario patch;
};

TEST_F(Rollback, PutsTheSavedBackAndDeletesTheAdded) {
    updateOnce();

    const RunOutcome run = patch.rollback();

    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(patch.destination().files(), (FileTree{{"a.dat", "old"}, {"sub/", ""}}));
    EXPECT_EQ(patch.tree().time("app/a.dat"), 1000000000);
    EXPECT_FALSE(patch.destination().hasSaved("3/5/000"));
    EXPECT_EQ(patch.destination().record(), recordOf({}));
}

TEST_F(Rollback, OfWhatWasNeverUpdatedIsADiskFailure) {
    patch.item(3, 5);

    const RunOutcome run = patch.rollback();

    EXPECT_EQ(run.status, 58);
    EXPECT_THAT(run.log,
                LogHas({"Err rollbackItem: " + patch.destination().recordPath() + " doesnot exist.",
                        "Err rollbackWithPatchAgent: access failed."}));
    EXPECT_EQ(patch.destination().files(), (FileTree{{"a.dat", "old"}}));
}

TEST_F(Rollback, OfAnItemThatTheRecordDoesNotKnowChangesNothing) {
    updateOnce();
    const FileTree before = patch.destination().files();
    patch.clearStaging();
    patch.item(3, 6);

    const RunOutcome run = patch.rollback();

    EXPECT_EQ(run.status, 58);
    EXPECT_THAT(run.log, LogHas({"Inf rollbackItem: item not found."}));
    EXPECT_EQ(patch.destination().files(), before);
}

TEST_F(Rollback, TakesTheItemsFromTheLastToTheFirstAndMarksThemForTheAgent) {
    const ScriptedAgent& agent = patch.agent(ScriptedAgent::kNew);
    for (const unsigned type : {1U, 2U, 3U}) {
        patch.item(1, type).stage("f" + std::to_string(type), "new").versions("1.0", "1.1");
    }
    ASSERT_EQ(patch.update().status, 0);
    agent.forgetCalls();

    EXPECT_EQ(patch.rollback().status, 0);

    EXPECT_THAT(agent.calls(), ElementsAre("IsRollbackEx()", "StartAction()",
                                           "StartItem(NULL, 1, 3, 0x2, 0x10000/0, 0x11000/0)",
                                           "CheckFileEx(" + patch.destination().path("f3") + ")",
                                           "EndItem(1, 0x10000/0, 0x11000/0)",
                                           "StartItem(NULL, 1, 2, 0x2, 0x10000/0, 0x11000/0)",
                                           "CheckFileEx(" + patch.destination().path("f2") + ")",
                                           "EndItem(1, 0x10000/0, 0x11000/0)",
                                           "StartItem(NULL, 1, 1, 0x2, 0x10000/0, 0x11000/0)",
                                           "CheckFileEx(" + patch.destination().path("f1") + ")",
                                           "EndItem(1, 0x10000/0, 0x11000/0)", "EndAction()"));
    EXPECT_THAT(patch.destination().files(), ElementsAre(testing::Pair("a.dat", "old")));
}

TEST_F(Rollback, LeavesEveryFileThatTheAgentWantsSkipped) {
    const ScriptedAgent& agent = patch.agent(ScriptedAgent::kNew);
    updateOnce();
    const FileTree before = patch.destination().files();
    agent.script("CheckFileEx = 0");

    EXPECT_EQ(patch.rollback().status, 0);

    EXPECT_EQ(patch.destination().files(), before);
}

TEST_F(Rollback, DefersTheFilesThatTheAgentWantsAtTheRestart) {
    const ScriptedAgent& agent = patch.agent(ScriptedAgent::kNew);
    updateOnce();
    agent.script("CheckFileEx *a.dat = -2");

    const RunOutcome run = patch.rollback();

    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(patch.destination().read("a.dat"), "new");
    EXPECT_FALSE(patch.destination().has("sub/b.dat"));
    EXPECT_THAT(run.log, LogHas({deferredLine(patch.destination().savedPath("3/5/000"),
                                              patch.destination().path("a.dat"))}));
}

TEST_F(Rollback, ThatFailsIsUndone) {
    const ScriptedAgent& agent = patch.agent(ScriptedAgent::kNew);
    patch.destination().write("z.dat", "old z");
    patch.item(3, 5).stage("a.dat", "new").stage("added.dat", "more").stage("z.dat", "new z");
    ASSERT_EQ(patch.update().status, 0);
    const FileTree before = patch.destination().files();
    // Added files come first, so the one that is asked about third is the second written one.
    agent.script("CheckFileEx #3 = -1");

    const RunOutcome run = patch.rollback();

    EXPECT_EQ(run.status, 60);
    EXPECT_EQ(patch.destination().files(), before);
    EXPECT_THAT(run.log, LogHas({"Err rollbackItem: rollback added file failed.",
                                 "Err rollbackWithPatchAgent: user cancel.",
                                 "Inf rollbackWithPatchAgent: auto rollback done."}));
}

TEST_F(Rollback, ForAnInterfaceThatDoesNotExistReportsSuccess) {
    updateOnce();
    const FileTree before = patch.tree().snapshot("app");
    patch.set("patchagent.version", "5");

    const RunOutcome run = patch.rollback();

    EXPECT_EQ(run.status, 0);
    EXPECT_THAT(run.log, LogHas({"Err rollback: unkown patch agent version number."}));
    EXPECT_EQ(patch.tree().snapshot("app"), before);
}

TEST_F(Rollback, SaysWhatItDoesInItsOwnWords) {
    const ScriptedAgent& agent = patch.agent(ScriptedAgent::kOld);
    updateOnce();
    agent.forgetCalls();

    const RunOutcome run = patch.rollback();

    const ScenarioDir app = patch.destination();
    const std::string added = app.path("sub/b.dat");
    EXPECT_THAT(
        run.log,
        LogHas({"Inf rollback: rollback with old patch agent.",
                "Inf rollbackWithPatchAgent: init auto-rollback backup structure.",
                "Inf rollbackWithPatchAgent: init auto rollback backup info done.",
                "Inf Call PatchAgent GetPatternPath with: " + app.path(),
                "Inf PatchAgent GetPatternPath result: " + app.path(),
                "Inf rollbackWithPatchAgent: start patch.",
                "Inf Call PatchAgent StartPatch with: 1",
                "Inf rollbackItem: find out the item with same class/type.",
                "Inf rollbackItem: item found.", "Inf Call PatchAgent CheckFile with: " + added,
                "Inf rollbackItem: rollback added file done.",
                "Inf Call PatchAgent CheckFilie with: " + app.path("a.dat"),
                "Inf Call PatchAgent EndPatch with: TRUE", "Inf updateBackupIni: done.",
                "Inf rollbackWithPatchAgent: action done.", "Inf rollbackWithPatchAgent: done."}));
    EXPECT_THAT(run.log, LogLacks({"rollbackWithPatchAgent: error quit."}));
}

}  // namespace
