// Writing a record's keys, and finding the section of an item.
#include "store/KvBackupSection.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "store/KvBackupRecord.h"
#include "tests/store/RunBackup.h"

namespace {

using testing::ElementsAre;

std::string dumpOf(const KvIniUtil& record) {
    KvSimpleString text;
    record.dump(text);
    return text.c_str();
}

TEST(KvBackupSection, CommonSectionIsWritten) {
    const RecordDocument record = openRecord(nullptr);
    writeRecordCommon(*record, 2, 1, "agent.so");
    EXPECT_EQ("[common]\nitemcount=2\npatchagent.version=1\npatchagent=agent.so\n",
              dumpOf(*record));
    EXPECT_EQ(2U, recordItemCount(*record));
    setRecordItemCount(*record, 7);
    EXPECT_EQ(7U, recordItemCount(*record));
    const RecordDocument other = openRecord(nullptr);
    EXPECT_EQ(0U, recordItemCount(*other));
    writeRecordCommon(*other, 0, -1, nullptr);
    EXPECT_EQ("[common]\nitemcount=0\npatchagent.version=4294967295\n", dumpOf(*other))
        << "all numbers are written without a sign";
}

std::vector<std::string>& seenKeys() {
    static std::vector<std::string> keys;
    return keys;
}

TEST(KvBackupSection, ItemIsWrittenInTheOrderOfTheKeys) {
    RunBackup run(1);
    run.item(1, 4294967295U, "5.2", "5.2.1234", "/opt")
        .added("/opt/a")
        .added("/opt/b")
        .written("backup.000, /opt/w");
    const RecordDocument record = openRecord(nullptr);
    seenKeys().clear();
    writeItemSection(*record, 12, run.last(), [](const char* key, const char* value) {
        seenKeys().push_back(std::string(key) + "=" + value);
    });
    const std::vector<std::string> keys = {"class=1",
                                           "type=4294967295",
                                           "origin.version=5.2",
                                           "result.version=5.2.1234",
                                           "added.filecount=2",
                                           "added.0=/opt/a",
                                           "added.1=/opt/b",
                                           "written.filecount=1",
                                           "written.0=backup.000, /opt/w"};
    EXPECT_EQ(keys, seenKeys());
    std::string text = "[item_12]\n";
    for (const std::string& key : keys) {
        text += key + "\n";
    }
    EXPECT_EQ(text, dumpOf(*record));
}

TEST(KvBackupSection, NullEntriesAreLeftOutAndTheOthersKeepTheirNumbers) {
    RunBackup run(1);
    run.item(3, 5, "1", "2", "/opt").added("/a").added("/b").written("x, /w").written("y, /v");
    free(std::exchange(run.last().addedList[0], nullptr));
    free(std::exchange(run.last().writtenList[0], nullptr));
    const RecordDocument record = openRecord(nullptr);
    writeItemSection(*record, 0, run.last(), nullptr);
    EXPECT_EQ(
        "[item_0]\nclass=3\ntype=5\norigin.version=1\nresult.version=2\n"
        "added.filecount=2\nadded.1=/b\nwritten.filecount=2\nwritten.1=y, /v\n",
        dumpOf(*record));
}

TEST(KvBackupSection, SectionsAreThoseOfTheIndicesWhenNothingWasDropped) {
    RunBackup parsed(1);
    parsed.item(0, 5, "1", "2", "").item(3, 6, "1", "2", "");
    const RecordDocument record = openRecord(nullptr);
    writeRecordCommon(*record, 2, 1, nullptr);
    EXPECT_EQ(0U, sectionOfBackupItem(*record, *parsed.get(), 0));
    EXPECT_EQ(1U, sectionOfBackupItem(*record, *parsed.get(), 1));
}

TEST(KvBackupSection, SectionsMoveDownBehindDroppedItems) {
    RunBackup parsed(1);
    parsed.item(3, 5, "1", "2", "").item(0, 6, "1", "2", "").item(0, 7, "1", "2", "");
    parsed.item(3, 8, "1", "2", "");
    const RecordDocument record = openRecord(nullptr);
    writeRecordCommon(*record, 2, 1, nullptr);
    EXPECT_EQ(0U, sectionOfBackupItem(*record, *parsed.get(), 0));
    EXPECT_EQ(kNoSection, sectionOfBackupItem(*record, *parsed.get(), 1));
    EXPECT_EQ(kNoSection, sectionOfBackupItem(*record, *parsed.get(), 2));
    EXPECT_EQ(1U, sectionOfBackupItem(*record, *parsed.get(), 3));
}

TEST(KvBackupSection, SectionsAndKeysAreNumbered) {
    BackupKey key;
    EXPECT_TRUE(makeItemSection(key, 4294967295U));
    EXPECT_STREQ("item_4294967295", key);
    EXPECT_TRUE(makeListKey(key, kAddedWord, 0));
    EXPECT_STREQ("added.0", key);
    EXPECT_TRUE(makeListKey(key, kWrittenWord, 46655));
    EXPECT_STREQ("written.46655", key);
}

}  // namespace
