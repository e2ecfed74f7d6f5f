// A journal on the disk: its name, whether it counts, and who holds its lock.
#include "journal/KvJournalFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

#include "tests/support/ForkedProcess.h"
#include "tests/support/TempTree.h"

namespace {

using Opening = JournalFile::Opening;
using Access = JournalFile::Access;

class KvJournalFile : public testing::Test {
  protected:
    KvJournalFile() : store(tree.makeDir("VC_Backup")) {}

    [[nodiscard]] std::string path(int number = 1) const {
        return store + "/VcJournal." + std::to_string(number);
    }

    Opening openOne(const std::string& file, std::string* why = nullptr) const {
        JournalFile journal;
        const Opening opening = journal.open(file, Access::kChange);
        if (why != nullptr) {
            *why = journal.why();
        }
        return opening;
    }

    TempTree tree;
    std::string store;
};

TEST_F(KvJournalFile, ItsNameIsThePrefixAndANumber) {
    for (const char* name : {"VcJournal.1", "VcJournal.0042"}) {
        EXPECT_TRUE(isJournalName(name)) << name;
    }
    for (const char* name : {"VcJournal.", "VcJournal.1x", "VcJournal.-1", "vcjournal.1",
                             "xVcJournal.1", "VcBackup.ini", ""}) {
        EXPECT_FALSE(isJournalName(name)) << name;
    }
}

TEST_F(KvJournalFile, TakesTheFirstFreeNumberForItsOwnerOnly) {
    const mode_t old = umask(0777);
    JournalFile first;
    JournalFile second;
    EXPECT_EQ(first.create(store), 0);
    EXPECT_EQ(second.create(store), 0);
    umask(old);
    EXPECT_EQ(first.path(), path(1));
    EXPECT_EQ(second.path(), path(2));
    struct stat status {};
    ASSERT_EQ(stat(path(1).c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0600U);
    EXPECT_TRUE(first.isAt(path(1)));
    EXPECT_FALSE(first.isAt(path(2)));
}

TEST_F(KvJournalFile, NeverTakesAFileThatIsThere) {
    tree.write("VC_Backup/VcJournal.1", "theirs");
    ASSERT_EQ(symlink("/nowhere", path(2).c_str()), 0);
    JournalFile journal;
    EXPECT_EQ(journal.create(store), 0);
    EXPECT_EQ(journal.path(), path(3));
    EXPECT_EQ(tree.read("VC_Backup/VcJournal.1"), "theirs");
}

TEST_F(KvJournalFile, TellsWhyItCannotBeMade) {
    JournalFile journal;
    EXPECT_EQ(journal.create(tree.path("missing")), ENOENT);
}

TEST_F(KvJournalFile, IsLockedWhileItsObjectLives) {
    {
        JournalFile journal;
        ASSERT_EQ(journal.create(store), 0);
        EXPECT_EQ(openOne(path()), Opening::kLive);
        // A close of another descriptor of the file changes nothing.
        EXPECT_EQ(tree.read("VC_Backup/VcJournal.1"), "");
        EXPECT_EQ(openOne(path()), Opening::kLive);
    }
    EXPECT_EQ(openOne(path()), Opening::kOpened);
}

TEST_F(KvJournalFile, ItsLockGoesWithAKilledOwner) {
    ForkedProcess owner([&](const Talk& talk) {
        JournalFile journal;
        const int error = journal.create(store);
        talk.tell();
        (void)talk.hears();
        return error;
    });
    ASSERT_TRUE(owner.talk().hears());
    EXPECT_EQ(openOne(path()), Opening::kLive);
    owner.kill();
    EXPECT_EQ(openOne(path()), Opening::kOpened);
}

TEST_F(KvJournalFile, AForkedChildDoesNotHoldTheLock) {
    auto journal = std::make_unique<JournalFile>();
    ASSERT_EQ(journal->create(store), 0);
    ForkedProcess child([](const Talk& talk) {
        talk.tell();
        return talk.hears() ? 0 : 1;
    });
    ASSERT_TRUE(child.talk().hears());
    EXPECT_EQ(openOne(path()), Opening::kLive);
    journal.reset();
    EXPECT_EQ(openOne(path()), Opening::kOpened);
    child.talk().tell();
    EXPECT_EQ(child.finish(), 0);
}

TEST_F(KvJournalFile, CountsOnlyWhenNobodyElseCouldHaveWrittenIt) {
    std::string why;
    EXPECT_EQ(openOne(path()), Opening::kGone);
    EXPECT_EQ(openOne(store + "/no/VcJournal.1"), Opening::kGone);

    tree.write("VC_Backup/VcJournal.1", "");
    ASSERT_EQ(chmod(path().c_str(), 0620), 0);
    EXPECT_EQ(openOne(path(), &why), Opening::kForeign);
    EXPECT_EQ(why, "Others may write to it");
    ASSERT_EQ(chmod(path().c_str(), 0602), 0);
    EXPECT_EQ(openOne(path()), Opening::kForeign);
    ASSERT_EQ(chmod(path().c_str(), 0644), 0);
    EXPECT_EQ(openOne(path()), Opening::kOpened);

    ASSERT_EQ(link(path().c_str(), path(2).c_str()), 0);
    EXPECT_EQ(openOne(path(), &why), Opening::kForeign);
    EXPECT_EQ(why, "Has several names");
    ASSERT_EQ(unlink(path(2).c_str()), 0);

    ASSERT_EQ(symlink(path().c_str(), path(3).c_str()), 0);
    EXPECT_EQ(openOne(path(3), &why), Opening::kForeign);
    EXPECT_EQ(why, "Not a regular file");
    ASSERT_EQ(mkfifo(path(4).c_str(), 0600), 0);
    EXPECT_EQ(openOne(path(4)), Opening::kForeign);
    tree.makeDir("VC_Backup/VcJournal.5");
    EXPECT_EQ(openOne(path(5)), Opening::kForeign);
}

TEST_F(KvJournalFile, OfAnotherUserDoesNotCount) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "needs two users";
    }
    tree.write("VC_Backup/VcJournal.1", "");
    ASSERT_EQ(chown(path().c_str(), 12345, 12345), 0);
    std::string why;
    EXPECT_EQ(openOne(path(), &why), Opening::kForeign);
    EXPECT_EQ(why, "Belongs to another user");
}

TEST_F(KvJournalFile, ThatCountsButCannotBeOpenedIsAFailure) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "needs two users";
    }
    tree.write("VC_Backup/VcJournal.1", "");
    ASSERT_EQ(chmod(path().c_str(), 0600), 0);
    ASSERT_EQ(chmod(tree.path().c_str(), 0755), 0);
    ForkedProcess other([&](const Talk&) {
        if (setuid(12345) != 0) {
            return 1;
        }
        JournalFile journal;
        return journal.open(path(), Access::kChange) == Opening::kFailed &&
                       journal.error() == EACCES
                   ? 0
                   : 2;
    });
    EXPECT_EQ(other.finish(), 0);
}

TEST_F(KvJournalFile, LinesAreAppendedBehindATornOne) {
    JournalFile journal;
    ASSERT_EQ(journal.create(store), 0);
    EXPECT_EQ(journal.append("one\n"), 0);
    EXPECT_EQ(journal.append("two\n"), 0);
    EXPECT_EQ(tree.read("VC_Backup/VcJournal.1"), "one\ntwo\n");

    tree.write("VC_Backup/VcJournal.2", "one\nto");
    JournalFile torn;
    ASSERT_EQ(torn.open(path(2), Access::kChange), Opening::kOpened);
    torn.endAt(4);
    EXPECT_TRUE(torn.hasTail());
    EXPECT_EQ(torn.append("three\n"), 0);
    EXPECT_EQ(torn.append("four\n"), 0);
    EXPECT_EQ(tree.read("VC_Backup/VcJournal.2"), "one\nto\x18\nthree\nfour\n");
}

TEST_F(KvJournalFile, IsReadWholeOrFromItsStart) {
    tree.write("VC_Backup/VcJournal.1", std::string("a\0b", 3));
    JournalFile journal;
    ASSERT_EQ(journal.open(path(), Access::kRead), Opening::kOpened);
    std::string bytes;
    EXPECT_EQ(journal.readStart(bytes, 2), 0);
    EXPECT_EQ(bytes, std::string("a\0", 2));
    EXPECT_EQ(journal.read(bytes), 0);
    EXPECT_EQ(bytes, std::string("a\0b", 3));
    EXPECT_EQ(journal.readStart(bytes, 10), 0);
    EXPECT_EQ(bytes.size(), 3U);
}

TEST_F(KvJournalFile, IsEmptiedWhereItCannotBeDeleted) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "needs two users";
    }
    ASSERT_EQ(chmod(tree.path().c_str(), 0755), 0);
    ForkedProcess owner([&](const Talk&) {
        if (chown(store.c_str(), 12345, 12345) != 0 || setuid(12345) != 0) {
            return 1;
        }
        JournalFile journal;
        if (journal.create(store) != 0 || journal.append("line\n") != 0 ||
            chmod(store.c_str(), 0555) != 0) {
            return 2;
        }
        return journal.remove() == 0 && journal.error() == EACCES ? 0 : 3;
    });
    EXPECT_EQ(owner.finish(), 0);
    EXPECT_TRUE(tree.exists("VC_Backup/VcJournal.1"));
    EXPECT_EQ(tree.read("VC_Backup/VcJournal.1"), "");
}

TEST_F(KvJournalFile, RemovalTakesTheFileAway) {
    JournalFile journal;
    ASSERT_EQ(journal.create(store), 0);
    EXPECT_EQ(journal.remove(), 0);
    EXPECT_FALSE(tree.exists("VC_Backup/VcJournal.1"));
}

}  // namespace
