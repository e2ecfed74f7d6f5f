// The automatic rollback: what it undoes, in which order, and what the agent hears of it.
#include "updater/KvAutoRollback.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>

#include "tests/support/LogCapture.h"
#include "tests/support/TempTree.h"
#include "tests/updater/FakeAgent.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

// A run's record over items of "app", whose saved files are in the store.
class AutoRollback : public testing::Test {
  protected:
    ~AutoRollback() override {
        run.itemCount = count;
        freeBackupStru(&run);
    }

    backupItem& item(uint32_t itemClass, uint32_t type) {
        run.items = static_cast<backupItem*>(realloc(run.items, (count + 1) * sizeof(backupItem)));
        backupItem& added = run.items[count];
        added = backupItem{};
        run.itemCount = ++count;
        added.itemClass = itemClass;
        added.type = type;
        added.originVersion = {0x00052000, 7, 0};
        added.resultVersion = {0x00060000, 0, 0};
        added.destination = strdup(tree.makeDir("app").c_str());
        return added;
    }

    void added(backupItem& item, const std::string& name) const {
        tree.write("app/" + name, "added");
        ASSERT_TRUE(appendAddedFile(&item, strdup(tree.path("app/" + name).c_str())));
    }

    void written(backupItem& item, const std::string& saved, const std::string& name) const {
        const std::string dir = "app/VC_Backup/" + std::to_string(item.itemClass) + "/" +
                                std::to_string(item.type) + "/";
        tree.write(dir + saved, "old " + name);
        tree.write("app/" + name, "new " + name);
        entry(item, saved + ", " + tree.path("app/" + name));
    }

    static void entry(backupItem& item, const std::string& text) {
        ASSERT_TRUE(appendWrittenFile(&item, strdup(text.c_str())));
    }

    TempTree tree;
    backupStru run{};
    uint64_t count = 0;
};

TEST_F(AutoRollback, DoesNothingForARunWithoutItems) {
    FakeAgent agent(PATCHAGENT_NEW);
    LogCapture log;
    EXPECT_EQ(autoRollback(agent.table(), &run, 0), 1);
    EXPECT_THAT(agent.calls, IsEmpty());
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(AutoRollback, DoesNothingWithoutAnAgentTableOrARecord) {
    FakeAgent agent(PATCHAGENT_NEW);
    item(3, 5);
    EXPECT_EQ(autoRollback(nullptr, &run, 0), 1);
    EXPECT_EQ(autoRollback(agent.table(), nullptr, 0), 1);
    EXPECT_THAT(agent.calls, IsEmpty());
}

TEST_F(AutoRollback, DoesNotTrustACountWithoutItems) {
    FakeAgent agent(PATCHAGENT_NEW);
    backupStru empty{1, nullptr, 3, nullptr};
    EXPECT_EQ(autoRollback(agent.table(), &empty, 0), 1);
    EXPECT_THAT(agent.calls, IsEmpty());
}

TEST_F(AutoRollback, DoesNotTrustCountsWithoutLists) {
    backupItem& only = item(3, 5);
    only.addedCount = 2;
    only.writtenCount = 2;
    FakeAgent agent(PATCHAGENT_NEW);
    EXPECT_EQ(autoRollback(agent.table(), &run, 0), 1);
    EXPECT_EQ(agent.calls.size(), 2U);
}

TEST_F(AutoRollback, DeletesWhatWasAddedAndMovesTheSavedBack) {
    backupItem& only = item(3, 5);
    added(only, "new.dat");
    written(only, "backup.000", "a.dat");
    tree.setTime("app/VC_Backup/3/5/backup.000", 1000000000);
    FakeAgent agent(PATCHAGENT_NEW);

    EXPECT_EQ(autoRollback(agent.table(), &run, 0), 1);

    EXPECT_FALSE(tree.exists("app/new.dat"));
    EXPECT_EQ(tree.read("app/a.dat"), "old a.dat");
    EXPECT_EQ(tree.time("app/a.dat"), 1000000000);
    EXPECT_FALSE(tree.exists("app/VC_Backup/3/5/backup.000"));
}

TEST_F(AutoRollback, KeepsAddedFilesWhenItUndoesARollback) {
    backupItem& only = item(3, 5);
    added(only, "new.dat");
    written(only, "backup.000", "a.dat");
    FakeAgent agent(PATCHAGENT_NEW);

    EXPECT_EQ(autoRollback(agent.table(), &run, 1), 1);

    EXPECT_EQ(tree.read("app/new.dat"), "added");
    EXPECT_EQ(tree.read("app/a.dat"), "old a.dat");
}

TEST_F(AutoRollback, OnlyCallsTheAgentInHigherModes) {
    backupItem& only = item(3, 5);
    added(only, "new.dat");
    written(only, "backup.000", "a.dat");
    FakeAgent agent(PATCHAGENT_NEW);

    EXPECT_EQ(autoRollback(agent.table(), &run, 2), 1);

    EXPECT_EQ(tree.read("app/new.dat"), "added");
    EXPECT_EQ(tree.read("app/a.dat"), "new a.dat");
    EXPECT_EQ(tree.read("app/VC_Backup/3/5/backup.000"), "old a.dat");
    EXPECT_EQ(agent.calls.size(), 2U);
}

TEST_F(AutoRollback, TellsANewAgentThatItGoesBackFromTheResultToTheOrigin) {
    backupItem& product = item(1, 17);
    added(product, "new.dat");
    backupItem& engine = item(2, 17);
    written(engine, "backup.000", "a.dat");
    FakeAgent agent(PATCHAGENT_NEW);
    LogCapture log;

    EXPECT_EQ(autoRollback(agent.table(), &run, 0), 1);

    EXPECT_THAT(agent.calls, ElementsAre("StartItem(, 2, 17, 0x2, 0x60000/0, 0x52000/7)",
                                         "EndItem(1, 0x60000/0, 0x52000/7)",
                                         "StartItem(, 1, 17, 0x2, 0x60000/0, 0x52000/7)",
                                         "EndItem(1, 0x60000/0, 0x52000/7)"));
    EXPECT_THAT(
        log.records(),
        ElementsAre(
            infoAt(6, "Call PatchAgent StartItem with: empty string, 2, 0x11, 0x2, 6.0, 5.2.7"),
            infoAt(6,
                   "autoRollback moving files, from:" + tree.path("app/VC_Backup/2/17/backup.000") +
                       ", to:" + tree.path("app/a.dat")),
            infoAt(6, "Call PatchAgent EndItem with: TRUE, 6.0, 5.2.7"),
            infoAt(6, "Call PatchAgent StartItem with: empty string, 1, 17, 0x2, 6.0, 5.2.7"),
            infoAt(6, "Auto Rollback in Update: Unlinking " + tree.path("app/new.dat") + " ."),
            infoAt(6, "Call PatchAgent EndItem with: TRUE, 6.0, 5.2.7")));
}

TEST_F(AutoRollback, LogsWhatANewAgentRefusesAndGoesOn) {
    backupItem& only = item(2, 4);
    written(only, "backup.000", "a.dat");
    FakeAgent agent(PATCHAGENT_NEW);
    agent.answers = {{"StartItem", 0}, {"EndItem", 0}};
    LogCapture log;

    EXPECT_EQ(autoRollback(agent.table(), &run, 0), 1);

    EXPECT_EQ(tree.read("app/a.dat"), "old a.dat");
    EXPECT_THAT(log.records(),
                Contains(errorAt(6, "Start Class[2] error but in auto rollback ignore it")));
    EXPECT_THAT(log.records(),
                Contains(errorAt(6, "End Class[2] error but in auto rollback so ignore it")));
}

TEST_F(AutoRollback, TellsAnOldAgentByClass) {
    item(1, 1);
    item(2, 1);
    FakeAgent agent(PATCHAGENT_OLD);
    LogCapture log;

    EXPECT_EQ(autoRollback(agent.table(), &run, 0), 1);

    EXPECT_THAT(agent.calls, ElementsAre("StartEngine()", "EndEngine(1, 0x60000, 0x52000)",
                                         "StartProduct()", "EndProduct(1, 0x60000, 0x52000)"));
    EXPECT_THAT(log.records(),
                ElementsAre(infoAt(6, "Call PatchAgent StartEngine with: empty string"),
                            infoAt(6, "Call PatchAgent EndEngine with: TRUE, 0x60000, 0x52000"),
                            infoAt(6, "Call PatchAgent StartProduct with: empty string"),
                            infoAt(6, "Call PatchAgent EndProduct with: TRUE, 0x60000, 0x52000")));
}

// 112400 and 112300 are 124 and 123 in the old numbering.
TEST_F(AutoRollback, ConvertsPatternNumbersOfTypesBelowFiveForAnOldAgent) {
    for (const uint32_t type : {5U, 4U}) {
        backupItem& pattern = item(3, type);
        pattern.originVersion = {112300, 0, 0};
        pattern.resultVersion = {112400, 0, 0};
    }
    FakeAgent agent(PATCHAGENT_OLD);
    LogCapture log;

    EXPECT_EQ(autoRollback(agent.table(), &run, 0), 1);

    EXPECT_THAT(agent.calls,
                ElementsAre("StartPattern()", "EndPattern(1, 0x7c0000, 0x7b0000)", "StartPattern()",
                            "EndPattern(1, 0xb7100000, 0xb6ac0000)"));
    const LogRecord start = infoAt(6, "Call PatchAgent StartPattern with: empty string");
    const LogRecord end =
        infoAt(6, "Call PatchAgent EndPattern with: TRUE, 3071279104, 3064725504");
    EXPECT_THAT(log.records(), ElementsAre(start, end, start, end));
}

TEST_F(AutoRollback, JudgesAClassWithoutCallsByTheAnswerBefore) {
    item(4, 1);
    item(2, 1);
    item(4, 2);
    FakeAgent agent(PATCHAGENT_OLD);
    LogCapture log;

    EXPECT_EQ(autoRollback(agent.table(), &run, 0), 1);

    EXPECT_THAT(agent.calls, ElementsAre("StartEngine()", "EndEngine(1, 0x60000, 0x52000)"));
    // No answer yet counts as 0 for the last item; the first one follows the engine's yes.
    EXPECT_THAT(log.records(),
                ElementsAre(errorAt(6, "Start Class[4] error but in auto rollback so ignore it"),
                            errorAt(6, "End Class[4] error but in auto rollback so ignore it"),
                            infoAt(6, "Call PatchAgent StartEngine with: empty string"),
                            infoAt(6, "Call PatchAgent EndEngine with: TRUE, 0x60000, 0x52000")));
}

TEST_F(AutoRollback, LogsWhatAnOldAgentRefuses) {
    item(1, 1);
    FakeAgent agent(PATCHAGENT_OLD);
    agent.answers = {{"StartProduct", 0}, {"EndProduct", 0}};
    LogCapture log;

    EXPECT_EQ(autoRollback(agent.table(), &run, 0), 1);

    EXPECT_THAT(log.records(),
                Contains(errorAt(6, "Start Class[1] error but in auto rollback so ignore it")));
    EXPECT_THAT(log.records(),
                Contains(errorAt(6, "End Class[1] error but in auto rollback so ignore it")));
}

TEST_F(AutoRollback, CallsNobodyForAnUnknownInterface) {
    backupItem& only = item(1, 1);
    written(only, "backup.000", "a.dat");
    FakeAgent agent(9);
    LogCapture log;

    EXPECT_EQ(autoRollback(agent.table(), &run, 0), 1);

    EXPECT_EQ(tree.read("app/a.dat"), "old a.dat");
    EXPECT_EQ(log.records().size(), 1U) << "only the moved file is logged";
}

TEST_F(AutoRollback, PassesOverItemsThatWereNeverReached) {
    backupItem& reached = item(2, 1);
    backupItem* const first = &reached;
    written(*first, "backup.000", "a.dat");
    backupItem& unreached = item(1, 1);
    free(unreached.destination);
    unreached.destination = nullptr;
    FakeAgent agent(PATCHAGENT_OLD);

    EXPECT_EQ(autoRollback(agent.table(), &run, 0), 1);

    EXPECT_THAT(agent.calls, ElementsAre("StartEngine()", "EndEngine(1, 0x60000, 0x52000)"));
    EXPECT_EQ(tree.read("app/a.dat"), "old a.dat");
}

TEST_F(AutoRollback, StopsAtAnEntryThatIsNotAPair) {
    backupItem& lower = item(2, 1);
    written(lower, "backup.000", "a.dat");
    backupItem& upper = item(1, 1);
    entry(upper, "backup.003, /a/b, x");
    FakeAgent agent(PATCHAGENT_OLD);
    LogCapture log;

    EXPECT_EQ(autoRollback(agent.table(), &run, 0), 0);

    EXPECT_THAT(agent.calls, ElementsAre("StartProduct()"));
    EXPECT_EQ(tree.read("app/a.dat"), "new a.dat");
    EXPECT_EQ(log.records().back(), errorAt(6, "autoRollback: written file name failed."));
}

TEST_F(AutoRollback, StopsAtAnEntryWithoutATarget) {
    entry(item(1, 1), "backup.003");
    FakeAgent agent(PATCHAGENT_NEW);
    EXPECT_EQ(autoRollback(agent.table(), &run, 1), 0);
}

TEST_F(AutoRollback, StopsAtAStoreWhosePathDoesNotFit) {
    backupItem& only = item(1, 1);
    free(only.destination);
    only.destination = strdup(std::string(4090, 'd').c_str());
    entry(only, "backup.000, /a/b");
    FakeAgent agent(PATCHAGENT_NEW);
    LogCapture log;

    EXPECT_EQ(autoRollback(agent.table(), &run, 0), 0);

    EXPECT_EQ(log.records().back(), errorAt(6, "autoRollback: CatURIWithFile failed."));
}

TEST_F(AutoRollback, LogsAWordForANullAddedFile) {
    backupItem& only = item(1, 1);
    added(only, "new.dat");
    free(only.addedList[0]);
    only.addedList[0] = nullptr;
    FakeAgent agent(PATCHAGENT_NEW);
    LogCapture log;

    EXPECT_EQ(autoRollback(agent.table(), &run, 0), 1);

    EXPECT_THAT(log.records(),
                Contains(infoAt(6, "Auto Rollback in Update: Unlinking Empty File .")));
}

}  // namespace
