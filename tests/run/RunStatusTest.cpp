// Every run status, by every way that leads to it: what the caller reads and what the log says.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>

#include "tests/run/PatchScenario.h"

namespace {

struct Way {
    const char* name;
    std::function<void(PatchScenario&)> prepare;
    int status;
    std::string message;
};

void PrintTo(const Way& way, std::ostream* out) {
    *out << way.name;
}

template <typename Case>
std::string nameOf(const testing::TestParamInfo<Case>& one) {
    return one.param.name;
}

std::function<void(PatchScenario&)> nothing() {
    return [](PatchScenario&) {};
}

std::function<void(PatchScenario&)> set(const std::string& key, const std::string& value) {
    return [=](PatchScenario& patch) { patch.set(key, value); };
}

std::function<void(PatchScenario&)> without(const std::string& key) {
    return [=](PatchScenario& patch) { patch.without(key); };
}

std::function<void(PatchScenario&)> agent(ScriptedAgent::Interface which, const std::string& rule) {
    return [=](PatchScenario& patch) { patch.agent(which).script(rule); };
}

std::function<void(PatchScenario&)> newAgent(const std::string& rule) {
    return agent(ScriptedAgent::kNew, rule);
}

std::function<void(PatchScenario&)> oldAgent(const std::string& rule) {
    return agent(ScriptedAgent::kOld, rule);
}

void expectEnd(const RunOutcome& run, const PatchScenario& patch, const Way& way) {
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.status, way.status);
    EXPECT_THAT(run.log, LogHas({way.message}));
    EXPECT_THAT(run.log, LogEndsWith({"Inf Writing result file (" + patch.resultPath() +
                                          "), status = " + std::to_string(way.status),
                                      "Inf VcPatch end."}));
}

class UpdateStatus : public testing::TestWithParam<Way> {};

TEST_P(UpdateStatus, IsReported) {
    PatchScenario patch;
    patch.destination().write("a.dat", "old");
    patch.item(3, 5).stage("a.dat", "new");
    GetParam().prepare(patch);

    const RunOutcome run = patch.update();

    expectEnd(run, patch, GetParam());
    EXPECT_THAT(run.log, LogHas({"Inf VcPatch Action: update."}));
}

const Way kUpdateWays[] = {
    {"Success", nothing(), 0, "Inf Call PatchAgent EndAction with: void"},
    {"RebootList", newAgent("CheckFileEx = -2"), 1,
     "Inf adding reboot list into system registry/ini..."},
    {"NoItems", set("itemcount", "0"), 4, "Inf update: vcpatch ini contains no items."},
    {"MissingKey", without("patchagent.version"), 12, "Err update: phaseIniForUpdate failed."},
    {"UnknownAgentVersion", set("patchagent.version", "2"), 12,
     "Err update: unknown patch agent version number."},
    {"NegativeAgentVersion", set("patchagent.version", "-1"), 12,
     "Err update: unknown patch agent version number."},
    {"DestinationIsAFile",
     [](PatchScenario& patch) {
         patch.destination().write("file", "");
         patch.item(3, 6)
             .stage("a.dat", "new")
             .set("destination", patch.destination().path("file"));
     },
     12, "Err updateWithPatchAgent: xcopy failed, bad parameters."},
    {"TargetIsADirectory",
     [](PatchScenario& patch) {
         patch.destination().write("b.dat/inside", "");
         patch.item(3, 6).stage("b.dat", "new");
     },
     58, "Err updateWithPatchAgent: xcopy failed, disk access."},
    {"NewAgentFails", newAgent("StartAction = 1"), 60,
     "Err updateWithPatchAgent: PatchAgent StartAction return PATCH_ERROR."},
    {"NewAgentWantsProgramClosed", newAgent("StartAction = 2"), 60,
     "Err updateWithPatchAgent: PatchAgent StartAction return PATCH_CLOSEPROGRAM."},
    {"OldAgentFails", oldAgent("StartPatch = 1"), 60,
     "Err updateWithPatchAgent: PatchAgent StartPatch return PATCH_ERROR."},
    {"OldAgentWantsProgramClosed", oldAgent("StartPatch = 2"), 60,
     "Err updateWithPatchAgent: PatchAgent StartPatch return PATCH_CLOSEPROGRAM."},
    {"ItemIsNotStarted", newAgent("StartItem = 0"), 60,
     "Err updateWithPatchAgent: start item failed."},
    {"ItemIsNotEnded", newAgent("EndItem = 0"), 60, "Err updateWithPatchAgent: end item failed."},
    {"FileIsRefused", newAgent("CheckFileEx = -1"), 60,
     "Err updateWithPatchAgent: user cancel this"},
};

INSTANTIATE_TEST_SUITE_P(Ways, UpdateStatus, testing::ValuesIn(kUpdateWays), nameOf<Way>);

class RollbackStatus : public testing::TestWithParam<Way> {};

TEST_P(RollbackStatus, IsReported) {
    PatchScenario patch;
    patch.destination().write("a.dat", "old");
    patch.item(3, 5).stage("a.dat", "new");
    ASSERT_EQ(patch.update().status, 0);
    GetParam().prepare(patch);

    const RunOutcome run = patch.rollback();

    expectEnd(run, patch, GetParam());
    EXPECT_THAT(run.log, LogHas({"Inf VcPatch Action: rollback."}));
}

const Way kRollbackWays[] = {
    {"Success", nothing(), 0, "Inf rollbackWithPatchAgent: done."},
    // Reported as a success on purpose.
    {"UnknownAgentVersion", set("patchagent.version", "5"), 0,
     "Err rollback: unkown patch agent version number."},
    {"RebootList", newAgent("CheckFileEx = -2"), 1,
     "Inf adding reboot list into system registry/ini..."},
    {"NewAgentWantsProgramClosed", newAgent("StartAction = 2"), 3,
     "Err rollbackWithPatchAgent: start action close program needed."},
    {"OldAgentWantsProgramClosed", oldAgent("StartPatch = 2"), 3,
     "Err rollbackWithPatchAgent: start patch close program needed."},
    {"NoItems", set("itemcount", "0"), 5, "Err rollback: vcpatch contains no items."},
    {"MissingKey", without("patchagent.version"), 12, "Err rollback: phaseIniForUpdate failed."},
    {"DestinationIsTooLong",
     [](PatchScenario& patch) { patch.item(3, 6).set("destination", std::string(4090, 'd')); }, 12,
     "Err rollbackWithPatchAgent: bad arguments."},
    {"NoRecord",
     [](PatchScenario& patch) { std::filesystem::remove_all(patch.destination().storePath()); }, 58,
     "Err rollbackWithPatchAgent: access failed."},
    {"NewAgentRefuses", newAgent("IsRollbackEx = 0"), 60,
     "Err rollback: patch agent refused to rollback."},
    {"OldAgentRefuses", oldAgent("IsRollback = 0"), 60,
     "Err rollbackWithPatchAgent: patch agent want not to rollback."},
    {"NewAgentFails", newAgent("StartAction = 1"), 60,
     "Err rollbackWithPatchAgent: start action failed."},
    {"OldAgentFails", oldAgent("StartPatch = 1"), 60,
     "Err rollbackWithPatchAgent: start patch failed."},
    {"ItemIsNotStarted", newAgent("StartItem = 0"), 60,
     "Err rollbackWithPatchAgent: start item failed."},
    {"ItemIsNotEnded", newAgent("EndItem = 0"), 60, "Err rollbackWithPatchAgent: end item failed."},
    {"FileIsRefused", newAgent("CheckFileEx = -1"), 60, "Err rollbackWithPatchAgent: user cancel."},
};

INSTANTIATE_TEST_SUITE_P(Ways, RollbackStatus, testing::ValuesIn(kRollbackWays), nameOf<Way>);

// The action itself: what stands in the description, and what becomes of the staged file.
struct Action {
    const char* name;
    const char* value;
    int status;
    std::string message;
    const char* file;
};

void PrintTo(const Action& action, std::ostream* out) {
    *out << action.name;
}

class ActionValue : public testing::TestWithParam<Action> {};

TEST_P(ActionValue, Dispatches) {
    const Action& action = GetParam();
    PatchScenario patch;
    patch.destination().write("a.dat", "old");
    patch.item(3, 5).stage("a.dat", "new");
    patch.set("action", action.value);

    const RunOutcome run = patch.run();

    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.status, action.status);
    ASSERT_GE(run.log.size(), 4U);
    EXPECT_EQ(run.log[1], action.message);
    EXPECT_THAT(run.log, LogEndsWith({"Inf VcPatch end."}));
    EXPECT_EQ(patch.destination().read("a.dat"), action.file);
}

const Action kActions[] = {
    {"Update", "0", 0, "Inf VcPatch Action: update.", "new"},
    {"Letters", "abc", 0, "Inf VcPatch Action: update.", "new"},
    {"Empty", "", 0, "Inf VcPatch Action: update.", "new"},
    // There is nothing to roll back to.
    {"Rollback", "1", 58, "Inf VcPatch Action: rollback.", "old"},
    {"LeadingDigits", "1x", 58, "Inf VcPatch Action: rollback.", "old"},
    // A no-op, in the words of a rollback.
    {"Nothing", "2", 0, "Inf VcPatch Action: rollback.", "old"},
    {"Three", "3", 57, "Err VcPatch Action: Undefined action value.", "old"},
    {"Seven", "7", 57, "Err VcPatch Action: Undefined action value.", "old"},
    {"Negative", "-1", 57, "Err VcPatch Action: Undefined action value.", "old"},
};

INSTANTIATE_TEST_SUITE_P(Values, ActionValue, testing::ValuesIn(kActions), nameOf<Action>);

TEST(ActionValue, IsMissed) {
    PatchScenario patch;
    patch.item(3, 5).stage("a.dat", "new");
    const RunOutcome run = patch.run();

    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.status, 57);
    ASSERT_EQ(run.log.size(), 4U);
    EXPECT_EQ(run.log[1], "Err VcPatch fetch (common:action) failed.");
    EXPECT_THAT(run.log, LogEndsWith({"Inf VcPatch end."}));
    EXPECT_EQ(patch.destination().files(), FileTree{});
}

TEST(ActionValue, TwoTouchesNothing) {
    PatchScenario patch;
    patch.destination().write("a.dat", "old");
    patch.item(3, 5).stage("a.dat", "new");
    ScriptedAgent& agent = patch.agent(ScriptedAgent::kNew);
    patch.set("action", "2");
    const RunOutcome run = patch.run();

    EXPECT_EQ(run.log.size(), 4U);
    EXPECT_TRUE(agent.calls().empty());
    EXPECT_EQ(patch.destination().files(), (FileTree{{"a.dat", "old"}}));
    EXPECT_TRUE(patch.destination().store().empty());
}

}  // namespace
