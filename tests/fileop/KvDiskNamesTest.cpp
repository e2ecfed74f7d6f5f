// The names on the disk: callers, support people and older versions know them.
#include "fileop/KvDiskNames.h"

#include <gtest/gtest.h>

namespace {

TEST(KvDiskNames, NeverChange) {
    EXPECT_STREQ("VcPatch.ini", kDescriptionName);
    EXPECT_STREQ("VcResult.ini", kResultName);
    EXPECT_STREQ("vccfg.ini", kConfigName);
    EXPECT_STREQ("VC_Data", kDataDirName);
    EXPECT_STREQ("VC_Log", kLogDirName);
    EXPECT_STREQ("TempSave", kTempSaveName);
    EXPECT_STREQ("VC_Log/KvuDump.txt", kTextLogName);
    EXPECT_STREQ("VC_Log/KvuDump.htm", kHtmlLogName);
    EXPECT_STREQ("VC_Backup", kBackupStoreName);
    EXPECT_STREQ("VcBackup.ini", kBackupRecordName);
    EXPECT_STREQ("backup", kBackupFilePrefix);
    EXPECT_STREQ("VcJournal.", kJournalPrefix);
    EXPECT_STREQ(".lock", kLockSuffix);
}

}  // namespace
