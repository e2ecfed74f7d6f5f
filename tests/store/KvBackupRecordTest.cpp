// Reading a backup record without repair: contents, messages, dumps, refusals.
#include "store/KvBackupRecord.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "fileop/KvDiskNames.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TempTree.h"

namespace {

using testing::Contains;
using testing::ElementsAre;

const std::string kCommon = "[common]\nitemcount=1\npatchagent.version=1\n";
const std::string kItem = "[item_0]\nclass=3\ntype=5\norigin.version=100\nresult.version=101\n";

class KvBackupRecord : public testing::Test {
  protected:
    ~KvBackupRecord() override { freeBackupStru(&out_); }

    // Parses `text` without repair into `out_`.
    int parse(const std::string& text) {
        tree_.write(kBackupRecordName, text);
        freeBackupStru(&out_);
        RecordDocument document = openRecord(tree_.path(kBackupRecordName).c_str());
        KvIniUtil* raw = document.get();
        const int result = phaseIniForBackup(&raw, &out_, 0, nullptr, nullptr);
        EXPECT_EQ(document.get(), raw) << "without repair the document is never exchanged";
        return result;
    }

    // That `text` fails with this error, leaves nothing behind and keeps the file.
    void expectRefused(const std::string& text, const std::string& error) {
        log_.forget();
        EXPECT_EQ(kBackupRecordFailed, parse(text)) << text;
        EXPECT_THAT(log_.lines(), Contains("Err 6 " + error)) << text;
        EXPECT_EQ("Inf 6 phaseIniForBackup: error quit.", log_.lines().back());
        EXPECT_EQ(nullptr, out_.items);
        EXPECT_EQ(0U, out_.itemCount);
        EXPECT_EQ(nullptr, out_.patchAgentFile);
        EXPECT_EQ(text, tree_.read(kBackupRecordName));
    }

    TempTree tree_;
    LogCapture log_;
    backupStru out_{};
};

TEST_F(KvBackupRecord, WholeRecordIsRead) {
    ASSERT_EQ(kBackupRecordParsed,
              parse("[common]\nitemcount=2\npatchagent.version=1\npatchagent=agent.so\n" + kItem +
                    "added.filecount=2\nadded.0=/opt/a\nadded.1=/opt/b c\n"
                    "written.filecount=1\nwritten.0=backup.00a, /opt/w\n"
                    "[item_1]\nclass=1\ntype=4294967295\norigin.version=5.2\n"
                    "result.version=5.3.1234\n"));
    EXPECT_EQ(1, out_.patchAgentVersion);
    EXPECT_STREQ("agent.so", out_.patchAgentFile);
    ASSERT_EQ(2U, out_.itemCount);
    const backupItem& pattern = out_.items[0];
    EXPECT_EQ(3U, pattern.itemClass);
    EXPECT_EQ(5U, pattern.type);
    EXPECT_EQ(100U, pattern.originVersion.version);
    EXPECT_EQ(101U, pattern.resultVersion.version);
    ASSERT_EQ(2U, pattern.addedCount);
    EXPECT_EQ(2U, pattern.addedCapacity);
    EXPECT_STREQ("/opt/a", pattern.addedList[0]);
    EXPECT_STREQ("/opt/b c", pattern.addedList[1]);
    ASSERT_EQ(1U, pattern.writtenCount);
    EXPECT_EQ(1U, pattern.writtenCapacity);
    EXPECT_STREQ("backup.00a, /opt/w", pattern.writtenList[0]);
    EXPECT_EQ(nullptr, pattern.destination);
    const backupItem& product = out_.items[1];
    EXPECT_EQ(4294967295U, product.type);
    EXPECT_EQ(0x00052000U, product.originVersion.version);
    EXPECT_EQ(0x00053000U, product.resultVersion.version);
    EXPECT_EQ(1234U, product.resultVersion.build);
    EXPECT_EQ(nullptr, product.addedList);
    EXPECT_EQ(nullptr, product.writtenList);
}

TEST_F(KvBackupRecord, DumpsAreLogged) {
    ASSERT_EQ(kBackupRecordParsed,
              parse("[common]\nitemcount=2\npatchagent.version=0\npatchagent=agent.so\n" + kItem +
                    "added.filecount=1\nadded.0=/opt/a\n"
                    "written.filecount=2\nwritten.0=backup.00a, /opt/w\nwritten.1=\n"
                    "[item_1]\nclass=1\ntype=11\norigin.version=5.2\nresult.version=5.3.7\n"));
    EXPECT_THAT(log_.lines(),
                ElementsAre("Inf 6 Dump backup ini common section:Item Count: 2\n"
                            "PatchAgent Ver: 0 (Old)\nPatchAgent File: agent.so",
                            "Inf 6 Dump item[0] in backup ini:\nClass[3] Type[0x5]\n"
                            "Original Ver[100] Result Ver[101]\nDestination: Null\n"
                            "Count of Added Files[1]\n\tFile 0: /opt/a\n"
                            "Count of OverWritten Files[2]\n"
                            "\tFile 0: backup.00a, /opt/w\n\tFile 1: \n",
                            "Err 6 phaseIniForBackup: item has no backuped files.",
                            "Inf 6 Dump item[1] in backup ini:\nClass[1] Type[11]\n"
                            "Original Ver[5.2] Result Ver[5.3.7]\nDestination: Null\n"
                            "Count of Added Files[0]\nCount of OverWritten Files[0]\n"));
}

TEST_F(KvBackupRecord, RecordWithoutItemsIsDoneAfterTheCommonSection) {
    ASSERT_EQ(kBackupRecordParsed, parse("[common]\nitemcount=0\npatchagent.version=7\n"));
    EXPECT_EQ(7, out_.patchAgentVersion);
    EXPECT_EQ(nullptr, out_.items);
    EXPECT_THAT(log_.lines(), ElementsAre("Inf 6 Dump backup ini common section:Item Count: 0\n"
                                          "PatchAgent Ver: 7 (New)\nPatchAgent File: Null",
                                          "Inf 6 phaseIniForBackup: done, item number is zero."));
}

TEST_F(KvBackupRecord, ItemWithoutFilesIsKept) {
    ASSERT_EQ(kBackupRecordParsed, parse(kCommon + kItem));
    EXPECT_EQ(1U, out_.itemCount);
    EXPECT_EQ(3U, out_.items[0].itemClass);
    EXPECT_THAT(log_.lines(), Contains("Err 6 phaseIniForBackup: item has no backuped files."));
}

TEST_F(KvBackupRecord, NumbersAreReadInBaseTenAsFarAsTheyGo) {
    const struct {
        const char* text;
        uint32_t type;
    } cases[] = {{"0x10", 0}, {"010", 10}, {" 7z", 7}, {"", 0}, {"-1", 4294967295U}};
    for (const auto& c : cases) {
        ASSERT_EQ(kBackupRecordParsed, parse(kCommon + "[item_0]\nclass=3\ntype=" + c.text +
                                             "\norigin.version=1\nresult.version=2\n"));
        EXPECT_EQ(c.type, out_.items[0].type) << c.text;
    }
}

TEST_F(KvBackupRecord, EachMissingKeyOfTheCommonSectionIsReported) {
    expectRefused("", "phaseIniForBackup: there is no item count available,ignore it.");
    expectRefused("[common]\npatchagent.version=1\n" + kItem,
                  "phaseIniForBackup: there is no item count available,ignore it.");
    expectRefused("[common]\nitemcount=1\n" + kItem,
                  "phaseIniForBackup: fetch patch agent version failed.");
    expectRefused("[common]\nitemcount=0\n",
                  "phaseIniForBackup: fetch patch agent version failed.");
}

TEST_F(KvBackupRecord, EachMissingKeyOfAnItemIsReported) {
    const std::string head = kCommon + "[item_0]\n";
    const std::string fetch = "phaseIniForBackup: fetch section item_0 ";
    const std::string lists = "added.filecount=2\nadded.0=/a\nwritten.filecount=1\n";
    expectRefused(kCommon, fetch + "class failed.");
    expectRefused(head + "type=5\norigin.version=1\nresult.version=2\n", fetch + "class failed.");
    expectRefused(head + "class=3\norigin.version=1\nresult.version=2\n", fetch + "type failed.");
    expectRefused(head + "class=3\ntype=5\nresult.version=2\n", fetch + "origin version failed.");
    expectRefused(head + "class=3\ntype=5\norigin.version=1\n", fetch + "result version failed.");
    expectRefused(kCommon + kItem + lists, fetch + "added file name failed.");
    expectRefused(kCommon + kItem + lists + "added.1=/b\n", fetch + "written file name failed.");
    expectRefused("[common]\nitemcount=2\npatchagent.version=1\npatchagent=agent.so\n" + kItem,
                  "phaseIniForBackup: fetch section item_1 class failed.");
}

TEST_F(KvBackupRecord, CountsThatNoRecordHoldsEndAtTheFirstMissingSection) {
    const std::string end = "\npatchagent.version=1\n" + kItem;
    for (const char* count :
         {"-1", "4294967295", "48806446", "48806447", "2147483647", "99999999999999999999"}) {
        expectRefused("[common]\nitemcount=" + std::string(count) + end,
                      "phaseIniForBackup: fetch section item_1 class failed.");
    }
}

TEST_F(KvBackupRecord, FileCountThatCannotBeAllocatedIsAMemoryFailure) {
    for (const char* count : {"-1", "4294967295", "2147483647", "536870912"}) {
        expectRefused(kCommon + kItem + "added.filecount=" + count + "\nadded.0=/a\n",
                      "phaseIniForBackupL: malloc failed.");
        expectRefused(kCommon + kItem + "written.filecount=" + count + "\nwritten.0=/a\n",
                      "phaseIniForBackup: malloc failed.");
    }
}

TEST_F(KvBackupRecord, FirstOfDoubleSectionsAndKeysCounts) {
    ASSERT_EQ(kBackupRecordParsed,
              parse(kCommon + kItem + "[item_0]\nclass=2\ntype=9\n[common]\nitemcount=5\n"));
    EXPECT_EQ(1U, out_.itemCount);
    EXPECT_EQ(3U, out_.items[0].itemClass);
    ASSERT_EQ(kBackupRecordParsed, parse(kCommon + kItem + "class=2\ntype=9\n"));
    EXPECT_EQ(5U, out_.items[0].type);
}

TEST_F(KvBackupRecord, NullParametersAreRefused) {
    KvIniUtil* none = nullptr;
    RecordDocument document = openRecord(nullptr);
    KvIniUtil* raw = document.get();
    EXPECT_EQ(kBackupRecordFailed, phaseIniForBackup(nullptr, &out_, 0, nullptr, nullptr));
    EXPECT_EQ(kBackupRecordFailed, phaseIniForBackup(&none, &out_, 1, nullptr, nullptr));
    EXPECT_EQ(kBackupRecordFailed, phaseIniForBackup(&raw, nullptr, 1, nullptr, nullptr));
    EXPECT_THAT(log_.lines(), ElementsAre("Err 6 phaseIniForBackup: parameters failed.",
                                          "Err 6 phaseIniForBackup: parameters failed.",
                                          "Err 6 phaseIniForBackup: parameters failed."));
}

// The version is the one thing that `out` keeps when the common section cannot be read.
TEST_F(KvBackupRecord, VersionIsLeftWhenThereIsNoCount) {
    RecordDocument document = openRecord(nullptr);
    KvIniUtil* raw = document.get();
    backupStru out;
    memset(static_cast<void*>(&out), 0xEE, sizeof out);
    out.patchAgentVersion = 42;
    EXPECT_EQ(kBackupRecordFailed, phaseIniForBackup(&raw, &out, 0, nullptr, nullptr));
    EXPECT_EQ(42, out.patchAgentVersion);
    EXPECT_EQ(nullptr, out.items);
    EXPECT_EQ(0U, out.itemCount);
    EXPECT_EQ(nullptr, out.patchAgentFile);
}

}  // namespace
