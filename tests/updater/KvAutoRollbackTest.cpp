// The automatic rollback: which files it undoes, in which order, and where it stops.
#include "updater/KvAutoRollback.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "tests/agent/FakeAgent.h"
#include "tests/support/LogCapture.h"
#include "tests/updater/AutoRollbackTest.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

TEST_F(KvAutoRollback, DoesNothingForARunWithoutItems) {
    FakeAgent agent(PATCHAGENT_NEW);
    LogCapture log;
    EXPECT_EQ(autoRollback(agent.table(), run.record(), 0), 1);
    EXPECT_THAT(agent.calls, IsEmpty());
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(KvAutoRollback, DoesNothingWithoutAnAgentTableOrARecord) {
    FakeAgent agent(PATCHAGENT_NEW);
    item(3, 5);
    EXPECT_EQ(autoRollback(nullptr, run.record(), 0), 1);
    EXPECT_EQ(autoRollback(agent.table(), nullptr, 0), 1);
    EXPECT_THAT(agent.calls, IsEmpty());
}

TEST_F(KvAutoRollback, DoesNotTrustACountWithoutItems) {
    FakeAgent agent(PATCHAGENT_NEW);
    backupStru empty{1, nullptr, 3, nullptr};
    EXPECT_EQ(autoRollback(agent.table(), &empty, 0), 1);
    EXPECT_THAT(agent.calls, IsEmpty());
}

TEST_F(KvAutoRollback, DoesNotTrustCountsWithoutLists) {
    backupItem& only = item(3, 5);
    only.addedCount = 2;
    only.writtenCount = 2;
    FakeAgent agent(PATCHAGENT_NEW);
    EXPECT_EQ(autoRollback(agent.table(), run.record(), 0), 1);
    EXPECT_EQ(agent.calls.size(), 2U);
}

TEST_F(KvAutoRollback, DeletesWhatWasAddedAndMovesTheSavedBack) {
    item(3, 5);
    added("new.dat");
    written("backup.000", "a.dat");
    tree.setTime("app/VC_Backup/3/5/backup.000", 1000000000);
    FakeAgent agent(PATCHAGENT_NEW);

    EXPECT_EQ(autoRollback(agent.table(), run.record(), 0), 1);

    EXPECT_FALSE(tree.exists("app/new.dat"));
    EXPECT_EQ(tree.read("app/a.dat"), "old a.dat");
    EXPECT_EQ(tree.time("app/a.dat"), 1000000000);
    EXPECT_FALSE(tree.exists("app/VC_Backup/3/5/backup.000"));
}

TEST_F(KvAutoRollback, KeepsAddedFilesWhenItUndoesARollback) {
    item(3, 5);
    added("new.dat");
    written("backup.000", "a.dat");
    FakeAgent agent(PATCHAGENT_NEW);

    EXPECT_EQ(autoRollback(agent.table(), run.record(), 1), 1);

    EXPECT_EQ(tree.read("app/new.dat"), "added");
    EXPECT_EQ(tree.read("app/a.dat"), "old a.dat");
}

TEST_F(KvAutoRollback, OnlyCallsTheAgentInHigherModes) {
    item(3, 5);
    added("new.dat");
    written("backup.000", "a.dat");
    for (const unsigned mode : {2U, 3U, 0xFFFFFFFFU}) {
        FakeAgent agent(PATCHAGENT_NEW);

        EXPECT_EQ(autoRollback(agent.table(), run.record(), mode), 1);

        EXPECT_EQ(tree.read("app/new.dat"), "added");
        EXPECT_EQ(tree.read("app/a.dat"), "new a.dat");
        EXPECT_EQ(tree.read("app/VC_Backup/3/5/backup.000"), "old a.dat");
        EXPECT_EQ(agent.calls.size(), 2U);
    }
}

// The name of an added file is a pattern that fits the replaced one: it goes, and is put back.
TEST_F(KvAutoRollback, DeletesTheAddedFilesOfAnItemBeforeItMovesTheSavedBack) {
    item(3, 5);
    written("backup.000", "axb.dat");
    added("a*b.dat");
    FakeAgent agent(PATCHAGENT_NEW);

    EXPECT_EQ(autoRollback(agent.table(), run.record(), 0), 1);

    EXPECT_EQ(tree.read("app/axb.dat"), "old axb.dat");
    EXPECT_FALSE(tree.exists("app/a*b.dat"));
}

// Its copy is the only one there is, so it stays, and the log tells why.
TEST_F(KvAutoRollback, GoesOnBehindAFileThatCannotBeMovedBack) {
    tree.write("app/file", "no directory");
    item(3, 5);
    tree.write("app/VC_Backup/3/5/backup.000", "lost");
    entry("backup.000, " + tree.path("app/file/inner.dat"));
    written("backup.001", "a.dat");
    FakeAgent agent(PATCHAGENT_NEW);
    LogCapture log;

    EXPECT_EQ(autoRollback(agent.table(), run.record(), 0), 1);

    EXPECT_THAT(log.lines(), Contains(testing::StartsWith("Err 6 Cause: ")));
    EXPECT_EQ(tree.read("app/VC_Backup/3/5/backup.000"), "lost");
    EXPECT_EQ(tree.read("app/file"), "no directory");
    EXPECT_EQ(tree.read("app/a.dat"), "old a.dat");
    EXPECT_EQ(agent.calls.size(), 2U);
}

TEST_F(KvAutoRollback, DeletesAFileThatBrokeOff) {
    item(3, 5);
    const std::string announced = tree.write("app/half.dat", "hal");
    ASSERT_TRUE(announceAddedFile(&run.last(), strdup(announced.c_str())));
    FakeAgent agent(PATCHAGENT_NEW);

    EXPECT_EQ(autoRollback(agent.table(), run.record(), 0), 1);

    EXPECT_FALSE(tree.exists("app/half.dat"));
}

TEST_F(KvAutoRollback, PutsTheFirstCopyOfAnItemBack) {
    item(3, 5);
    written("backup.000", "a.dat");
    tree.write("app/VC_Backup/3/5/backup.001", "later");
    entry("backup.001, " + tree.path("app/a.dat"));
    FakeAgent agent(PATCHAGENT_NEW);

    EXPECT_EQ(autoRollback(agent.table(), run.record(), 0), 1);

    EXPECT_EQ(tree.read("app/a.dat"), "old a.dat");
    EXPECT_FALSE(tree.exists("app/VC_Backup/3/5/backup.001"));
}

// An update makes the copies of its first item first, a rollback those of its last.
TEST_F(KvAutoRollback, PutsTheFirstCopyOfARunBack) {
    for (const unsigned mode : {kUndoUpdate, kUndoRollback}) {
        RunBackup items(0);
        for (const char* saved : {"backup.000", "backup.001"}) {
            items.item(3, 5, "", "", tree.makeDir("app"));
            tree.write(std::string("app/VC_Backup/3/5/") + saved, saved);
            items.written(saved + (", " + tree.path("app/a.dat")));
        }
        FakeAgent agent(PATCHAGENT_NEW);

        EXPECT_EQ(autoRollback(agent.table(), items.record(), mode), 1);

        EXPECT_EQ(tree.read("app/a.dat"), mode == kUndoUpdate ? "backup.000" : "backup.001");
    }
}

TEST_F(KvAutoRollback, StopsAtAnEntryThatIsNotAPair) {
    item(2, 1);
    written("backup.000", "a.dat");
    item(1, 1);
    entry("backup.003, /a/b, x");
    FakeAgent agent(PATCHAGENT_OLD);
    LogCapture log;

    EXPECT_EQ(autoRollback(agent.table(), run.record(), 0), 0);

    EXPECT_THAT(agent.calls, ElementsAre("StartProduct()"));
    EXPECT_EQ(tree.read("app/a.dat"), "new a.dat");
    EXPECT_EQ(log.lines().back(), "Err 6 autoRollback: written file name failed.");
}

TEST_F(KvAutoRollback, StopsAtAnEntryWithoutATarget) {
    item(1, 1);
    entry("backup.003");
    FakeAgent agent(PATCHAGENT_NEW);
    EXPECT_EQ(autoRollback(agent.table(), run.record(), 1), 0);
}

// The directory of all copies is no copy.
TEST_F(KvAutoRollback, StopsAtAnEntryWithoutANameAndLeavesTheStoreAlone) {
    for (const std::string& name : {std::string(), std::string("dir/"), std::string("  ")}) {
        item(3, 5);
        tree.write("app/VC_Backup/3/5/backup.000", "another copy");
        tree.write("app/a.dat", "new");
        entry(name + ", " + tree.path("app/a.dat"));
        const auto before = tree.snapshot();
        for (const unsigned mode : {0U, 1U}) {
            FakeAgent agent(PATCHAGENT_NEW);
            LogCapture log;

            EXPECT_EQ(autoRollback(agent.table(), run.record(), mode), 0);

            EXPECT_EQ(tree.snapshot(), before);
            EXPECT_EQ(log.lines().back(), "Err 6 autoRollback: written file name failed.");
        }
    }
}

TEST_F(KvAutoRollback, StopsAtAStoreWhosePathDoesNotFit) {
    backupItem& only = item(1, 1);
    free(only.destination);
    only.destination = strdup(std::string(4090, 'd').c_str());
    entry("backup.000, /a/b");
    FakeAgent agent(PATCHAGENT_NEW);
    LogCapture log;

    EXPECT_EQ(autoRollback(agent.table(), run.record(), 0), 0);

    EXPECT_EQ(log.lines().back(), "Err 6 autoRollback: CatURIWithFile failed.");
}

TEST_F(KvAutoRollback, LogsAWordForANullAddedFile) {
    backupItem& only = item(1, 1);
    added("new.dat");
    free(only.addedList[0]);
    only.addedList[0] = nullptr;
    FakeAgent agent(PATCHAGENT_NEW);
    LogCapture log;

    EXPECT_EQ(autoRollback(agent.table(), run.record(), 0), 1);

    EXPECT_THAT(log.lines(), Contains("Inf 6 Auto Rollback in Update: Unlinking Empty File ."));
}

}  // namespace
