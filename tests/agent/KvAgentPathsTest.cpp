// What an agent of the old interface is asked before the first file.
#include "agent/KvAgentPaths.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

#include "tests/agent/FakeAgent.h"
#include "tests/patch/DescriptionText.h"
#include "tests/support/LogCapture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr AgentPathWords kWords = {
    {"ask pattern", "pattern is"}, {"ask engine", "engine is"}, {"ask product", "product is"}};

// A description with one item for each class, to "/<n>", n from 0.
std::string itemsOf(const std::vector<int>& classes) {
    DescriptionText text(static_cast<int>(classes.size()));
    for (size_t i = 0; i < classes.size(); ++i) {
        text.setItem(i, "class", std::to_string(classes[i]))
            .setItem(i, "destination", "/" + std::to_string(i));
    }
    return text.text();
}

TEST(AskAgentPaths, AsksForPatternEngineAndProductInThisOrder) {
    FakeAgent agent(PATCHAGENT_OLD);
    agent.paths = {{"GetPatternPath", "/t"}, {"GetEnginePath", "/e"}, {"GetProductPath", "/p"}};
    ReadDescription description(itemsOf({1, 2, 3}));
    auto paths = std::make_unique<AgentPaths>();
    LogCapture log;

    askAgentPaths(*agent.table(), *description.stru(), kWords, *paths);

    EXPECT_STREQ(paths->pattern, "/t");
    EXPECT_STREQ(paths->engine, "/e");
    EXPECT_STREQ(paths->product, "/p");
    EXPECT_THAT(agent.calls,
                ElementsAre("GetPatternPath(/2)", "GetEnginePath(/1)", "GetProductPath(/0)"));
    EXPECT_THAT(log.records(),
                ElementsAre(infoAt(6, "ask pattern: /2"), infoAt(6, "pattern is: /t"),
                            infoAt(6, "ask engine: /1"), infoAt(6, "engine is: /e"),
                            infoAt(6, "ask product: /0"), infoAt(6, "product is: /p")));
}

TEST(AskAgentPaths, AsksOnceAClassWithTheFirstItem) {
    FakeAgent agent(PATCHAGENT_OLD);
    ReadDescription description(itemsOf({4, 3, 3}));
    auto paths = std::make_unique<AgentPaths>();

    askAgentPaths(*agent.table(), *description.stru(), kWords, *paths);

    EXPECT_THAT(agent.calls, ElementsAre("GetPatternPath(/1)"));
    EXPECT_STREQ(paths->pattern, "/1");
    EXPECT_STREQ(paths->engine, "");
    EXPECT_STREQ(paths->product, "");
}

TEST(AskAgentPaths, AsksNothingForOtherClasses) {
    FakeAgent agent(PATCHAGENT_OLD);
    ReadDescription description(itemsOf({0, 4, 5}));
    auto paths = std::make_unique<AgentPaths>();

    askAgentPaths(*agent.table(), *description.stru(), kWords, *paths);

    EXPECT_THAT(agent.calls, IsEmpty());
}

TEST(AskAgentPaths, CutsADestinationToTheBuffer) {
    FakeAgent agent(PATCHAGENT_OLD);
    const std::string longPath = "/" + std::string(6000, 'x');
    ReadDescription description(
        DescriptionText().setItem(0, "class", "2").setItem(0, "destination", longPath));
    ASSERT_EQ(description.result(), 0);
    auto paths = std::make_unique<AgentPaths>();

    askAgentPaths(*agent.table(), *description.stru(), kWords, *paths);

    EXPECT_EQ(std::string(paths->engine), longPath.substr(0, 4095));
}

TEST(ClassMask, HasABitForEachClassOfTheOldInterface) {
    const auto maskOf = [](const std::vector<int>& classes) {
        ReadDescription description(itemsOf(classes));
        return classMaskOf(*description.stru());
    };
    EXPECT_EQ(maskOf({3}), 1U);
    EXPECT_EQ(maskOf({2}), 2U);
    EXPECT_EQ(maskOf({1}), 4U);
    EXPECT_EQ(maskOf({3, 1, 3}), 5U);
    EXPECT_EQ(maskOf({1, 2, 3, 4}), 7U);
    EXPECT_EQ(maskOf({0, 4, 5}), 0U);
}

}  // namespace
