// The real binary and agents whose entry points are left by an exception.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/run/PatchScenario.h"

namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::Not;

struct Thrown {
    ScriptedAgent::Interface which;
    const char* entry;
    int status;
    const char* said;  // "" for nothing
};

void PrintTo(const Thrown& thrown, std::ostream* out) {
    *out << thrown.entry;
}

constexpr char kCancelled[] = "Err updateWithPatchAgent: user cancel this";

class UpdateThrown : public testing::TestWithParam<Thrown> {};

TEST_P(UpdateThrown, IsTheEntryPointsFailure) {
    PatchScenario patch;
    patch.destination().write("a.dat", "old");
    patch.item(3, 5).stage("a.dat", "new").stage("b.dat", "more");
    patch.agent(GetParam().which).script(std::string(GetParam().entry) + " throws");

    const RunOutcome run = patch.update();

    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.status, GetParam().status);
    const FileTree old = {{"a.dat", "old"}};
    const FileTree updated = {{"a.dat", "new"}, {"b.dat", "more"}};
    EXPECT_EQ(patch.destination().files(), GetParam().status == 0 ? updated : old);
    if (*GetParam().said != '\0') {
        EXPECT_THAT(run.log, Contains(GetParam().said));
    }
    EXPECT_THAT(run.log, Not(Contains(HasSubstr("Cause: "))));
}

INSTANTIATE_TEST_SUITE_P(
    Old, UpdateThrown,
    testing::Values(
        Thrown{ScriptedAgent::kOld, "GetPatternPath", 0, ""},
        Thrown{ScriptedAgent::kOld, "IsRollback", 0,
               "Inf updateWithPatchAgent: patch agent want not to rollback."},
        Thrown{ScriptedAgent::kOld, "StartPatch", 60,
               "Err updateWithPatchAgent: PatchAgent StartPatch return PATCH_ERROR."},
        Thrown{ScriptedAgent::kOld, "StartPattern", 60, "Err startEachItem: start pattern failed."},
        Thrown{ScriptedAgent::kOld, "CheckFile", 60, kCancelled},
        Thrown{ScriptedAgent::kOld, "CheckFile #2", 60, kCancelled},
        Thrown{ScriptedAgent::kOld, "EndPattern", 60, "Err updateWithPatchAgent: end item failed."},
        Thrown{ScriptedAgent::kOld, "EndPatch", 0, ""}));

INSTANTIATE_TEST_SUITE_P(
    New, UpdateThrown,
    testing::Values(
        Thrown{ScriptedAgent::kNew, "StartAction", 60,
               "Err updateWithPatchAgent: PatchAgent StartAction return PATCH_ERROR."},
        Thrown{ScriptedAgent::kNew, "StartItem", 60, "Err startEachItem: start item failed."},
        Thrown{ScriptedAgent::kNew, "CheckFileEx", 60, kCancelled},
        Thrown{ScriptedAgent::kNew, "CheckFileEx #2", 60, kCancelled},
        Thrown{ScriptedAgent::kNew, "EndItem", 60, "Err updateWithPatchAgent: end item failed."},
        Thrown{ScriptedAgent::kNew, "EndAction", 0, ""}));

TEST(RollbackThrown, IsARefusalOfTheRollback) {
    PatchScenario patch;
    patch.destination().write("a.dat", "old");
    patch.item(3, 5).stage("a.dat", "new");
    const ScriptedAgent& agent = patch.agent(ScriptedAgent::kNew);
    EXPECT_EQ(patch.update().status, 0);
    agent.script("IsRollbackEx throws");

    const RunOutcome run = patch.rollback();

    EXPECT_EQ(run.status, 60);
    EXPECT_THAT(run.log, Contains("Err rollback: patch agent refused to rollback."));
    EXPECT_EQ(patch.destination().read("a.dat"), "new");
}

}  // namespace
