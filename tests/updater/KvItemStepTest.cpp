// The agent is told that an item starts and ends: which call, which arguments, which words.
#include "updater/KvItemStep.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/agent/FakeAgent.h"
#include "tests/support/LogCapture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr unsigned kNoFlags = 0;

// 5.2 build 7 to 6.0, and two pattern numbers.
tag_Version from{0x00052000, 7, 0};
tag_Version to{0x00060000, 0, 0};
tag_Version patternFrom{112300, 0, 0};
tag_Version patternTo{112400, 0, 0};

TEST(KvItemStepStart, TellsANewAgentOfAProductWithItsTypeInDecimal) {
    FakeAgent agent(PATCHAGENT_NEW);
    LogCapture log;

    EXPECT_EQ(startEachItem(agent.table(), "x.zip", 1, 17, &from, &to, 1), 1U);

    EXPECT_THAT(agent.calls, ElementsAre("StartItem(x.zip, 1, 17, 0x1, 0x52000/7, 0x60000/0)"));
    EXPECT_THAT(log.lines(),
                ElementsAre("Inf 6 Call PatchAgent StartItem with: x.zip, 1, 17, 0x1, 5.2.7, 6.0"));
}

TEST(KvItemStepStart, TellsANewAgentOfOtherClassesWithTheirTypeInHexadecimal) {
    FakeAgent agent(PATCHAGENT_NEW);
    LogCapture log;

    EXPECT_EQ(startEachItem(agent.table(), "x.zip", 3, 17, &patternFrom, &patternTo, 1), 1U);
    EXPECT_EQ(startEachItem(agent.table(), "y.zip", 4, 0xFFFFFFFF, &from, &to, 3), 1U);

    EXPECT_THAT(
        log.lines(),
        ElementsAre("Inf 6 Call PatchAgent StartItem with: x.zip, 3, 0x11, 0x1, 112300, 112400",
                    "Inf 6 Call PatchAgent StartItem with: y.zip, 4, 0xffffffff, 0x3, 5.2.7, 6.0"));
}

TEST(KvItemStepStart, ShowsAProductsTypeInDecimalToItsEnds) {
    FakeAgent agent(PATCHAGENT_NEW);
    LogCapture log;

    EXPECT_EQ(startEachItem(agent.table(), "x.zip", 1, 0xFFFFFFFF, &from, &to, 0), 1U);
    EXPECT_EQ(startEachItem(agent.table(), "x.zip", 1, 0, &from, &to, 0), 1U);

    EXPECT_THAT(
        log.lines(),
        ElementsAre("Inf 6 Call PatchAgent StartItem with: x.zip, 1, 4294967295, 0x0, 5.2.7, 6.0",
                    "Inf 6 Call PatchAgent StartItem with: x.zip, 1, 0, 0x0, 5.2.7, 6.0"));
}

TEST(KvItemStepStart, PassesANullNameOnAndLogsAWordForIt) {
    FakeAgent agent(PATCHAGENT_NEW);
    LogCapture log;

    EXPECT_EQ(startEachItem(agent.table(), nullptr, 2, 4, &from, &to, kNoFlags), 1U);

    EXPECT_THAT(agent.calls, ElementsAre("StartItem(null, 2, 4, 0x0, 0x52000/7, 0x60000/0)"));
    EXPECT_THAT(
        log.lines(),
        ElementsAre("Inf 6 Call PatchAgent StartItem with: NULL_String, 2, 0x4, 0x0, 5.2.7, 6.0"));
}

TEST(KvItemStepStart, ClosesTheBracketOfANewAgentThatRefuses) {
    FakeAgent agent(PATCHAGENT_NEW);
    agent.answers["StartItem"] = 0;
    LogCapture log;

    EXPECT_EQ(startEachItem(agent.table(), "x.zip", 2, 4, &from, &to, kNoFlags), 0U);

    EXPECT_THAT(agent.calls, ElementsAre("StartItem(x.zip, 2, 4, 0x0, 0x52000/7, 0x60000/0)",
                                         "EndItem(0, 0x52000/7, 0x60000/0)"));
    EXPECT_THAT(log.lines(),
                ElementsAre("Inf 6 Call PatchAgent StartItem with: x.zip, 2, 0x4, 0x0, 5.2.7, 6.0",
                            "Err 6 startEachItem: start item failed.",
                            "Inf 6 Call PatchAgent EndItem with: FALSE, 5.2.7, 6.0"));
}

TEST(KvItemStepStart, HandsAnyOtherAnswerBack) {
    FakeAgent agent(PATCHAGENT_NEW);
    agent.answers["StartItem"] = 42;
    EXPECT_EQ(startEachItem(agent.table(), "x", 1, 1, &from, &to, kNoFlags), 42U);
    agent.answers["StartItem"] = -1;
    EXPECT_EQ(startEachItem(agent.table(), "x", 1, 1, &from, &to, kNoFlags), 0xFFFFFFFFU);
}

TEST(KvItemStepStart, RefusesAnUnknownInterface) {
    FakeAgent agent(2);
    LogCapture log;

    EXPECT_EQ(startEachItem(agent.table(), "x", 1, 1, &from, &to, kNoFlags), 0U);

    EXPECT_THAT(log.lines(), ElementsAre("Err 9 startEachItem: unknown patch agent version."));
}

TEST(KvItemStepStart, RefusesAnUnknownClassForAnOldAgent) {
    FakeAgent agent(PATCHAGENT_OLD);
    LogCapture log;

    for (const unsigned itemClass : {0U, 4U, 5U, 0xFFFFFFFFU}) {
        EXPECT_EQ(startEachItem(agent.table(), "x", itemClass, 1, &from, &to, kNoFlags), 0U);
    }

    EXPECT_THAT(agent.calls, IsEmpty());
    const std::string unknownClass = "Err 9 startEachItem: unknown class.";
    EXPECT_THAT(log.lines(), ElementsAre(unknownClass, unknownClass, unknownClass, unknownClass));
}

struct OldClass {
    unsigned itemClass;
    const char* entry;       // behind "Start" and "End"
    const char* failure;     // of the start
    const char* endCall;     // that closes the bracket
    const char* endMessage;  // of that call
};

class KvItemStepOld : public testing::TestWithParam<OldClass> {};

TEST_P(KvItemStepOld, StartsAnItemByItsName) {
    FakeAgent agent(PATCHAGENT_OLD);
    LogCapture log;
    const std::string start = std::string("Start") + GetParam().entry;

    EXPECT_EQ(startEachItem(agent.table(), "x.zip", GetParam().itemClass, 5, &from, &to, 1), 1U);
    EXPECT_EQ(startEachItem(agent.table(), nullptr, GetParam().itemClass, 5, &from, &to, 1), 1U);

    EXPECT_THAT(agent.calls, ElementsAre(start + "(x.zip)", start + "(null)"));
    EXPECT_THAT(log.lines(), ElementsAre("Inf 6 Call PatchAgent " + start + " with: x.zip",
                                         "Inf 6 Call PatchAgent " + start + " with: NULL_String"));
}

TEST_P(KvItemStepOld, TakesAnyOtherAnswerForAYesAndHandsItBack) {
    FakeAgent agent(PATCHAGENT_OLD);
    const std::string start = std::string("Start") + GetParam().entry;
    const std::string end = std::string("End") + GetParam().entry;
    for (const int answer : {-1, 2, 42}) {
        agent.calls.clear();
        agent.answers = {{start, answer}, {end, answer}};
        LogCapture log;

        EXPECT_EQ(startEachItem(agent.table(), "x.zip", GetParam().itemClass, 5, &from, &to, 0),
                  static_cast<unsigned>(answer));
        EXPECT_EQ(agent.calls.size(), 1U) << "the bracket stays open";
        EXPECT_EQ(endEachItem(0, agent.table(), GetParam().itemClass, 5, &from, &to),
                  static_cast<unsigned>(answer));

        EXPECT_THAT(agent.calls, ElementsAre(start + "(x.zip)", GetParam().endCall));
        EXPECT_THAT(log.lines(), ElementsAre("Inf 6 Call PatchAgent " + start + " with: x.zip",
                                             std::string("Inf 6 ") + GetParam().endMessage));
    }
}

TEST_P(KvItemStepOld, ClosesTheBracketOfAStartThatFailed) {
    FakeAgent agent(PATCHAGENT_OLD);
    const std::string start = std::string("Start") + GetParam().entry;
    agent.answers[start] = 0;
    LogCapture log;

    EXPECT_EQ(startEachItem(agent.table(), "x.zip", GetParam().itemClass, 5, &from, &to, 0), 0U);

    EXPECT_THAT(agent.calls, ElementsAre(start + "(x.zip)", GetParam().endCall));
    EXPECT_THAT(log.lines(), ElementsAre("Inf 6 Call PatchAgent " + start + " with: x.zip",
                                         std::string("Err 6 ") + GetParam().failure,
                                         std::string("Inf 6 ") + GetParam().endMessage));
}

INSTANTIATE_TEST_SUITE_P(
    EveryClass, KvItemStepOld,
    testing::Values(OldClass{2, "Engine", "startEachItem: start engine failed.",
                             "EndEngine(0, 0x52000, 0x60000)",
                             "Call PatchAgent EndEngine with: FALSE, 0x52000, 0x60000"},
                    // Shifted by 16 bits, 0x00052000 is 0x20000000 and 0x00060000 is 0.
                    OldClass{3, "Pattern", "startEachItem: start pattern failed.",
                             "EndPattern(0, 0x20000000, 0x0)",
                             "Call PatchAgent EndPattern with: FALSE, 536870912, 0"},
                    OldClass{1, "Product", "startEachItem: start product failed.",
                             "EndProduct(0, 0x52000, 0x60000)",
                             "Call PatchAgent EndProduct with: FALSE, 0x52000, 0x60000"}),
    [](const auto& test) { return std::string(test.param.entry); });

TEST(KvItemStepEnd, TellsANewAgent) {
    FakeAgent agent(PATCHAGENT_NEW);
    agent.answers["EndItem"] = 5;
    LogCapture log;

    EXPECT_EQ(endEachItem(1, agent.table(), 1, 17, &from, &to), 5U);
    EXPECT_EQ(endEachItem(0, agent.table(), 3, 17, &patternFrom, &patternTo), 5U);

    EXPECT_THAT(agent.calls, ElementsAre("EndItem(1, 0x52000/7, 0x60000/0)",
                                         "EndItem(0, 0x1b6ac/0, 0x1b710/0)"));
    EXPECT_THAT(log.lines(),
                ElementsAre("Inf 6 Call PatchAgent EndItem with: TRUE, 5.2.7, 6.0",
                            "Inf 6 Call PatchAgent EndItem with: FALSE, 112300, 112400"));
}

TEST(KvItemStepEnd, TellsAnOldAgentByClass) {
    FakeAgent agent(PATCHAGENT_OLD);
    agent.answers["EndProduct"] = 0;
    LogCapture log;

    EXPECT_EQ(endEachItem(1, agent.table(), 2, 17, &from, &to), 1U);
    EXPECT_EQ(endEachItem(0, agent.table(), 1, 17, &from, &to), 0U);

    EXPECT_THAT(agent.calls,
                ElementsAre("EndEngine(1, 0x52000, 0x60000)", "EndProduct(0, 0x52000, 0x60000)"));
    EXPECT_THAT(log.lines(),
                ElementsAre("Inf 6 Call PatchAgent EndEngine with: TRUE, 0x52000, 0x60000",
                            "Inf 6 Call PatchAgent EndProduct with: FALSE, 0x52000, 0x60000"));
}

TEST(KvItemStepEnd, RefusesUnknownInterfacesAndClasses) {
    LogCapture log;
    FakeAgent unknown(7);
    EXPECT_EQ(endEachItem(1, unknown.table(), 1, 1, &from, &to), 0U);
    FakeAgent old(PATCHAGENT_OLD);
    for (const unsigned itemClass : {0U, 4U, 5U, 0xFFFFFFFFU}) {
        EXPECT_EQ(endEachItem(1, old.table(), itemClass, 1, &from, &to), 0U);
    }

    EXPECT_THAT(old.calls, IsEmpty());
    const std::string unknownClass = "Err 9 endEachItem: unknown class.";
    EXPECT_THAT(log.lines(), ElementsAre("Err 9 endEachItem: unknown patch agent version.",
                                         unknownClass, unknownClass, unknownClass, unknownClass));
}

// 112300 is 123 in the old numbering: 123 * 65536 = 0x7b0000. The message shows the number as it
// is, shifted: 112300 * 65536 modulo 2^32 = 3064725504.
TEST(KvItemStepEnd, ConvertsPatternNumbersOfTheFirstFiveTypesForAnOldAgent) {
    for (const unsigned type : {0U, 1U, 4U}) {
        FakeAgent agent(PATCHAGENT_OLD);
        LogCapture log;
        EXPECT_EQ(endEachItem(1, agent.table(), 3, type, &patternFrom, &patternTo), 1U);
        EXPECT_THAT(agent.calls, ElementsAre("EndPattern(1, 0x7b0000, 0x7c0000)"));
        EXPECT_THAT(log.lines(), ElementsAre("Inf 6 Call PatchAgent EndPattern with: TRUE, "
                                             "3064725504, 3071279104"));
    }
}

TEST(KvItemStepEnd, LeavesPatternNumbersOfHigherTypesAsTheyAre) {
    for (const unsigned type : {5U, 6U, 0xFFFFFFFFU}) {
        FakeAgent agent(PATCHAGENT_OLD);
        EXPECT_EQ(endEachItem(1, agent.table(), 3, type, &patternFrom, &patternTo), 1U);
        EXPECT_THAT(agent.calls, ElementsAre("EndPattern(1, 0xb6ac0000, 0xb7100000)"));
    }
}

TEST(KvItemStep, RefusesNullArguments) {
    FakeAgent agent(PATCHAGENT_NEW);
    EXPECT_EQ(startEachItem(nullptr, "x", 1, 1, &from, &to, kNoFlags), 0U);
    EXPECT_EQ(startEachItem(agent.table(), "x", 1, 1, nullptr, &to, kNoFlags), 0U);
    EXPECT_EQ(startEachItem(agent.table(), "x", 1, 1, &from, nullptr, kNoFlags), 0U);
    EXPECT_EQ(endEachItem(1, nullptr, 1, 1, &from, &to), 0U);
    EXPECT_EQ(endEachItem(1, agent.table(), 1, 1, nullptr, &to), 0U);
    EXPECT_EQ(endEachItem(1, agent.table(), 1, 1, &from, nullptr), 0U);
    EXPECT_THAT(agent.calls, IsEmpty());
}

}  // namespace
