// Taking items out of the records: an update that asked for no backup, and a finished rollback.
#include "store/KvBackupRemoval.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "store/KvBackupMerge.h"
#include "tests/store/RunBackup.h"
#include "tests/store/StoreNames.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TempTree.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::Not;

const std::string kRecord = "app/" + kRecordFile;
const std::string kCommon = "[common]\nitemcount=";

std::string item(int number, int type, const std::string& lists) {
    return "[item_" + std::to_string(number) + "]\nclass=3\ntype=" + std::to_string(type) +
           "\norigin.version=1\nresult.version=2\n" + lists;
}

const std::string kNoFiles = "added.filecount=0\nwritten.filecount=0\n";

class KvBackupRemoval : public testing::Test {
  protected:
    KvBackupRemoval() : app_(tree_.makeDir("app")) {}

    void makeCopy(const std::string& name) const {
        tree_.write("app/" + kStore + "3/5/" + name, "former contents");
    }
    [[nodiscard]] bool hasCopy(const std::string& name) const {
        return tree_.exists("app/" + kStore + "3/5/" + name);
    }

    TempTree tree_;
    std::string app_;
    LogCapture log_;
};

TEST_F(KvBackupRemoval, WrittenEntriesNameFilesOfTheBackupDirectoryAlone) {
    makeCopy("backup.000");
    makeCopy("backup.001");
    tree_.write("backup.000", "");
    tree_.write("app/" + kStore + "3/6/backup.000", "");
    RunBackup named(1);
    named.item(3, 6, "1", "2", "/nowhere")
        .written(tree_.path("backup.000") + ", /x")
        .written("gone, /y");
    RunBackup place(1);
    place.item(3, 5, "1", "2", app_);
    deleteWrittenBackups(named.last(), place.last(), DeletionReport::kLogged);
    EXPECT_FALSE(hasCopy("backup.000"));
    EXPECT_TRUE(hasCopy("backup.001"));
    EXPECT_TRUE(tree_.exists("app/" + kStore + "3/6/backup.000"));
    EXPECT_TRUE(tree_.exists("backup.000"));
    const std::string dir = app_ + "/" + kStore + "3/5/";
    EXPECT_THAT(log_.lines(), ElementsAre("Inf -1 Unlink " + dir + "backup.000 returned with 0.",
                                          "Inf -1 Unlink " + dir + "gone returned with 0."));
    log_.forget();
    makeCopy("backup.000");
    deleteWrittenBackups(named.last(), place.last(), DeletionReport::kSilent);
    EXPECT_FALSE(hasCopy("backup.000"));
    EXPECT_THAT(log_.lines(), ElementsAre());
}

TEST_F(KvBackupRemoval, NullListsAndEntriesNameNothing) {
    backupItem item{};
    item.writtenCount = 3;
    deleteWrittenBackups(item, item, DeletionReport::kLogged);
    makeCopy("backup.000");
    RunBackup run(1);
    run.item(3, 5, "1", "2", app_).written("backup.000, /x");
    free(std::exchange(run.last().writtenList[0], nullptr));
    deleteWrittenBackups(run.last(), run.last(), DeletionReport::kLogged);
    EXPECT_TRUE(hasCopy("backup.000"));
}

TEST_F(KvBackupRemoval, AddedEntriesNameFilesByTheirLastPart) {
    tree_.write(kRecord, kCommon + "1\npatchagent.version=1\n" +
                             item(0, 5,
                                  "added.filecount=3\nadded.0=/opt/new,1.dat\n"
                                  "added.1=/opt/dir/\nadded.2=/opt/*\n"));
    makeCopy("new,1.dat");
    makeCopy("backup.000");
    RunBackup run(1);
    run.item(3, 5, "2", "3", app_);
    mergeBackupIni(run.get(), 0);
    EXPECT_FALSE(hasCopy("new,1.dat"));
    EXPECT_TRUE(hasCopy("backup.000"));
    EXPECT_THAT(log_.texts(-1), Not(Contains(testing::HasSubstr("Unlink"))));
}

TEST_F(KvBackupRemoval, RunBackupIsThrownAwayAndTheItemLeavesTheRecord) {
    const std::string files =
        "added.filecount=1\nadded.0=/opt/app/backup.00c\n"
        "written.filecount=1\nwritten.0=backup.00a, /opt/app/x\n";
    tree_.write(kRecord, kCommon + "3\npatchagent.version=1\npatchagent=agent.so\n" +
                             item(0, 4, kNoFiles) + item(1, 5, files) + item(2, 6, files));
    for (const char* name : {"backup.000", "backup.00a", "backup.00b", "backup.00c"}) {
        makeCopy(name);
    }
    RunBackup run(1);
    run.item(3, 5, "2", "3", app_).written("backup.000, /opt/app/x");
    mergeBackupIni(run.get(), 0);

    EXPECT_EQ(kCommon + "2\npatchagent.version=1\npatchagent=agent.so\n" + item(0, 4, kNoFiles) +
                  item(1, 6, files),
              tree_.read(kRecord));
    EXPECT_FALSE(hasCopy("backup.000")) << "of this run";
    EXPECT_FALSE(hasCopy("backup.00a")) << "of the former generation";
    EXPECT_FALSE(hasCopy("backup.00c")) << "bears the name of an added file";
    EXPECT_TRUE(hasCopy("backup.00b")) << "named by nobody";
}

TEST_F(KvBackupRemoval, ThrowingARunBackupAwayIsLogged) {
    tree_.write(kRecord, kCommon + "0\npatchagent.version=1\n");
    RunBackup run(1);
    run.item(3, 5, "2", "3", app_).written("backup.000, /opt/app/x");
    mergeBackupIni(run.get(), 0);
    EXPECT_THAT(
        log_.lines(),
        ElementsAre("Inf 6 mergeBackupIni: no need to backup.", "Inf 3 Remove auto-rollback files",
                    "Inf -1 Unlink " + app_ + "/" + kStore + "3/5/backup.000 returned with 0.",
                    "Inf 6 Start Parsing the original backup ini(" + tree_.path(kRecord) + ").",
                    "Inf 6 Dump backup ini common section:Item Count: 0\n"
                    "PatchAgent Ver: 1 (New)\nPatchAgent File: Null",
                    "Inf 6 phaseIniForBackup: done, item number is zero.",
                    "Inf 6 mergeBackupIni: no backup done."));
}

// Kept: this path alone writes the key without an agent file, with an empty value.
TEST_F(KvBackupRemoval, MissingAgentFileBecomesAnEmptyKey) {
    tree_.write(kRecord, kCommon + "1\npatchagent.version=1\n" + item(0, 5, kNoFiles));
    RunBackup run(1);
    run.item(3, 5, "2", "3", app_);
    mergeBackupIni(run.get(), 0);
    EXPECT_EQ(kCommon + "0\npatchagent.version=1\npatchagent=\n", tree_.read(kRecord));
}

TEST_F(KvBackupRemoval, EverySectionOfTheItemLeavesTheRecord) {
    tree_.write(kRecord, kCommon + "4\npatchagent.version=0\n" + item(0, 5, kNoFiles) +
                             item(1, 6, kNoFiles) + item(2, 5, kNoFiles) + item(3, 7, kNoFiles));
    RunBackup run(1);
    run.item(3, 5, "2", "3", app_);
    mergeBackupIni(run.get(), 0);
    EXPECT_EQ(kCommon + "2\npatchagent.version=0\npatchagent=\n" + item(0, 6, kNoFiles) +
                  item(1, 7, kNoFiles),
              tree_.read(kRecord));
}

TEST_F(KvBackupRemoval, RecordWithoutTheItemStaysAsItIs) {
    const std::string record =
        "; mine\n" + kCommon + "1\npatchagent.version=1\n" + item(0, 6, kNoFiles);
    tree_.write(kRecord, record);
    RunBackup run(1);
    run.item(3, 5, "2", "3", app_);
    mergeBackupIni(run.get(), 0);
    EXPECT_EQ(record, tree_.read(kRecord));
}

TEST_F(KvBackupRemoval, RecordThatCannotBeParsedIsSkippedAndNotRepaired) {
    const std::string damaged = kCommon + "1\npatchagent.version=1\n[item_0]\nclass=3\ntype=5\n";
    tree_.write(kRecord, damaged);
    tree_.write("other/" + kRecordFile,
                kCommon + "1\npatchagent.version=1\n" + item(0, 5, kNoFiles));
    RunBackup run(1);
    run.item(3, 5, "2", "3", app_).item(3, 5, "2", "3", tree_.path("other"));
    mergeBackupIni(run.get(), 0);
    EXPECT_EQ(damaged, tree_.read(kRecord));
    EXPECT_EQ(kCommon + "0\npatchagent.version=1\npatchagent=\n",
              tree_.read("other/" + kRecordFile));
}

TEST_F(KvBackupRemoval, NoRecordIsMadeWhereNoneIs) {
    RunBackup run(1);
    run.item(3, 5, "2", "3", app_).item(3, 6, "2", "3", app_).unreached();
    mergeBackupIni(run.get(), 0);
    EXPECT_TRUE(tree_.snapshot("app").empty());
    EXPECT_THAT(log_.texts(-1),
                ElementsAre("mergeBackupIni: no need to backup.", "Remove auto-rollback files",
                            "mergeBackupIni: no backup done."));
}

// A damaged entry may not empty the directory as a pattern, nor delete the directory itself.
TEST_F(KvBackupRemoval, NamesThatAreNoNamesDeleteNothing) {
    makeCopy("backup.000");
    tree_.makeDir("app/" + kStore + "3/6");
    RunBackup run(1);
    run.item(3, 5, "2", "3", app_).written("*, /x").written("backup.00?, /x").written("");
    run.item(3, 6, "2", "3", app_).written(", /x").written(",");
    mergeBackupIni(run.get(), 0);
    EXPECT_TRUE(hasCopy("backup.000"));
    EXPECT_TRUE(tree_.exists("app/" + kStore + "3/6"));
}

TEST_F(KvBackupRemoval, RolledBackItemLeavesTheRecord) {
    const std::string files =
        "added.filecount=1\nadded.0=/opt/app/backup.00c\n"
        "written.filecount=1\nwritten.0=backup.00a, /opt/app/x\n";
    tree_.write(kRecord, kCommon + "3\npatchagent.version=0\npatchagent=agent.so\ntransaction=0\n" +
                             item(0, 4, kNoFiles) + item(1, 5, files) + item(2, 6, files));
    for (const char* name : {"backup.000", "backup.00a", "backup.00c"}) {
        makeCopy(name);
    }
    RunBackup rollback(1);
    rollback.item(3, 5, "1", "2", app_).written("backup.000, /opt/app/x");
    updateBackupIni(rollback.get());

    EXPECT_EQ(kCommon + "2\npatchagent.version=0\npatchagent=agent.so\n" + item(0, 4, kNoFiles) +
                  item(1, 6, files),
              tree_.read(kRecord));
    EXPECT_FALSE(hasCopy("backup.000")) << "made by the rollback";
    EXPECT_FALSE(hasCopy("backup.00a")) << "put back";
    EXPECT_TRUE(hasCopy("backup.00c")) << "added files have no copies";
    EXPECT_EQ("Inf 6 updateBackupIni: done.", log_.lines().back());
    EXPECT_THAT(log_.texts(-1), Not(Contains(testing::HasSubstr("Unlink"))));
}

TEST_F(KvBackupRemoval, OnlyTheFirstSectionOfARolledBackItemLeaves) {
    tree_.write(kRecord, kCommon + "2\npatchagent.version=1\n" + item(0, 5, kNoFiles) +
                             item(1, 5, "added.filecount=1\nadded.0=/a\nwritten.filecount=0\n"));
    RunBackup rollback(1);
    rollback.item(3, 5, "1", "2", app_);
    updateBackupIni(rollback.get());
    EXPECT_EQ(kCommon + "1\npatchagent.version=1\n" +
                  item(0, 5, "added.filecount=1\nadded.0=/a\nwritten.filecount=0\n"),
              tree_.read(kRecord));
}

TEST_F(KvBackupRemoval, LastItemLeavesAnEmptyRecord) {
    tree_.write(kRecord, kCommon + "1\npatchagent.version=1\n" + item(0, 5, kNoFiles));
    RunBackup rollback(1);
    rollback.item(3, 5, "1", "2", app_);
    updateBackupIni(rollback.get());
    EXPECT_EQ(kCommon + "0\npatchagent.version=1\n", tree_.read(kRecord));
}

TEST_F(KvBackupRemoval, RollbackOfAnUnknownItemDeletesNothing) {
    const std::string record = kCommon + "1\npatchagent.version=1\n" + item(0, 6, kNoFiles);
    tree_.write(kRecord, record);
    makeCopy("backup.000");
    RunBackup rollback(1);
    rollback.item(3, 5, "1", "2", app_).written("backup.000, /x");
    rollback.item(3, 5, "1", "2", tree_.path("nowhere")).written("backup.000, /x");
    rollback.item(3, 5, "1", "2", app_).unreached();
    updateBackupIni(rollback.get());
    EXPECT_EQ(record, tree_.read(kRecord));
    EXPECT_TRUE(hasCopy("backup.000"));
    EXPECT_FALSE(tree_.exists("nowhere"));
}

TEST_F(KvBackupRemoval, DamagedRecordIsLeftToTheNextMerge) {
    const std::string damaged = "[common]\nitemcount=1\n" + item(0, 5, kNoFiles);
    tree_.write(kRecord, damaged);
    RunBackup rollback(1);
    rollback.item(3, 5, "1", "2", app_);
    updateBackupIni(rollback.get());
    EXPECT_EQ(damaged, tree_.read(kRecord));
    EXPECT_EQ("Inf 6 updateBackupIni: done.", log_.lines().back());
}

TEST_F(KvBackupRemoval, RollbackWithoutItemsIsDoneAtOnce) {
    const RunBackup rollback(1);
    updateBackupIni(rollback.get());
    updateBackupIni(nullptr);
    EXPECT_THAT(log_.lines(),
                ElementsAre("Inf 6 updateBackupIni: done.", "Inf 6 updateBackupIni: done."));
}

}  // namespace
