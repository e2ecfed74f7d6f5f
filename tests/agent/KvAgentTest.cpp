// The conversation with an agent, word for word, for each of its forms. What is said about items is
// told by the tests of those who say it: KvItemStepTest and KvAutoRollbackAgentTest.
#include "agent/KvAgent.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

#include "base/KvText.h"
#include "tests/agent/FakeAgent.h"
#include "tests/agent/LoadedLibrary.h"
#include "tests/patch/DescriptionText.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ScriptedAgent.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

constexpr uint32_t kNoInterface = 2;

constexpr AgentStartWords kSpoken = {
    {{"ask pattern", "pattern is"}, {"ask engine", "engine is"}, {"ask product", "product is"}},
    {"may I", "no", true},
    {"patch", "mask ", "patch error", "patch close"},
    {"action", "start", "action error", "action close"},
    "nobody there"};

constexpr AgentStartWords kShort = {
    {{"ask pattern", "pattern is"}, {"ask engine", "engine is"}, {"ask product", "product is"}},
    {nullptr, "no", false},
    {nullptr, "mask 0x", "patch error", "patch close"},
    {nullptr, "start", "action error", "action close"},
    nullptr};

constexpr AgentFileWords kFileWords = {{"old ", "new "}, true, "failed", "what", "nobody there"};
constexpr AgentFileWords kNoFileWords = {{nullptr, nullptr}, false, nullptr, nullptr, nullptr};

// A description with one item for each class, to "/<n>", n from 0.
std::string itemsOf(const std::vector<int>& classes) {
    DescriptionText text(static_cast<int>(classes.size()));
    for (size_t i = 0; i < classes.size(); ++i) {
        text.setItem(i, "class", std::to_string(classes[i]))
            .setItem(i, "destination", "/" + std::to_string(i));
    }
    return text.text();
}

PatchStartAnswer start(FakeAgent& agent, const std::vector<int>& classes,
                       const AgentStartWords& words, AgentPaths& paths) {
    ReadDescription description(itemsOf(classes));
    return Conversation(*agent.table())->start(*description.stru(), words, paths);
}

PatchStartAnswer start(FakeAgent& agent, const std::vector<int>& classes,
                       const AgentStartWords& words = kShort) {
    return start(agent, classes, words, *std::make_unique<AgentPaths>());
}

// --- Loading

TEST(KvAgent, LoadsTheLibraryOfItsInterfaceAndSaysSoBefore) {
    const TempTree tree;
    const AgentLoadWords words = {{"old one", "new one"}, "no such"};
    for (const auto& [which, version, said] :
         {std::tuple{ScriptedAgent::kOld, 0U, "old one"}, {ScriptedAgent::kNew, 1U, "new one"}}) {
        const ScriptedAgent library(tree, which, said);
        _PatchAgent table{};
        table.version = version;
        LogCapture log(6);

        EXPECT_TRUE(Conversation(table)->load(library.path().c_str(), words));

        EXPECT_EQ(table.version, version);
        EXPECT_EQ(table.StartPatch != nullptr, version == 0);
        EXPECT_EQ(table.StartAction != nullptr, version == 1);
        EXPECT_TRUE(isLoaded(library.path()));
        EXPECT_THAT(log.lines(), ElementsAre(std::string("Inf 6 ") + said));
        unloadPatchAgent(&table);
    }
}

TEST(KvAgent, LoadsNothingForAnInterfaceThatDoesNotExist) {
    _PatchAgent table{};
    table.version = kNoInterface;
    LogCapture log(6);

    EXPECT_FALSE(Conversation(table)->load("agent", {{"old", "new"}, "no such"}));

    EXPECT_THAT(log.lines(), ElementsAre("Err 6 no such"));
}

// --- Consent

TEST(KvAgent, IsAskedForItsConsentAtOnceInTheNewInterfaceOnly) {
    for (const auto& [version, calls] :
         {std::pair{uint32_t{PATCHAGENT_NEW}, 1U}, {PATCHAGENT_OLD, 0U}, {kNoInterface, 0U}}) {
        FakeAgent agent(version);
        LogCapture log(6);
        EXPECT_TRUE(Conversation(*agent.table())->agreesToRollback());
        EXPECT_EQ(agent.calls.size(), calls);
        EXPECT_EQ(log.lines(),
                  std::vector<std::string>(calls, "Inf 6 Call PatchAgent IsRollbackEx with: void"));
    }
    FakeAgent agent(PATCHAGENT_NEW);
    agent.answers["IsRollbackEx"] = 0;
    EXPECT_FALSE(Conversation(*agent.table())->agreesToRollback());
}

TEST(KvAgent, RefusesBindinglyOrNotAsTheTableSays) {
    FakeAgent agent(PATCHAGENT_OLD);
    agent.answers["IsRollback"] = 0;
    LogCapture log(6);

    EXPECT_EQ(start(agent, {4}, kSpoken), PATCH_ERROR);
    EXPECT_THAT(agent.calls, ElementsAre("IsRollback()"));
    EXPECT_THAT(log.lines(), ElementsAre("Inf 6 may I", "Err 6 no"));

    log.forget();
    EXPECT_EQ(start(agent, {4}, kShort), PATCH_GOON);
    EXPECT_THAT(log.lines(), ElementsAre("Inf 6 no", "Inf 6 mask 0x0"));
}

// --- Paths

TEST(KvAgent, IsAskedForPatternEngineAndProductInThisOrder) {
    FakeAgent agent(PATCHAGENT_OLD);
    agent.paths = {{"GetPatternPath", "/t"}, {"GetEnginePath", "/e"}, {"GetProductPath", "/p"}};
    const auto paths = std::make_unique<AgentPaths>();
    LogCapture log(6);

    EXPECT_EQ(start(agent, {1, 2, 3}, kSpoken, *paths), PATCH_GOON);

    EXPECT_STREQ(paths->ofFirst[kAgentPattern], "/t");
    EXPECT_STREQ(paths->ofFirst[kAgentEngine], "/e");
    EXPECT_STREQ(paths->ofFirst[kAgentProduct], "/p");
    EXPECT_THAT(agent.calls, ElementsAre("GetPatternPath(/2)", "GetEnginePath(/1)",
                                         "GetProductPath(/0)", "IsRollback()", "StartPatch(0x7)"));
    EXPECT_THAT(log.lines(),
                ElementsAre("Inf 6 ask pattern: /2", "Inf 6 pattern is: /t", "Inf 6 ask engine: /1",
                            "Inf 6 engine is: /e", "Inf 6 ask product: /0", "Inf 6 product is: /p",
                            "Inf 6 may I", "Inf 6 patch", "Inf 6 mask 7"));
}

TEST(KvAgent, IsAskedOnceAClassWithTheFirstItem) {
    FakeAgent agent(PATCHAGENT_OLD);
    const auto paths = std::make_unique<AgentPaths>();

    EXPECT_EQ(start(agent, {4, 3, 3}, kShort, *paths), PATCH_GOON);

    EXPECT_THAT(agent.calls, ElementsAre("GetPatternPath(/1)", "IsRollback()", "StartPatch(0x1)"));
    EXPECT_STREQ(paths->ofFirst[kAgentPattern], "/1");
    EXPECT_STREQ(paths->ofFirst[kAgentEngine], "");
    EXPECT_STREQ(paths->ofFirst[kAgentProduct], "");
}

TEST(KvAgent, GetsADestinationCutToItsBuffer) {
    FakeAgent agent(PATCHAGENT_OLD);
    const std::string longPath = "/" + std::string(6000, 'x');
    ReadDescription description(
        DescriptionText().setItem(0, "class", "2").setItem(0, "destination", longPath));
    const auto paths = std::make_unique<AgentPaths>();

    EXPECT_EQ(Conversation(*agent.table())->start(*description.stru(), kShort, *paths), PATCH_GOON);

    EXPECT_EQ(std::string(paths->ofFirst[kAgentEngine]), longPath.substr(0, 4095));
}

// A class that the old interface does not know goes where the item before it went.
TEST(KvAgent, SendsItemsWhereItsInterfaceWantsThem) {
    AgentPaths paths;
    Strncpy(paths.ofFirst[kAgentPattern], "/t", kLongPathCapacity);
    Strncpy(paths.ofFirst[kAgentEngine], "/e", kLongPathCapacity);
    Strncpy(paths.ofFirst[kAgentProduct], "/p", kLongPathCapacity);
    ReadDescription description(itemsOf({4, 1, 4, 2, 3}));
    const tag_ItemInfo* items = description.stru()->items;
    FakeAgent old(PATCHAGENT_OLD);
    FakeAgent fresh(PATCHAGENT_NEW);
    std::vector<std::string> ofOld;
    std::vector<std::string> ofNew;
    for (size_t i = 0; i < 5; ++i) {
        ofOld.emplace_back(Conversation(*old.table())->destinationOf(items[i], paths));
        ofNew.emplace_back(Conversation(*fresh.table())->destinationOf(items[i], paths));
    }
    EXPECT_THAT(ofOld, ElementsAre("", "/p", "/p", "/e", "/t"));
    EXPECT_THAT(ofNew, ElementsAre("/0", "/1", "/2", "/3", "/4"));
}

// --- StartPatch and StartAction

TEST(KvAgent, HasABitInTheMaskForEachClassOfTheOldInterface) {
    const std::pair<std::vector<int>, const char*> rows[] = {
        {{3}, "0x1"},       {{2}, "0x2"},          {{1}, "0x4"},
        {{3, 1, 3}, "0x5"}, {{1, 2, 3, 4}, "0x7"}, {{0, 4, 5}, "0x0"}};
    for (const auto& [classes, mask] : rows) {
        FakeAgent agent(PATCHAGENT_OLD);
        LogCapture log(6);
        EXPECT_EQ(start(agent, classes), PATCH_GOON);
        EXPECT_EQ(agent.calls.back(), std::string("StartPatch(") + mask + ")");
        EXPECT_EQ(log.texts().back(), std::string("mask ") + mask);
    }
}

TEST(KvAgent, EndsTheRunByTwoAnswersToItsStart) {
    const std::pair<int, PatchStartAnswer> answers[] = {{0, PATCH_GOON},
                                                        {1, PATCH_ERROR},
                                                        {2, PATCH_CLOSEPROGRAM},
                                                        {3, PATCH_GOON},
                                                        {-1, PATCH_GOON}};
    for (const auto& [answer, result] : answers) {
        const auto expected = [result = result](std::vector<std::string> said,
                                                const std::string& call) {
            if (result != PATCH_GOON) {
                said.push_back(std::string("Err 6 ") +
                               (call + (result == PATCH_ERROR ? " error" : " close")));
            }
            return said;
        };
        LogCapture log(6);
        FakeAgent old(PATCHAGENT_OLD);
        old.answers["StartPatch"] = answer;
        EXPECT_EQ(start(old, {4}, kSpoken), result);
        EXPECT_EQ(log.lines(), expected({"Inf 6 may I", "Inf 6 patch", "Inf 6 mask 0"}, "patch"));
        log.forget();
        FakeAgent fresh(PATCHAGENT_NEW);
        fresh.answers["StartAction"] = answer;
        EXPECT_EQ(start(fresh, {3}, kSpoken), result);
        EXPECT_THAT(fresh.calls, ElementsAre("StartAction()"));
        EXPECT_EQ(log.lines(), expected({"Inf 6 action", "Inf 6 start"}, "action"));
    }
}

TEST(KvAgent, OfNoInterfaceIsPassedOverWithAnErrorThatAlwaysShows) {
    FakeAgent agent(kNoInterface);
    LogCapture log(6);

    EXPECT_EQ(start(agent, {3}, kSpoken), PATCH_GOON);
    EXPECT_EQ(start(agent, {3}, kShort), PATCH_GOON);
    Conversation(*agent.table())->end(1, "nobody left");
    Conversation(*agent.table())->end(1, nullptr);

    EXPECT_THAT(log.lines(), ElementsAre("Err 9 nobody there", "Err 9 nobody left"));
}

// --- The end

TEST(KvAgent, HearsTheEndWithTheFlagThatItIsGiven) {
    LogCapture log(6);
    FakeAgent old(PATCHAGENT_OLD);
    for (const int success : {1, 0, 7}) {
        Conversation(*old.table())->end(success, "no such");
    }
    FakeAgent fresh(PATCHAGENT_NEW);
    Conversation(*fresh.table())->end(1, "no such");

    EXPECT_THAT(old.calls, ElementsAre("EndPatch(1)", "EndPatch(0)", "EndPatch(7)"));
    EXPECT_THAT(fresh.calls, ElementsAre("EndAction()"));
    EXPECT_THAT(log.lines(), ElementsAre("Inf 6 Call PatchAgent EndPatch with: TRUE",
                                         "Inf 6 Call PatchAgent EndPatch with: FALSE",
                                         "Inf 6 Call PatchAgent EndPatch with: TRUE",
                                         "Inf 6 Call PatchAgent EndAction with: void"));
}

// --- Files

struct Answer {
    int answer;
    FileDecision decision;
    const char* meaning;  // of the new interface
    const char* error;    // logged behind it; "" for none
};

class KvAgentFile : public testing::TestWithParam<Answer> {
  protected:
    static FileDecision ask(FakeAgent& agent, const AgentFileWords& words) {
        return Conversation(*agent.table())->decideFile("/a.dat", words, FileDecision::kSkip);
    }

    static std::vector<std::string> withError(std::vector<std::string> records) {
        if (*GetParam().error != '\0') {
            records.push_back(std::string("Err 6 ") + GetParam().error);
        }
        return records;
    }

    const std::string number = std::to_string(GetParam().answer);
    LogCapture log;
};

TEST_P(KvAgentFile, IsDecidedByANewAgentWhoseAnswerIsLoggedInWords) {
    FakeAgent agent(PATCHAGENT_NEW);
    agent.answers["CheckFileEx"] = GetParam().answer;

    EXPECT_EQ(ask(agent, kFileWords), GetParam().decision);

    EXPECT_THAT(agent.calls, ElementsAre("CheckFileEx(/a.dat)"));
    EXPECT_EQ(log.lines(),
              withError({"Inf 6 new /a.dat", "Inf 9 Call PatchAgent CheckFileEx( /a.dat ) return " +
                                                 number + ",(" + GetParam().meaning + ")"}));
}

TEST_P(KvAgentFile, IsDecidedByAnOldAgentWhoseAnswerIsLoggedAsItIs) {
    FakeAgent agent(PATCHAGENT_OLD);
    agent.answers["CheckFile"] = GetParam().answer;

    EXPECT_EQ(ask(agent, kFileWords), GetParam().decision);

    EXPECT_THAT(agent.calls, ElementsAre("CheckFile(/a.dat)"));
    EXPECT_EQ(log.lines(),
              withError({"Inf 6 old /a.dat",
                         "Inf 9 Call PatchAgent CheckFile( /a.dat ) return " + number}));
}

TEST_P(KvAgentFile, IsDecidedInSilenceWithoutWords) {
    for (const uint32_t version : {PATCHAGENT_OLD, PATCHAGENT_NEW}) {
        FakeAgent agent(version);
        agent.answers = {{"CheckFile", GetParam().answer}, {"CheckFileEx", GetParam().answer}};
        EXPECT_EQ(ask(agent, kNoFileWords), GetParam().decision);
    }
    EXPECT_THAT(log.lines(), IsEmpty());
}

// Where the answer has no meaning the caller's own decision holds.
INSTANTIATE_TEST_SUITE_P(
    Answers, KvAgentFile,
    testing::Values(
        Answer{-2, FileDecision::kReboot,
               "Do not copy the file now, but add to the reboot-list, to be executed on the next "
               "restart of the OS. (Windows only)",
               ""},
        Answer{-1, FileDecision::kStop, "Error, and VC will try to auto-rollback", "failed"},
        Answer{0, FileDecision::kSkip, "Skip this file", ""},
        Answer{1, FileDecision::kWrite, "OK", ""},
        Answer{7, FileDecision::kSkip, "unknown error", "what"},
        Answer{-3, FileDecision::kSkip, "unknown error", "what"}));

TEST(KvAgent, HasAWordForANullPath) {
    LogCapture log(9);
    for (const uint32_t version : {PATCHAGENT_OLD, PATCHAGENT_NEW}) {
        FakeAgent agent(version);
        EXPECT_EQ(
            Conversation(*agent.table())->decideFile(nullptr, kFileWords, FileDecision::kStop),
            FileDecision::kWrite);
    }
    EXPECT_THAT(log.texts(), ElementsAre("Call PatchAgent CheckFile( Null_File ) return 1",
                                         "Call PatchAgent CheckFileEx( Null_File ) return 1,(OK)"));
}

TEST(KvAgent, OfNoInterfaceHasEveryFileSkipped) {
    FakeAgent agent(kNoInterface);
    LogCapture log(6);
    Conversation talk(*agent.table());

    EXPECT_EQ(talk->decideFile("/a.dat", kFileWords, FileDecision::kWrite), FileDecision::kSkip);
    EXPECT_EQ(talk->decideFile("/a.dat", kNoFileWords, FileDecision::kWrite), FileDecision::kSkip);

    EXPECT_THAT(log.lines(), ElementsAre("Err 6 nobody there"));
}

}  // namespace
