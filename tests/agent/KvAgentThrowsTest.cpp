// Agents whose entry points are left by an exception: that is their failure, and nobody else's.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>

#include "agent/KvAgent.h"
#include "tests/agent/FakeAgent.h"
#include "tests/patch/DescriptionText.h"
#include "tests/support/LogCapture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr AgentStartWords kWords = {
    {{"ask pattern", "pattern is"}, {"ask engine", "engine is"}, {"ask product", "product is"}},
    {nullptr, "no", true},
    {nullptr, "mask ", "patch error", "patch close"},
    {nullptr, "start", "action error", "action close"},
    nullptr};

constexpr AgentFileWords kFileWords = {{nullptr, nullptr}, false, "failed", "what", "nobody"};

// What is thrown need be no std::exception.
void throwAt(FakeAgent& agent, const std::string& entry) {
    agent.heard = [entry](const std::string& call) {
        if (call.compare(0, entry.size() + 1, entry + "(") == 0) {
            throw 7;
        }
    };
}

PatchStartAnswer start(FakeAgent& agent, AgentPaths& paths) {
    DescriptionText text(1);
    text.setItem(0, "class", "3").setItem(0, "destination", "/app");
    ReadDescription description(text.text());
    return Conversation(*agent.table())->start(*description.stru(), kWords, paths);
}

PatchStartAnswer start(FakeAgent& agent) {
    return start(agent, *std::make_unique<AgentPaths>());
}

TEST(KvAgentThrows, AtTheStartIsAnErrorOfTheStart) {
    for (const auto& [version, entry, said] :
         {std::tuple{uint32_t{PATCHAGENT_OLD}, "StartPatch", "patch error"},
          {uint32_t{PATCHAGENT_NEW}, "StartAction", "action error"},
          {uint32_t{PATCHAGENT_OLD}, "IsRollback", "no"}}) {
        FakeAgent agent(version);
        throwAt(agent, entry);
        LogCapture log(6);

        EXPECT_EQ(start(agent), PATCH_ERROR) << entry;

        ASSERT_FALSE(log.lines().empty());
        EXPECT_EQ(log.lines().back(), std::string("Err 6 ") + said);
    }
}

TEST(KvAgentThrows, AtItsConsentIsARefusal) {
    FakeAgent agent(PATCHAGENT_NEW);
    throwAt(agent, "IsRollbackEx");
    EXPECT_FALSE(Conversation(*agent.table())->agreesToRollback());
}

// What it wrote before it threw does not count.
TEST(KvAgentThrows, AtAPathQuestionLeavesThePathAsItWas) {
    FakeAgent agent(PATCHAGENT_OLD);
    agent.table()->GetPatternPath = [](char* buffer) {
        for (int i = 0; i < PATCHAGENT_PATH_CAPACITY; ++i) {
            buffer[i] = 'x';
        }
        throw std::runtime_error("half done");
    };
    const auto paths = std::make_unique<AgentPaths>();
    LogCapture log(6);

    EXPECT_EQ(start(agent, *paths), PATCH_GOON);

    EXPECT_STREQ(paths->ofFirst[kAgentPattern], "/app");
    EXPECT_THAT(log.lines(),
                ElementsAre("Inf 6 ask pattern: /app", "Inf 6 pattern is: /app", "Inf 6 mask 1"));
}

TEST(KvAgentThrows, AtAFileIsAnErrorAboutIt) {
    for (const auto& [version, entry] :
         {std::pair{uint32_t{PATCHAGENT_OLD}, "CheckFile"}, {PATCHAGENT_NEW, "CheckFileEx"}}) {
        FakeAgent agent(version);
        throwAt(agent, entry);
        LogCapture log(6);

        EXPECT_EQ(Conversation(*agent.table())->decideFile("/f", kFileWords, FileDecision::kWrite),
                  FileDecision::kStop);

        EXPECT_THAT(log.lines(), ElementsAre("Err 6 failed"));
    }
}

TEST(KvAgentThrows, AtAnItemIsANo) {
    for (const auto& [version, itemClass, startEntry, endEntry] :
         {std::tuple{uint32_t{PATCHAGENT_OLD}, 3U, "StartPattern", "EndPattern"},
          {uint32_t{PATCHAGENT_OLD}, 2U, "StartEngine", "EndEngine"},
          {uint32_t{PATCHAGENT_OLD}, 1U, "StartProduct", "EndProduct"},
          {uint32_t{PATCHAGENT_NEW}, 3U, "StartItem", "EndItem"}}) {
        FakeAgent agent(version);
        Conversation talk(*agent.table());
        tag_Version from{};
        tag_Version to{};
        const AgentItem item({"x", "x"}, itemClass, 5, 0, &from, &to);
        int answer = 1;

        throwAt(agent, startEntry);
        EXPECT_EQ(talk->startItem(item, answer), ItemCall::kMade);
        EXPECT_EQ(answer, 0) << startEntry;

        answer = 1;
        throwAt(agent, endEntry);
        EXPECT_EQ(talk->endItem(1, item, answer), ItemCall::kMade);
        EXPECT_EQ(answer, 0) << endEntry;
    }
}

TEST(KvAgentThrows, AtTheEndChangesNothing) {
    for (const auto& [version, entry] :
         {std::pair{uint32_t{PATCHAGENT_OLD}, "EndPatch"}, {PATCHAGENT_NEW, "EndAction"}}) {
        FakeAgent agent(version);
        throwAt(agent, entry);
        EXPECT_NO_THROW(Conversation(*agent.table())->end(1, nullptr));
        EXPECT_EQ(agent.calls.size(), 1U);
    }
}

}  // namespace
