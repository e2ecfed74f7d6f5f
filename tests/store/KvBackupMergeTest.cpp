// Folding the backup of a run into the records of its destinations.
#include "store/KvBackupMerge.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tests/store/RunBackup.h"
#include "tests/store/StoreNames.h"
#include "tests/support/ForkedProcess.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TempTree.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::Not;

const std::string kRecord = "app/" + kRecordFile;
const std::string kCommon = "[common]\nitemcount=";

std::string item(int number, const std::string& keys) {
    return "[item_" + std::to_string(number) + "]\n" + keys;
}

// An item without files; `result` tells its generations apart.
std::string plainItem(int number, int itemClass, int type, const std::string& result) {
    return item(number, "class=" + std::to_string(itemClass) + "\ntype=" + std::to_string(type) +
                            "\norigin.version=1\nresult.version=" + result +
                            "\nadded.filecount=0\nwritten.filecount=0\n");
}

class KvBackupMerge : public testing::Test {
  protected:
    KvBackupMerge() : app_(tree_.makeDir("app")) {}

    // A backup copy in the directory of class 3, type 5.
    void makeCopy(const std::string& name) const {
        tree_.write("app/" + kStore + "3/5/" + name, "former contents");
    }
    [[nodiscard]] bool hasCopy(const std::string& name) const {
        return tree_.exists("app/" + kStore + "3/5/" + name);
    }
    [[nodiscard]] std::string copyPath(const std::string& name) const {
        return app_ + "/" + kStore + "3/5/" + name;
    }

    TempTree tree_;
    std::string app_;
    LogCapture log_;
};

TEST_F(KvBackupMerge, NothingHappensWithoutItems) {
    const RunBackup run(1);
    mergeBackupIni(run.get(), 1);
    mergeBackupIni(run.get(), 0);
    mergeBackupIni(nullptr, 1);
    const backupStru broken{1, nullptr, 2, nullptr};
    mergeBackupIni(&broken, 1);
    EXPECT_THAT(log_.texts(-1), ElementsAre());
}

// It is told once, stays as it is, and costs no copy.
TEST_F(KvBackupMerge, KeepsARecordThatCannotBeReadAndAllCopies) {
    tree_.write(kRecord + "/inner", "a directory in its place");
    makeCopy("backup.000");
    RunBackup run(0);
    run.item(3, 5, "100", "101", app_).written("backup.000, " + app_ + "/old.dat");

    mergeBackupIni(run.get(), 1);

    EXPECT_THAT(
        log_.lines(),
        ElementsAre("Inf 6 mergeBackupIni: backup needed.",
                    "Inf 6 Start parsing the original backup ini(" + tree_.path(kRecord) + ").",
                    "Err 6 Cause: " + tree_.path(kRecord) + ": Is a directory",
                    "Inf 6 Flush VcBackup.ini failed", "Inf 6 mergeBackupIni: done."));
    EXPECT_TRUE(tree_.exists(kRecord + "/inner"));
    EXPECT_TRUE(hasCopy("backup.000"));
}

TEST_F(KvBackupMerge, FirstUpdateOfAnItemMakesTheRecord) {
    RunBackup run(1, "agent.so");
    run.item(3, 5, "100", "101", app_)
        .added(app_ + "/new.dat")
        .written("backup.000, " + app_ + "/old.dat");
    mergeBackupIni(run.get(), 1);

    EXPECT_EQ(
        "[common]\nitemcount=1\npatchagent.version=1\npatchagent=agent.so\n"
        "[item_0]\nclass=3\ntype=5\norigin.version=100\nresult.version=101\n"
        "added.filecount=1\nadded.0=" +
            app_ +
            "/new.dat\n"
            "written.filecount=1\nwritten.0=backup.000, " +
            app_ + "/old.dat\n",
        tree_.read(kRecord));
    EXPECT_THAT(
        log_.lines(),
        ElementsAre("Inf 6 mergeBackupIni: backup needed.",
                    "Inf 6 Start parsing the original backup ini(" + tree_.path(kRecord) + ").",
                    "Inf 6 Dump backup ini common section:Item Count: 0\n"
                    "PatchAgent Ver: 1 (New)\nPatchAgent File: agent.so",
                    "Inf 6 phaseIniForBackup: done, item number is zero.", "Inf -1 Set class=3",
                    "Inf -1 Set type=5", "Inf -1 Set origin.version=100",
                    "Inf -1 Set result.version=101", "Inf -1 Set added.filecount=1",
                    "Inf -1 Set added.0=" + app_ + "/new.dat", "Inf -1 Set written.filecount=1",
                    "Inf -1 Set written.0=backup.000, " + app_ + "/old.dat",
                    "Inf 6 mergeBackupIni: done."));
}

TEST_F(KvBackupMerge, RunWithoutAgentFileWritesNoAgentKey) {
    RunBackup run(1);
    run.item(1, 2, "5.2.1234", "5.3", app_);
    mergeBackupIni(run.get(), 7);
    EXPECT_EQ(
        "[common]\nitemcount=1\npatchagent.version=1\n"
        "[item_0]\nclass=1\ntype=2\norigin.version=5.2.1234\nresult.version=5.3\n"
        "added.filecount=0\nwritten.filecount=0\n",
        tree_.read(kRecord));
}

TEST_F(KvBackupMerge, NextUpdateReplacesTheSectionAndDeletesTheOlderCopies) {
    tree_.write(kRecord, kCommon + "2\npatchagent.version=1\n" +
                             item(0,
                                  "class=3\ntype=5\norigin.version=1\nresult.version=2\n"
                                  "written.filecount=2\nwritten.0=backup.000, /x\n"
                                  "written.1=/odd/place/backup.00a, /y\n") +
                             plainItem(1, 2, 5, "2"));
    for (const char* name : {"backup.000", "backup.00a", "backup.00b"}) {
        makeCopy(name);
    }
    RunBackup run(1);
    run.item(3, 5, "2", "3", app_).written("backup.00b, /x");
    mergeBackupIni(run.get(), 1);

    EXPECT_EQ(kCommon + "2\npatchagent.version=1\n" + plainItem(1, 2, 5, "2") +
                  item(0,
                       "class=3\ntype=5\norigin.version=2\nresult.version=3\n"
                       "added.filecount=0\nwritten.filecount=1\nwritten.0=backup.00b, /x\n"),
              tree_.read(kRecord));
    EXPECT_FALSE(hasCopy("backup.000"));
    EXPECT_FALSE(hasCopy("backup.00a"));
    EXPECT_TRUE(hasCopy("backup.00b"));
    EXPECT_THAT(log_.lines(), testing::IsSupersetOf(
                                  {"Inf -1 Unlink " + copyPath("backup.000") + " returned with 0.",
                                   "Inf -1 Unlink " + copyPath("backup.00a") + " returned with 0.",
                                   std::string("Inf -1 Delete section:item_0")}));
}

TEST_F(KvBackupMerge, ItemsOfOneDestinationShareItsRecordInRunOrder) {
    tree_.makeDir("other");
    RunBackup run(1);
    run.item(3, 5, "1", "2", app_)
        .item(2, 5, "1", "2", tree_.path("other") + "/")
        .item(3, 6, "1", "3", app_);
    mergeBackupIni(run.get(), 1);
    EXPECT_EQ(
        kCommon + "2\npatchagent.version=1\n" + plainItem(0, 3, 5, "2") + plainItem(1, 3, 6, "3"),
        tree_.read(kRecord));
    EXPECT_EQ(kCommon + "1\npatchagent.version=1\n" +
                  item(0,
                       "class=2\ntype=5\norigin.version=1.0\nresult.version=2.0\n"
                       "added.filecount=0\nwritten.filecount=0\n"),
              tree_.read("other/" + kRecordFile));
}

TEST_F(KvBackupMerge, OldInterfaceWritesTheTouchedSectionsNewestFirst) {
    std::string record = kCommon + "7\npatchagent.version=0\n";
    for (int i = 0; i < 7; ++i) {
        record += plainItem(i, 3, i, "2");
    }
    tree_.write(kRecord, record);
    RunBackup run(0);
    run.item(3, 4, "2", "3", app_).item(3, 0, "2", "3", app_).item(3, 9, "2", "3", app_);
    mergeBackupIni(run.get(), 1);
    EXPECT_THAT(tree_.read(kRecord),
                testing::StartsWith(
                    "[common]\nitemcount=8\npatchagent.version=0\ntransaction=7, 0, 4, \n"));
    EXPECT_EQ("Inf 6 mergeBackupIni: done.", log_.lines().back());
}

TEST_F(KvBackupMerge, OnlyTheFirstItemsRecordTakesTheTransaction) {
    tree_.makeDir("other");
    RunBackup run(0);
    run.item(3, 5, "1", "2", app_).item(3, 5, "1", "2", tree_.path("other"));
    mergeBackupIni(run.get(), 1);
    EXPECT_EQ(kCommon + "1\npatchagent.version=0\ntransaction=0, 0, \n" + plainItem(0, 3, 5, "2"),
              tree_.read(kRecord));
    EXPECT_EQ(kCommon + "1\npatchagent.version=0\n" + plainItem(0, 3, 5, "2"),
              tree_.read("other/" + kRecordFile));
}

TEST_F(KvBackupMerge, NewInterfaceKeepsAnOlderTransactionUntouched) {
    tree_.write(kRecord, kCommon + "0\npatchagent.version=0\ntransaction=0,\n");
    RunBackup run(1);
    run.item(3, 5, "1", "2", app_);
    mergeBackupIni(run.get(), 1);
    EXPECT_EQ(kCommon + "1\npatchagent.version=0\ntransaction=0,\n" + plainItem(0, 3, 5, "2"),
              tree_.read(kRecord));
}

// The damaged item_0 goes, item_1 and item_2 move down, and the new generation takes the place of
// the section that the item has after that.
TEST_F(KvBackupMerge, SectionIsTheOneThatHoldsTheItemAfterARepair) {
    tree_.write(kRecord, kCommon + "3\npatchagent.version=1\n" +
                             item(0, "class=3\ntype=4\norigin.version=1\n") +
                             plainItem(1, 3, 5, "2") + plainItem(2, 3, 6, "2"));
    RunBackup run(1);
    run.item(3, 6, "2", "3", app_);
    mergeBackupIni(run.get(), 1);
    EXPECT_EQ(kCommon + "2\npatchagent.version=1\n" + plainItem(0, 3, 5, "2") +
                  item(1,
                       "class=3\ntype=6\norigin.version=2\nresult.version=3\n"
                       "added.filecount=0\nwritten.filecount=0\n"),
              tree_.read(kRecord));
    EXPECT_THAT(log_.texts(-1), Contains("Delete section:item_1"));
}

// A dropped item has class 0 in memory but no section any more.
TEST_F(KvBackupMerge, DroppedItemIsNoFormerGenerationOfAnItemOfClassZero) {
    tree_.write(kRecord, kCommon + "2\npatchagent.version=1\n" +
                             item(0, "class=3\ntype=4\norigin.version=1\n") +
                             plainItem(1, 3, 5, "2"));
    RunBackup run(1);
    run.item(0, 4, "1", "2", app_);
    mergeBackupIni(run.get(), 1);
    EXPECT_EQ(kCommon + "2\npatchagent.version=1\n" + plainItem(0, 3, 5, "2") +
                  item(1,
                       "class=0\ntype=4\norigin.version=1.0\nresult.version=2.0\n"
                       "added.filecount=0\nwritten.filecount=0\n"),
              tree_.read(kRecord));
}

TEST_F(KvBackupMerge, ItemThatWasDroppedIsAddedAtTheEnd) {
    tree_.write(kRecord, kCommon + "2\npatchagent.version=1\n" +
                             item(0, "class=3\ntype=5\norigin.version=1\n") +
                             plainItem(1, 3, 6, "2"));
    RunBackup run(1);
    run.item(3, 5, "1", "2", app_);
    mergeBackupIni(run.get(), 1);
    EXPECT_EQ(
        kCommon + "2\npatchagent.version=1\n" + plainItem(0, 3, 6, "2") + plainItem(1, 3, 5, "2"),
        tree_.read(kRecord));
}

TEST_F(KvBackupMerge, RecordWithoutCommonSectionIsMadeAnew) {
    tree_.write(kRecord, plainItem(0, 3, 5, "2"));
    RunBackup run(1, "agent.so");
    run.item(3, 6, "1", "2", app_);
    mergeBackupIni(run.get(), 1);
    EXPECT_EQ(kCommon + "1\npatchagent.version=1\npatchagent=agent.so\n" + plainItem(0, 3, 6, "2"),
              tree_.read(kRecord));
    EXPECT_THAT(log_.texts(-1), testing::IsSupersetOf({"Crashed VcBackup.ini file deleted!",
                                                       "New VcBackup.ini file created!"}));
}

// What stands in the record beyond its count must not mix with the new section.
TEST_F(KvBackupMerge, LeftoverSectionOfTheSameNameIsReplaced) {
    tree_.write(kRecord, kCommon + "0\npatchagent.version=1\n" + plainItem(0, 3, 9, "9") +
                             plainItem(0, 3, 8, "8"));
    RunBackup run(1);
    run.item(3, 5, "1", "2", app_);
    mergeBackupIni(run.get(), 1);
    EXPECT_EQ(kCommon + "1\npatchagent.version=1\n" + plainItem(0, 3, 5, "2"), tree_.read(kRecord));
    EXPECT_THAT(log_.texts(-1), Not(Contains("Delete section:item_0")));
}

TEST_F(KvBackupMerge, DoubleSectionIsReplacedWhole) {
    tree_.write(kRecord, kCommon + "1\npatchagent.version=1\n" + plainItem(0, 3, 5, "2") +
                             plainItem(0, 3, 8, "8"));
    RunBackup run(1);
    run.item(3, 5, "1", "7", app_);
    mergeBackupIni(run.get(), 1);
    EXPECT_EQ(kCommon + "1\npatchagent.version=1\n" + plainItem(0, 3, 5, "7"), tree_.read(kRecord));
}

// A negative file count cannot be allocated: the record can neither be read nor repaired.
TEST_F(KvBackupMerge, RecordThatCannotBeReadEndsTheMerge) {
    const std::string hopeless =
        kCommon + "1\npatchagent.version=1\n" +
        item(0, "class=3\ntype=5\norigin.version=1\nresult.version=2\nadded.filecount=-1\n");
    tree_.write("bad/" + kRecordFile, hopeless);
    tree_.write("bad/" + kStore + "3/5/backup.000", "copy of this run");
    tree_.write("bad/" + kStore + "3/5/backup.001", "copy of another");
    tree_.write("last/" + kStore + "3/5/backup.000", "copy of this run");
    RunBackup run(0);
    run.item(3, 5, "1", "2", app_)
        .item(3, 5, "1", "2", tree_.path("bad"))
        .written("backup.000, /x")
        .item(3, 5, "1", "2", tree_.path("last"))
        .written("backup.000, /x");
    mergeBackupIni(run.get(), 1);

    EXPECT_EQ(kCommon + "1\npatchagent.version=0\n" + plainItem(0, 3, 5, "2"), tree_.read(kRecord))
        << "the earlier item stays merged, without a transaction";
    EXPECT_EQ(hopeless, tree_.read("bad/" + kRecordFile));
    EXPECT_FALSE(tree_.exists("bad/" + kStore + "3/5/backup.000"));
    EXPECT_TRUE(tree_.exists("bad/" + kStore + "3/5/backup.001"));
    EXPECT_TRUE(tree_.exists("last/" + kStore + "3/5/backup.000"));
    EXPECT_EQ(kCommon + "0\npatchagent.version=0\n", tree_.read("last/" + kRecordFile));

    const std::vector<std::string> records = log_.lines();
    ASSERT_LE(5U, records.size());
    EXPECT_THAT(std::vector<std::string>(records.end() - 5, records.end()),
                ElementsAre("Err 6 phaseIniForBackupL: malloc failed.",
                            "Inf 6 phaseIniForBackup: error quit.", "Err 6 Merge backup ini faild",
                            "Inf 6 Remove auto-rollback files",
                            "Inf -1 Unlink " + tree_.path("bad/" + kStore + "3/5/backup.000") +
                                " returned with 0."));
}

// Something that is not a file stands where the record should be.
TEST_F(KvBackupMerge, RecordThatCannotBeWrittenIsOnlyReported) {
    tree_.write(kRecord + "/in the way", "");
    RunBackup run(1);
    run.item(3, 5, "1", "2", app_).item(3, 6, "1", "2", tree_.makeDir("other"));
    mergeBackupIni(run.get(), 1);
    EXPECT_THAT(log_.lines(), Contains("Inf 6 Flush VcBackup.ini failed"));
    EXPECT_EQ("Inf 6 mergeBackupIni: done.", log_.lines().back());
    EXPECT_EQ(kCommon + "1\npatchagent.version=1\n" + plainItem(0, 3, 6, "2"),
              tree_.read("other/" + kRecordFile));
}

// The repair loses the document itself when it cannot delete the file.
TEST_F(KvBackupMerge, CrashedRecordThatCannotBeDeletedEndsTheMerge) {
    tree_.write(kRecord, "");
    ASSERT_EQ(0, chmod(tree_.path().c_str(), 0755));
    ASSERT_EQ(0, chmod(tree_.path("app/VC_Backup").c_str(), 0555));
    ForkedProcess ordinary([&](const Talk&) {
        if (geteuid() == 0 && setuid(65534) != 0) {
            return 2;
        }
        RunBackup run(1);
        run.item(3, 5, "1", "2", app_);
        mergeBackupIni(run.get(), 1);
        const std::vector<std::string> lines = log_.lines();
        const auto has = [&lines](const char* line) {
            return std::find(lines.begin(), lines.end(), line) != lines.end();
        };
        return has("Err 6 Delete crashed VcBackup.ini file failed!") &&
                       has("Err 6 Merge backup ini faild") && !has("Inf 6 mergeBackupIni: done.")
                   ? 0
                   : 1;
    });
    EXPECT_EQ(0, ordinary.finish());
    EXPECT_EQ("", tree_.read(kRecord));
}

TEST_F(KvBackupMerge, DestinationTooLongForARecordEndsTheMerge) {
    std::string deep = app_;
    while (deep.size() < 1010) {
        deep += "/dddddddddddddddddddd";
    }
    RunBackup run(1);
    run.item(3, 5, "1", "2", deep);
    mergeBackupIni(run.get(), 1);
    EXPECT_THAT(log_.texts(-1),
                ElementsAre("mergeBackupIni: backup needed.", "Merge backup ini faild",
                            "Remove auto-rollback files"));
    EXPECT_TRUE(tree_.snapshot("app").empty());
}

TEST_F(KvBackupMerge, ItemThatTheRunNeverReachedIsPassedOver) {
    RunBackup run(0);
    run.item(3, 4, "1", "2", app_).unreached().item(3, 5, "1", "2", app_);
    mergeBackupIni(run.get(), 1);
    EXPECT_EQ(kCommon + "1\npatchagent.version=0\n" + plainItem(0, 3, 5, "2"), tree_.read(kRecord));
}

// Comments and foreign keys of a record that needs no repair stay.
TEST_F(KvBackupMerge, CommentsOfTheRecordStay) {
    tree_.write(kRecord, "; kept\n" + kCommon + "1\npatchagent.version=1\nforeign=1\n; too\n" +
                             plainItem(0, 3, 6, "2") + "; end\n");
    RunBackup run(1);
    run.item(3, 5, "1", "2", app_);
    mergeBackupIni(run.get(), 1);
    EXPECT_EQ("; kept\n" + kCommon + "2\npatchagent.version=1\nforeign=1\n; too\n" +
                  plainItem(0, 3, 6, "2") + plainItem(1, 3, 5, "2") + "; end\n",
              tree_.read(kRecord));
}

}  // namespace
