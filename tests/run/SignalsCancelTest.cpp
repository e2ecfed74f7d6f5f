// SIGTERM, SIGINT and SIGHUP while the agent takes part: the user's cancel. The
// run stops before the next file and is undone.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/run/DefaultSignals.h"
#include "tests/run/PatchScenario.h"

namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::Not;

const FileTree kOld = {{"a.dat", "old a"}, {"b.dat", "old b"}, {"c.dat", "old c"}};
const FileTree kNew = {{"a.dat", "new a"}, {"b.dat", "new b"}, {"c.dat", "new c"}};

size_t questionsIn(const std::vector<std::string>& calls) {
    size_t count = 0;
    for (const std::string& call : calls) {
        count += call.compare(0, 12, "CheckFileEx(") == 0 ? 1U : 0U;
    }
    return count;
}

// The first item has two files, the second one.
class Cancel : public testing::TestWithParam<const char*> {
  protected:
    Cancel() : agent(patch.agent(ScriptedAgent::kNew)) {
        for (const char* name : {"a", "b", "c"}) {
            patch.destination().write(std::string(name) + ".dat", std::string("old ") + name);
        }
        patch.item(3, 5).stage("a.dat", "new a").stage("b.dat", "new b");
        patch.item(3, 6).stage("c.dat", "new c");
    }

    void raiseAt(const std::string& call) { agent.script(call + " raises " + GetParam()); }

    // The agent is asked about this many files before the update ends.
    void expectCancelledUpdate(size_t questions) {
        const RunOutcome run = patch.update();
        EXPECT_EQ(run.exitCode, 0);
        EXPECT_EQ(run.status, 60);
        EXPECT_EQ(patch.destination().files(), kOld);
        EXPECT_EQ(questionsIn(agent.calls()), questions);
        EXPECT_THAT(run.log, LogHas({"Err updateWithPatchAgent: user cancel this",
                                     "Inf updateWithPatchAgent: auto rollback.",
                                     "Err update: updateWithPatchAgent failed."}));
        EXPECT_THAT(run.log, Not(Contains(HasSubstr("Cause: "))));
    }

    void expectUpdated() {
        EXPECT_EQ(patch.update().status, 0);
        EXPECT_EQ(patch.destination().files(), kNew);
    }

    DefaultSignals usual;
    PatchScenario patch;
    ScriptedAgent& agent;
};

TEST_P(Cancel, AtTheStartStopsTheUpdateBeforeItsFirstFile) {
    raiseAt("StartAction");
    expectCancelledUpdate(0);
}

TEST_P(Cancel, AtAnItemStopsTheUpdateBeforeItsFirstFile) {
    raiseAt("StartItem");
    expectCancelledUpdate(0);
}

TEST_P(Cancel, AtAFileLetsItBeAndStopsBeforeTheNext) {
    raiseAt("CheckFileEx #1");
    expectCancelledUpdate(1);
}

TEST_P(Cancel, AtTheSecondFileStopsBeforeTheThirdOfAnotherItem) {
    raiseAt("CheckFileEx #2");
    expectCancelledUpdate(2);
}

TEST_P(Cancel, BetweenItemsStopsBeforeTheNextFile) {
    raiseAt("EndItem #1");
    expectCancelledUpdate(2);
}

TEST_P(Cancel, AfterTheLastFileChangesNothing) {
    raiseAt("EndItem #2");
    expectUpdated();
}

TEST_P(Cancel, AtTheEndChangesNothing) {
    raiseAt("EndAction");
    expectUpdated();
}

// The agent of the old interface hears its first word when it is asked for a
// path.
TEST_P(Cancel, IsListenedForFromTheFirstPathQuestion) {
    std::filesystem::remove(agent.path());  // the other one takes its name
    const ScriptedAgent& old = patch.agent(ScriptedAgent::kOld);
    old.script(std::string("GetPatternPath raises ") + GetParam());

    const RunOutcome run = patch.update();

    EXPECT_EQ(run.status, 60);
    EXPECT_EQ(patch.destination().files(), kOld);
    EXPECT_THAT(run.log, LogHas({"Err updateWithPatchAgent: user cancel this"}));
}

// Asked again without a signal, the rollback is made.
TEST_P(Cancel, AtTheConsentStopsTheRollbackBeforeItsFirstFile) {
    expectUpdated();
    agent.forgetCalls();
    raiseAt("IsRollbackEx");

    const RunOutcome run = patch.rollback();

    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.status, 60);
    EXPECT_EQ(questionsIn(agent.calls()), 0U);
    EXPECT_EQ(patch.destination().files(), kNew);
    EXPECT_THAT(run.log, LogHas({"Err rollbackWithPatchAgent: user cancel.",
                                 "Err rollback: rollbackWithPatchAgent failed."}));
    agent.forgetScript();
    EXPECT_EQ(patch.rollback().status, 0);
    EXPECT_EQ(patch.destination().files(), kOld);
}

TEST_P(Cancel, AtAFileStopsTheRollbackBeforeTheNext) {
    expectUpdated();
    agent.forgetCalls();
    raiseAt("CheckFileEx #1");

    const RunOutcome run = patch.rollback();

    EXPECT_EQ(run.status, 60);
    EXPECT_EQ(questionsIn(agent.calls()), 1U);
    EXPECT_EQ(patch.destination().files(), kNew);
    EXPECT_THAT(run.log, LogHas({"Err rollbackWithPatchAgent: user cancel."}));
}

TEST_P(Cancel, AfterTheLastFileOfARollbackChangesNothing) {
    expectUpdated();
    raiseAt("EndItem #2");
    EXPECT_EQ(patch.rollback().status, 0);
    EXPECT_EQ(patch.destination().files(), kOld);
}

INSTANTIATE_TEST_SUITE_P(By, Cancel, testing::Values("TERM", "INT", "HUP"));

}  // namespace
