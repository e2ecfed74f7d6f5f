// Written entries: the name of a backup copy and the file it was made of.
#include "store/KvBackupEntry.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <memory>
#include <string>

#include "base/KvScoped.h"
#include "tests/support/GuardedBuffer.h"
#include "tests/support/MemoryLimit.h"

namespace {

TEST(KvBackupEntry, IsSplitAtCommasAndTrimmed) {
    const struct {
        const char* entry;
        size_t pieces;
        const char* name;
        const char* target;
    } cases[] = {
        {"backup.00a, /opt/app/old.dat", 2, "backup.00a", "/opt/app/old.dat"},
        {" \tbackup.00a ,\t /opt/a b/c \r\n", 2, "backup.00a", "/opt/a b/c"},
        {"backup.00a,/x", 2, "backup.00a", "/x"},
        {"/elsewhere/backup.00a, /x", 2, "backup.00a", "/x"},
        {"dir/, /x", 2, "", "/x"},
        {"backup.003, /a/b, x", 3, "backup.003", "/a/b"},
        {"backup.003", 1, "backup.003", ""},
        {"backup.003,", 1, "backup.003", ""},
        {"backup.003, ", 2, "backup.003", ""},
        {", /x", 2, "", "/x"},
        {",,", 2, "", ""},
        {"", 0, "", ""},
        {nullptr, 0, "", ""},
    };
    for (const auto& c : cases) {
        const BackupEntryParts parts = splitBackupEntry(c.entry);
        const std::string what = c.entry != nullptr ? c.entry : "null";
        EXPECT_EQ(c.pieces, parts.pieceCount) << what;
        EXPECT_STREQ(c.name, parts.backupName.c_str()) << what;
        EXPECT_STREQ(c.target, parts.target.c_str()) << what;
    }
}

// Taken for one with an empty target, it would lose its copy.
TEST(KvBackupEntry, HasNoPiecesWithoutMemoryForItsTarget) {
    if (!kCanLimitMemory) {
        GTEST_SKIP() << "this platform does not limit the memory of a process";
    }
    const std::string entry = "backup.000, /" + std::string(kMoreThanTheHeapKeeps, 'x');
    const auto body = [&]() {
        limitMemory(4 * kMegabyte);
        const BackupEntryParts parts = splitBackupEntry(entry.c_str());
        const bool isRight = parts.pieceCount == 0 && parts.backupName == "backup.000";
        _exit(isRight ? 0 : 1);
    };
    EXPECT_EXIT(body(), testing::ExitedWithCode(0), "");
}

TEST(KvBackupEntry, IsReadBackAsItWasMade) {
    char* text = nullptr;
    ASSERT_EQ(HeapCopy::kDone, makeBackupEntry("backup.00a", "/opt/app/old.dat", text));
    const ScopedHeap<char> entry(text);
    EXPECT_STREQ("backup.00a, /opt/app/old.dat", entry.get());
    const BackupEntryParts parts = splitBackupEntry(entry.get());
    EXPECT_EQ(kBackupEntryPieces, parts.pieceCount);
    EXPECT_EQ(HeapCopy::kCopyFailed, makeBackupEntry(nullptr, "/x", text));
    EXPECT_EQ(nullptr, text);
    EXPECT_EQ(HeapCopy::kCopyFailed, makeBackupEntry("backup.000", nullptr, text));
    EXPECT_EQ(nullptr, text);
}

// What reads it back would take it for the whole directory.
TEST(KvBackupEntry, IsNeverMadeWithoutAName) {
    char unset = 'x';
    char* text = &unset;
    EXPECT_EQ(HeapCopy::kNoMemory, makeBackupEntry("", "/opt/app/old.dat", text));
    EXPECT_EQ(nullptr, text);
}

TEST(KvBackupEntry, NamesAFileOfTheBackupDirectory) {
    const BackupEntryParts parts = splitBackupEntry("/old/place/backup.00a, /x");
    char file[64];
    EXPECT_TRUE(backupFileOfEntry(parts, "/d/store/3/2/", file, sizeof file));
    EXPECT_STREQ("/d/store/3/2/backup.00a", file);
    EXPECT_TRUE(backupFileOfEntry(parts, "d", file, sizeof file));
    EXPECT_STREQ("d/backup.00a", file);
    EXPECT_TRUE(backupFileOfEntry(parts, "", file, sizeof file));
    EXPECT_STREQ("backup.00a", file);
    EXPECT_TRUE(backupFileOfEntry(parts, nullptr, file, sizeof file));
    EXPECT_STREQ("backup.00a", file);
}

TEST(KvBackupEntry, NamesNoFileWhosePathDoesNotFit) {
    const BackupEntryParts parts = splitBackupEntry("backup.00a, /x");
    GuardedBuffer fits(13);
    EXPECT_TRUE(backupFileOfEntry(parts, "d/", fits.data(), fits.capacity()));
    GuardedBuffer small(12);
    EXPECT_FALSE(backupFileOfEntry(parts, "d/", small.data(), small.capacity()));
    EXPECT_TRUE(small.isIntact());
    EXPECT_FALSE(backupFileOfEntry(parts, "d/", nullptr, 0));
}

}  // namespace
