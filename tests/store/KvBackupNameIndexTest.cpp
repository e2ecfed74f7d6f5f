// The aid that remembers which backup names are mentioned and taken.
#include "store/KvBackupNameIndex.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <string>
#include <vector>

#include "tests/support/CodePage.h"
#include "tests/support/TempTree.h"

namespace {

constexpr size_t kLast = kBackupNameCount - 1;

TEST(KvBackupNameSetTest, FirstNumberInNeitherSet) {
    KvBackupNameSet a;
    KvBackupNameSet b;
    EXPECT_EQ(0U, KvBackupNameSet::firstOutside(a, b));
    a.insert(0);
    b.insert(1);
    EXPECT_EQ(2U, KvBackupNameSet::firstOutside(a, b));
    for (size_t number = 0; number < kLast; ++number) {
        (number % 3 == 0 ? a : b).insert(number);
    }
    EXPECT_EQ(kLast, KvBackupNameSet::firstOutside(a, b));
    EXPECT_FALSE(a.contains(kLast));
    a.insert(kLast);
    EXPECT_TRUE(a.contains(kLast));
    EXPECT_EQ(kBackupNameCount, KvBackupNameSet::firstOutside(a, b));
    a.clear();
    EXPECT_EQ(0U, KvBackupNameSet::firstOutside(a, b));
}

TEST(KvBackupNameSetTest, NamesAreFoundAnywhereInAText) {
    const struct {
        const char* text;
        size_t number;  // the only one that is mentioned; kBackupNameCount for none
    } cases[] = {
        {"backup.000", 0},
        {"backup.00a, /opt/x", 10},
        {"x backup.zzzz", kLast},
        {"/a/backup.010/b", 36},
        {"backup.backup.011", 37},
        {"backup.0backup.011", 37},
        {"backup.backup.backup.011", 37},
        {"mybackup.0012", 1},
        {"backup.00", kBackupNameCount},
        {"backup.00A", kBackupNameCount},
        {"Backup.000", kBackupNameCount},
        {"backup_000", kBackupNameCount},
        {"backup.", kBackupNameCount},
        {"", kBackupNameCount},
        {nullptr, kBackupNameCount},
    };
    for (const auto& c : cases) {
        KvBackupNameSet names;
        insertBackupNames(c.text, names);
        for (const size_t number :
             {size_t{0}, size_t{1}, size_t{10}, size_t{36}, size_t{37}, kLast}) {
            EXPECT_EQ(number == c.number, names.contains(number))
                << (c.text != nullptr ? c.text : "null") << " " << number;
        }
    }
}

TEST(KvBackupNameSetTest, WholeNamesHaveANumber) {
    EXPECT_EQ(0U, numberOfBackupName("backup.000"));
    EXPECT_EQ(37U, numberOfBackupName("backup.011"));
    EXPECT_EQ(kLast, numberOfBackupName("backup.zzz"));
    for (const char* name :
         {"backup.0000", "backup.00", "backup.00A", "xbackup.000", "backup", ""}) {
        EXPECT_EQ(kBackupNameCount, numberOfBackupName(name)) << name;
    }
}

TEST(KvBackupNameSetTest, EveryNameOfATextIsFound) {
    KvBackupNameSet names;
    insertBackupNames("backup.000backup.001, backup.003", names);
    EXPECT_EQ(2U, KvBackupNameSet::firstOutside(names, names));
    EXPECT_TRUE(names.contains(3));
}

TEST(KvFileStampTest, ChangesOfAFileShow) {
    const TempTree tree;
    const std::string path = tree.write("a", "1");
    const KvFileStamp before = KvFileStamp::of(path.c_str());
    EXPECT_TRUE(before.exists);
    EXPECT_TRUE(before == KvFileStamp::of(path.c_str()));
    tree.write("a", "12");
    EXPECT_FALSE(before == KvFileStamp::of(path.c_str()));
    tree.write("b", "1");
    EXPECT_FALSE(before == KvFileStamp::of(tree.path("b").c_str()));
    EXPECT_FALSE(KvFileStamp::of(tree.path("missing").c_str()).exists);
}

TEST(KvRecordNamesTest, ValuesOfAllSectionsButTheGlobalOneAreLookedAt) {
    const TempTree tree;
    const std::string path =
        tree.write("VcBackup.ini",
                   "global=backup.000\n; backup.001\n[backup.002]\nbackup.003=backup.004\n"
                   "double=backup.005\ndouble=x "
                   "backup.006x\n[]\nempty=backup.007\n[backup.002]\nk=backup.008\n");
    KvRecordNames names;
    const KvBackupNameSet& found = names.read(path.c_str());
    for (const size_t number : {0U, 1U, 2U, 3U}) {
        EXPECT_FALSE(found.contains(number)) << number;
    }
    for (const size_t number : {4U, 5U, 6U, 7U, 8U}) {
        EXPECT_TRUE(found.contains(number)) << number;
    }
}

// The same size, at once, in the same tick of the clock that stamps files.
TEST(KvRecordNamesTest, QuickChangeOfTheRecordIsNoticed) {
    const TempTree tree;
    const std::string path = tree.path("VcBackup.ini");
    KvRecordNames names;
    for (size_t number = 0; number < 36; ++number) {
        char text[32];
        snprintf(text, sizeof text, "[a]\nb=backup.00%c\n",
                 static_cast<char>(number < 10 ? '0' + number : 'a' + number - 10));
        tree.write("VcBackup.ini", text);
        const KvBackupNameSet& found = names.read(path.c_str());
        EXPECT_TRUE(found.contains(number));
        EXPECT_FALSE(found.contains((number + 35) % 36));
    }
    ASSERT_EQ(0, unlink(path.c_str()));
    EXPECT_FALSE(names.read(path.c_str()).contains(35));
}

// Waits until the record counts as settled, so that it is read from memory from here on.
TEST(KvRecordNamesTest, SettledRecordIsStillChecked) {
    const TempTree tree;
    const std::string path = tree.write("VcBackup.ini", "[a]\nb=backup.001\n");
    KvRecordNames names;
    usleep(300000);
    EXPECT_TRUE(names.read(path.c_str()).contains(1));
    EXPECT_TRUE(names.read(path.c_str()).contains(1));
    tree.write("VcBackup.ini", "[a]\nb=backup.002\n");
    EXPECT_FALSE(names.read(path.c_str()).contains(1));
    EXPECT_TRUE(names.read(path.c_str()).contains(2));
    EXPECT_FALSE(names.read(tree.path("other").c_str()).contains(2));
}

// 0x81 0x5D is one character in Shift-JIS, so the line is then no header and its value is global.
TEST(KvRecordNamesTest, CodePageDecidesWhatIsAHeader) {
    const TempTree tree;
    const std::string path = tree.write("VcBackup.ini", "[a\x81]\nb=backup.001\n");
    KvRecordNames names;
    usleep(300000);
    EXPECT_TRUE(names.read(path.c_str()).contains(1));
    {
        const CodePage shiftJis(932);
        EXPECT_FALSE(names.read(path.c_str()).contains(1));
    }
    EXPECT_TRUE(names.read(path.c_str()).contains(1));
}

TEST(KvTakenNamesTest, OnlyBackupNamesOfTheDirectoryCount) {
    const TempTree tree;
    for (const char* name : {"d/backup.001", "d/backup.0022", "d/backup.03", "d/xbackup.004",
                             "d/backup.00A", "d/sub/backup.005"}) {
        tree.write(name, "");
    }
    tree.makeDir("d/backup.006");
    KvTakenNames names;
    const KvBackupNameSet& taken = names.read(tree.path("d").c_str());
    for (const size_t number : {2U, 3U, 4U, 5U, 10U}) {
        EXPECT_FALSE(taken.contains(number)) << number;
    }
    EXPECT_TRUE(taken.contains(1));
    EXPECT_TRUE(taken.contains(6));
}

// Each time in the very tick in which the directory was remembered.
TEST(KvTakenNamesTest, RemovalRightAfterRememberingIsNoticed) {
    const TempTree tree;
    const std::string dir = tree.makeDir("d");
    KvTakenNames names;
    for (int round = 0; round < 200; ++round) {
        tree.write("d/backup.000", "");
        KvBackupNameSet& taken = names.read(dir.c_str());
        ASSERT_TRUE(taken.contains(0));
        names.remember(dir.c_str());
        ASSERT_TRUE(names.read(dir.c_str()).contains(0));
        ASSERT_EQ(0, unlink((dir + "/backup.000").c_str()));
        ASSERT_FALSE(names.read(dir.c_str()).contains(0)) << round;
    }
}

TEST(KvTakenNamesTest, RememberedDirectoryIsNotListedAgain) {
    const TempTree tree;
    const std::string dir = tree.makeDir("d");
    KvTakenNames names;
    names.read(dir.c_str()).insert(7);  // shows that the set is the remembered one
    names.remember(dir.c_str());
    EXPECT_TRUE(names.read(dir.c_str()).contains(7));
    tree.write("d/other", "");
    EXPECT_FALSE(names.read(dir.c_str()).contains(7));
}

TEST(KvTakenNamesTest, OnlyAnUnchangedDirectoryIsCurrent) {
    const TempTree tree;
    const std::string dir = tree.makeDir("d");
    KvTakenNames names;
    EXPECT_FALSE(names.isCurrent(dir.c_str()));
    (void)names.read(dir.c_str());
    EXPECT_FALSE(names.isCurrent(dir.c_str())) << "listed, but not remembered";
    names.remember(dir.c_str());
    EXPECT_TRUE(names.isCurrent(dir.c_str()));
    tree.write("d/other", "");
    EXPECT_FALSE(names.isCurrent(dir.c_str()));
    EXPECT_FALSE(names.isCurrent(""));
}

// More directories than are remembered: each new one bears the time at which the one that makes
// room for it was marked.
TEST(KvTakenNamesTest, DirectoriesOfTheSameTimeAreKeptApart) {
    const TempTree tree;
    KvTakenNames names;
    std::vector<timespec> marks;
    for (size_t i = 0; i < 9; ++i) {
        const std::string dir = tree.makeDir("d" + std::to_string(i));
        names.read(dir.c_str()).insert(i);
        names.remember(dir.c_str());
        marks.push_back(KvFileStamp::of(dir.c_str()).modified);
    }
    for (size_t i = 1; i < marks.size(); ++i) {
        const std::string dir = tree.makeDir("new" + std::to_string(i));
        const timespec times[] = {marks[i], marks[i]};
        ASSERT_EQ(0, utimensat(AT_FDCWD, dir.c_str(), times, 0));
        EXPECT_FALSE(names.read(dir.c_str()).contains(i));
    }
}

TEST(KvTakenNamesTest, DirectoriesAreKeptApart) {
    const TempTree tree;
    KvTakenNames names;
    for (size_t round = 0; round < 3; ++round) {
        for (size_t i = 0; i < 12; ++i) {
            const std::string dir = tree.makeDir("d" + std::to_string(i));
            KvBackupNameSet& taken = names.read(dir.c_str());
            EXPECT_FALSE(taken.contains((i + 1) % 12));
            taken.insert(i);
            names.remember(dir.c_str());
            EXPECT_TRUE(names.read(dir.c_str()).contains(i));
        }
    }
    EXPECT_FALSE(names.read(tree.path("missing").c_str()).contains(0));
    names.remember(tree.path("missing").c_str());
}

}  // namespace
