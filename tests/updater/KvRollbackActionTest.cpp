// The rollback on request, from the description to the run status, with real agents.
#include "updater/KvRollbackAction.h"

#include <gmock/gmock.h>

#include "tests/agent/LoadedLibrary.h"
#include "tests/updater/ActionTest.h"
#include "tests/updater/RebootEntries.h"
#include "tests/updater/UpdatedApp.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

// The pattern 3/5 of "app" went from 100 to 101: "x.dat" was added, "a.dat" replaced.
class KvRollbackAction : public ActionTest {
  protected:
    KvRollbackAction() : ActionTest(1), app(tree) {
        app.item(3, 5).added("x.dat").written("a.dat");
        place(0, 3, "100", "101");
        text.set("action", "1");
    }

    unsigned run() {
        const unsigned status = runAction(rollback);
        if (status == 1) {
            reboots.forgetWritten();
        }
        return status;
    }

    // The messages without the dumps of the record, which stand in other tests.
    [[nodiscard]] std::vector<std::string> messages() const {
        std::vector<std::string> messages;
        for (const std::string& record : log.lines()) {
            if (record.compare(0, 11, "Inf 6 Dump ") != 0) {
                messages.push_back(record);
            }
        }
        return messages;
    }
    [[nodiscard]] std::vector<std::string> lastMessages(size_t count) const {
        const std::vector<std::string> all = messages();
        return {all.end() - static_cast<std::ptrdiff_t>(std::min(count, all.size())), all.end()};
    }

    [[nodiscard]] bool isRolledBack() const {
        return app.files() == std::vector<std::string>{"a.dat=old a.dat"};
    }
    [[nodiscard]] bool isUntouched() const {
        return app.files() == std::vector<std::string>{"a.dat=new a.dat", "x.dat=added x.dat"};
    }

    UpdatedApp app;
    RebootEntries reboots;
};

TEST_F(KvRollbackAction, RefusesADescriptionThatCannotBeRead) {
    text.dropItem(0, "destination");

    EXPECT_EQ(run(), 12U);

    EXPECT_THAT(log.lines(), ElementsAre("Err 6 phaseIniForUpdate: fetch destination failed.",
                                         "Inf 6 phaseIniForUpdate: error quit.",
                                         "Err 6 rollback: phaseIniForUpdate failed."));
    EXPECT_TRUE(isUntouched());
}

TEST_F(KvRollbackAction, RefusesNoDescriptionAtAll) {
    EXPECT_EQ(rollback(nullptr), 12U);
}

TEST_F(KvRollbackAction, SaysSoWhenThereIsNothingToRollBack) {
    text.set("itemcount", "0");

    EXPECT_EQ(run(), 5U);

    EXPECT_THAT(log.lines(), ElementsAre("Inf 6 phaseIniForUpdate: done, item is zero or no item.",
                                         "Err 6 rollback: vcpatch contains no items."));
    EXPECT_TRUE(isUntouched());
}

TEST_F(KvRollbackAction, ReportsAnUnknownInterfaceAsSuccess) {
    for (const char* version : {"2", "5", "-1"}) {
        text.set("patchagent.version", version);
        log.forget();

        EXPECT_EQ(run(), 0U);

        EXPECT_THAT(log.lines(), ElementsAre("Err 6 rollback: unkown patch agent version number."));
        EXPECT_TRUE(isUntouched());
    }
}

TEST_F(KvRollbackAction, WithANewAgentSaysThisInThisOrder) {
    const ScriptedAgent& agent = load(ScriptedAgent::kNew);

    EXPECT_EQ(run(), 0U);

    const std::string x = app.path("x.dat");
    const std::string a = app.path("a.dat");
    EXPECT_TRUE(isRolledBack());
    EXPECT_THAT(
        messages(),
        ElementsAre(
            "Inf 6 rollback: rollback with new patch agent.",
            "Inf 6 Call PatchAgent IsRollbackEx with: void",
            "Inf 6 rollbackWithPatchAgent: init auto-rollback backup structure.",
            "Inf 6 rollbackWithPatchAgent: init auto rollback backup info done.",
            "Inf 6 rollbackWithPatchAgent: start action.",
            "Inf 6 PatchAgent StartAction with: void",
            "Inf 6 Call PatchAgent StartItem with: 0.zip, 3, 0x5, 0x2, 100, 101",
            "Inf 6 rollbackItem: find out the item with same class/type.",
            "Inf 6 rollbackItem: item found.", "Inf 6 Call PatchAgent CheckFileEx with " + x,
            "Inf 6 rollbackItem: rollback added file done.",
            "Inf 6 Call PatchAgent CheckFileEx with: " + a,
            "Inf 6 Call PatchAgent EndItem with: TRUE, 100, 101",
            "Inf 6 Call PatchAgent EndAction with: void", "Inf 6 updateBackupIni: done.",
            "Inf 6 rollbackWithPatchAgent: action done.", "Inf 6 rollbackWithPatchAgent: done."));
    EXPECT_THAT(agent.calls(),
                ElementsAre("IsRollbackEx()", "StartAction()",
                            "StartItem(0.zip, 3, 5, 0x2, 0x64/0, 0x65/0)", "CheckFileEx(" + x + ")",
                            "CheckFileEx(" + a + ")", "EndItem(1, 0x64/0, 0x65/0)", "EndAction()"));
}

TEST_F(KvRollbackAction, WithAnOldAgentSaysThisInThisOrder) {
    const ScriptedAgent& agent = load(ScriptedAgent::kOld);

    EXPECT_EQ(run(), 0U);

    const std::string x = app.path("x.dat");
    const std::string a = app.path("a.dat");
    EXPECT_TRUE(isRolledBack());
    EXPECT_THAT(
        messages(),
        ElementsAre("Inf 6 rollback: rollback with old patch agent.",
                    "Inf 6 rollbackWithPatchAgent: init auto-rollback backup structure.",
                    "Inf 6 rollbackWithPatchAgent: init auto rollback backup info done.",
                    "Inf 6 Call PatchAgent GetPatternPath with: " + app.path(),
                    "Inf 6 PatchAgent GetPatternPath result: " + app.path(),
                    "Inf 6 rollbackWithPatchAgent: start patch.",
                    "Inf 6 Call PatchAgent StartPatch with: 1",
                    "Inf 6 Call PatchAgent StartPattern with: 0.zip",
                    "Inf 6 rollbackItem: find out the item with same class/type.",
                    "Inf 6 rollbackItem: item found.", "Inf 6 Call PatchAgent CheckFile with: " + x,
                    "Inf 6 rollbackItem: rollback added file done.",
                    "Inf 6 Call PatchAgent CheckFilie with: " + a,
                    // 100 and 101, each times 65536.
                    "Inf 6 Call PatchAgent EndPattern with: TRUE, 6553600, 6619136",
                    "Inf 6 Call PatchAgent EndPatch with: TRUE", "Inf 6 updateBackupIni: done.",
                    "Inf 6 rollbackWithPatchAgent: action done.",
                    "Inf 6 rollbackWithPatchAgent: done."));
    EXPECT_THAT(agent.calls(),
                ElementsAre("GetPatternPath(" + app.path() + ")", "IsRollback()", "StartPatch(0x1)",
                            "StartPattern(0.zip)", "CheckFile(" + x + ")", "CheckFile(" + a + ")",
                            "EndPattern(1, 0x640000, 0x650000)", "EndPatch(1)"));
}

TEST_F(KvRollbackAction, WithoutAnAgentTheDefaultsAcceptEverything) {
    for (const char* version : {"0", "1"}) {
        UpdatedApp(tree).item(3, 5).added("x.dat").written("a.dat");
        text.set("patchagent.version", version);
        log.forget();

        EXPECT_EQ(run(), 0U);

        EXPECT_TRUE(isRolledBack());
        EXPECT_EQ(log.lines()[1], "Inf 6 No patchagent. Use default patchagent inside VC");
    }
}

TEST_F(KvRollbackAction, TouchesNothingWhenANewAgentRefuses) {
    const ScriptedAgent& agent = load(ScriptedAgent::kNew);
    agent.script("IsRollbackEx = 0");
    const auto before = tree.snapshot("app");

    EXPECT_EQ(run(), 60U);

    EXPECT_THAT(log.lines(), ElementsAre("Inf 6 rollback: rollback with new patch agent.",
                                         "Inf 6 Call PatchAgent IsRollbackEx with: void",
                                         "Err 9 rollback: patch agent refused to rollback."));
    EXPECT_THAT(agent.calls(), ElementsAre("IsRollbackEx()"));
    EXPECT_EQ(tree.snapshot("app"), before);
}

TEST_F(KvRollbackAction, TouchesNothingWhenAnOldAgentRefuses) {
    const ScriptedAgent& agent = load(ScriptedAgent::kOld);
    agent.script("IsRollback = 0");
    const auto before = tree.snapshot("app");

    EXPECT_EQ(run(), 60U);

    EXPECT_THAT(log.lines(),
                ElementsAre("Inf 6 rollback: rollback with old patch agent.",
                            "Inf 6 rollbackWithPatchAgent: init auto-rollback backup structure.",
                            "Inf 6 rollbackWithPatchAgent: init auto rollback backup info done.",
                            "Inf 6 Call PatchAgent GetPatternPath with: " + app.path(),
                            "Inf 6 PatchAgent GetPatternPath result: " + app.path(),
                            "Err 6 rollbackWithPatchAgent: patch agent want not to rollback.",
                            "Inf 6 rollbackWithPatchAgent: error quit.",
                            "Err 6 rollback: rollbackWithPatchAgent failed."));
    EXPECT_THAT(agent.calls(), ElementsAre("GetPatternPath(" + app.path() + ")", "IsRollback()"));
    EXPECT_EQ(tree.snapshot("app"), before);
}

using Consent = std::tuple<ScriptedAgent::Interface, int>;

class KvRollbackActionConsent : public KvRollbackAction,
                                public testing::WithParamInterface<Consent> {};

TEST_P(KvRollbackActionConsent, IsEveryOtherAnswer) {
    const ScriptedAgent& agent = load(std::get<0>(GetParam()));
    const std::string answer = std::to_string(std::get<1>(GetParam()));
    agent.script("IsRollback = " + answer + "\nIsRollbackEx = " + answer);

    EXPECT_EQ(run(), 0U);

    EXPECT_TRUE(isRolledBack());
}

INSTANTIATE_TEST_SUITE_P(Answers, KvRollbackActionConsent,
                         testing::Combine(testing::Values(ScriptedAgent::kOld, ScriptedAgent::kNew),
                                          testing::Values(7, -1)));

struct StartAnswer {
    ScriptedAgent::Interface which;
    int answer;
    unsigned status;
    const char* error;  // "" for none
};

class KvRollbackActionStart : public KvRollbackAction,
                              public testing::WithParamInterface<StartAnswer> {};

TEST_P(KvRollbackActionStart, HeedsTheAnswerOfTheAgent) {
    const std::string entry =
        GetParam().which == ScriptedAgent::kOld ? "StartPatch" : "StartAction";
    const ScriptedAgent& agent = load(GetParam().which);
    agent.script(entry + " = " + std::to_string(GetParam().answer));

    EXPECT_EQ(run(), GetParam().status);

    EXPECT_THAT(log.texts(), Not(Contains("rollbackWithPatchAgent: auto rollback.")));
    if (GetParam().status == 0) {
        EXPECT_TRUE(isRolledBack());
        return;
    }
    EXPECT_TRUE(isUntouched());
    EXPECT_THAT(lastMessages(3), ElementsAre(std::string("Err 6 ") + GetParam().error,
                                             "Inf 6 rollbackWithPatchAgent: error quit.",
                                             "Err 6 rollback: rollbackWithPatchAgent failed."));
    EXPECT_THAT(agent.calls().back(), StartsWith(entry + "("));
}

INSTANTIATE_TEST_SUITE_P(
    Answers, KvRollbackActionStart,
    testing::Values(
        StartAnswer{ScriptedAgent::kOld, 0, 0, ""},
        StartAnswer{ScriptedAgent::kOld, 1, 60, "rollbackWithPatchAgent: start patch failed."},
        StartAnswer{ScriptedAgent::kOld, 2, 3,
                    "rollbackWithPatchAgent: start patch close program needed."},
        StartAnswer{ScriptedAgent::kOld, 5, 0, ""}, StartAnswer{ScriptedAgent::kOld, -1, 0, ""},
        StartAnswer{ScriptedAgent::kNew, 0, 0, ""},
        StartAnswer{ScriptedAgent::kNew, 1, 60, "rollbackWithPatchAgent: start action failed."},
        StartAnswer{ScriptedAgent::kNew, 2, 3,
                    "rollbackWithPatchAgent: start action close program needed."},
        StartAnswer{ScriptedAgent::kNew, 5, 0, ""}, StartAnswer{ScriptedAgent::kNew, -1, 0, ""}));

// --- The agent is never kept

struct Outcome {
    const char* version;
    const char* rule;
    unsigned status;
};

void PrintTo(const Outcome& outcome, std::ostream* out) {
    *out << outcome.version << " " << outcome.rule;
}

class KvRollbackActionOutcome : public KvRollbackAction,
                                public testing::WithParamInterface<Outcome> {};

TEST_P(KvRollbackActionOutcome, LeavesNoAgentLoaded) {
    const bool isOld = std::string(GetParam().version) == "0";
    const ScriptedAgent& agent = load(isOld ? ScriptedAgent::kOld : ScriptedAgent::kNew);
    agent.script(GetParam().rule);
    text.set("patchagent.version", GetParam().version);

    EXPECT_EQ(run(), GetParam().status);

    EXPECT_EQ(agent.calls().empty(), std::string(GetParam().version) == "5");
    EXPECT_FALSE(isLoaded(agent.path()));
}

INSTANTIATE_TEST_SUITE_P(Of, KvRollbackActionOutcome,
                         testing::Values(Outcome{"0", "", 0}, Outcome{"0", "IsRollback = 0", 60},
                                         Outcome{"0", "StartPatch = 2", 3},
                                         Outcome{"0", "EndPattern = 0", 60}, Outcome{"1", "", 0},
                                         Outcome{"1", "IsRollbackEx = 0", 60},
                                         Outcome{"1", "StartAction = 2", 3},
                                         Outcome{"1", "EndItem = 0", 60}, Outcome{"5", "", 0}));

// --- The reboot list

TEST_F(KvRollbackAction, WritesTheRebootListLast) {
    load(ScriptedAgent::kNew).script("CheckFileEx = -2");

    EXPECT_EQ(run(), 1U);

    EXPECT_TRUE(isUntouched());
    EXPECT_THAT(lastMessages(5), ElementsAre("Inf 6 rollbackWithPatchAgent: action done.",
                                             "Inf 6 rollbackWithPatchAgent: done.",
                                             "Inf 6 adding reboot list into system registry/ini...",
                                             "Inf 6 src[] -> dst[" + app.path("x.dat") + "]",
                                             "Inf 6 src[" + app.path(app.store() + "backup.000") +
                                                 "] -> dst[" + app.path("a.dat") + "]"));
}

TEST_F(KvRollbackAction, ForgetsTheRebootListWhenItFails) {
    load(ScriptedAgent::kNew).script("CheckFileEx *x.dat = -2\nCheckFileEx *a.dat = -1");

    EXPECT_EQ(run(), 60U);

    EXPECT_TRUE(isUntouched());
    EXPECT_THAT(reboots.texts(), IsEmpty());
    EXPECT_THAT(lastMessages(3), ElementsAre("Inf 6 rollbackWithPatchAgent: auto rollback done.",
                                             "Inf 6 rollbackWithPatchAgent: error quit.",
                                             "Err 6 rollback: rollbackWithPatchAgent failed."));
}

}  // namespace
