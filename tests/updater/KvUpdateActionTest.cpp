// The update action, told by its messages, by the calls that its agent gets and by its status.
#include "updater/KvUpdateAction.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/updater/ActionTest.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::Not;

// One pattern item of "app" with one new file, without a backup, unless a test says more.
class UpdateAction : public ActionTest {
  protected:
    explicit UpdateAction(int items = 1) : ActionTest(items) {
        Strncpy(g_VCTempPath, tree.makeDir("stage").c_str(), sizeof g_VCTempPath);
        text.set("backup", "0");
        place(0, 3, "100", "101");
        tree.write("stage/3/5/a.dat", "new");
        tree.makeDir("app");
    }

    unsigned run() { return runAction(update); }

    [[nodiscard]] std::string copying(int itemClass = 3) const {
        return "xcopy from: " + tree.path("stage/" + std::to_string(itemClass) + "/5/*") +
               " to: " + tree.path("app");
    }

    [[nodiscard]] std::string file() const { return tree.path("app/a.dat"); }
};

// What a run logs behind the messages `before` of its failure.
std::vector<LogRecord> withRollback(std::vector<LogRecord> before,
                                    const std::vector<LogRecord>& undoing) {
    before.push_back(infoAt(6, "updateWithPatchAgent: auto rollback."));
    before.insert(before.end(), undoing.begin(), undoing.end());
    before.push_back(infoAt(6, "updateWithPatchAgent: auto rollback done."));
    before.push_back(infoAt(6, "updateWithPatchAgent: error quit."));
    before.push_back(errorAt(6, "update: updateWithPatchAgent failed."));
    return before;
}

TEST_F(UpdateAction, RefusesADescriptionThatCannotBeRead) {
    text.dropItem(0, "destination");

    EXPECT_EQ(run(), 12U);

    EXPECT_THAT(log.records(),
                ElementsAre(errorAt(6, "phaseIniForUpdate: fetch destination failed."),
                            infoAt(6, "phaseIniForUpdate: error quit."),
                            errorAt(6, "update: phaseIniForUpdate failed.")));
}

TEST_F(UpdateAction, RefusesNoDescriptionAtAll) {
    EXPECT_EQ(update(nullptr), 12U);
}

TEST_F(UpdateAction, SaysSoWhenThereIsNothingToUpdate) {
    text.set("itemcount", "0");

    EXPECT_EQ(run(), 4U);

    EXPECT_THAT(log.records(),
                ElementsAre(infoAt(6, "phaseIniForUpdate: done, item is zero or no item."),
                            infoAt(6, "update: vcpatch ini contains no items.")));
}

TEST_F(UpdateAction, RefusesAnUnknownInterface) {
    text.set("patchagent.version", "2");

    EXPECT_EQ(run(), 12U);

    EXPECT_THAT(log.records(),
                ElementsAre(errorAt(6, "update: unknown patch agent version number.")));
}

TEST_F(UpdateAction, WithANewAgentSaysThisInThisOrder) {
    ScriptedAgent& agent = load(ScriptedAgent::kNew);
    tree.write("app/a.dat", "old");

    EXPECT_EQ(run(), 0U);

    EXPECT_THAT(
        log.records(),
        ElementsAre(
            infoAt(6, "update: update with new patch agent."),
            infoAt(6, "Call PatchAgent StartAction with: void."),
            infoAt(6, "Call PatchAgent StartItem with: 0.zip, 3, 0x5, 0x0, 100, 101"),
            infoAt(6, copying()),
            infoAt(9, "Call PatchAgent CheckFileEx( " + file() + " ) return 1,(OK)"),
            infoAt(6, "callBackForUpdate: Overwrite file(backup.000, " + file() + ") done."),
            infoAt(6, "Call PatchAgent EndItem with: TRUE, 100, 101"),
            infoAt(6, "Call PatchAgent EndAction with: void"),
            infoAt(6, "mergeBackupIni: no need to backup."),
            infoAt(6, "mergeBackupIni: no backup done.")));
    EXPECT_THAT(
        agent.calls(),
        ElementsAre("StartAction()", "StartItem(0.zip, 3, 5, 0x0, 0x64/0, 0x65/0)",
                    "CheckFileEx(" + file() + ")", "EndItem(1, 0x64/0, 0x65/0)", "EndAction()"));
}

TEST_F(UpdateAction, WithAnOldAgentSaysThisInThisOrder) {
    ScriptedAgent& agent = load(ScriptedAgent::kOld);
    agent.script("IsRollback = 0");

    EXPECT_EQ(run(), 0U);

    const std::string app = tree.path("app");
    EXPECT_THAT(
        log.records(),
        ElementsAre(infoAt(6, "update: update with old patch agent."),
                    infoAt(6, "Call PatchAgent GetPatternPath with: " + app),
                    infoAt(6, "Call PatchAgent GetPatternPath result: " + app),
                    infoAt(6, "Call PatchAgent IsRollback with: void"),
                    infoAt(6, "updateWithPatchAgent: patch agent want not to rollback."),
                    infoAt(6, "Call PatchAgent StartPatch with: 0x1"),
                    infoAt(6, "Call PatchAgent StartPattern with: 0.zip"), infoAt(6, copying()),
                    infoAt(9, "Call PatchAgent CheckFile( " + file() + " ) return 1"),
                    infoAt(6, "callBackForUpdate: Create file (" + file() + ") done."),
                    // 100 and 101, each times 65536.
                    infoAt(6, "Call PatchAgent EndPattern with: TRUE, 6553600, 6619136"),
                    infoAt(6, "Call PatchAgent EndPatch with: TRUE"),
                    infoAt(6, "mergeBackupIni: no need to backup."),
                    infoAt(6, "mergeBackupIni: no backup done.")));
    EXPECT_THAT(agent.calls(),
                ElementsAre("GetPatternPath(" + app + ")", "IsRollback()", "StartPatch(0x1)",
                            "StartPattern(0.zip)", "CheckFile(" + file() + ")",
                            "EndPattern(1, 0x640000, 0x650000)", "EndPatch(1)"));
}

class UpdateOfTwoItems : public UpdateAction {
  protected:
    UpdateOfTwoItems() : UpdateAction(2) {}
};

TEST_F(UpdateOfTwoItems, WordsTheQuestionsForThePathsEachInItsWay) {
    load(ScriptedAgent::kOld).script("GetEnginePath = /e\nGetProductPath = /p\nStartPatch = 1");
    place(0, 2, "5.2", "6.0");
    place(1, 1, "5.2", "6.0");

    EXPECT_EQ(run(), 60U);

    const std::string app = tree.path("app");
    EXPECT_THAT(
        log.records(),
        ElementsAre(infoAt(6, "update: update with old patch agent."),
                    infoAt(6, "PatchAgent GetEnginePath with: " + app),
                    infoAt(6, "Call PatchAgent GetEnginePath result: /e"),
                    infoAt(6, "PatchAgent GetProductPath with: " + app),
                    infoAt(6, "PatchAgent GetProductPath result: /p"),
                    infoAt(6, "Call PatchAgent IsRollback with: void"),
                    infoAt(6, "Call PatchAgent StartPatch with: 0x6"),
                    errorAt(6, "updateWithPatchAgent: PatchAgent StartPatch return PATCH_ERROR."),
                    infoAt(6, "updateWithPatchAgent: error quit."),
                    errorAt(6, "update: updateWithPatchAgent failed.")));
}

TEST_F(UpdateAction, WithoutAnAgentTheDefaultsAcceptEverything) {
    for (const char* version : {"0", "1"}) {
        text.set("patchagent.version", version);
        log.forget();
        EXPECT_EQ(run(), 0U);
        EXPECT_EQ(tree.read("app/a.dat"), "new");
        EXPECT_EQ(log.records()[1], infoAt(6, "No patchagent. Use default patchagent inside VC"));
    }
}

struct StartAnswer {
    ScriptedAgent::Interface which;
    int answer;
    unsigned status;
    const char* error;  // "" for none
};

class UpdateStart : public UpdateAction, public testing::WithParamInterface<StartAnswer> {};

TEST_P(UpdateStart, HeedsTheAnswerOfTheAgent) {
    const std::string entry =
        GetParam().which == ScriptedAgent::kOld ? "StartPatch" : "StartAction";
    ScriptedAgent& agent = load(GetParam().which);
    agent.script(entry + " = " + std::to_string(GetParam().answer));

    EXPECT_EQ(run(), GetParam().status);

    EXPECT_EQ(tree.exists("app/a.dat"), GetParam().status == 0);
    EXPECT_THAT(log.texts(), Not(Contains("updateWithPatchAgent: auto rollback.")));
    if (GetParam().status != 0) {
        const auto& records = log.records();
        ASSERT_GE(records.size(), 3U);
        EXPECT_THAT((std::vector<LogRecord>(records.end() - 3, records.end())),
                    ElementsAre(errorAt(6, GetParam().error),
                                infoAt(6, "updateWithPatchAgent: error quit."),
                                errorAt(6, "update: updateWithPatchAgent failed.")));
        EXPECT_THAT(agent.calls().back(), testing::StartsWith(entry + "("));
    }
}

INSTANTIATE_TEST_SUITE_P(
    Answers, UpdateStart,
    testing::Values(
        StartAnswer{ScriptedAgent::kOld, 0, 0, ""},
        StartAnswer{ScriptedAgent::kOld, 1, 60,
                    "updateWithPatchAgent: PatchAgent StartPatch return PATCH_ERROR."},
        StartAnswer{ScriptedAgent::kOld, 2, 60,
                    "updateWithPatchAgent: PatchAgent StartPatch return PATCH_CLOSEPROGRAM."},
        StartAnswer{ScriptedAgent::kOld, 3, 0, ""}, StartAnswer{ScriptedAgent::kOld, 5, 0, ""},
        StartAnswer{ScriptedAgent::kOld, -1, 0, ""}, StartAnswer{ScriptedAgent::kNew, 0, 0, ""},
        StartAnswer{ScriptedAgent::kNew, 1, 60,
                    "updateWithPatchAgent: PatchAgent StartAction return PATCH_ERROR."},
        StartAnswer{ScriptedAgent::kNew, 2, 60,
                    "updateWithPatchAgent: PatchAgent StartAction return PATCH_CLOSEPROGRAM."},
        StartAnswer{ScriptedAgent::kNew, 3, 0, ""}, StartAnswer{ScriptedAgent::kNew, 5, 0, ""},
        StartAnswer{ScriptedAgent::kNew, -1, 0, ""}));

class UpdateOfThreeItems : public UpdateAction {
  protected:
    UpdateOfThreeItems() : UpdateAction(3) {}
};

TEST_F(UpdateOfThreeItems, ForcesAllItemsBehindAForcedOne) {
    ScriptedAgent& agent = load(ScriptedAgent::kNew);
    for (size_t i = 0; i < 3; ++i) {
        place(i, 2, "5.2", "6.0");
    }
    text.setItem(1, "forceupdate", "7");

    EXPECT_EQ(run(), 0U);

    EXPECT_THAT(agent.calls(),
                ElementsAre("StartAction()", "StartItem(0.zip, 2, 5, 0x0, 0x52000/0, 0x60000/0)",
                            "EndItem(1, 0x52000/0, 0x60000/0)",
                            "StartItem(1.zip, 2, 5, 0x1, 0x52000/0, 0x60000/0)",
                            "EndItem(1, 0x52000/0, 0x60000/0)",
                            "StartItem(2.zip, 2, 5, 0x1, 0x52000/0, 0x60000/0)",
                            "EndItem(1, 0x52000/0, 0x60000/0)", "EndAction()"));
}

TEST_F(UpdateAction, RefusedAtItsStartHasNothingToUndo) {
    ScriptedAgent& agent = load(ScriptedAgent::kNew);
    agent.script("StartItem = 0");

    EXPECT_EQ(run(), 60U);

    EXPECT_THAT(log.records(),
                ElementsAreArray(withRollback(
                    {infoAt(6, "update: update with new patch agent."),
                     infoAt(6, "Call PatchAgent StartAction with: void."),
                     infoAt(6, "Call PatchAgent StartItem with: 0.zip, 3, 0x5, 0x0, 100, 101"),
                     errorAt(6, "startEachItem: start item failed."),
                     infoAt(6, "Call PatchAgent EndItem with: FALSE, 100, 101"),
                     errorAt(6, "updateWithPatchAgent: start item failed.")},
                    {})));
    // Closed once, and the action is not ended.
    EXPECT_THAT(agent.calls(),
                ElementsAre("StartAction()", "StartItem(0.zip, 3, 5, 0x0, 0x64/0, 0x65/0)",
                            "EndItem(0, 0x64/0, 0x65/0)"));
}

// The records of the versions are the agent's to write; what it was told is what is shown.
TEST_F(UpdateAction, ShowsARefusingAgentTheVersionsThatItWasTold) {
    load(ScriptedAgent::kNew).script("StartItem writes origin 200 0\nStartItem = 0");

    EXPECT_EQ(run(), 60U);

    EXPECT_THAT(log.texts(), Contains("Call PatchAgent EndItem with: FALSE, 100, 101"));
}

TEST_F(UpdateAction, ShowsTheSameVersionsAtBothEndsOfTheRollback) {
    load(ScriptedAgent::kNew).script("EndItem #1 = 0\nStartItem #2 writes origin 200 0");

    EXPECT_EQ(run(), 60U);

    EXPECT_THAT(log.texts(), Contains("Call PatchAgent EndItem with: TRUE, 101, 100"));
}

TEST_F(UpdateAction, RefusedAtItsEndIsUndone) {
    load(ScriptedAgent::kNew).script("EndItem #1 = 0");

    EXPECT_EQ(run(), 60U);

    EXPECT_THAT(
        log.records(),
        ElementsAreArray(withRollback(
            {infoAt(6, "update: update with new patch agent."),
             infoAt(6, "Call PatchAgent StartAction with: void."),
             infoAt(6, "Call PatchAgent StartItem with: 0.zip, 3, 0x5, 0x0, 100, 101"),
             infoAt(6, copying()),
             infoAt(9, "Call PatchAgent CheckFileEx( " + file() + " ) return 1,(OK)"),
             infoAt(6, "callBackForUpdate: Create file (" + file() + ") done."),
             infoAt(6, "Call PatchAgent EndItem with: TRUE, 100, 101"),
             errorAt(6, "updateWithPatchAgent: end item failed.")},
            {infoAt(6, "Call PatchAgent StartItem with: empty string, 3, 0x5, 0x2, 101, 100"),
             infoAt(6, "Auto Rollback in Update: Unlinking " + file() + " ."),
             infoAt(6, "Call PatchAgent EndItem with: TRUE, 101, 100")})));
    EXPECT_FALSE(tree.exists("app/a.dat"));
}

struct CopyResult {
    const char* name;
    const char* destination;  // below the test's directory
    const char* rule;         // of the agent
    unsigned status;
    const char* error;
};

class UpdateCopy : public UpdateAction, public testing::WithParamInterface<CopyResult> {};

TEST_P(UpdateCopy, FailsWithAStatusAndAMessage) {
    ScriptedAgent& agent = load(ScriptedAgent::kNew);
    agent.script(GetParam().rule);
    tree.write("file", "not a directory");
    tree.makeDir("full/a.dat");
    text.setItem(0, "destination", tree.path(GetParam().destination));

    EXPECT_EQ(run(), GetParam().status);

    EXPECT_THAT(log.records(), Contains(errorAt(6, GetParam().error)));
    EXPECT_THAT(log.texts(), Contains("Call PatchAgent EndItem with: FALSE, 100, 101"));
    EXPECT_THAT(log.texts(), Contains("updateWithPatchAgent: auto rollback."));
    EXPECT_THAT(log.texts(), Not(Contains("Call PatchAgent EndAction with: void")));
    EXPECT_EQ(log.records().back(), errorAt(6, "update: updateWithPatchAgent failed."));
}

INSTANTIATE_TEST_SUITE_P(
    Rows, UpdateCopy,
    testing::Values(CopyResult{"DiskAccess", "full", "", 58,
                               "updateWithPatchAgent: xcopy failed, disk access."},
                    CopyResult{"BadParameters", "file", "", 12,
                               "updateWithPatchAgent: xcopy failed, bad parameters."},
                    CopyResult{"Cancelled", "app", "CheckFileEx = -1", 60,
                               "updateWithPatchAgent: user cancel this"}),
    [](const auto& test) { return test.param.name; });

TEST_F(UpdateAction, AgentsRefusalOfTheEndOutweighsTheDisk) {
    load(ScriptedAgent::kNew).script("EndItem = 0");
    tree.makeDir("app/a.dat");

    EXPECT_EQ(run(), 60U);

    EXPECT_THAT(log.texts(), Contains("updateWithPatchAgent: xcopy failed, disk access."));
    EXPECT_THAT(log.texts(), Contains("updateWithPatchAgent: end item failed."));
}

TEST_F(UpdateAction, LeavesTheResultOfTheAgentsLastCallAside) {
    load(ScriptedAgent::kNew).script("EndAction = 0");
    EXPECT_EQ(run(), 0U);
    EXPECT_EQ(tree.read("app/a.dat"), "new");
}

}  // namespace
