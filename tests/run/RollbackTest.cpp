// The rollback on request, told by what the real binary leaves behind.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/run/PatchScenario.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::Not;

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
    EXPECT_FALSE(patch.destination().has("VC_Backup/3/5/backup.000"));
    EXPECT_EQ(patch.destination().read("VC_Backup/VcBackup.ini"),
              "[common]\nitemcount=0\npatchagent.version=1\n");
}

TEST_F(Rollback, OfWhatWasNeverUpdatedIsADiskFailure) {
    patch.item(3, 5);

    const RunOutcome run = patch.rollback();

    EXPECT_EQ(run.status, 58);
    EXPECT_THAT(
        run.log,
        Contains(error("rollbackItem: " + patch.destination().path("VC_Backup/VcBackup.ini") +
                       " doesnot exist.")));
    EXPECT_THAT(run.log, Contains(error("rollbackWithPatchAgent: access failed.")));
    EXPECT_EQ(patch.destination().files(), (FileTree{{"a.dat", "old"}}));
}

TEST_F(Rollback, OfAnItemThatTheRecordDoesNotKnowChangesNothing) {
    updateOnce();
    const FileTree before = patch.destination().files();
    patch.clearStaging();
    patch.item(3, 6);

    const RunOutcome run = patch.rollback();

    EXPECT_EQ(run.status, 58);
    EXPECT_THAT(run.log, Contains(info("rollbackItem: item not found.")));
    EXPECT_EQ(patch.destination().files(), before);
}

TEST_F(Rollback, UndoesTheLastOfTwoUpdatesAndThenHasNothingLeft) {
    updateOnce();
    patch.clearStaging();
    patch.item(3, 5).stage("a.dat", "newer");
    ASSERT_EQ(patch.update().status, 0);

    EXPECT_EQ(patch.rollback().status, 0);
    EXPECT_EQ(patch.destination().read("a.dat"), "new");
    EXPECT_EQ(patch.rollback().status, 58);
    EXPECT_EQ(patch.destination().read("a.dat"), "new");
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

TEST_F(Rollback, ThatANewAgentRefusesTouchesNothing) {
    const ScriptedAgent& agent = patch.agent(ScriptedAgent::kNew);
    updateOnce();
    const FileTree before = patch.tree().snapshot("app");
    agent.script("IsRollbackEx = 0");

    const RunOutcome run = patch.rollback();

    EXPECT_EQ(run.status, 60);
    EXPECT_THAT(run.log, Contains(error("rollback: patch agent refused to rollback.")));
    EXPECT_EQ(patch.tree().snapshot("app"), before);
}

TEST_F(Rollback, ThatAnOldAgentWantsAProgramClosedForHasAStatusOfItsOwn) {
    const ScriptedAgent& agent = patch.agent(ScriptedAgent::kOld);
    updateOnce();
    agent.script("StartPatch = 2");

    const RunOutcome run = patch.rollback();

    EXPECT_EQ(run.status, 3);
    EXPECT_THAT(run.log, Contains(info("Call PatchAgent StartPatch with: 1")));
    EXPECT_THAT(run.log,
                Contains(error("rollbackWithPatchAgent: start patch close program needed.")));
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
    EXPECT_THAT(run.log,
                Contains(info("src[" + patch.destination().path("VC_Backup/3/5/backup.000") +
                              "] -> dst[" + patch.destination().path("a.dat") + "]")));
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
    EXPECT_THAT(run.log, Contains(error("rollbackItem: rollback added file failed.")));
    EXPECT_THAT(run.log, Contains(error("rollbackWithPatchAgent: user cancel.")));
    EXPECT_THAT(run.log, Contains(info("rollbackWithPatchAgent: auto rollback done.")));
}

TEST_F(Rollback, ForAnInterfaceThatDoesNotExistReportsSuccess) {
    updateOnce();
    const FileTree before = patch.tree().snapshot("app");
    patch.set("patchagent.version", "5");

    const RunOutcome run = patch.rollback();

    EXPECT_EQ(run.status, 0);
    EXPECT_THAT(run.log, Contains(error("rollback: unkown patch agent version number.")));
    EXPECT_EQ(patch.tree().snapshot("app"), before);
}

TEST_F(Rollback, WithoutItemsHasNothingToDo) {
    const RunOutcome run = patch.rollback();
    EXPECT_EQ(run.status, 5);
    EXPECT_THAT(run.log, Contains(error("rollback: vcpatch contains no items.")));
}

TEST_F(Rollback, SaysWhatItDoesInItsOwnWords) {
    const ScriptedAgent& agent = patch.agent(ScriptedAgent::kOld);
    updateOnce();
    agent.forgetCalls();

    const std::vector<std::string> texts = patch.rollback().texts();

    const std::string added = patch.destination().path("sub/b.dat");
    const std::string written = patch.destination().path("a.dat");
    for (const std::string& text :
         {std::string("rollback: rollback with old patch agent."),
          std::string("rollbackWithPatchAgent: init auto-rollback backup structure."),
          std::string("rollbackWithPatchAgent: init auto rollback backup info done."),
          "Call PatchAgent GetPatternPath with: " + patch.destination().path(),
          "PatchAgent GetPatternPath result: " + patch.destination().path(),
          std::string("rollbackWithPatchAgent: start patch."),
          std::string("rollbackItem: find out the item with same class/type."),
          std::string("rollbackItem: item found."), "Call PatchAgent CheckFile with: " + added,
          std::string("rollbackItem: rollback added file done."),
          "Call PatchAgent CheckFilie with: " + written,
          std::string("Call PatchAgent EndPatch with: TRUE"), std::string("updateBackupIni: done."),
          std::string("rollbackWithPatchAgent: action done."),
          std::string("rollbackWithPatchAgent: done.")}) {
        EXPECT_THAT(texts, Contains(text));
    }
    EXPECT_THAT(texts, Not(Contains("rollbackWithPatchAgent: error quit.")));
}

}  // namespace
