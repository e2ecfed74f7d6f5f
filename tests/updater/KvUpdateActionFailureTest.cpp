// Update actions that fail at an item: whole sequences of what is logged and called.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/updater/UpdateActionTest.h"

namespace fs = std::filesystem;

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;

TEST_F(KvUpdateAction, RefusedAtItsStartHasNothingToUndo) {
    ScriptedAgent& agent = load(ScriptedAgent::kNew);
    agent.script("StartItem = 0");

    EXPECT_EQ(run(), 60U);

    EXPECT_THAT(log.lines(),
                ElementsAreArray(withRollback(
                    {"Inf 6 update: update with new patch agent.",
                     "Inf 6 Call PatchAgent StartAction with: void.",
                     "Inf 6 Call PatchAgent StartItem with: 0.zip, 3, 0x5, 0x0, 100, 101",
                     "Err 6 startEachItem: start item failed.",
                     "Inf 6 Call PatchAgent EndItem with: FALSE, 100, 101",
                     "Err 6 updateWithPatchAgent: start item failed."},
                    {})));
    // Closed once, and the action is not ended.
    EXPECT_THAT(agent.calls(),
                ElementsAre("StartAction()", "StartItem(0.zip, 3, 5, 0x0, 0x64/0, 0x65/0)",
                            "EndItem(0, 0x64/0, 0x65/0)"));
}

// The records of the versions are the agent's to write; what it was told is what is shown.
TEST_F(KvUpdateAction, ShowsARefusingAgentTheVersionsThatItWasTold) {
    load(ScriptedAgent::kNew).script("StartItem writes origin 200 0\nStartItem = 0");

    EXPECT_EQ(run(), 60U);

    EXPECT_THAT(log.texts(), Contains("Call PatchAgent EndItem with: FALSE, 100, 101"));
}

TEST_F(KvUpdateAction, ShowsTheSameVersionsAtBothEndsOfTheRollback) {
    load(ScriptedAgent::kNew).script("EndItem #1 = 0\nStartItem #2 writes origin 200 0");

    EXPECT_EQ(run(), 60U);

    EXPECT_THAT(log.texts(), Contains("Call PatchAgent EndItem with: TRUE, 101, 100"));
}

TEST_F(KvUpdateAction, RefusedAtItsEndIsUndone) {
    load(ScriptedAgent::kNew).script("EndItem #1 = 0");

    EXPECT_EQ(run(), 60U);

    EXPECT_THAT(log.lines(),
                ElementsAreArray(withRollback(
                    {"Inf 6 update: update with new patch agent.",
                     "Inf 6 Call PatchAgent StartAction with: void.",
                     "Inf 6 Call PatchAgent StartItem with: 0.zip, 3, 0x5, 0x0, 100, 101",
                     std::string("Inf 6 ") + copying(),
                     "Inf 9 Call PatchAgent CheckFileEx( " + file() + " ) return 1,(OK)",
                     "Inf 6 callBackForUpdate: Create file (" + file() + ") done.",
                     "Inf 6 Call PatchAgent EndItem with: TRUE, 100, 101",
                     "Err 6 updateWithPatchAgent: end item failed."},
                    {"Inf 6 Call PatchAgent StartItem with: empty string, 3, 0x5, 0x2, 101, 100",
                     "Inf 6 Auto Rollback in Update: Unlinking " + file() + " .",
                     "Inf 6 Call PatchAgent EndItem with: TRUE, 101, 100"})));
    EXPECT_FALSE(tree.exists("app/a.dat"));
}

// The messages of a copy, of this file, before its end.
using CopyMessages = std::vector<std::string> (*)(const std::string& file);

struct CopyResult {
    const char* name;
    const char* destination;  // below the test's directory
    const char* link;         // what the staged file points to in place of what it holds; or null
    const char* rule;         // of the agent
    unsigned status;
    CopyMessages messages;
    const char* reason = nullptr;  // the cause, in words; null: there is none
    bool isSourceCause = false;    // the staged file's, not the destination's
    bool breaksOff = false;        // while the new file is written, so that the undoing deletes it
};

class KvUpdateActionCopy : public KvUpdateAction, public testing::WithParamInterface<CopyResult> {};

TEST_P(KvUpdateActionCopy, FailsWithAStatusAndAMessage) {
    ScriptedAgent& agent = load(ScriptedAgent::kNew);
    agent.script(GetParam().rule);
    tree.write("file", "not a directory");
    tree.makeDir("full/a.dat");
    const std::string destination = tree.path(GetParam().destination);
    text.setItem(0, "destination", destination);
    if (GetParam().link != nullptr) {
        fs::remove(tree.path("stage/3/5/a.dat"));
        fs::create_symlink(GetParam().link, tree.path("stage/3/5/a.dat"));
    }

    EXPECT_EQ(run(), GetParam().status);

    std::vector<std::string> expected =
        upToTheCopy({"Inf 6 xcopy from: " + tree.path("stage/3/5/*") + " to: " + destination});
    for (const std::string& message : GetParam().messages(destination + "/a.dat")) {
        expected.push_back(message);
    }
    if (GetParam().reason != nullptr) {
        const std::string file =
            GetParam().isSourceCause ? tree.path("stage/3/5/a.dat") : destination + "/a.dat";
        expected.insert(expected.end() - 1,
                        "Err 6 Cause: " + file + ": " + std::string(GetParam().reason));
    }
    expected.push_back("Inf 6 Call PatchAgent EndItem with: FALSE, 100, 101");
    std::vector<std::string> undoing = {
        "Inf 6 Call PatchAgent StartItem with: empty string, 3, 0x5, 0x2, 101, 100"};
    if (GetParam().breaksOff) {
        undoing.push_back("Inf 6 Auto Rollback in Update: Unlinking " + destination + "/a.dat .");
        EXPECT_FALSE(fs::exists(destination + "/a.dat"));
    }
    undoing.push_back("Inf 6 Call PatchAgent EndItem with: TRUE, 101, 100");
    EXPECT_THAT(log.lines(), ElementsAreArray(withRollback(expected, undoing)));
}

std::vector<std::string> diskAccess(const std::string& /*file*/) {
    return {"Err 6 updateWithPatchAgent: xcopy failed, disk access."};
}

std::vector<std::string> diskAccessOfAnAllowedFile(const std::string& file) {
    return {"Inf 9 Call PatchAgent CheckFileEx( " + file + " ) return 1,(OK)",
            "Err 6 updateWithPatchAgent: xcopy failed, disk access."};
}

std::vector<std::string> badParameters(const std::string& /*file*/) {
    return {"Err 6 updateWithPatchAgent: xcopy failed, bad parameters."};
}

std::vector<std::string> cancelled(const std::string& file) {
    return {"Inf 9 Call PatchAgent CheckFileEx( " + file +
                " ) return -1,(Error, and VC will try to auto-rollback)",
            "Err 6 callBackForUpdate: check file failed.",
            "Err 6 updateWithPatchAgent: user cancel this"};
}

INSTANTIATE_TEST_SUITE_P(
    Rows, KvUpdateActionCopy,
    testing::Values(CopyResult{"DirectoryInTheWay", "full", nullptr, "", 58, diskAccess,
                               "Is a directory"},
                    CopyResult{"NoSource", "app", "nowhere", "", 58, diskAccessOfAnAllowedFile,
                               "No such file or directory", true},
                    CopyResult{"BadParameters", "file", nullptr, "", 12, badParameters},
                    CopyResult{"Cancelled", "app", nullptr, "CheckFileEx = -1", 60, cancelled}),
    [](const auto& test) { return test.param.name; });

#ifdef __linux__
// A file that opens but cannot be read where it begins.
INSTANTIATE_TEST_SUITE_P(RowsOfLinux, KvUpdateActionCopy,
                         testing::Values(CopyResult{"ReadError", "app", "/proc/self/mem", "", 58,
                                                    diskAccessOfAnAllowedFile, "Input/output error",
                                                    true, true}),
                         [](const auto& test) { return test.param.name; });
#endif

TEST_F(KvUpdateAction, AgentsRefusalOfTheEndOutweighsTheDisk) {
    load(ScriptedAgent::kNew).script("EndItem = 0");
    tree.makeDir("app/a.dat");

    EXPECT_EQ(run(), 60U);

    EXPECT_THAT(log.lines(),
                ElementsAreArray(withRollback(
                    upToTheCopy({std::string("Inf 6 ") + copying(),
                                 "Err 6 Cause: " + file() + ": Is a directory",
                                 "Err 6 updateWithPatchAgent: xcopy failed, disk access.",
                                 "Inf 6 Call PatchAgent EndItem with: FALSE, 100, 101",
                                 "Err 6 updateWithPatchAgent: end item failed."}),
                    {"Inf 6 Call PatchAgent StartItem with: empty string, 3, 0x5, 0x2, 101, 100",
                     "Inf 6 Call PatchAgent EndItem with: TRUE, 101, 100",
                     "Err 6 End Class[3] error but in auto rollback so ignore it"})));
}

// Behind a start that is granted, an old agent is never told of the end of the whole patch.
class KvUpdateActionWithAnOldAgent : public KvUpdateAction {
  protected:
    KvUpdateActionWithAnOldAgent() : agent(load(ScriptedAgent::kOld)), app(tree.path("app")) {}

    [[nodiscard]] std::vector<std::string> upToTheStart(
        const std::vector<std::string>& behind) const {
        std::vector<std::string> all = {"Inf 6 update: update with old patch agent.",
                                        "Inf 6 Call PatchAgent GetPatternPath with: " + app,
                                        "Inf 6 Call PatchAgent GetPatternPath result: " + app,
                                        "Inf 6 Call PatchAgent IsRollback with: void",
                                        "Inf 6 Call PatchAgent StartPatch with: 0x1",
                                        "Inf 6 Call PatchAgent StartPattern with: 0.zip"};
        all.insert(all.end(), behind.begin(), behind.end());
        return all;
    }

    [[nodiscard]] std::vector<std::string> callsWith(const std::vector<std::string>& behind) const {
        std::vector<std::string> all = {"GetPatternPath(" + app + ")", "IsRollback()",
                                        "StartPatch(0x1)", "StartPattern(0.zip)"};
        all.insert(all.end(), behind.begin(), behind.end());
        return all;
    }

    ScriptedAgent& agent;
    const std::string app;
};

TEST_F(KvUpdateActionWithAnOldAgent, RefusedAtItsStartHasNothingToUndo) {
    agent.script("StartPattern #1 = 0");

    EXPECT_EQ(run(), 60U);

    EXPECT_THAT(log.lines(),
                ElementsAreArray(withRollback(
                    upToTheStart({"Err 6 startEachItem: start pattern failed.",
                                  "Inf 6 Call PatchAgent EndPattern with: FALSE, 6553600, "
                                  "6619136",
                                  "Err 6 updateWithPatchAgent: start item failed."}),
                    {})));
    EXPECT_EQ(agent.calls(), callsWith({"EndPattern(0, 0x640000, 0x650000)"}));
}

TEST_F(KvUpdateActionWithAnOldAgent, RefusedAtAFileIsUndone) {
    agent.script("CheckFile = -1");

    EXPECT_EQ(run(), 60U);

    EXPECT_THAT(
        log.lines(),
        ElementsAreArray(withRollback(
            upToTheStart({std::string("Inf 6 ") + copying(),
                          "Inf 9 Call PatchAgent CheckFile( " + file() + " ) return -1",
                          "Err 6 callBackForUpdate: check file failed.",
                          "Err 6 updateWithPatchAgent: user cancel this",
                          "Inf 6 Call PatchAgent EndPattern with: FALSE, 6553600, 6619136"}),
            {"Inf 6 Call PatchAgent StartPattern with: empty string",
             "Inf 6 Call PatchAgent EndPattern with: TRUE, 6619136, 6553600"})));
    EXPECT_EQ(agent.calls(),
              callsWith({"CheckFile(" + file() + ")", "EndPattern(0, 0x640000, 0x650000)",
                         "StartPattern()", "EndPattern(1, 0x650000, 0x640000)"}));
}

TEST_F(KvUpdateActionWithAnOldAgent, RefusedAtItsEndIsUndone) {
    agent.script("EndPattern #1 = 0");

    EXPECT_EQ(run(), 60U);

    EXPECT_THAT(log.lines(),
                ElementsAreArray(withRollback(
                    upToTheStart({std::string("Inf 6 ") + copying(),
                                  "Inf 9 Call PatchAgent CheckFile( " + file() + " ) return 1",
                                  "Inf 6 callBackForUpdate: Create file (" + file() + ") done.",
                                  "Inf 6 Call PatchAgent EndPattern with: TRUE, 6553600, 6619136",
                                  "Err 6 updateWithPatchAgent: end item failed."}),
                    {"Inf 6 Call PatchAgent StartPattern with: empty string",
                     "Inf 6 Auto Rollback in Update: Unlinking " + file() + " .",
                     "Inf 6 Call PatchAgent EndPattern with: TRUE, 6619136, 6553600"})));
    EXPECT_EQ(agent.calls(),
              callsWith({"CheckFile(" + file() + ")", "EndPattern(1, 0x640000, 0x650000)",
                         "StartPattern()", "EndPattern(1, 0x650000, 0x640000)"}));
    EXPECT_FALSE(tree.exists("app/a.dat"));
}

}  // namespace
