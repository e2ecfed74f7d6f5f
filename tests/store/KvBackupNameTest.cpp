// The paths of the backup store and the counting of its names.
#include "store/KvBackupName.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "tests/support/CodePage.h"
#include "tests/support/GuardedBuffer.h"

namespace {

struct PathCase {
    const char* base;
    uint32_t first;
    uint32_t second;
    const char* expected;
};

TEST(KvBackupName, VcPathHasOneSeparatorBetweenAllParts) {
    const PathCase cases[] = {
        {"/opt/app", 3, 2, "/opt/app/3/2/"},
        {"/opt/app/", 3, 2, "/opt/app/3/2/"},
        {"", 1, 0, "/1/0/"},
        {"/", 4294967295U, 4294967295U, "/4294967295/4294967295/"},
        {"a\\", 1, 2, "a\\/1/2/"},
    };
    for (const PathCase& c : cases) {
        char out[4096];
        EXPECT_EQ(static_cast<int>(std::string(c.expected).size()),
                  constructVcPath(c.base, c.first, c.second, out, sizeof out));
        EXPECT_STREQ(c.expected, out);
        constructUpdatePath(c.base, c.first, c.second, out, sizeof out);
        EXPECT_STREQ(c.expected, out);
    }
}

TEST(KvBackupName, BackupPathLiesInTheStoreOfTheDestination) {
    const PathCase cases[] = {
        {"/opt/app", 3, 2, "/opt/app/VC_Backup/3/2/"},
        {"/opt/app/", 3, 2, "/opt/app/VC_Backup/3/2/"},
        {"", 3, 2, "VC_Backup/3/2/"},
        {"/", 1, 4294967295U, "/VC_Backup/1/4294967295/"},
        {"app", 1, 1, "app/VC_Backup/1/1/"},
    };
    for (const PathCase& c : cases) {
        char out[4096];
        EXPECT_EQ(static_cast<int>(std::string(c.expected).size()),
                  constructBackupPath(c.base, c.first, c.second, out, sizeof out));
        EXPECT_STREQ(c.expected, out);
    }
}

TEST(KvBackupName, RecordPathIsJoinedAsEveryPathIs) {
    char out[1024];
    EXPECT_TRUE(constructRecordPath("/opt/app", out, sizeof out));
    EXPECT_STREQ("/opt/app/VC_Backup/VcBackup.ini", out);
    EXPECT_TRUE(constructRecordPath("D:\\app\\", out, sizeof out));
    EXPECT_STREQ("D:/app/VC_Backup/VcBackup.ini", out);
    EXPECT_TRUE(constructRecordPath("", out, sizeof out));
    EXPECT_STREQ("VC_Backup/VcBackup.ini", out);
    EXPECT_TRUE(constructRecordPath(nullptr, out, sizeof out));
    EXPECT_STREQ("VC_Backup/VcBackup.ini", out);
}

TEST(KvBackupName, RecordPathThatDoesNotFitIsNoPath) {
    const std::string longest(1023 - std::string("/VC_Backup/VcBackup.ini").size(), 'd');
    GuardedBuffer out(1024);
    EXPECT_TRUE(constructRecordPath(longest.c_str(), out.data(), out.capacity()));
    EXPECT_EQ(longest + "/VC_Backup/VcBackup.ini", out.data());
    EXPECT_FALSE(constructRecordPath((longest + "d").c_str(), out.data(), out.capacity()));
    EXPECT_STREQ("", out.data());
    EXPECT_TRUE(out.isIntact());
    EXPECT_FALSE(constructRecordPath("/opt/app", nullptr, 0));
}

// In Shift-JIS 0x83 0x5C is one character whose second byte looks like a backslash.
TEST(KvBackupName, DoubleByteDestinationKeepsItsLastCharacter) {
    const CodePage shiftJis(932);
    char out[4096];
    constructBackupPath("/opt/\x83\x5C", 3, 2, out, sizeof out);
    EXPECT_STREQ("/opt/\x83\x5C/VC_Backup/3/2/", out);
    EXPECT_TRUE(constructRecordPath("/opt/\x83\x5C", out, sizeof out));
    EXPECT_STREQ("/opt/\x83\x5C/VC_Backup/VcBackup.ini", out);
    constructVcPath("/opt/\x83\x5C", 3, 2, out, sizeof out);
    EXPECT_STREQ("/opt/\x83\x5C/3/2/", out);
}

// A '/' is below 0x40 and therefore never the second half of a character.
TEST(KvBackupName, SeparatorBehindALeadByteIsASeparator) {
    const CodePage shiftJis(932);
    char out[4096];
    constructBackupPath("/opt/\x83/", 3, 2, out, sizeof out);
    EXPECT_STREQ("/opt/\x83/VC_Backup/3/2/", out);
}

TEST(KvBackupName, PathsAreCutAtTheBuffersCapacity) {
    GuardedBuffer out(8);
    EXPECT_EQ(7, constructVcPath("/opt/app", 3, 2, out.data(), out.capacity()));
    EXPECT_STREQ("/opt/ap", out.data());
    EXPECT_EQ(7, constructBackupPath("/o", 3, 2, out.data(), out.capacity()));
    EXPECT_STREQ("/o/VC_B", out.data());
    EXPECT_TRUE(out.isIntact());
}

TEST(KvBackupName, DestinationIsCutAtTheWorkingBuffersCapacity) {
    const std::string longDest(5000, 'd');
    char out[8192];
    constructBackupPath(longDest.c_str(), 3, 2, out, sizeof out);
    EXPECT_EQ(std::string(4095, 'd') + "/3/2/", out);
    const std::string almost(4090, 'd');
    constructBackupPath(almost.c_str(), 3, 2, out, sizeof out);
    EXPECT_EQ(almost + "/VC_B/3/2/", out);
}

TEST(KvBackupName, PathBuildersTakeNull) {
    char out[64];
    EXPECT_EQ(5, constructVcPath(nullptr, 1, 2, out, sizeof out));
    EXPECT_STREQ("/1/2/", out);
    constructBackupPath(nullptr, 1, 2, out, sizeof out);
    EXPECT_STREQ("VC_Backup/1/2/", out);
    EXPECT_EQ(0, constructVcPath("/opt", 1, 2, nullptr, 10));
    EXPECT_EQ(0, constructVcPath("/opt", 1, 2, out, 0));
    EXPECT_EQ(0, constructBackupPath("/opt", 1, 2, nullptr, 10));
}

TEST(KvBackupName, DigitsAreThreeInBase36) {
    const struct {
        uint64_t value;
        const char* expected;
    } cases[] = {
        {0, "000"},     {9, "009"},          {10, "00a"},    {35, "00z"},
        {36, "010"},    {1295, "0zz"},       {1296, "100"},  {46655, "zzz"},
        {46656, "000"}, {46656 + 37, "011"}, {93311, "zzz"},
    };
    for (const auto& c : cases) {
        GuardedBuffer out(4);
        r36tostr(c.value, out.data(), 0);  // the size is not consulted
        EXPECT_STREQ(c.expected, out.data()) << c.value;
        EXPECT_TRUE(out.isIntact());
    }
    r36tostr(1, nullptr, 4);
}

TEST(KvBackupName, ExtensionsStartAtZeroAndCountUp) {
    GuardedBuffer ext(5);
    extSeed(ext.data(), ext.capacity());
    EXPECT_STREQ(".000", ext.data());
    const struct {
        int64_t inc;
        const char* expected;
    } steps[] = {{1, ".001"}, {34, ".00z"}, {1, ".010"},
                 {0, ".010"}, {-1, ".00z"}, {46656, ".00z"}};
    for (const auto& step : steps) {
        extInc(ext.data(), ext.capacity(), step.inc);
        EXPECT_STREQ(step.expected, ext.data());
    }
    EXPECT_TRUE(ext.isIntact());
}

TEST(KvBackupName, LastExtensionIsFollowedByTheFirst) {
    char ext[5] = ".zzz";
    extInc(ext, sizeof ext, 1);
    EXPECT_STREQ(".000", ext);
}

TEST(KvBackupName, ExtensionFunctionsTakeNull) {
    extSeed(nullptr, 0);
    extInc(nullptr, 0, 1);
    char ext[5] = "";
    extInc(ext, sizeof ext, 1);
    EXPECT_STREQ("", ext);
}

}  // namespace
