// Deleting backup copies by the names that a record gives them.
#include "store/KvBackupFiles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "tests/store/RunBackup.h"
#include "tests/support/LogCapture.h"
#include "tests/support/LogLines.h"
#include "tests/support/TempTree.h"

namespace {

using testing::ElementsAre;

TEST(KvBackupFilesTest, WrittenEntriesNameFilesOfThePlacesDirectory) {
    const TempTree tree;
    LogCapture log;
    for (const char* name : {"VC_Backup/3/5/backup.000", "VC_Backup/3/5/backup.001", "backup.000",
                             "VC_Backup/3/6/backup.000"}) {
        tree.write(name, "");
    }
    RunBackup named(1);
    named.item(3, 6, "1", "2", "/nowhere")
        .written(tree.path("backup.000") + ", /x")
        .written("gone, /y");
    RunBackup place(1);
    place.item(3, 5, "1", "2", tree.path());
    deleteWrittenBackups(named.last(), place.last(), DeletionReport::kLogged);
    EXPECT_FALSE(tree.exists("VC_Backup/3/5/backup.000"));
    EXPECT_TRUE(tree.exists("VC_Backup/3/5/backup.001"));
    EXPECT_TRUE(tree.exists("VC_Backup/3/6/backup.000"));
    EXPECT_TRUE(tree.exists("backup.000"));
    const std::string dir = tree.path("VC_Backup/3/5/");
    EXPECT_THAT(linesOf(log), ElementsAre("-1 info Unlink " + dir + "backup.000 returned with 0.",
                                          "-1 info Unlink " + dir + "gone returned with 0."));
}

TEST(KvBackupFilesTest, AddedEntriesNameFilesByTheirLastPart) {
    const TempTree tree;
    LogCapture log;
    tree.write("VC_Backup/3/5/new,1.dat", "");
    tree.write("VC_Backup/3/5/backup.000", "");
    RunBackup run(1);
    run.item(3, 5, "1", "2", tree.path())
        .added("/opt/new,1.dat")
        .added("/opt/dir/")
        .added("/opt/*");
    deleteAddedBackups(run.last(), run.last());
    EXPECT_FALSE(tree.exists("VC_Backup/3/5/new,1.dat"));
    EXPECT_TRUE(tree.exists("VC_Backup/3/5/backup.000"));
    EXPECT_THAT(log.records(), testing::IsEmpty());
}

TEST(KvBackupFilesTest, NullListsAndEntriesNameNothing) {
    const TempTree tree;
    backupItem item{};
    item.addedCount = item.writtenCount = 3;
    deleteAddedBackups(item, item);
    deleteWrittenBackups(item, item, DeletionReport::kLogged);
    RunBackup run(1);
    run.item(3, 5, "1", "2", tree.path()).written("backup.000, /x");
    free(std::exchange(run.last().writtenList[0], nullptr));
    tree.write("VC_Backup/3/5/backup.000", "");
    deleteWrittenBackups(run.last(), run.last(), DeletionReport::kLogged);
    EXPECT_TRUE(tree.exists("VC_Backup/3/5/backup.000"));
}

}  // namespace
