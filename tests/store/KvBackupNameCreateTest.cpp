// Making a fresh backup file: where it lies, what stays of a failure, and what lives as long as a
// run.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "fileop/KvFileOpUtil.h"
#include "store/KvBackupName.h"
#include "tests/store/BackupNameTest.h"
#include "tests/support/GuardedBuffer.h"
#include "tests/support/MemoryLimit.h"

namespace {

class KvBackupNameCreate : public BackupNameTest {};

TEST_F(KvBackupNameCreate, FirstNameOfAnEmptyStoreMakesTheDirectories) {
    char path[4096];
    ASSERT_TRUE(crtUniFile(dir_.c_str(), path, sizeof path));
    EXPECT_EQ(dir_ + "backup.000", path);
    EXPECT_EQ("", tree_.read(store_ + "backup.000"));
    struct stat status {};
    ASSERT_EQ(0, stat(path, &status));
    EXPECT_EQ(0U, status.st_mode & 0133U) << "no more rights than 0644";
    EXPECT_FALSE(tree_.exists(record_));
}

TEST_F(KvBackupNameCreate, DirectoryOfTheNameAndDanglingLinkAreTaken) {
    tree_.makeDir(store_ + "backup.000");
    ASSERT_EQ(0, symlink("nowhere", (dir_ + "backup.001").c_str()));
    EXPECT_EQ("backup.002", freshName(dir_));
}

TEST_F(KvBackupNameCreate, RecordIsTheOneOfTheFirstStoreInThePath) {
    const std::string nested =
        tree_.path(std::string(kBackupStoreName) + "_old/app/" + kStore + "3/5");
    tree_.write(kRecordFile, "[a]\nx=backup.000\n");
    tree_.write(std::string(kBackupStoreName) + "_old/app/" + kRecordFile, "[a]\nx=backup.001\n");
    EXPECT_EQ("backup.001", freshName(nested)) << "the path is cut behind the first mark";
}

// Cut to what fits, the path would name another file.
TEST_F(KvBackupNameCreate, RecordWhosePathDoesNotFitMentionsNothing) {
    std::string deep = tree_.path("app");
    while (deep.size() < 900) {
        deep += "/" + std::string(40, 'd');
    }
    deep += "/" + std::string(998 - deep.size(), 'e') + "/";
    const std::string cut = deep + std::string(1023 - deep.size(), 'x');
    tree_.write(cut.substr(tree_.path().size() + 1), "[a]\nx=backup.000\n");
    EXPECT_EQ("backup.000", freshName(deep + std::string(100, 'x') + "/" + kStore + "3/5/"));
}

// Runs the test in another directory for as long as the object lives.
class WorkingDirectory {
  public:
    explicit WorkingDirectory(const std::string& path) : former_(open(".", O_RDONLY)) {
        EXPECT_EQ(0, chdir(path.c_str()));
    }
    ~WorkingDirectory() {
        EXPECT_EQ(0, fchdir(former_));
        close(former_);
    }
    WorkingDirectory(const WorkingDirectory&) = delete;
    WorkingDirectory& operator=(const WorkingDirectory&) = delete;

  private:
    int former_;
};

TEST_F(KvBackupNameCreate, WithoutAStoreTheFirstEightCharactersNameTheRecordsPlace) {
    const WorkingDirectory here(tree_.path());
    tree_.write("12345678/VcBackup.ini", "[a]\nx=backup.000\n");
    tree_.makeDir("12345678/deeper");
    EXPECT_EQ("backup.001", freshName("12345678/deeper"));
    tree_.write("short/VcBackup.ini", "[a]\nx=backup.000 backup.001\n");
    EXPECT_EQ("backup.002", freshName("short"));
}

TEST_F(KvBackupNameCreate, EmptyDestinationHasARelativeStore) {
    const WorkingDirectory here(tree_.path());
    tree_.write(kRecordFile, "[a]\nx=backup.000\n");
    char path[4096];
    ASSERT_TRUE(crtUniFile((kStore + "3/5/").c_str(), path, sizeof path));
    EXPECT_EQ(kStore + "3/5/backup.001", path);
    ASSERT_TRUE(crtUniFile("", path, sizeof path));
    EXPECT_STREQ("backup.000", path);
    EXPECT_TRUE(tree_.exists("backup.000"));
}

TEST_F(KvBackupNameCreate, DirectoryThatCannotBeMadeIsAFailure) {
    tree_.write("file", "");
    char path[4096];
    EXPECT_FALSE(crtUniFile(tree_.path("file/" + kStore + "3/5").c_str(), path, sizeof path));
    EXPECT_EQ(tree_.path("file/" + kStore + "3/5/backup.000"), path);
    EXPECT_EQ("", tree_.read("file"));
}

TEST_F(KvBackupNameCreate, PathThatDoesNotFitIsAFailure) {
    const std::string dir = tree_.makeDir("d");
    GuardedBuffer fits(dir.size() + sizeof "/backup.000");
    EXPECT_TRUE(crtUniFile(dir.c_str(), fits.data(), fits.capacity()));
    for (size_t capacity = 1; capacity < fits.capacity(); ++capacity) {
        GuardedBuffer small(capacity);
        EXPECT_FALSE(crtUniFile(dir.c_str(), small.data(), small.capacity()));
        EXPECT_TRUE(small.isIntact());
    }
    EXPECT_EQ(1U, tree_.snapshot("d").size());
    char path[8];
    EXPECT_FALSE(crtUniFile(nullptr, path, sizeof path));
    EXPECT_FALSE(crtUniFile(dir.c_str(), nullptr, 10));
    EXPECT_FALSE(crtUniFile(dir.c_str(), path, 0));
}

TEST_F(KvBackupNameCreate, NameOfTheRecordIsNeverGivenAgainWhenItsFileGoes) {
    tree_.write(store_ + "backup.000", "saved");
    tree_.write(store_ + "backup.001", "saved");
    writeRecord("backup.000 backup.001");
    BackupNames names;
    EXPECT_EQ("backup.002", nextName(names, dir_));
    ASSERT_EQ(0, unlink((dir_ + "backup.000").c_str()));
    EXPECT_EQ("backup.003", nextName(names, dir_));
    EXPECT_EQ("backup.004", freshName(dir_)) << "nor by a search from the start";
}

TEST_F(KvBackupNameCreate, RunLooksForwardAndReadsTheRecordOnce) {
    BackupNames names;
    EXPECT_EQ("backup.000", nextName(names, dir_));
    ASSERT_EQ(0, unlink((dir_ + "backup.000").c_str()));
    writeRecord("backup.001");
    EXPECT_EQ("backup.001", nextName(names, dir_));
    EXPECT_EQ("backup.000", freshName(dir_)) << "a search from the start sees everything";
    EXPECT_EQ("backup.002", freshName(dir_));
}

TEST_F(KvBackupNameCreate, FileOfSomebodyElseIsPassedOver) {
    BackupNames names;
    EXPECT_EQ("backup.000", nextName(names, dir_));
    tree_.write(store_ + "backup.001", "somebody else's");
    EXPECT_EQ("backup.002", nextName(names, dir_));
    EXPECT_EQ("somebody else's", tree_.read(store_ + "backup.001"));
}

TEST_F(KvBackupNameCreate, DirectoryThatSomebodyElseRemovesIsMadeAgain) {
    BackupNames names;
    EXPECT_EQ("backup.000", nextName(names, dir_));
    ASSERT_EQ(0, KvFileOpUtil::xunlink(dir_.c_str()));
    EXPECT_EQ("backup.001", nextName(names, dir_));
    EXPECT_TRUE(tree_.exists(store_ + "backup.001"));
}

TEST_F(KvBackupNameCreate, DirectoriesDoneInTurnAreCountedEachForItself) {
    writeRecord("backup.001");
    tree_.write("other/" + record_, "[a]\nb=backup.000\n");
    BackupNames names;
    for (uint64_t number = 0; number < 4; ++number) {
        for (const char* type : {"5", "6", "7"}) {
            EXPECT_EQ(nameOf(number == 0 ? 0 : number + 1), nextName(names, dir_ + "../" + type));
            const std::string other = "other/app/" + kStore + "2/" + type;
            EXPECT_EQ(nameOf(number + 1), nextName(names, tree_.path(other)));
        }
    }
}

// Kept: the directory is made as it is spelled, the file lies where all separators are '/'.
TEST_F(KvBackupNameCreate, BackslashesAreSeparatorsInThePathOfTheFileAlone) {
    tree_.makeDir(store_);
    writeRecord("backup.000");
    const std::string spelled = tree_.path("app\\" + kStore + "3/5/");
    BackupNames names;
    char path[4096];
    for (const char* name : {"backup.001", "backup.002"}) {
        ASSERT_TRUE(names.make(spelled.c_str(), path, sizeof path));
        EXPECT_EQ(dir_ + name, path);
        EXPECT_TRUE(tree_.exists(store_ + name));
    }
    EXPECT_TRUE(tree_.exists("app\\" + kStore + "3/5"));
}

// A name that the record mentions could be given out.
TEST_F(KvBackupNameCreate, WithoutMemoryForWhatTheRecordMentionsNoNameIsGiven) {
    if (!kCanExhaustMemory) {
        GTEST_SKIP() << "this platform does not limit the memory of a process";
    }
    std::string text;
    for (uint64_t number = 0; number < 300000; ++number) {
        text += nameOf(number) + " ";
    }
    writeRecord(text);
    tree_.makeDir(store_);
    text = std::string();
    const auto body = [&]() {
        exhaustMemory(8 * kMegabyte);  // enough for the record itself
        char path[4096];
        _exit(crtUniFile(dir_.c_str(), path, sizeof path) ? 1 : 0);
    };
    EXPECT_EXIT(body(), testing::ExitedWithCode(0), "");
    EXPECT_TRUE(tree_.snapshot(store_).empty());
}

}  // namespace
