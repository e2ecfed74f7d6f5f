// crtUniFile: the first name that is neither mentioned by the record nor taken on the disk.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "fileop/KvFileOpUtil.h"
#include "ini/KvIniUtil.h"
#include "store/KvBackupName.h"
#include "tests/support/ForkedProcess.h"
#include "tests/support/GuardedBuffer.h"
#include "tests/support/TempTree.h"

namespace {

// The file name of a fresh backup file in `dir`, or "failed".
std::string freshName(const std::string& dir) {
    char path[4096];
    if (!crtUniFile(dir.c_str(), path, sizeof path)) {
        return "failed";
    }
    struct stat status {};
    EXPECT_EQ(0, stat(path, &status)) << path;
    EXPECT_EQ(0, status.st_size);
    return std::string(path).substr(std::string(path).rfind('/') + 1);
}

class KvBackupNameCreateTest : public testing::Test {
  protected:
    TempTree tree_;
    std::string dir_ = tree_.path("app/VC_Backup/3/5/");
    std::string record_ = "app/VC_Backup/VcBackup.ini";
};

TEST_F(KvBackupNameCreateTest, FirstNameOfAnEmptyStoreMakesTheDirectories) {
    char path[4096];
    ASSERT_TRUE(crtUniFile(dir_.c_str(), path, sizeof path));
    EXPECT_EQ(dir_ + "backup.000", path);
    EXPECT_EQ("", tree_.read("app/VC_Backup/3/5/backup.000"));
    struct stat status {};
    ASSERT_EQ(0, stat(path, &status));
    EXPECT_EQ(0U, status.st_mode & 0133U) << "no more rights than 0644";
    EXPECT_FALSE(tree_.exists(record_));
}

TEST_F(KvBackupNameCreateTest, NamesOnDiskAndInTheRecordAreSkipped) {
    tree_.write("app/VC_Backup/3/5/backup.000", "taken");
    tree_.write(record_, "[item_0]\nwritten.0=backup.001, /opt/x\n");
    EXPECT_EQ("backup.002", freshName(dir_));
    EXPECT_EQ("taken", tree_.read("app/VC_Backup/3/5/backup.000"));
    EXPECT_EQ("backup.003", freshName(dir_));
}

TEST_F(KvBackupNameCreateTest, GapsAreFilledInOrder) {
    for (const char* name : {"backup.000", "backup.002", "backup.003", "backup.005"}) {
        tree_.write(std::string("app/VC_Backup/3/5/") + name, "");
    }
    tree_.write(record_, "[a]\nx=see backup.006, backup.001\n[b]\ny=backup.004\n");
    EXPECT_EQ("backup.007", freshName(dir_));
    tree_.write(record_, "[a]\nx=nothing\n");
    EXPECT_EQ("backup.001", freshName(dir_));
    EXPECT_EQ("backup.004", freshName(dir_));
    EXPECT_EQ("backup.006", freshName(dir_));
    EXPECT_EQ("backup.008", freshName(dir_));
}

TEST_F(KvBackupNameCreateTest, GlobalSectionKeysAndCommentsMentionNothing) {
    tree_.write(record_, "a=backup.000\n; backup.000\n[backup.000]\nbackup.000=x\n");
    EXPECT_EQ("backup.000", freshName(dir_));
}

TEST_F(KvBackupNameCreateTest, DirectoryOfTheNameAndDanglingLinkAreTaken) {
    tree_.makeDir("app/VC_Backup/3/5/backup.000");
    ASSERT_EQ(0, symlink("nowhere", (dir_ + "backup.001").c_str()));
    EXPECT_EQ("backup.002", freshName(dir_));
}

TEST_F(KvBackupNameCreateTest, RecordIsTheOneOfTheFirstStoreInThePath) {
    const std::string nested = tree_.path("VC_Backup_old/app/VC_Backup/3/5");
    tree_.write("VC_Backup/VcBackup.ini", "[a]\nx=backup.000\n");
    tree_.write("VC_Backup_old/app/VC_Backup/VcBackup.ini", "[a]\nx=backup.001\n");
    EXPECT_EQ("backup.001", freshName(nested)) << "the path is cut behind the first mark";
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

TEST_F(KvBackupNameCreateTest, WithoutAStoreTheFirstEightCharactersNameTheRecordsPlace) {
    const WorkingDirectory here(tree_.path());
    tree_.write("12345678/VcBackup.ini", "[a]\nx=backup.000\n");
    tree_.makeDir("12345678/deeper");
    EXPECT_EQ("backup.001", freshName("12345678/deeper"));
    tree_.write("short/VcBackup.ini", "[a]\nx=backup.000 backup.001\n");
    EXPECT_EQ("backup.002", freshName("short"));
}

TEST_F(KvBackupNameCreateTest, RelativeStoreOfAnEmptyDestination) {
    const WorkingDirectory here(tree_.path());
    tree_.write("VC_Backup/VcBackup.ini", "[a]\nx=backup.000\n");
    char path[4096];
    ASSERT_TRUE(crtUniFile("VC_Backup/3/5/", path, sizeof path));
    EXPECT_STREQ("VC_Backup/3/5/backup.001", path);
    ASSERT_TRUE(crtUniFile("", path, sizeof path));
    EXPECT_STREQ("backup.000", path);
    EXPECT_TRUE(tree_.exists("backup.000"));
}

TEST_F(KvBackupNameCreateTest, DirectoryThatCannotBeMadeIsAFailure) {
    tree_.write("file", "");
    char path[4096];
    EXPECT_FALSE(crtUniFile(tree_.path("file/VC_Backup/3/5").c_str(), path, sizeof path));
    EXPECT_EQ(tree_.path("file/VC_Backup/3/5/backup.000"), path);
    EXPECT_EQ("", tree_.read("file"));
}

TEST_F(KvBackupNameCreateTest, PathThatDoesNotFitIsAFailure) {
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

std::string allNamesBut(const std::vector<std::string>& left) {
    std::string text = "[a]\nx=";
    for (uint64_t number = 0; number < 46656; ++number) {
        char digits[4];
        r36tostr(number, digits, sizeof digits);
        bool isLeft = false;
        for (const std::string& name : left) {
            isLeft = isLeft || name == digits;
        }
        text += isLeft ? "" : std::string(" backup.") + digits;
    }
    return text + "\n";
}

TEST_F(KvBackupNameCreateTest, FullStoreIsSearchedUntilAFileGoes) {
    tree_.write(record_, allNamesBut({"00z", "zzz"}));
    EXPECT_EQ("backup.00z", freshName(dir_));
    EXPECT_EQ("backup.zzz", freshName(dir_));
    ForkedProcess search([&](const Talk& talk) {
        talk.tell();
        return freshName(dir_) == "backup.zzz" ? 7 : 8;
    });
    ASSERT_TRUE(search.talk().hears());
    usleep(50000);
    EXPECT_EQ(0, unlink((dir_ + "backup.zzz").c_str()));
    EXPECT_EQ(7, search.finish());
    EXPECT_TRUE(tree_.exists("app/VC_Backup/3/5/backup.zzz"));
}

TEST_F(KvBackupNameCreateTest, RecordThatMentionsEveryNameIsSearchedWithoutEnd) {
    tree_.write(record_, allNamesBut({}));
    ForkedProcess search([&](const Talk& talk) {
        const std::string name = freshName(dir_);
        talk.tell();
        return name.empty() ? 1 : 0;
    });
    EXPECT_FALSE(search.talk().hears(200)) << "still searching";
    search.kill();
}

// The search as it is described: every candidate from .000 on, through the whole record.
std::string literalSearch(const std::string& dir, const std::string& record) {
    const KvIniUtil document(record.c_str(), ';', false, false, '=');
    for (uint64_t number = 0;; ++number) {
        char digits[4];
        r36tostr(number, digits, sizeof digits);
        const std::string name = std::string("backup.") + digits;
        KvSimpleStringVector sections;
        document.find(name.c_str(), sections);
        struct stat status {};
        if (sections.empty() && lstat((dir + name).c_str(), &status) != 0) {
            return name;
        }
    }
}

// A store of two directories that changes in every way between the calls.
class RandomStore {
  public:
    RandomStore(const TempTree& tree, unsigned int start) : tree_(tree), random_(start) {}

    [[nodiscard]] std::string anyDir() {
        return tree_.path(std::string("app/VC_Backup/3/") + "56"[random_() % 2] + "/");
    }
    [[nodiscard]] std::string record() const { return tree_.path("app/VC_Backup/VcBackup.ini"); }

    void change() {
        const std::string dir = anyDir();
        switch (random_() % 12) {
            case 0:
            case 1:
                (void)unlink((dir + name()).c_str());
                break;
            case 2:
                EXPECT_EQ(0, KvFileOpUtil::unlink((dir + name()).c_str()));
                break;
            case 3:
                (void)rename((dir + name()).c_str(), (dir + name()).c_str());
                break;
            case 4:
                (void)rename((dir + name()).c_str(), (anyDir() + name()).c_str());
                break;
            case 5:
                (void)close(open((dir + name()).c_str(), O_CREAT | O_WRONLY, 0644));
                break;
            case 6:
                tree_.write("app/VC_Backup/VcBackup.ini",
                            "[a]\nx=" + name() + "\ny=" + name() + " " + name() + "\n");
                break;
            case 7:
                (void)unlink(record().c_str());
                break;
            case 8:
                (void)KvFileOpUtil::xunlink(dir.c_str());
                break;
            case 9:
            case 10:
                putBack(dir + name());
                break;
            default:
                break;
        }
    }

  private:
    // As a rollback does; now and then the step fails and the file stays.
    void putBack(const std::string& path) {
        const BackupRemovalScope removal(path.c_str());
        if (random_() % 4 != 0) {
            (void)KvFileOpUtil::move(path.c_str(), tree_.path("put back").c_str(), true);
        }
    }

    std::string name() {
        char digits[4];
        r36tostr(random_() % 24, digits, sizeof digits);
        return std::string("backup.") + digits;
    }

    const TempTree& tree_;
    std::mt19937 random_;
};

TEST_F(KvBackupNameCreateTest, NamesAreThoseOfTheLiteralSearch) {
    for (const unsigned int start : {1U, 2U, 3U}) {
        RandomStore store(tree_, start);
        for (int step = 0; step < 300; ++step) {
            const std::string dir = store.anyDir();
            const std::string expected = literalSearch(dir, store.record());
            ASSERT_EQ(expected, freshName(dir)) << start << " " << step;
            store.change();
            if (step % 3 == 0) {
                store.change();
            }
        }
    }
}

TEST_F(KvBackupNameCreateTest, FilePutBackLeavesItsNameFree) {
    for (const char* name : {"backup.000", "backup.001", "backup.002"}) {
        EXPECT_EQ(name, freshName(dir_));
    }
    {
        const BackupRemovalScope removal((dir_ + "backup.001").c_str());
        EXPECT_EQ(0, unlink((dir_ + "backup.001").c_str()));
    }
    EXPECT_EQ("backup.001", freshName(dir_));
    { const BackupRemovalScope removal((dir_ + "backup.002").c_str()); }
    EXPECT_EQ("backup.003", freshName(dir_)) << "the file stayed";
    const BackupRemovalScope nothing(nullptr);
    const BackupRemovalScope noName((dir_ + "other").c_str());
    const BackupRemovalScope bare("backup.000");
}

// What somebody else removes before the step is noticed all the same.
TEST_F(KvBackupNameCreateTest, ForeignRemovalBeforeAFileIsPutBackIsNoticed) {
    for (const char* name : {"backup.000", "backup.001", "backup.002"}) {
        EXPECT_EQ(name, freshName(dir_));
    }
    EXPECT_EQ(0, unlink((dir_ + "backup.000").c_str()));
    {
        const BackupRemovalScope removal((dir_ + "backup.001").c_str());
        EXPECT_EQ(0, unlink((dir_ + "backup.001").c_str()));
    }
    EXPECT_EQ("backup.000", freshName(dir_));
    EXPECT_EQ("backup.001", freshName(dir_));
    EXPECT_EQ("backup.003", freshName(dir_));
}

// Where the directory belongs to somebody else its time cannot be set, so nothing is remembered.
TEST_F(KvBackupNameCreateTest, DirectoryOfSomebodyElseIsListedEachTime) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can give a directory away";
    }
    tree_.makeDir("app/VC_Backup/3/5");
    ASSERT_EQ(0, chmod(tree_.path().c_str(), 0755));
    ASSERT_EQ(0, chmod(dir_.c_str(), 0777));
    ForkedProcess stranger([&](const Talk&) {
        if (setuid(65534) != 0 || freshName(dir_) != "backup.000" ||
            freshName(dir_) != "backup.001" || unlink((dir_ + "backup.000").c_str()) != 0) {
            return 1;
        }
        return freshName(dir_) == "backup.000" && freshName(dir_) == "backup.002" ? 0 : 2;
    });
    EXPECT_EQ(0, stranger.finish());
}

}  // namespace
