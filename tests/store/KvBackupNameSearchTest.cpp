// Which backup name is the first free one: what mentions a name, and how names are counted.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "fileop/KvFileOpUtil.h"
#include "ini/KvIniUtil.h"
#include "store/KvBackupName.h"
#include "tests/store/BackupNameTest.h"
#include "tests/support/CodePage.h"
#include "tests/support/GuardedBuffer.h"

namespace {

class KvBackupNameSearch : public BackupNameTest {};

TEST_F(KvBackupNameSearch, NamesOnDiskAndInTheRecordAreSkipped) {
    tree_.write(store_ + "backup.000", "taken");
    tree_.write(record_, "[item_0]\nwritten.0=backup.001, /opt/x\n");
    EXPECT_EQ("backup.002", freshName(dir_));
    EXPECT_EQ("taken", tree_.read(store_ + "backup.000"));
    EXPECT_EQ("backup.003", freshName(dir_));
}

TEST_F(KvBackupNameSearch, GapsAreFilledInOrder) {
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

TEST_F(KvBackupNameSearch, GlobalSectionKeysAndCommentsMentionNothing) {
    tree_.write(record_, "a=backup.000\n; backup.000\n[backup.000]\nbackup.000=x\n");
    EXPECT_EQ("backup.000", freshName(dir_));
}

// 0x81 0x5D is one character in Shift-JIS, so the line is then no header and its value is global.
TEST_F(KvBackupNameSearch, CodePageDecidesWhatIsAHeaderOfTheRecord) {
    tree_.write(record_, "[a\x81]\nb=backup.000\n");
    EXPECT_EQ("backup.001", freshName(dir_));
    const CodePage shiftJis(932);
    EXPECT_EQ("backup.000", freshName(dir_));
}

TEST_F(KvBackupNameSearch, OnlyLowerCaseDigitsBehindTheExactPrefixAreMentions) {
    for (const char* text : {"backup.00A", "backup.00_1", "backup.00", "Backup.000", "backup000",
                             "backup .000", "backup.", "backup", "backup.00\x80"}) {
        writeRecord(text);
        EXPECT_EQ("backup.000", freshName(dir_)) << text;
        ASSERT_EQ(0, unlink((dir_ + "backup.000").c_str()));
    }
    writeRecord("backupbackup.000backup.001xbackup.002/backup.004");
    EXPECT_EQ("backup.003", freshName(dir_));
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

TEST_F(KvBackupNameSearch, GoesOnWithFourDigitsBehindTheLastNameOfThree) {
    writeRecord(allShortNamesBut({"backup.00z", "backup.zzz"}));
    tree_.write(store_ + "backup.0001", "taken");
    BackupNames names;
    for (const char* name : {"backup.00z", "backup.zzz", "backup.0000", "backup.0002"}) {
        EXPECT_EQ(name, nextName(names, dir_));
    }
    EXPECT_EQ("backup.0003", freshName(dir_)) << "a search from the start comes there, too";
}

TEST_F(KvBackupNameSearch, GoesOnWithFiveDigitsBehindTheLastNameOfFour) {
    if (KV_SANITIZED) {
        GTEST_SKIP() << "a record of 1.7 million names takes minutes with a sanitizer";
    }
    std::string text;
    for (uint64_t number = 46656; number < 46656 + 1679616; ++number) {
        text += nameOf(number) + " ";
    }
    writeRecord(text);
    EXPECT_EQ("backup.00000", freshName(dir_)) << "the names of three digits are mentioned, too";
}

TEST_F(KvBackupNameSearch, MentionOfALongNameMentionsWhatItBeginsWith) {
    writeRecord("backup.0000, /opt/x backup.0011y backup.00");
    EXPECT_EQ("backup.002", freshName(dir_));
    writeRecord(allShortNamesBut({}) + " backup.00001 backup.0001z-0 backup.0002Z");
    EXPECT_EQ("backup.0003", freshName(dir_));
}

// More digits than any name has.
TEST_F(KvBackupNameSearch, MentionOfAnyLengthIsTakenAsFarAsNamesGo) {
    writeRecord("backup." + std::string(100, '0') + " backup.001" + std::string(5000, 'z'));
    EXPECT_EQ("backup.002", freshName(dir_));
}

TEST_F(KvBackupNameSearch, NameThatHasGrownMustFitTheBuffer) {
    writeRecord(allShortNamesBut({}));
    GuardedBuffer small(dir_.size() + sizeof "backup.zzz");
    EXPECT_FALSE(crtUniFile(dir_.c_str(), small.data(), small.capacity()));
    EXPECT_TRUE(small.isIntact());
    GuardedBuffer fits(dir_.size() + sizeof "backup.0000");
    EXPECT_TRUE(crtUniFile(dir_.c_str(), fits.data(), fits.capacity()));
    EXPECT_EQ(dir_ + "backup.0000", fits.data());
    EXPECT_TRUE(fits.isIntact());
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

TEST_F(KvBackupNameSearch, SearchFromTheStartIsTheLiteralOneWhateverHasChanged) {
    RandomStore store(tree_, record_, 1);
    for (int step = 0; step < 500; ++step) {
        const std::string dir = store.anyDir();
        const std::string expected = literalSearch(dir, store.record());
        ASSERT_EQ(expected, freshName(dir)) << step;
        store.change();
    }
}

TEST_F(KvBackupNameSearch, RunGivesTheNamesOfTheLiteralSearch) {
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
