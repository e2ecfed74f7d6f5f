#include "tests/support/ScriptedAgent.h"

#include <gmock/gmock.h>

#include <csignal>

#include "agent/KvPatchAgent.h"
#include "tests/support/ForkedProcess.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

// An agent of the new interface, loaded for the length of a test.
class ScriptedAgentTest : public ::testing::Test {
  protected:
    ScriptedAgentTest() { loadNewPatchAgent(library_.path().c_str(), &agent_); }
    ~ScriptedAgentTest() override { unloadPatchAgent(&agent_); }

    TempTree tree_;
    ScriptedAgent library_{tree_, ScriptedAgent::kNew};
    _PatchAgent agent_{};
};

}  // namespace

TEST_F(ScriptedAgentTest, AcceptsEverythingWithoutAScript) {
    EXPECT_EQ(agent_.StartAction(), 0);
    EXPECT_EQ(agent_.StartItem(nullptr, 3, 0x1f, 0x3, nullptr, nullptr), 1);
    EXPECT_EQ(agent_.CheckFileEx(nullptr), 1);
    EXPECT_EQ(agent_.EndAction(), 1);
    EXPECT_THAT(library_.calls(),
                ElementsAre("StartAction()", "StartItem(NULL, 3, 31, 0x3, NULL, NULL)",
                            "CheckFileEx(NULL)", "EndAction()"));
    library_.forgetCalls();
    EXPECT_THAT(library_.calls(), IsEmpty());
}

TEST_F(ScriptedAgentTest, TakesTheFirstAnswerThatFits) {
    library_.script("; the rules\n\nCheckFileEx #2 = -2\nCheckFileEx /app/*.dat = 0");
    library_.script("CheckFileEx = 7");
    EXPECT_EQ(agent_.CheckFileEx("/app/sub/a.dat"), 0);
    EXPECT_EQ(agent_.CheckFileEx("/app/b.dat"), -2);
    EXPECT_EQ(agent_.CheckFileEx("/app/b.txt"), 7);
    EXPECT_EQ(agent_.IsRollbackEx(), 1);
    library_.forgetScript();
    EXPECT_EQ(agent_.CheckFileEx("/app/b.txt"), 1);
}

TEST_F(ScriptedAgentTest, WritesIntoTheVersionsItWasGiven) {
    library_.script("EndItem writes result 10 20\nEndItem #2 writes origin 0x10 0x20\nEndItem = 0");
    tag_Version origin{1, 2, 0};
    tag_Version result{3, 4, 0};
    EXPECT_EQ(agent_.EndItem(1, &origin, &result), 0);
    EXPECT_EQ(origin, (tag_Version{1, 2, 0}));
    EXPECT_EQ(result, (tag_Version{10, 20, 0}));
    EXPECT_EQ(agent_.EndItem(1, &origin, &result), 0);
    EXPECT_EQ(origin, (tag_Version{0x10, 0x20, 0}));
}

TEST_F(ScriptedAgentTest, WaitsForAFile) {
    library_.script("StartAction waits " + tree_.path("go") + "\nStartAction = 1");
    ForkedProcess process([&](const Talk& talk) {
        talk.tell();
        const int answer = agent_.StartAction();
        talk.tell();
        return answer;
    });
    ASSERT_TRUE(process.talk().hears());
    EXPECT_FALSE(process.talk().hears(50));
    (void)tree_.write("go", "");
    EXPECT_TRUE(process.talk().hears());
    EXPECT_EQ(process.finish(), 1);
}

TEST_F(ScriptedAgentTest, KillsItsProcess) {
    library_.script("CheckFileEx #2 kills");
    ForkedProcess process([&](const Talk&) {
        (void)agent_.CheckFileEx("/app/a");
        (void)agent_.CheckFileEx("/app/b");
        return 0;
    });
    EXPECT_EQ(process.finish(), -SIGKILL);
    EXPECT_THAT(library_.calls(), ElementsAre("CheckFileEx(/app/a)", "CheckFileEx(/app/b)"));
}

TEST_F(ScriptedAgentTest, TellsOfRulesThatItDoesNotUnderstand) {
    library_.script(
        "CheckFileEx answers 1\nStartAction writes origin 1 2\nEndItem writes other 1 2");
    EXPECT_EQ(agent_.StartAction(), 0);
    EXPECT_EQ(agent_.EndItem(0, nullptr, nullptr), 1);
    EXPECT_THAT(
        library_.calls(),
        ElementsAre("StartAction()", "bad rule: CheckFileEx answers 1",
                    "bad rule: StartAction writes origin 1 2", "EndItem(0, NULL, NULL)",
                    "bad rule: CheckFileEx answers 1", "bad rule: EndItem writes other 1 2"));
}

TEST(ScriptedAgent, MovesPathsAndStartsCountingAnewWhenLoadedAgain) {
    TempTree tree;
    const ScriptedAgent library(tree, ScriptedAgent::kOld, "sub/agent");
    library.script("GetPatternPath #1 = /moved to/pattern\nGetEnginePath =");
    for (int load = 0; load < 2; ++load) {
        _PatchAgent agent{};
        loadOldPatchAgent(library.path().c_str(), &agent);
        char path[PATCHAGENT_PATH_CAPACITY] = "/opt/pattern";
        agent.GetPatternPath(path);
        EXPECT_STREQ(path, "/moved to/pattern");
        agent.GetPatternPath(path);
        EXPECT_STREQ(path, "/moved to/pattern");
        agent.GetEnginePath(path);
        EXPECT_STREQ(path, "");
        unloadPatchAgent(&agent);
    }
}
