// Reading a backup record with repair, whatever a crash or a bad disk has left of it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "store/KvBackupRecord.h"
#include "tests/store/RepairOracle.h"
#include "tests/store/RunBackup.h"
#include "tests/store/StoreNames.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TempTree.h"

namespace {

using testing::ElementsAre;

const std::string kCommon = "[common]\nitemcount=";

std::string item(int number, int type, const std::string& lists) {
    return "[item_" + std::to_string(number) + "]\nclass=3\ntype=" + std::to_string(type) +
           "\norigin.version=1\nresult.version=2\n" + lists;
}

const std::string kNoFiles = "added.filecount=0\nwritten.filecount=0\n";

class KvBackupRecordRepair : public testing::Test {
  protected:
    ~KvBackupRecordRepair() override { freeBackupStru(&out_); }

    // Parses `text` with repair into `out_`; the document is released afterwards.
    int repair(const std::string& text) {
        document_.reset();  // which may write the file
        tree_.write(kRecordFile, text);
        return repairFile();
    }

    int repairFile() {
        const std::string path = tree_.path(kRecordFile);
        freeBackupStru(&out_);
        KvIniUtil* raw = openRecord(path.c_str()).release();
        const int result = phaseIniForBackup(&raw, &out_, 1, path.c_str(), fallback_.get());
        document_.reset(raw);
        fileAfterParse_ = tree_.exists(kRecordFile) ? tree_.read(kRecordFile) : "missing";
        return result;
    }

    [[nodiscard]] std::string dump() const {
        KvSimpleString text;
        document_->dump(text);
        return text.c_str();
    }

    TempTree tree_;
    LogCapture log_;
    RunBackup fallback_{1, "agent.so"};
    backupStru out_{};
    RecordDocument document_;
    std::string fileAfterParse_;
};

TEST_F(KvBackupRecordRepair, WholeRecordIsNotTouched) {
    const std::string text =
        "; mine\n" + kCommon + "1\npatchagent.version=0\n" + item(0, 5, kNoFiles);
    EXPECT_EQ(kBackupRecordParsed, repair(text));
    EXPECT_EQ(text, fileAfterParse_);
    EXPECT_EQ(text, dump());
    EXPECT_EQ(1U, out_.itemCount);
}

TEST_F(KvBackupRecordRepair, RecordWithoutCountIsMadeAnew) {
    const std::string fresh = kCommon + "0\npatchagent.version=1\npatchagent=agent.so\n";
    for (const std::string& text :
         {std::string(), std::string("\x01\x02\xFF[=]\n\0x", 9), item(0, 5, kNoFiles),
          "[common]\npatchagent.version=0\n" + item(0, 5, kNoFiles)}) {
        log_.forget();
        EXPECT_EQ(kBackupRecordParsed, repair(text));
        EXPECT_EQ(fresh, fileAfterParse_);
        EXPECT_EQ(fresh, dump());
        EXPECT_EQ(0U, out_.itemCount);
        EXPECT_EQ(nullptr, out_.items);
        EXPECT_EQ(nullptr, out_.patchAgentFile);
        EXPECT_THAT(
            log_.lines(),
            ElementsAre("Err 6 phaseIniForBackup: there is no item count available,ignore it.",
                        "Inf 6 Crashed VcBackup.ini file deleted!",
                        "Inf 6 New VcBackup.ini file created!"));
    }
}

TEST_F(KvBackupRecordRepair, RecordWithoutVersionIsMadeAnew) {
    EXPECT_EQ(kBackupRecordParsed, repair(kCommon + "1\n" + item(0, 5, kNoFiles)));
    EXPECT_EQ(kCommon + "0\npatchagent.version=1\npatchagent=agent.so\n", fileAfterParse_);
    EXPECT_EQ(0U, out_.itemCount);
    EXPECT_THAT(log_.lines(),
                ElementsAre("Err 6 phaseIniForBackup: fetch patch agent version failed.",
                            "Inf 6 Crashed VcBackup.ini file deleted!",
                            "Inf 6 New VcBackup.ini file created!"));
}

TEST_F(KvBackupRecordRepair, NewRecordTakesOnlyWhatTheRunHas) {
    const RunBackup withoutAgent(0);
    tree_.write(kRecordFile, "");
    const std::string path = tree_.path(kRecordFile);
    KvIniUtil* raw = openRecord(path.c_str()).release();
    EXPECT_EQ(kBackupRecordParsed,
              phaseIniForBackup(&raw, &out_, 1, path.c_str(), withoutAgent.get()));
    EXPECT_EQ(kCommon + "0\npatchagent.version=0\n", tree_.read(kRecordFile));
    delete raw;
    tree_.write(kRecordFile, "");
    raw = openRecord(path.c_str()).release();
    EXPECT_EQ(kBackupRecordParsed, phaseIniForBackup(&raw, &out_, 1, path.c_str(), nullptr));
    EXPECT_EQ(kCommon + "0\npatchagent.version=0\n", tree_.read(kRecordFile));
    delete raw;
}

// The new document keeps the file's path: what is added to it is written at its release.
TEST_F(KvBackupRecordRepair, NewRecordIsBoundToItsFile) {
    EXPECT_EQ(kBackupRecordParsed, repair(""));
    document_->add("common", "more", "1");
    document_.reset();
    EXPECT_EQ(kCommon + "0\npatchagent.version=1\npatchagent=agent.so\nmore=1\n",
              tree_.read(kRecordFile));
}

TEST_F(KvBackupRecordRepair, RecordThatCannotBeDeletedFails) {
    KvIniUtil* raw = openRecord(nullptr).release();
    EXPECT_EQ(kBackupRecordFailed, phaseIniForBackup(&raw, &out_, 1, "", fallback_.get()));
    EXPECT_EQ(nullptr, raw);
    EXPECT_THAT(log_.lines(),
                ElementsAre("Err 6 phaseIniForBackup: there is no item count available,ignore it.",
                            "Err 6 Delete crashed VcBackup.ini file failed!",
                            "Inf 6 phaseIniForBackup: error quit."));
}

TEST_F(KvBackupRecordRepair, DamagedSectionIsDroppedAndTheOthersMoveUp) {
    const std::string lists =
        "added.filecount=1\nadded.0=/a\nwritten.filecount=1\nwritten.0=backup.000, /w\n";
    EXPECT_EQ(kBackupRecordParsed,
              repair("; gone\n" + kCommon + "3\npatchagent.version=1\npatchagent=old.so\n" +
                     item(0, 4, lists) +
                     "[item_1]\nclass=3\ntype=5\norigin.version=1\nadded.filecount=0\n" +
                     item(2, 6, kNoFiles)));
    const std::string repaired = kCommon + "2\npatchagent.version=1\npatchagent=old.so\n" +
                                 item(0, 4, lists) + item(1, 6, kNoFiles);
    EXPECT_EQ(repaired, fileAfterParse_);
    EXPECT_EQ(repaired, dump());
    ASSERT_EQ(3U, out_.itemCount) << "the count is the one from before";
    EXPECT_EQ(3U, out_.items[0].itemClass);
    EXPECT_EQ(0U, out_.items[1].itemClass);
    EXPECT_EQ(5U, out_.items[1].type);
    EXPECT_EQ(3U, out_.items[2].itemClass);
    EXPECT_THAT(log_.lines(),
                testing::IsSupersetOf(
                    {"Err 6 phaseIniForBackup: fetch section item_1 result version failed.",
                     "Inf 6 Section item_1 removed from VcBackup.ini."}));
    EXPECT_THAT(log_.texts(-1),
                testing::Not(testing::Contains(testing::StartsWith("Dump item[1] in backup ini"))));
}

// The rewritten document has no path: only an explicit write reaches the file.
TEST_F(KvBackupRecordRepair, RewrittenDocumentIsNotBoundToItsFile) {
    EXPECT_EQ(kBackupRecordParsed, repair(kCommon + "1\npatchagent.version=1\n"));
    document_->add("common", "more", "1");
    document_.reset();
    EXPECT_EQ(kCommon + "0\npatchagent.version=1\n", tree_.read(kRecordFile));
}

TEST_F(KvBackupRecordRepair, EachMissingKeyDropsItsSection) {
    const std::string whole =
        "class=3\ntype=5\norigin.version=1\nresult.version=2\n"
        "added.filecount=1\nadded.0=/a\n"
        "written.filecount=1\nwritten.0=backup.000, /w\n";
    const struct {
        const char* key;
        const char* name;
    } cases[] = {{"class=3\n", "class"},
                 {"type=5\n", "type"},
                 {"origin.version=1\n", "origin version"},
                 {"result.version=2\n", "result version"},
                 {"added.0=/a\n", "added file name"},
                 {"written.0=backup.000, /w\n", "written file name"}};
    for (const auto& c : cases) {
        log_.forget();
        std::string keys = whole;
        keys.erase(keys.find(c.key), std::string(c.key).size());
        EXPECT_EQ(kBackupRecordParsed, repair(kCommon + "2\npatchagent.version=1\n[item_0]\n" +
                                              keys + item(1, 6, kNoFiles)));
        EXPECT_EQ(kCommon + "1\npatchagent.version=1\n" + item(0, 6, kNoFiles), fileAfterParse_);
        EXPECT_EQ(0U, out_.items[0].itemClass);
        EXPECT_THAT(
            log_.lines(),
            testing::IsSupersetOf({"Err 6 phaseIniForBackup: fetch section item_0 " +
                                       std::string(c.name) + " failed.",
                                   std::string("Inf 6 Section item_0 removed from VcBackup.ini.")}))
            << c.key;
    }
}

TEST_F(KvBackupRecordRepair, EachFurtherMissingFileIsReportedAgain) {
    EXPECT_EQ(kBackupRecordParsed, repair(kCommon + "1\npatchagent.version=1\n" +
                                          item(0, 5,
                                               "added.filecount=3\nadded.0=/a\nadded.2=/c\n"
                                               "written.filecount=1\nwritten.0=backup.000, /w\n")));
    const std::string noAdded =
        "Err 6 phaseIniForBackup: fetch section item_0 added file name failed.";
    const std::string noWritten =
        "Err 6 phaseIniForBackup: fetch section item_0 written file name failed.";
    const std::string removed = "Inf 6 Section item_0 removed from VcBackup.ini.";
    EXPECT_THAT(log_.lines(),
                ElementsAre(testing::StartsWith("Inf 6 Dump backup ini common"), noAdded, removed,
                            noAdded, removed, noWritten, removed,
                            "Inf 6 Dump item[0] in backup ini:\nClass[0] Type[0x5]\n"
                            "Original Ver[0.0001] Result Ver[0.0002]\nDestination: Null\n"
                            "Count of Added Files[3]\n\tFile 0: /a\n\tFile 1: Null\n"
                            "\tFile 2: Null\nCount of OverWritten Files[1]\n"
                            "\tFile 0: Null\n"))
        << "an item that lost a file is dumped all the same";
    EXPECT_EQ(kCommon + "0\npatchagent.version=1\n", fileAfterParse_);
}

// The second section of the name shows once the first is gone, but the item stays dropped.
TEST_F(KvBackupRecordRepair, DoubleOfADamagedSectionIsDroppedToo) {
    EXPECT_EQ(kBackupRecordParsed, repair(kCommon + "1\npatchagent.version=1\n[item_0]\ntype=5\n" +
                                          item(0, 5, kNoFiles)));
    EXPECT_EQ(kCommon + "0\npatchagent.version=1\n", fileAfterParse_);
}

TEST_F(KvBackupRecordRepair, CountAboveTheSectionsIsCorrected) {
    const std::string sections = item(0, 5, kNoFiles) + item(1, 6, kNoFiles);
    EXPECT_EQ(kBackupRecordParsed, repair(kCommon + "5\npatchagent.version=1\n" + sections));
    EXPECT_EQ(kCommon + "2\npatchagent.version=1\n" + sections, fileAfterParse_);
    EXPECT_EQ(5U, out_.itemCount);
    for (int i = 2; i < 5; ++i) {
        EXPECT_EQ(0U, out_.items[i].itemClass);
    }
}

// The search for sections ends after 65536 that are missing in a row, and the count with it.
TEST_F(KvBackupRecordRepair, CountThatNoRecordHoldsIsCorrectedToo) {
    const std::string sections = item(0, 5, kNoFiles) + item(1, 6, kNoFiles);
    EXPECT_EQ(kBackupRecordParsed, repair(kCommon + "-1\npatchagent.version=1\n" + sections));
    EXPECT_EQ(kCommon + "2\npatchagent.version=1\n" + sections, fileAfterParse_);
    ASSERT_EQ(65538U, out_.itemCount);
    EXPECT_EQ(6U, out_.items[1].type);
    EXPECT_EQ(0U, out_.items[65537].itemClass);
}

TEST_F(KvBackupRecordRepair, FileCountThatCannotBeAllocatedFails) {
    const std::string text =
        kCommon + "1\npatchagent.version=1\n" + item(0, 5, "written.filecount=-1\n");
    EXPECT_EQ(kBackupRecordFailed, repair(text));
    EXPECT_EQ(text, fileAfterParse_);
    EXPECT_EQ(nullptr, out_.items);
    EXPECT_EQ(0U, out_.itemCount);
    ASSERT_NE(nullptr, document_);
    EXPECT_THAT(log_.lines(), testing::IsSupersetOf({"Err 6 phaseIniForBackup: malloc failed.",
                                                     "Inf 6 phaseIniForBackup: error quit."}));
}

TEST_F(KvBackupRecordRepair, LargeFileCountWithoutFilesEndsSoon) {
    EXPECT_EQ(kBackupRecordParsed, repair(kCommon + "1\npatchagent.version=1\n" +
                                          item(0, 5, "added.filecount=99999999\n")));
    EXPECT_EQ(kCommon + "0\npatchagent.version=1\n", fileAfterParse_);
}

std::string recordOfThree() {
    return kCommon + "3\npatchagent.version=1\npatchagent=agent.so\n" +
           item(0, 5,
                "added.filecount=2\nadded.0=/a\nadded.1=/b\n"
                "written.filecount=1\nwritten.0=backup.000, /w\n") +
           item(1, 6, kNoFiles) +
           item(2, 7, "added.filecount=0\nwritten.filecount=2\nwritten.0=b, /x\nwritten.1=c, /y\n");
}

void expectKept(const RepairedRecord& expected, const backupStru& out) {
    ASSERT_EQ(expected.isItemKept.size(), out.itemCount);
    for (size_t i = 0; i < expected.isItemKept.size(); ++i) {
        EXPECT_EQ(expected.isItemKept[i], out.items[i].itemClass != 0);
    }
}

TEST_F(KvBackupRecordRepair, RecordCutOffAnywhereIsRepairedByTheRules) {
    const std::string whole = recordOfThree();
    for (size_t length = 0; length <= whole.size(); ++length) {
        const std::string cut = whole.substr(0, length);
        const RepairedRecord expected = repairedRecord(cut, 1, "agent.so");
        ASSERT_EQ(kBackupRecordParsed, repair(cut));
        ASSERT_EQ(expected.text, fileAfterParse_) << "cut off after " << length;
        expectKept(expected, out_);
        log_.forget();
    }
}

TEST_F(KvBackupRecordRepair, RecordWithoutAnyOneLineIsRepairedByTheRules) {
    const std::string whole = recordOfThree();
    for (size_t start = 0; start < whole.size(); start = whole.find('\n', start) + 1) {
        std::string torn = whole;
        torn.erase(start, whole.find('\n', start) + 1 - start);
        const RepairedRecord expected = repairedRecord(torn, 1, "agent.so");
        ASSERT_EQ(kBackupRecordParsed, repair(torn));
        ASSERT_EQ(expected.text, fileAfterParse_) << torn;
        expectKept(expected, out_);
        log_.forget();
    }
}

// Whatever comes out can be read again as it is, and has as many sections as it says.
TEST_F(KvBackupRecordRepair, RandomDamageLeavesAReadableRecordOrAFailure) {
    std::mt19937 random(20261121);
    const std::string whole = recordOfThree();
    for (int round = 0; round < 150; ++round) {
        std::string damaged = whole;
        for (int hits = 1 + static_cast<int>(random() % 4); hits > 0; --hits) {
            const size_t where = random() % damaged.size();
            damaged[where] = "\n=[];,0-9ax\x80\xFF"[random() % 13];
        }
        const int result = repair(damaged);
        log_.forget();
        if (result == kBackupRecordFailed) {
            EXPECT_EQ(nullptr, out_.items);
            continue;
        }
        document_.reset();
        OwnedBackupStru again;
        RecordDocument document = openRecord(tree_.path(kRecordFile).c_str());
        ASSERT_TRUE(parseRecord(document, again)) << damaged;
        log_.forget();
    }
}

}  // namespace
