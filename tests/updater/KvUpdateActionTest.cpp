// The update action, told by its messages, by the calls that its agent gets and by its status.
#include "updater/KvUpdateAction.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "tests/updater/UpdateActionTest.h"
#include "updater/KvRebootList.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::Not;

TEST_F(KvUpdateAction, RefusesADescriptionThatCannotBeRead) {
    text.dropItem(0, "destination");

    EXPECT_EQ(run(), 12U);

    EXPECT_THAT(log.lines(), ElementsAre("Err 6 phaseIniForUpdate: fetch destination failed.",
                                         "Inf 6 phaseIniForUpdate: error quit.",
                                         "Err 6 update: phaseIniForUpdate failed."));
}

TEST_F(KvUpdateAction, RefusesNoDescriptionAtAll) {
    EXPECT_EQ(update(nullptr), 12U);
}

TEST_F(KvUpdateAction, SaysSoWhenThereIsNothingToUpdate) {
    text.set("itemcount", "0");

    EXPECT_EQ(run(), 4U);

    EXPECT_THAT(log.lines(), ElementsAre("Inf 6 phaseIniForUpdate: done, item is zero or no item.",
                                         "Inf 6 update: vcpatch ini contains no items."));
}

TEST_F(KvUpdateAction, RefusesAnUnknownInterface) {
    text.set("patchagent.version", "2");

    EXPECT_EQ(run(), 12U);

    EXPECT_THAT(log.lines(), ElementsAre("Err 6 update: unknown patch agent version number."));
}

TEST_F(KvUpdateAction, WithANewAgentSaysThisInThisOrder) {
    ScriptedAgent& agent = load(ScriptedAgent::kNew);
    tree.write("app/a.dat", "old");

    EXPECT_EQ(run(), 0U);

    EXPECT_THAT(
        log.lines(),
        ElementsAre("Inf 6 update: update with new patch agent.",
                    "Inf 6 Call PatchAgent StartAction with: void.",
                    "Inf 6 Call PatchAgent StartItem with: 0.zip, 3, 0x5, 0x0, 100, 101",
                    std::string("Inf 6 ") + copying(),
                    "Inf 9 Call PatchAgent CheckFileEx( " + file() + " ) return 1,(OK)",
                    "Inf 6 callBackForUpdate: Overwrite file(backup.000, " + file() + ") done.",
                    "Inf 6 Call PatchAgent EndItem with: TRUE, 100, 101",
                    "Inf 6 Call PatchAgent EndAction with: void",
                    "Inf 6 mergeBackupIni: no need to backup.",
                    "Inf 6 mergeBackupIni: no backup done."));
    EXPECT_THAT(
        agent.calls(),
        ElementsAre("StartAction()", "StartItem(0.zip, 3, 5, 0x0, 0x64/0, 0x65/0)",
                    "CheckFileEx(" + file() + ")", "EndItem(1, 0x64/0, 0x65/0)", "EndAction()"));
}

TEST_F(KvUpdateAction, WithAnOldAgentSaysThisInThisOrder) {
    ScriptedAgent& agent = load(ScriptedAgent::kOld);
    agent.script("IsRollback = 0");

    EXPECT_EQ(run(), 0U);

    const std::string app = tree.path("app");
    EXPECT_THAT(log.lines(),
                ElementsAre("Inf 6 update: update with old patch agent.",
                            "Inf 6 Call PatchAgent GetPatternPath with: " + app,
                            "Inf 6 Call PatchAgent GetPatternPath result: " + app,
                            "Inf 6 Call PatchAgent IsRollback with: void",
                            "Inf 6 updateWithPatchAgent: patch agent want not to rollback.",
                            "Inf 6 Call PatchAgent StartPatch with: 0x1",
                            "Inf 6 Call PatchAgent StartPattern with: 0.zip",
                            std::string("Inf 6 ") + copying(),
                            "Inf 9 Call PatchAgent CheckFile( " + file() + " ) return 1",
                            "Inf 6 callBackForUpdate: Create file (" + file() + ") done.",
                            // 100 and 101, each times 65536.
                            "Inf 6 Call PatchAgent EndPattern with: TRUE, 6553600, 6619136",
                            "Inf 6 Call PatchAgent EndPatch with: TRUE",
                            "Inf 6 mergeBackupIni: no need to backup.",
                            "Inf 6 mergeBackupIni: no backup done."));
    EXPECT_THAT(agent.calls(),
                ElementsAre("GetPatternPath(" + app + ")", "IsRollback()", "StartPatch(0x1)",
                            "StartPattern(0.zip)", "CheckFile(" + file() + ")",
                            "EndPattern(1, 0x640000, 0x650000)", "EndPatch(1)"));
}

class KvUpdateActionOfTwo : public KvUpdateAction {
  protected:
    KvUpdateActionOfTwo() : KvUpdateAction(2) {}
};

TEST_F(KvUpdateActionOfTwo, WordsTheQuestionsForThePathsEachInItsWay) {
    load(ScriptedAgent::kOld).script("GetEnginePath = /e\nGetProductPath = /p\nStartPatch = 1");
    place(0, 2, "5.2", "6.0");
    place(1, 1, "5.2", "6.0");

    EXPECT_EQ(run(), 60U);

    const std::string app = tree.path("app");
    EXPECT_THAT(log.lines(),
                ElementsAre("Inf 6 update: update with old patch agent.",
                            "Inf 6 PatchAgent GetEnginePath with: " + app,
                            "Inf 6 Call PatchAgent GetEnginePath result: /e",
                            "Inf 6 PatchAgent GetProductPath with: " + app,
                            "Inf 6 PatchAgent GetProductPath result: /p",
                            "Inf 6 Call PatchAgent IsRollback with: void",
                            "Inf 6 Call PatchAgent StartPatch with: 0x6",
                            "Err 6 updateWithPatchAgent: PatchAgent StartPatch return PATCH_ERROR.",
                            "Inf 6 updateWithPatchAgent: error quit.",
                            "Err 6 update: updateWithPatchAgent failed."));
}

TEST_F(KvUpdateAction, WithoutAnAgentTheDefaultsOfTheNewInterfaceAcceptEverything) {
    EXPECT_EQ(run(), 0U);

    EXPECT_EQ(tree.read("app/a.dat"), "new");
    EXPECT_THAT(log.lines(),
                ElementsAre("Inf 6 update: update with new patch agent.",
                            "Inf 6 No patchagent. Use default patchagent inside VC",
                            "Inf 6 Call PatchAgent StartAction with: void.",
                            "Inf 6 Call PatchAgent StartItem with: 0.zip, 3, 0x5, 0x0, 100, 101",
                            std::string("Inf 6 ") + copying(),
                            "Inf 9 Call PatchAgent CheckFileEx( " + file() + " ) return 1,(OK)",
                            "Inf 6 callBackForUpdate: Create file (" + file() + ") done.",
                            "Inf 6 Call PatchAgent EndItem with: TRUE, 100, 101",
                            "Inf 6 Call PatchAgent EndAction with: void",
                            "Inf 6 mergeBackupIni: no need to backup.",
                            "Inf 6 mergeBackupIni: no backup done."));
}

TEST_F(KvUpdateAction, WithoutAnAgentTheDefaultsOfTheOldInterfaceAcceptEverything) {
    text.set("patchagent.version", "0");

    EXPECT_EQ(run(), 0U);

    EXPECT_EQ(tree.read("app/a.dat"), "new");
    const std::string app = tree.path("app");
    EXPECT_THAT(log.lines(),
                ElementsAre("Inf 6 update: update with old patch agent.",
                            "Inf 6 No patchagent. Use default patchagent inside VC",
                            "Inf 6 Call PatchAgent GetPatternPath with: " + app,
                            "Inf 6 Call PatchAgent GetPatternPath result: " + app,
                            "Inf 6 Call PatchAgent IsRollback with: void",
                            "Inf 6 Call PatchAgent StartPatch with: 0x1",
                            "Inf 6 Call PatchAgent StartPattern with: 0.zip",
                            std::string("Inf 6 ") + copying(),
                            "Inf 9 Call PatchAgent CheckFile( " + file() + " ) return 1",
                            "Inf 6 callBackForUpdate: Create file (" + file() + ") done.",
                            "Inf 6 Call PatchAgent EndPattern with: TRUE, 6553600, 6619136",
                            "Inf 6 Call PatchAgent EndPatch with: TRUE",
                            "Inf 6 mergeBackupIni: no need to backup.",
                            "Inf 6 mergeBackupIni: no backup done."));
}

TEST_F(KvUpdateAction, WithABackupSaysThisInThisOrder) {
    ScriptedAgent& agent = load(ScriptedAgent::kNew);
    tree.write("app/a.dat", "old");
    text.set("backup", "1");

    EXPECT_EQ(run(), 0U);

    EXPECT_EQ(tree.read("app/VC_Backup/3/5/backup.000"), "old");
    EXPECT_THAT(
        log.lines(),
        ElementsAreArray(upToTheCopy(
            {std::string("Inf 6 ") + copying(),
             "Inf 9 Call PatchAgent CheckFileEx( " + file() + " ) return 1,(OK)",
             "Inf 6 callBackForUpdate: Overwrite file(backup.000, " + file() + ") done.",
             "Inf 6 Call PatchAgent EndItem with: TRUE, 100, 101",
             "Inf 6 Call PatchAgent EndAction with: void", "Inf 6 mergeBackupIni: backup needed.",
             "Inf 6 Start parsing the original backup ini(" +
                 tree.path("app/VC_Backup/VcBackup.ini") + ").",
             "Inf 6 Dump backup ini common section:Item Count: 0\nPatchAgent Ver: 1 (New)\n"
             "PatchAgent File: " +
                 agent.path(),
             "Inf 6 phaseIniForBackup: done, item number is zero.",
             "Inf 6 mergeBackupIni: done."})));
}

// The record is merged before the copies are handed to the system.
TEST_F(KvUpdateAction, WithADeferredFileSaysThisInThisOrder) {
    load(ScriptedAgent::kNew).script("CheckFileEx = -2");
    tree.write("app/a.dat", "old");

    EXPECT_EQ(run(), 1U);

    EXPECT_EQ(tree.read("app/a.dat"), "old");
    EXPECT_THAT(
        log.lines(),
        ElementsAreArray(upToTheCopy(
            {std::string("Inf 6 ") + copying(),
             "Inf 9 Call PatchAgent CheckFileEx( " + file() +
                 " ) return -2,(Do not copy the file now, but add to the reboot-list, "
                 "to be executed on the next restart of the OS. (Windows only))",
             "Inf 6 callBackForUpdate: Overwrite file(backup.000, " + file() + ") done.",
             "Inf 6 Call PatchAgent EndItem with: TRUE, 100, 101",
             "Inf 6 Call PatchAgent EndAction with: void",
             "Inf 6 mergeBackupIni: no need to backup.", "Inf 6 mergeBackupIni: no backup done.",
             "Inf 6 adding reboot list into system registry/ini...",
             "Inf 6 src[" + tree.path("stage/3/5/a.dat") + "] -> dst[" + file() + "]"})));
}

TEST_F(KvUpdateAction, AsksForARestartForANewFileWithoutARebootList) {
    g_RebootForNewFile = true;

    EXPECT_EQ(run(), 1U);

    EXPECT_EQ(tree.read("app/a.dat"), "new");
    EXPECT_THAT(log.texts(), Not(Contains("adding reboot list into system registry/ini...")));
}

struct StartAnswer {
    ScriptedAgent::Interface which;
    int answer;
    unsigned status;
    const char* error;  // "" for none
};

class KvUpdateActionStart : public KvUpdateAction,
                            public testing::WithParamInterface<StartAnswer> {};

TEST_P(KvUpdateActionStart, HeedsTheAnswerOfTheAgent) {
    const std::string entry =
        GetParam().which == ScriptedAgent::kOld ? "StartPatch" : "StartAction";
    ScriptedAgent& agent = load(GetParam().which);
    agent.script(entry + " = " + std::to_string(GetParam().answer));

    EXPECT_EQ(run(), GetParam().status);

    EXPECT_EQ(tree.exists("app/a.dat"), GetParam().status == 0);
    EXPECT_THAT(log.texts(), Not(Contains("updateWithPatchAgent: auto rollback.")));
    if (GetParam().status != 0) {
        const auto& records = log.lines();
        ASSERT_GE(records.size(), 3U);
        EXPECT_THAT((std::vector<std::string>(records.end() - 3, records.end())),
                    ElementsAre(std::string("Err 6 ") + GetParam().error,
                                "Inf 6 updateWithPatchAgent: error quit.",
                                "Err 6 update: updateWithPatchAgent failed."));
        EXPECT_THAT(agent.calls().back(), testing::StartsWith(entry + "("));
    }
}

INSTANTIATE_TEST_SUITE_P(
    Answers, KvUpdateActionStart,
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

class KvUpdateActionOfThree : public KvUpdateAction {
  protected:
    KvUpdateActionOfThree() : KvUpdateAction(3) {}
};

TEST_F(KvUpdateActionOfThree, ForcesAllItemsBehindAForcedOne) {
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

// Every class, types of both pattern numberings and at their ends, and both interfaces.
class KvUpdateActionOfEveryKind
    : public KvUpdateAction,
      public testing::WithParamInterface<std::tuple<int, uint32_t, ScriptedAgent::Interface>> {
  protected:
    const int itemClass = std::get<0>(GetParam());
    const uint32_t type = std::get<1>(GetParam());
    const bool isOld = std::get<2>(GetParam()) == ScriptedAgent::kOld;
    const std::string number = std::to_string(type);

    [[nodiscard]] std::vector<std::string> callsOfANewAgent() const {
        const bool isPattern = itemClass == 3;
        const std::string versions = isPattern ? "0x1b6ac/0, 0x1b710/0" : "0x52000/7, 0x60000/0";
        return {"StartAction()",
                "StartItem(0.zip, " + std::to_string(itemClass) + ", " + number + ", 0x0, " +
                    versions + ")",
                "CheckFileEx(" + file() + ")", "EndItem(1, " + versions + ")", "EndAction()"};
    }

    // 112300 and 112400 are 123 and 124 in the old numbering, which the types 0 to 4 have.
    [[nodiscard]] std::vector<std::string> callsOfAnOldAgent() const {
        const char* const names[] = {"", "Product", "Engine", "Pattern"};
        const char* const masks[] = {"", "0x4", "0x2", "0x1"};
        const std::string name = names[itemClass];
        std::string versions = "0x52000, 0x60000";
        if (itemClass == 3) {
            versions = type <= 4 ? "0x7b0000, 0x7c0000" : "0xb6ac0000, 0xb7100000";
        }
        return {"Get" + name + "Path(" + tree.path("app") + ")",
                "IsRollback()",
                std::string("StartPatch(") + masks[itemClass] + ")",
                "Start" + name + "(0.zip)",
                "CheckFile(" + file() + ")",
                "End" + name + "(1, " + versions + ")",
                "EndPatch(1)"};
    }
};

TEST_P(KvUpdateActionOfEveryKind, IsDone) {
    const ScriptedAgent& agent = load(std::get<2>(GetParam()));
    place(0, itemClass, itemClass == 3 ? "112300" : "5.2.7", itemClass == 3 ? "112400" : "6.0");
    text.setItem(0, "type", number);
    tree.write("stage/" + std::to_string(itemClass) + "/" + number + "/a.dat", "of its kind");

    EXPECT_EQ(run(), 0U);

    EXPECT_EQ(tree.read("app/a.dat"), "of its kind");
    EXPECT_EQ(agent.calls(), isOld ? callsOfAnOldAgent() : callsOfANewAgent());
}

INSTANTIATE_TEST_SUITE_P(
    All, KvUpdateActionOfEveryKind,
    testing::Combine(testing::Values(1, 2, 3), testing::Values(0U, 4U, 5U, 0xFFFFFFFFU),
                     testing::Values(ScriptedAgent::kOld, ScriptedAgent::kNew)));

TEST_F(KvUpdateAction, LeavesTheResultOfTheAgentsLastCallAside) {
    load(ScriptedAgent::kNew).script("EndAction = 0");
    EXPECT_EQ(run(), 0U);
    EXPECT_EQ(tree.read("app/a.dat"), "new");
}

}  // namespace
