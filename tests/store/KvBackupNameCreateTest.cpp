// BackupNames and crtUniFile: the first name that is neither mentioned by the record nor taken.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "fileop/KvFileOpUtil.h"
#include "ini/KvIniUtil.h"
#include "store/KvBackupName.h"
#include "tests/store/StoreNames.h"
#include "tests/support/CodePage.h"
#include "tests/support/GuardedBuffer.h"
#include "tests/support/MemoryLimit.h"
#include "tests/support/TempTree.h"

namespace {

// The file name of a fresh backup file that `make` makes, or "failed".
template <typename Make>
std::string freshNameBy(const std::string& dir, Make make) {
    char path[4096];
    if (!make(dir.c_str(), path, sizeof path)) {
        return "failed";
    }
    struct stat status {};
    EXPECT_EQ(0, stat(path, &status)) << path;
    EXPECT_EQ(0, status.st_size);
    return std::string(path).substr(std::string(path).rfind('/') + 1);
}

// The first free name of a search that starts anew.
std::string freshName(const std::string& dir) {
    return freshNameBy(dir, crtUniFile);
}

// The next name of a run.
std::string nextName(BackupNames& names, const std::string& dir) {
    return freshNameBy(
        dir, [&](const char* path, char* out, size_t size) { return names.make(path, out, size); });
}

// The name with that number: three digits, and one more whenever all of them are used up.
std::string nameOf(uint64_t number) {
    size_t digits = 3;
    for (uint64_t names = 46656; number >= names; names *= 36) {
        number -= names;
        ++digits;
    }
    std::string name(digits, '0');
    for (size_t i = digits; i > 0; --i, number /= 36) {
        name[i - 1] = "0123456789abcdefghijklmnopqrstuvwxyz"[number % 36];
    }
    return "backup." + name;
}

class KvBackupNameCreate : public testing::Test {
  protected:
    // A record whose one value is `text`.
    void writeRecord(const std::string& text) const {
        tree_.write(record_, "[item_0]\nwritten.0=" + text + "\n");
    }

    TempTree tree_;
    std::string store_ = "app/" + kStore + "3/5/";
    std::string dir_ = tree_.path(store_);
    std::string record_ = "app/" + kRecordFile;
};

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

TEST_F(KvBackupNameCreate, NamesOnDiskAndInTheRecordAreSkipped) {
    tree_.write(store_ + "backup.000", "taken");
    tree_.write(record_, "[item_0]\nwritten.0=backup.001, /opt/x\n");
    EXPECT_EQ("backup.002", freshName(dir_));
    EXPECT_EQ("taken", tree_.read(store_ + "backup.000"));
    EXPECT_EQ("backup.003", freshName(dir_));
}

TEST_F(KvBackupNameCreate, GapsAreFilledInOrder) {
    for (const char* name : {"backup.000", "backup.002", "backup.003", "backup.005"}) {
        tree_.write(store_ + name, "");
    }
    tree_.write(record_, "[a]\nx=see backup.006, backup.001\n[b]\ny=backup.004\n");
    EXPECT_EQ("backup.007", freshName(dir_));
    tree_.write(record_, "[a]\nx=nothing\n");
    EXPECT_EQ("backup.001", freshName(dir_));
    EXPECT_EQ("backup.004", freshName(dir_));
    EXPECT_EQ("backup.006", freshName(dir_));
    EXPECT_EQ("backup.008", freshName(dir_));
}

TEST_F(KvBackupNameCreate, GlobalSectionKeysAndCommentsMentionNothing) {
    tree_.write(record_, "a=backup.000\n; backup.000\n[backup.000]\nbackup.000=x\n");
    EXPECT_EQ("backup.000", freshName(dir_));
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

TEST_F(KvBackupNameCreate, RelativeStoreOfAnEmptyDestination) {
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

// Mentions all names of three digits but those.
std::string allShortNamesBut(const std::vector<std::string>& left) {
    std::string text;
    for (uint64_t number = 0; number < 46656; ++number) {
        const std::string name = nameOf(number);
        text += std::find(left.begin(), left.end(), name) == left.end() ? " " + name : "";
    }
    return text;
}

TEST_F(KvBackupNameCreate, GoesOnWithFourDigitsBehindTheLastNameOfThree) {
    writeRecord(allShortNamesBut({"backup.00z", "backup.zzz"}));
    tree_.write(store_ + "backup.0001", "taken");
    BackupNames names;
    for (const char* name : {"backup.00z", "backup.zzz", "backup.0000", "backup.0002"}) {
        EXPECT_EQ(name, nextName(names, dir_));
    }
    EXPECT_EQ("backup.0003", freshName(dir_)) << "a search from the start comes there, too";
}

TEST_F(KvBackupNameCreate, GoesOnWithFiveDigitsBehindTheLastNameOfFour) {
    std::string text;
    for (uint64_t number = 46656; number < 46656 + 1679616; ++number) {
        text += nameOf(number) + " ";
    }
    writeRecord(text);
    EXPECT_EQ("backup.00000", freshName(dir_)) << "the names of three digits are mentioned, too";
}

TEST_F(KvBackupNameCreate, MentionOfALongNameMentionsWhatItBeginsWith) {
    writeRecord("backup.0000, /opt/x backup.0011y backup.00");
    EXPECT_EQ("backup.002", freshName(dir_));
    writeRecord(allShortNamesBut({}) + " backup.00001 backup.0001z-0 backup.0002Z");
    EXPECT_EQ("backup.0003", freshName(dir_));
}

// More digits than any name has.
TEST_F(KvBackupNameCreate, MentionOfAnyLengthIsTakenAsFarAsNamesGo) {
    writeRecord("backup." + std::string(100, '0') + " backup.001" + std::string(5000, 'z'));
    EXPECT_EQ("backup.002", freshName(dir_));
}

TEST_F(KvBackupNameCreate, OnlyLowerCaseDigitsBehindTheExactPrefixAreMentions) {
    for (const char* text : {"backup.00A", "backup.00_1", "backup.00", "Backup.000", "backup000",
                             "backup .000", "backup.", "backup", "backup.00\x80"}) {
        writeRecord(text);
        EXPECT_EQ("backup.000", freshName(dir_)) << text;
        ASSERT_EQ(0, unlink((dir_ + "backup.000").c_str()));
    }
    writeRecord("backupbackup.000backup.001xbackup.002/backup.004");
    EXPECT_EQ("backup.003", freshName(dir_));
}

TEST_F(KvBackupNameCreate, NameThatHasGrownMustFitTheBuffer) {
    writeRecord(allShortNamesBut({}));
    GuardedBuffer small(dir_.size() + sizeof "backup.zzz");
    EXPECT_FALSE(crtUniFile(dir_.c_str(), small.data(), small.capacity()));
    EXPECT_TRUE(small.isIntact());
    GuardedBuffer fits(dir_.size() + sizeof "backup.0000");
    EXPECT_TRUE(crtUniFile(dir_.c_str(), fits.data(), fits.capacity()));
    EXPECT_EQ(dir_ + "backup.0000", fits.data());
    EXPECT_TRUE(fits.isIntact());
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

// 0x81 0x5D is one character in Shift-JIS, so the line is then no header and its value is global.
TEST_F(KvBackupNameCreate, CodePageDecidesWhatIsAHeaderOfTheRecord) {
    tree_.write(record_, "[a\x81]\nb=backup.000\n");
    EXPECT_EQ("backup.001", freshName(dir_));
    const CodePage shiftJis(932);
    EXPECT_EQ("backup.000", freshName(dir_));
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

// The search as it is described: every candidate from the first on, through the whole record.
std::string literalSearch(const std::string& dir, const std::string& record) {
    const KvIniUtil document(record.c_str(), ';', false, false, '=');
    for (uint64_t number = 0;; ++number) {
        const std::string name = nameOf(number);
        KvSimpleStringVector sections;
        document.find(name.c_str(), sections);
        struct stat status {};
        if (sections.empty() && lstat((dir + name).c_str(), &status) != 0) {
            return name;
        }
    }
}

// A store of two directories that changes by chance.
class RandomStore {
  public:
    RandomStore(const TempTree& tree, std::string record, unsigned int start)
        : tree_(tree), record_(std::move(record)), random_(start) {}

    [[nodiscard]] std::string anyDir() {
        return tree_.path("app/" + kStore + "3/" + "56"[random_() % 2] + "/");
    }
    [[nodiscard]] std::string record() const { return tree_.path(record_); }

    void mentionSomeNames() {
        mentioned_.clear();
        for (size_t count = random_() % 12; count > 0; --count) {
            mentioned_.push_back(anyName());
        }
        std::string text = "[a]\n";
        for (const std::string& name : mentioned_) {
            text += "x=" + name + std::string(random_() % 3, '0') + "\n";
        }
        tree_.write(record_, text);
    }

    // What a run itself, and parties that do not disturb it, may do.
    void putBackOrAdd() {
        if (!mentioned_.empty()) {
            (void)unlink((anyDir() + mentioned_[random_() % mentioned_.size()]).c_str());
        }
        if (random_() % 4 == 0) {
            (void)close(open((anyDir() + anyName()).c_str(), O_CREAT | O_WRONLY, 0644));
        }
    }

    // What anybody may do between two runs.
    void change() {
        const std::string dir = anyDir();
        switch (random_() % 5) {
            case 0:
                (void)unlink((dir + anyName()).c_str());
                break;
            case 1:
                (void)rename((dir + anyName()).c_str(), (anyDir() + anyName()).c_str());
                break;
            case 2:
                mentionSomeNames();
                break;
            case 3:
                (void)unlink(record().c_str());
                break;
            default:
                (void)KvFileOpUtil::xunlink(dir.c_str());
                break;
        }
    }

  private:
    std::string anyName() { return nameOf(random_() % 24); }

    const TempTree& tree_;
    std::string record_;
    std::mt19937 random_;
    std::vector<std::string> mentioned_;
};

TEST_F(KvBackupNameCreate, SearchFromTheStartIsTheLiteralOneWhateverHasChanged) {
    RandomStore store(tree_, record_, 1);
    for (int step = 0; step < 500; ++step) {
        const std::string dir = store.anyDir();
        const std::string expected = literalSearch(dir, store.record());
        ASSERT_EQ(expected, freshName(dir)) << step;
        store.change();
    }
}

TEST_F(KvBackupNameCreate, RunGivesTheNamesOfTheLiteralSearch) {
    RandomStore store(tree_, record_, 2);
    for (int run = 0; run < 40; ++run) {
        store.change();
        store.mentionSomeNames();
        BackupNames names;
        for (int step = 0; step < 20; ++step) {
            const std::string dir = store.anyDir();
            const std::string expected = literalSearch(dir, store.record());
            ASSERT_EQ(expected, nextName(names, dir)) << run << " " << step;
            store.putBackOrAdd();
        }
    }
}

}  // namespace
