// Settling: which journals count, whose run is whose, and what is said about it.
#include "tests/journal/SettleTest.h"

#include <unistd.h>

#include "journal/KvJournalFile.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/LogCapture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using KvSettleRuns = SettleTest;

TEST_F(KvSettleRuns, AJournalWithoutItsFirstLineGoes) {
    for (const char* begun : {"", "beg", "begin\t0\tVcJourn"}) {
        tree.write("d/VC_Backup/VcJournal.1", begun);
        EXPECT_EQ(settle(), SettleResult::kNothing);
        EXPECT_FALSE(hasJournal());
    }
    EXPECT_THAT(listener.told, IsEmpty());
}

TEST_F(KvSettleRuns, WhatIsNoJournalIsLeftAloneAndTold) {
    tree.write("d/VC_Backup/VcJournal.1", "shopping list\n");
    tree.write("d/VC_Backup/VcJournal.2", "");
    ASSERT_EQ(truncate(tree.path("d/VC_Backup/VcJournal.2").c_str(), off_t{1} << 40), 0);
    tree.write("d/VC_Backup/VcJournal.x", "not even its name\n");
    EXPECT_EQ(settle(), SettleResult::kNothing);
    EXPECT_TRUE(hasJournal());
    EXPECT_THAT(listener.told,
                ElementsAre("no journal d/VC_Backup/VcJournal.1: Line 1 is none of a journal",
                            "no journal d/VC_Backup/VcJournal.2: Line 1 is none of a journal"));
}

TEST_F(KvSettleRuns, ADamagedJournalIsLeftAloneAndTold) {
    overwritten("nonsense\n");
    EXPECT_EQ(settle(), SettleResult::kNothing);
    EXPECT_EQ(tree.read("d/a"), "new");
    EXPECT_THAT(listener.told,
                ElementsAre("no journal d/VC_Backup/VcJournal.1: Line 3 is none of a journal"));
}

TEST_F(KvSettleRuns, AJournalThatOthersMayHaveWrittenIsLeftAloneAndTold) {
    overwritten();
    ASSERT_EQ(chmod(tree.path("d/VC_Backup/VcJournal.1").c_str(), 0622), 0);
    EXPECT_EQ(settle(), SettleResult::kNothing);
    EXPECT_EQ(tree.read("d/a"), "new");
    EXPECT_THAT(listener.told,
                ElementsAre("no journal d/VC_Backup/VcJournal.1: Others may write to it"));
}

TEST_F(KvSettleRuns, AJournalOfAnotherStoreIsLeftAloneAndTold) {
    overwritten();
    tree.makeDir("copy");
    ASSERT_EQ(runChild({"/bin/cp", {"-Rp", tree.path("d"), tree.path("copy")}}).exitCode, 0);
    const std::string path = tree.path("copy/d");
    const char* const destination = path.c_str();
    EXPECT_EQ(settleCutOffRuns(&destination, 1, SettleMode::kSettle, listener),
              SettleResult::kNothing);
    EXPECT_EQ(tree.read("d/a"), "new");
    EXPECT_THAT(listener.told,
                ElementsAre("no journal copy/d/VC_Backup/VcJournal.1: Belongs to another store"));
}

TEST_F(KvSettleRuns, ALiveRunIsLeftAlone) {
    overwritten();
    JournalFile live;
    ASSERT_EQ(live.open(tree.path("d/VC_Backup/VcJournal.1"), JournalFile::Access::kChange),
              JournalFile::Opening::kOpened);
    EXPECT_EQ(settle(), SettleResult::kNothing);
    EXPECT_EQ(tree.read("d/a"), "new");
    EXPECT_THAT(listener.told, ElementsAre("live d/VC_Backup/VcJournal.1"));
}

TEST_F(KvSettleRuns, OfTwoRunsTheLaterOneIsUndoneFirst) {
    file("d/a", "third", kOther);
    file("d/VC_Backup/3/backup.000", "older", kOld);
    file("d/VC_Backup/3/backup.001", "new", kNew);
    journal(
        "over\t1\t@/d/a\t@/d/VC_Backup/3/backup.001\t3 1600000000 644\t5 1700000000 644\n"
        "new\t2\t@/none\t\tmissing\t0 0 644\n",
        "d", 1, "2");
    journal(
        "over\t1\t@/d/a\t@/d/VC_Backup/3/backup.000\t5 1500000000 644\t3 1600000000 644\n"
        "new\t2\t@/none\t\tmissing\t0 0 644\n",
        "d", 2, "1");
    EXPECT_EQ(settle(), SettleResult::kSettled);
    EXPECT_EQ(tree.read("d/a"), "older");
    EXPECT_EQ(tree.time("d/a"), kOld);
}

class KvSettleStores : public SettleTest {
  protected:
    // A run over the stores of `d`, whose journal is the master, and `e`.
    void twoStores(const std::string& endOfMaster, const std::string& endOfSecond) const {
        file("d/a", "new", kNew);
        file("d/VC_Backup/3/backup.000", "older", kOld);
        file("e/c", "new", kNew);
        file("e/VC_Backup/3/backup.000", "old c", kOld);
        const std::string states = "\t5 1500000000 644\t3 1600000000 644\n";
        journal("over\t1\t@/d/a\t@/d/VC_Backup/3/backup.000" + states +
                    "join\t2\t@/e/VC_Backup\nnew\t9\t@/none\t\tmissing\t0 0 644\n" + endOfMaster,
                "d");
        journal("over\t8\t@/e/c\t@/e/VC_Backup/3/backup.000" + states + endOfSecond, "e", 1, "5",
                "d/VC_Backup/VcJournal.1");
    }

    SettleResult settleFrom(const std::string& name) {
        const std::string path = tree.path(name);
        const char* const destination = path.c_str();
        return settleCutOffRuns(&destination, 1, SettleMode::kSettle, listener);
    }

    [[nodiscard]] bool hasAnyJournal() const {
        return hasJournal() || tree.exists("e/VC_Backup/VcJournal.1");
    }
};

TEST_F(KvSettleStores, ARunIsUndoneWholeFromAnyOfThem) {
    for (const char* from : {"d", "e"}) {
        twoStores("", "");
        EXPECT_EQ(settleFrom(from), SettleResult::kSettled);
        EXPECT_EQ(tree.read("d/a"), "older");
        EXPECT_EQ(tree.read("e/c"), "old c");
        EXPECT_FALSE(hasAnyJournal());
    }
}

TEST_F(KvSettleStores, OneLineInTheMasterCommitsThemAll) {
    for (const char* from : {"d", "e"}) {
        twoStores("done\t10\n", "");
        EXPECT_EQ(settleFrom(from), SettleResult::kSettled);
        EXPECT_EQ(tree.read("d/a"), "new");
        EXPECT_EQ(tree.read("e/c"), "new");
        EXPECT_FALSE(hasAnyJournal());
    }
}

TEST_F(KvSettleStores, TheirOwnWordCountsForNothingWhileThereIsAMaster) {
    twoStores("", "done\t10\n");
    EXPECT_EQ(settleFrom("e"), SettleResult::kSettled);
    EXPECT_EQ(tree.read("e/c"), "old c");
    EXPECT_EQ(tree.read("d/a"), "older");
}

TEST_F(KvSettleStores, WithoutAMasterAJournalHasItsOwnWord) {
    twoStores("", "new\t10\t@/none\t\tmissing\t0 0 644\n");
    ASSERT_EQ(unlink(tree.path("d/VC_Backup/VcJournal.1").c_str()), 0);
    EXPECT_EQ(settleFrom("e"), SettleResult::kSettled);
    EXPECT_EQ(tree.read("e/c"), "old c");
    EXPECT_EQ(tree.read("d/a"), "new");

    twoStores("", "done\t10\n");
    ASSERT_EQ(unlink(tree.path("d/VC_Backup/VcJournal.1").c_str()), 0);
    EXPECT_EQ(settleFrom("e"), SettleResult::kSettled);
    EXPECT_EQ(tree.read("e/c"), "new");
}

TEST_F(KvSettleStores, AnotherRunsJournalUnderTheMastersNameIsNotTheMaster) {
    twoStores("", "new\t10\t@/none\t\tmissing\t0 0 644\n");
    journal("done\t1\n", "d", 1, "6");
    EXPECT_EQ(settleFrom("e"), SettleResult::kSettled);
    EXPECT_EQ(tree.read("e/c"), "old c");
    EXPECT_EQ(tree.read("d/a"), "new");
    EXPECT_FALSE(hasAnyJournal());
}

TEST_F(KvSettleStores, ARunWithALiveMasterIsAlive) {
    twoStores("", "");
    JournalFile live;
    ASSERT_EQ(live.open(tree.path("d/VC_Backup/VcJournal.1"), JournalFile::Access::kChange),
              JournalFile::Opening::kOpened);
    EXPECT_EQ(settleFrom("e"), SettleResult::kNothing);
    EXPECT_EQ(tree.read("e/c"), "new");
    EXPECT_THAT(listener.told, ElementsAre("live e/VC_Backup/VcJournal.1"));
}

TEST_F(KvSettleRuns, IsToldInTheLog) {
    file("d/b", "theirs", kOther);
    overwritten(
        "over\t2\t@/d/b\t\t5 1500000000 644\t3 1600000000 644\nnew\t3\t@/none\t\tmissing\t0 0 "
        "644\n");
    tree.write("d/VC_Backup/VcJournal.2", "x\n");
    const std::string path = tree.path("d");
    const char* const destination = path.c_str();
    const std::string store = path + "/VC_Backup";
    LogCapture log;
    SettleLog told;
    EXPECT_EQ(settleCutOffRuns(&destination, 1, SettleMode::kSettle, told), SettleResult::kSettled);
    EXPECT_THAT(
        log.lines(),
        ElementsAre("Err 6 Cause: " + store + "/VcJournal.2: Line 1 is none of a journal",
                    "Err 6 settle: no journal, left alone: " + store + "/VcJournal.2.",
                    "Inf 6 settle: undoing the run that was cut off (" + store + "/VcJournal.1).",
                    "Err 6 Cause: " + path + "/b: Changed by somebody else",
                    "Err 6 settle: left alone " + path + "/b (its copy: none).",
                    "Inf 6 settle: put back " + path + "/a."));
}

}  // namespace
