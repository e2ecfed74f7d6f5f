// The line that tells why system or loader made something fail: one for each failure, in front of
// what is said of it, and none in a good run.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/run/PatchScenario.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// Each with the line behind it.
std::vector<std::string> causesIn(const std::vector<std::string>& log) {
    std::vector<std::string> causes;
    for (size_t i = 0; i < log.size(); ++i) {
        if (log[i].compare(0, 11, "Err Cause: ") == 0) {
            causes.push_back(log[i]);
            causes.push_back(i + 1 < log.size() ? log[i + 1] : "");
        }
    }
    return causes;
}

class Causes : public testing::Test {
  protected:
    Causes() {
        patch.destination().write("a.dat", "old");
        patch.item(3, 5).stage("a.dat", "new").stage("b.dat", "more");
    }

    PatchScenario patch;
};

TEST_F(Causes, AreNotToldInAGoodRun) {
    patch.agent(ScriptedAgent::kNew);
    EXPECT_THAT(causesIn(patch.update().log), IsEmpty());
    EXPECT_THAT(causesIn(patch.rollback().log), IsEmpty());
}

// The run goes on without it and succeeds.
TEST_F(Causes, TellOfAnAgentThatDoesNotLoad) {
    const std::string agent = patch.tree().write("agent.so", "no library");
    patch.set("patchagent", agent);

    const RunOutcome run = patch.update();

    EXPECT_EQ(run.status, 0);
    const std::vector<std::string> causes = causesIn(run.log);
    ASSERT_EQ(causes.size(), 2U);
    EXPECT_THAT(causes[0], testing::StartsWith("Err Cause: " + agent + ": "));
    EXPECT_EQ(causes[1], "Err load patchagent: " + agent + " failed.");
}

TEST_F(Causes, TellOfAnAgentThatLacksAnEntryPoint) {
    const ScriptedAgent agent(patch.tree(), ScriptedAgent::kNew, "half", "EndItem");
    patch.set("patchagent", agent.path());

    const RunOutcome run = patch.update();

    EXPECT_EQ(run.status, 0);
    EXPECT_THAT(agent.calls(), IsEmpty());
    EXPECT_THAT(causesIn(run.log),
                ElementsAre("Err Cause: " + agent.path() + ": entry point EndItem is missing",
                            "Inf Call PatchAgent StartAction with: void."));
}

TEST_F(Causes, AreNotToldOfAnAgentsAnswer) {
    patch.agent(ScriptedAgent::kNew).script("CheckFileEx = -1");
    const RunOutcome run = patch.update();
    EXPECT_EQ(run.status, 60);
    EXPECT_THAT(causesIn(run.log), IsEmpty());
}

TEST_F(Causes, TellOfAResultThatCannotBeWritten) {
    patch.staging().write("VcResult.ini/file", "");  // a directory in its place

    const RunOutcome run = patch.update();

    EXPECT_EQ(patch.destination().read("a.dat"), "new");
    EXPECT_THAT(
        causesIn(run.log),
        ElementsAre("Err Cause: " + patch.resultPath() + ": Is a directory", "Inf VcPatch end."));
}

}  // namespace
