// What the agent hears of an automatic rollback, and what becomes of its answers.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "tests/agent/FakeAgent.h"
#include "tests/store/RunBackup.h"
#include "tests/support/LogCapture.h"
#include "tests/updater/AutoRollbackTest.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST_F(KvAutoRollback, TellsANewAgentThatItGoesBackFromTheResultToTheOrigin) {
    item(1, 17);
    added("new.dat");
    item(2, 17);
    written("backup.000", "a.dat");
    FakeAgent agent(PATCHAGENT_NEW);
    LogCapture log;

    EXPECT_EQ(autoRollback(agent.table(), run.record(), 0), 1);

    EXPECT_THAT(agent.calls, ElementsAre("StartItem(, 2, 17, 0x2, 0x60000/0, 0x52000/7)",
                                         "EndItem(1, 0x60000/0, 0x52000/7)",
                                         "StartItem(, 1, 17, 0x2, 0x60000/0, 0x52000/7)",
                                         "EndItem(1, 0x60000/0, 0x52000/7)"));
    EXPECT_THAT(
        log.lines(),
        ElementsAre(
            "Inf 6 Call PatchAgent StartItem with: empty string, 2, 0x11, 0x2, 6.0, 5.2.7",
            "Inf 6 autoRollback moving files, from:" + tree.path("app/VC_Backup/2/17/backup.000") +
                ", to:" + tree.path("app/a.dat"),
            "Inf 6 Call PatchAgent EndItem with: TRUE, 6.0, 5.2.7",
            "Inf 6 Call PatchAgent StartItem with: empty string, 1, 17, 0x2, 6.0, 5.2.7",
            "Inf 6 Auto Rollback in Update: Unlinking " + tree.path("app/new.dat") + " .",
            "Inf 6 Call PatchAgent EndItem with: TRUE, 6.0, 5.2.7"));
}

TEST_F(KvAutoRollback, LogsWhatANewAgentRefusesAndGoesOn) {
    item(2, 4);
    written("backup.000", "a.dat");
    FakeAgent agent(PATCHAGENT_NEW);
    agent.answers = {{"StartItem", 0}, {"EndItem", 0}};
    LogCapture log;

    EXPECT_EQ(autoRollback(agent.table(), run.record(), 0), 1);

    EXPECT_EQ(tree.read("app/a.dat"), "old a.dat");
    EXPECT_THAT(
        log.lines(),
        ElementsAre(
            "Inf 6 Call PatchAgent StartItem with: empty string, 2, 0x4, 0x2, 6.0, 5.2.7",
            "Err 6 Start Class[2] error but in auto rollback ignore it",
            "Inf 6 autoRollback moving files, from:" + tree.path("app/VC_Backup/2/4/backup.000") +
                ", to:" + tree.path("app/a.dat"),
            "Inf 6 Call PatchAgent EndItem with: TRUE, 6.0, 5.2.7",
            "Err 6 End Class[2] error but in auto rollback so ignore it"));
}

TEST_F(KvAutoRollback, TellsAnOldAgentByClass) {
    item(1, 1);
    item(2, 1);
    FakeAgent agent(PATCHAGENT_OLD);
    LogCapture log;

    EXPECT_EQ(autoRollback(agent.table(), run.record(), 0), 1);

    EXPECT_THAT(agent.calls, ElementsAre("StartEngine()", "EndEngine(1, 0x60000, 0x52000)",
                                         "StartProduct()", "EndProduct(1, 0x60000, 0x52000)"));
    EXPECT_THAT(log.lines(),
                ElementsAre("Inf 6 Call PatchAgent StartEngine with: empty string",
                            "Inf 6 Call PatchAgent EndEngine with: TRUE, 0x60000, 0x52000",
                            "Inf 6 Call PatchAgent StartProduct with: empty string",
                            "Inf 6 Call PatchAgent EndProduct with: TRUE, 0x60000, 0x52000"));
}

// 112400 and 112300 are 124 and 123 in the old numbering.
TEST_F(KvAutoRollback, ConvertsPatternNumbersOfTypesBelowFiveForAnOldAgent) {
    for (const uint32_t type : {5U, 4U}) {
        backupItem& pattern = item(3, type);
        pattern.originVersion = {112300, 0, 0};
        pattern.resultVersion = {112400, 0, 0};
    }
    FakeAgent agent(PATCHAGENT_OLD);
    LogCapture log;

    EXPECT_EQ(autoRollback(agent.table(), run.record(), 0), 1);

    EXPECT_THAT(agent.calls,
                ElementsAre("StartPattern()", "EndPattern(1, 0x7c0000, 0x7b0000)", "StartPattern()",
                            "EndPattern(1, 0xb7100000, 0xb6ac0000)"));
    const std::string start = "Inf 6 Call PatchAgent StartPattern with: empty string";
    const std::string end = "Inf 6 Call PatchAgent EndPattern with: TRUE, 3071279104, 3064725504";
    EXPECT_THAT(log.lines(), ElementsAre(start, end, start, end));
}

TEST_F(KvAutoRollback, JudgesAClassWithoutCallsByTheAnswerBefore) {
    item(4, 1);
    item(2, 1);
    item(4, 2);
    FakeAgent agent(PATCHAGENT_OLD);
    LogCapture log;

    EXPECT_EQ(autoRollback(agent.table(), run.record(), 0), 1);

    EXPECT_THAT(agent.calls, ElementsAre("StartEngine()", "EndEngine(1, 0x60000, 0x52000)"));
    // No answer yet counts as 0 for the last item; the first one follows the engine's yes.
    EXPECT_THAT(log.lines(),
                ElementsAre("Err 6 Start Class[4] error but in auto rollback so ignore it",
                            "Err 6 End Class[4] error but in auto rollback so ignore it",
                            "Inf 6 Call PatchAgent StartEngine with: empty string",
                            "Inf 6 Call PatchAgent EndEngine with: TRUE, 0x60000, 0x52000"));
}

// What the agent answers to one class, refused at both ends.
struct RefusedClass {
    uint32_t itemClass;
    const char* entry;  // behind "Start" and "End"
    const char* end;    // message of the end call
};

class KvAutoRollbackRefused : public KvAutoRollback,
                              public testing::WithParamInterface<RefusedClass> {};

TEST_P(KvAutoRollbackRefused, IsLoggedForAnOldAgentAndGoesOn) {
    const std::string entry = GetParam().entry;
    const std::string number = std::to_string(GetParam().itemClass);
    item(GetParam().itemClass, 5);
    written("backup.000", "a.dat");
    FakeAgent agent(PATCHAGENT_OLD);
    agent.answers = {{"Start" + entry, 0}, {"End" + entry, 0}};
    LogCapture log;

    EXPECT_EQ(autoRollback(agent.table(), run.record(), 0), 1);

    EXPECT_EQ(tree.read("app/a.dat"), "old a.dat");
    EXPECT_THAT(
        log.lines(),
        ElementsAre("Inf 6 Call PatchAgent Start" + entry + " with: empty string",
                    "Err 6 Start Class[" + number + "] error but in auto rollback so ignore it",
                    "Inf 6 autoRollback moving files, from:" +
                        tree.path("app/VC_Backup/" + number + "/5/backup.000") +
                        ", to:" + tree.path("app/a.dat"),
                    std::string("Inf 6 ") + GetParam().end,
                    "Err 6 End Class[" + number + "] error but in auto rollback so ignore it"));
}

// Shifted by 16 bits, 0x00060000 is 0 and 0x00052000 is 0x20000000.
INSTANTIATE_TEST_SUITE_P(
    EveryClass, KvAutoRollbackRefused,
    testing::Values(
        RefusedClass{1, "Product", "Call PatchAgent EndProduct with: TRUE, 0x60000, 0x52000"},
        RefusedClass{2, "Engine", "Call PatchAgent EndEngine with: TRUE, 0x60000, 0x52000"},
        RefusedClass{3, "Pattern", "Call PatchAgent EndPattern with: TRUE, 0, 536870912"}),
    [](const auto& test) { return std::string(test.param.entry); });

// No call is made of these classes, and no answer yet counts as 0.
TEST_F(KvAutoRollback, CallsNothingOfAnOldAgentForAnUnknownClass) {
    const std::pair<uint32_t, const char*> classes[] = {{0, "0"}, {5, "5"}, {0xFFFFFFFFU, "-1"}};
    for (const auto& [itemClass, number] : classes) {
        RunBackup lone(0);
        lone.item(itemClass, 1, "5.2", "6.0", tree.makeDir("app"))
            .added(tree.write("app/a.dat", "added"));
        FakeAgent agent(PATCHAGENT_OLD);
        LogCapture log;

        EXPECT_EQ(autoRollback(agent.table(), lone.record(), 0), 1);

        EXPECT_THAT(agent.calls, IsEmpty());
        EXPECT_FALSE(tree.exists("app/a.dat"));
        const std::string named = std::string(" Class[") + number;
        EXPECT_THAT(
            log.lines(),
            ElementsAre("Err 6 Start" + named + "] error but in auto rollback so ignore it",
                        "Inf 6 Auto Rollback in Update: Unlinking " + tree.path("app/a.dat") + " .",
                        "Err 6 End" + named + "] error but in auto rollback so ignore it"));
    }
}

TEST_F(KvAutoRollback, TellsANewAgentOfUnknownClassesToo) {
    item(0xFFFFFFFFU, 0xFFFFFFFFU);
    item(0, 0);
    FakeAgent agent(PATCHAGENT_NEW);
    agent.answers = {{"StartItem", 0}, {"EndItem", 0}};
    LogCapture log;

    EXPECT_EQ(autoRollback(agent.table(), run.record(), 0), 1);

    const std::string end = "Inf 6 Call PatchAgent EndItem with: TRUE, 6.0, 5.2.7";
    EXPECT_THAT(
        log.lines(),
        ElementsAre(
            "Inf 6 Call PatchAgent StartItem with: empty string, 0, 0x0, 0x2, 6.0, 5.2.7",
            "Err 6 Start Class[0] error but in auto rollback ignore it", end,
            "Err 6 End Class[0] error but in auto rollback so ignore it",
            "Inf 6 Call PatchAgent StartItem with: empty string, 4294967295, 0xffffffff, 0x2, "
            "6.0, 5.2.7",
            "Err 6 Start Class[-1] error but in auto rollback ignore it", end,
            "Err 6 End Class[-1] error but in auto rollback so ignore it"));
}

// Of products the type is shown in decimal, of all others in hexadecimal.
TEST_F(KvAutoRollback, ShowsAProductsTypeInDecimal) {
    item(1, 0);
    item(1, 0xFFFFFFFFU);
    FakeAgent agent(PATCHAGENT_NEW);
    LogCapture log;

    EXPECT_EQ(autoRollback(agent.table(), run.record(), 0), 1);

    const std::string end = "Inf 6 Call PatchAgent EndItem with: TRUE, 6.0, 5.2.7";
    EXPECT_THAT(
        log.lines(),
        ElementsAre(
            "Inf 6 Call PatchAgent StartItem with: empty string, 1, 4294967295, 0x2, "
            "6.0, 5.2.7",
            end, "Inf 6 Call PatchAgent StartItem with: empty string, 1, 0, 0x2, 6.0, 5.2.7", end));
}

TEST_F(KvAutoRollback, CallsNobodyForAnUnknownInterface) {
    item(1, 1);
    written("backup.000", "a.dat");
    FakeAgent agent(9);
    LogCapture log;

    EXPECT_EQ(autoRollback(agent.table(), run.record(), 0), 1);

    EXPECT_EQ(tree.read("app/a.dat"), "old a.dat");
    EXPECT_EQ(log.lines().size(), 1U) << "only the moved file is logged";
}

TEST_F(KvAutoRollback, PassesOverItemsThatWereNeverReached) {
    item(2, 1);
    written("backup.000", "a.dat");
    item(1, 1);
    run.unreached();
    FakeAgent agent(PATCHAGENT_OLD);

    EXPECT_EQ(autoRollback(agent.table(), run.record(), 0), 1);

    EXPECT_THAT(agent.calls, ElementsAre("StartEngine()", "EndEngine(1, 0x60000, 0x52000)"));
    EXPECT_EQ(tree.read("app/a.dat"), "old a.dat");
}

}  // namespace
