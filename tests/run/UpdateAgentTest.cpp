// The update and its patch agent: what the agent is asked, and what its answers do.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/run/AgentRule.h"
#include "tests/run/PatchScenario.h"
#include "tests/run/RecordModel.h"

namespace fs = std::filesystem;

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

// What an agent of either interface says of a file.
class UpdateAnswer : public testing::TestWithParam<ScriptedAgent::Interface> {
  protected:
    UpdateAnswer() {
        patch.destination().write("a.dat", "old");
        patch.item(3, 5).stage("a.dat", "new");
    }

    // To the question about "a.dat".
    void answer(int number) {
        const std::string entry = GetParam() == ScriptedAgent::kOld ? "CheckFile" : "CheckFileEx";
        patch.agent(GetParam()).script(entry + " */a.dat = " + std::to_string(number));
    }

    [[nodiscard]] std::string file() const { return patch.destination().path("a.dat"); }

    PatchScenario patch;
};

TEST_P(UpdateAnswer, SkipLeavesTheFileAloneAndGoesOn) {
    answer(0);
    patch.item(3, 6).stage("b.dat", "more");

    EXPECT_EQ(patch.update().status, 0);

    EXPECT_EQ(patch.destination().files(), (FileTree{{"a.dat", "old"}, {"b.dat", "more"}}));
    EXPECT_FALSE(patch.destination().hasSaved("3/5/000"));
    EXPECT_THAT(patch.destination().record(), Not(HasSubstr("a.dat")));
}

TEST_P(UpdateAnswer, SkipAlsoKeepsANewFileAway) {
    answer(0);
    fs::remove(file());

    EXPECT_EQ(patch.update().status, 0);

    EXPECT_THAT(patch.destination().files(), IsEmpty());
}

TEST_P(UpdateAnswer, DeferSavesTheFileAndLeavesItForTheRestart) {
    answer(-2);

    const RunOutcome run = patch.update();

    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(patch.destination().read("a.dat"), "old");
    EXPECT_EQ(patch.destination().saved("3/5/000"), "old");
    EXPECT_THAT(patch.destination().record(), HasSubstr(writtenLine("000", file())));
    EXPECT_THAT(run.log, LogHas({"Inf adding reboot list into system registry/ini...",
                                 deferredLine(patch.staging().path("3/5/a.dat"), file())}));
}

TEST_P(UpdateAnswer, DeferDoesNotHoldBackANewFile) {
    answer(-2);
    fs::remove(file());

    const RunOutcome run = patch.update();

    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(patch.destination().read("a.dat"), "new");
    EXPECT_THAT(run.log, LogLacks({"adding reboot list into system registry/ini..."}));
}

TEST_P(UpdateAnswer, ErrorStopsTheUpdate) {
    answer(-1);

    const RunOutcome run = patch.update();

    EXPECT_EQ(run.status, 60);
    EXPECT_EQ(patch.destination().files(), (FileTree{{"a.dat", "old"}}));
    EXPECT_THAT(run.log, LogHas({"Err callBackForUpdate: check file failed.",
                                 "Err updateWithPatchAgent: user cancel this",
                                 "Err update: updateWithPatchAgent failed."}));
}

TEST_P(UpdateAnswer, UnknownMeansWrite) {
    answer(7);

    const RunOutcome run = patch.update();

    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(patch.destination().read("a.dat"), "new");
    EXPECT_THAT(run.log, LogHas({"Err callBackForUpdate: check file return unknown value."}));
}

// A deferred copy is noted once a file, and nothing is noted when the run fails afterwards.
TEST_P(UpdateAnswer, DeferredCopiesOfAFailedRunAreForgotten) {
    answer(-2);
    patch.item(3, 6).stage("b.dat", "more");
    fs::create_directories(patch.destination().path("b.dat"));

    const RunOutcome run = patch.update();

    EXPECT_EQ(run.status, 58);
    EXPECT_EQ(patch.destination().read("a.dat"), "old");
    EXPECT_THAT(run.log, LogLacks({"adding reboot list into system registry/ini..."}));
}

INSTANTIATE_TEST_SUITE_P(Agent, UpdateAnswer,
                         testing::Values(ScriptedAgent::kOld, ScriptedAgent::kNew),
                         [](const auto& test) {
                             return test.param == ScriptedAgent::kOld ? "Old" : "New";
                         });

TEST(UpdateAgent, AsksAnOldAgentInThisOrder) {
    PatchScenario patch;
    patch.item(1, 7).stage("p.dat", "p").to("product").set("item.zip", "p.zip");
    patch.item(2, 4).stage("e.dat", "e").to("engine");
    patch.item(3, 5).stage("t.dat", "t").to("pattern");
    ScriptedAgent& agent = patch.agent(ScriptedAgent::kOld);

    EXPECT_EQ(patch.update().status, 0);

    const auto at = [&](const std::string& name) { return patch.tree().path(name); };
    EXPECT_THAT(
        agent.calls(),
        ElementsAre("GetPatternPath(" + at("pattern") + ")", "GetEnginePath(" + at("engine") + ")",
                    "GetProductPath(" + at("product") + ")", "IsRollback()", "StartPatch(0x7)",
                    "StartProduct(p.zip)", "CheckFile(" + at("product/p.dat") + ")",
                    StartsWith("EndProduct(1, "), "StartEngine(NULL)",
                    "CheckFile(" + at("engine/e.dat") + ")", StartsWith("EndEngine(1, "),
                    "StartPattern(NULL)", "CheckFile(" + at("pattern/t.dat") + ")",
                    StartsWith("EndPattern(1, "), "EndPatch(1)"));
}

TEST(UpdateAgent, ForcesAllItemsBehindAForcedOne) {
    PatchScenario patch;
    patch.item(3, 5);
    patch.item(3, 6).set("forceupdate", "1");
    patch.item(3, 7);
    ScriptedAgent& agent = patch.agent(ScriptedAgent::kNew);

    EXPECT_EQ(patch.update().status, 0);

    EXPECT_THAT(
        agent.calls(),
        ElementsAre("StartAction()", "StartItem(NULL, 3, 5, 0x0, 0x64/0, 0x65/0)",
                    "EndItem(1, 0x64/0, 0x65/0)", "StartItem(NULL, 3, 6, 0x1, 0x64/0, 0x65/0)",
                    "EndItem(1, 0x64/0, 0x65/0)", "StartItem(NULL, 3, 7, 0x1, 0x64/0, 0x65/0)",
                    "EndItem(1, 0x64/0, 0x65/0)", "EndAction()"));
}

struct PathQuestion {
    unsigned itemClass;
    const char* entry;
    const char* result;  // the words before the answer
};

class UpdateOfMovedClass : public testing::TestWithParam<PathQuestion> {};

TEST_P(UpdateOfMovedClass, SendsAllItemsWhereAnOldAgentPutTheFirst) {
    PatchScenario patch;
    patch.tree().write("moved/a.dat", "old");
    patch.item(GetParam().itemClass, 5).stage("a.dat", "new");
    patch.item(GetParam().itemClass, 6).stage("b.dat", "b").to("other");
    const std::string moved = patch.tree().path("moved");
    patch.agent(ScriptedAgent::kOld).script(GetParam().entry + (" = " + moved));

    const RunOutcome run = patch.update();

    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(patch.destination("moved").files(), (FileTree{{"a.dat", "new"}, {"b.dat", "b"}}));
    EXPECT_THAT(run.log, LogHas({std::string("Inf ") + GetParam().result + moved}));
    // Store and record stay at the destinations that the description names.
    EXPECT_FALSE(fs::exists(patch.destination("moved").storePath()));
    const ScenarioDir app = patch.destination();
    EXPECT_EQ(app.saved(std::to_string(GetParam().itemClass) + "/5/000"), "old");
    EXPECT_THAT(app.record(), HasSubstr(writtenLine("000", moved + "/a.dat")));
    EXPECT_THAT(app.record(), HasSubstr("\ntransaction=0, 0, \n"));
    EXPECT_THAT(patch.destination("other").record(), HasSubstr("added.0=" + moved + "/b.dat\n"));
}

INSTANTIATE_TEST_SUITE_P(
    EveryClass, UpdateOfMovedClass,
    testing::Values(PathQuestion{1, "GetProductPath", "PatchAgent GetProductPath result: "},
                    PathQuestion{2, "GetEnginePath", "Call PatchAgent GetEnginePath result: "},
                    PathQuestion{3, "GetPatternPath", "Call PatchAgent GetPatternPath result: "}),
    [](const auto& test) { return std::string(test.param.entry); });

// As with every destination: without its separator the name of what is not there is that of a file.
TEST(UpdateAgent, MayMoveTheItemsToADirectoryThatIsNotThere) {
    PatchScenario patch;
    patch.item(3, 5).stage("a.dat", "a");
    ScriptedAgent& agent = patch.agent(ScriptedAgent::kOld);

    agent.script("GetPatternPath = " + patch.tree().path("not/there"));
    EXPECT_EQ(patch.update().status, 12);
    EXPECT_FALSE(patch.tree().exists("not"));

    agent.forgetScript();
    agent.script("GetPatternPath = " + patch.tree().path("not/there/"));
    EXPECT_EQ(patch.update().status, 0);
    EXPECT_EQ(patch.destination("not/there").files(), (FileTree{{"a.dat", "a"}}));
}

TEST(UpdateAgent, RecordsTheVersionsThatANewAgentWrites) {
    PatchScenario patch;
    patch.item(1, 7).stage("a.dat", "a").versions("5.2", "5.3");
    const ScriptedAgent& agent = patch.agent(ScriptedAgent::kNew);
    agent.script("StartItem writes origin 0x00052000 7\nStartItem writes result 0x00060000 12");

    EXPECT_EQ(patch.update().status, 0);

    EXPECT_THAT(patch.destination().record(),
                HasSubstr("origin.version=5.2.7\nresult.version=6.0.12\n"));
    EXPECT_THAT(agent.calls(), Contains("EndItem(1, 0x52000/7, 0x60000/12)"));
}

// The record holds what stood there before the copy.
TEST(UpdateAgent, WritesVersionsInVainAtTheEndOfAnItem) {
    PatchScenario patch;
    patch.item(1, 7).stage("a.dat", "a").versions("5.2", "5.3");
    patch.agent(ScriptedAgent::kNew)
        .script("EndItem writes origin 0x00052000 7\nEndItem writes result 0x00060000 12");

    EXPECT_EQ(patch.update().status, 0);

    EXPECT_THAT(patch.destination().record(),
                HasSubstr("origin.version=5.2\nresult.version=5.3\n"));
}

TEST(UpdateAgent, MayChangeItsMindAboutAFile) {
    PatchScenario patch;
    patch.item(3, 5).stage("a.dat", "first");
    patch.item(3, 6).stage("a.dat", "second");
    patch.item(3, 7).stage("a.dat", "third");
    patch.agent(ScriptedAgent::kNew).script("CheckFileEx #2 = 0\nCheckFileEx #3 = -2");

    EXPECT_EQ(patch.update().status, 1);

    EXPECT_EQ(patch.destination().read("a.dat"), "first");
    EXPECT_FALSE(patch.destination().hasSaved("3/6/000"));
    EXPECT_EQ(patch.destination().saved("3/7/000"), "first");
}

TEST(UpdateAgent, IgnoresAnAgentThatWouldNotBeRolledBack) {
    PatchScenario patch;
    patch.item(3, 5).stage("a.dat", "a");
    patch.agent(ScriptedAgent::kOld).script("IsRollback = 0\nStartPatch = 5\nEndPatch = 0");

    const RunOutcome run = patch.update();

    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(patch.destination().read("a.dat"), "a");
    EXPECT_THAT(run.log, LogHas({"Inf updateWithPatchAgent: patch agent want not to rollback."}));
}

// Answers that are neither the yes nor the no of an entry point: the update goes on.
class UpdateOddAnswer : public testing::TestWithParam<AgentRule> {};

TEST_P(UpdateOddAnswer, CountsAsAYes) {
    PatchScenario patch;
    patch.destination().write("a.dat", "old");
    patch.item(3, 5).stage("a.dat", "new");
    const ScriptedAgent& agent = patch.agent(GetParam().which);
    agent.script(GetParam().rule);

    const RunOutcome run = patch.update();

    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(patch.destination().read("a.dat"), "new");
    EXPECT_THAT(run.log, testing::Each(StartsWith("Inf ")));
    EXPECT_THAT(run.log, LogLacks({"updateWithPatchAgent: patch agent want not to rollback."}));
    const std::string file = patch.destination().path("a.dat");
    if (GetParam().which == ScriptedAgent::kNew) {
        EXPECT_THAT(
            agent.calls(),
            ElementsAre("StartAction()", "StartItem(NULL, 3, 5, 0x0, 0x64/0, 0x65/0)",
                        "CheckFileEx(" + file + ")", "EndItem(1, 0x64/0, 0x65/0)", "EndAction()"));
    } else {
        EXPECT_THAT(agent.calls(), ElementsAre("GetPatternPath(" + patch.destination().path() + ")",
                                               "IsRollback()", "StartPatch(0x1)",
                                               "StartPattern(NULL)", "CheckFile(" + file + ")",
                                               "EndPattern(1, 0x640000, 0x650000)", "EndPatch(1)"));
    }
}

INSTANTIATE_TEST_SUITE_P(OfANewAgent, UpdateOddAnswer,
                         newAgent({"StartItem = -1", "StartItem = 42", "EndItem = -1",
                                   "EndItem = 2", "EndAction = -1", "EndAction = 0"}));

INSTANTIATE_TEST_SUITE_P(OfAnOldAgent, UpdateOddAnswer,
                         oldAgent({"StartPattern = -1", "StartPattern = 42", "EndPattern = -1",
                                   "EndPattern = 42", "IsRollback = -1", "EndPatch = -1",
                                   "EndPatch = 0"}));

class UpdateOfClass : public testing::TestWithParam<unsigned> {};

// Its versions are read and shown like a product's, its type in hexadecimal.
TEST_P(UpdateOfClass, IsUpToANewAgent) {
    PatchScenario patch;
    patch.item(GetParam(), GetParam()).stage("a.dat", "new");
    patch.destination().write("a.dat", "old");
    const ScriptedAgent& agent = patch.agent(ScriptedAgent::kNew);

    const RunOutcome run = patch.update();

    EXPECT_EQ(run.status, 0);
    const std::string number = std::to_string(GetParam());
    const std::string file = patch.destination().path("a.dat");
    EXPECT_EQ(patch.destination().read("a.dat"), "new");
    EXPECT_EQ(patch.destination().saved(number + "/" + number + "/000"), "old");
    EXPECT_THAT(agent.calls(), ElementsAre("StartAction()",
                                           "StartItem(NULL, " + number + ", " + number +
                                               ", 0x0, 0x640000/0, 0x650000/0)",
                                           "CheckFileEx(" + file + ")",
                                           "EndItem(1, 0x640000/0, 0x650000/0)", "EndAction()"));
    const std::string type = GetParam() == 0xFFFFFFFFU ? "0xffffffff" : "0x" + number;
    EXPECT_THAT(run.log, LogHas({"Inf Call PatchAgent StartItem with: NULL_String, " + number +
                                 ", " + type + ", 0x0, 100.0, 101.0"}));
    EXPECT_THAT(patch.destination().record(),
                EndsWith("[item_0]\nclass=" + number + "\ntype=" + number +
                         "\norigin.version=100.0\nresult.version=101.0\nadded.filecount=0\n"
                         "written.filecount=1\n" +
                         writtenLine("000", file)));
}

TEST_P(UpdateOfClass, IsNothingForAnOldAgent) {
    PatchScenario patch;
    patch.item(GetParam(), GetParam()).stage("a.dat", "new");
    ScriptedAgent& agent = patch.agent(ScriptedAgent::kOld);

    const RunOutcome run = patch.update();

    EXPECT_EQ(run.status, 60);
    EXPECT_THAT(patch.destination().files(), IsEmpty());
    EXPECT_THAT(agent.calls(), ElementsAre("IsRollback()", "StartPatch(0x0)"));
    EXPECT_THAT(run.log, LogHas({"Err startEachItem: unknown class."}));
}

INSTANTIATE_TEST_SUITE_P(Unknown, UpdateOfClass, testing::Values(0U, 4U, 5U, 0xFFFFFFFFU));

}  // namespace
