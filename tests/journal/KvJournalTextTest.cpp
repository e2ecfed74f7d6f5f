// What stands in a journal: each kind of line as a person reads it, and back.
#include "journal/KvJournalText.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fileop/KvPath.h"

namespace {

constexpr char kBegin[] = "begin\t0\tVcJournal 1\t7\t/d/VC_Backup\t\n";

FileState state(uint64_t size, int64_t seconds, uint32_t mode) {
    FileState made;
    made.isThere = true;
    made.size = size;
    made.seconds = seconds;
    made.mode = mode;
    return made;
}

JournalRecord change(JournalKind kind, const std::string& path, const std::string& saved) {
    JournalRecord record;
    record.kind = kind;
    record.number = 3;
    record.path = path;
    record.saved = saved;
    return record;
}

JournalRecord about(JournalKind kind) {
    JournalRecord record;
    record.kind = kind;
    record.number = 9;
    record.change = 3;
    return record;
}

JournalVerdict verdictOf(const std::string& bytes) {
    JournalText text;
    return parseJournal(bytes, text);
}

// Reads the line behind a proper beginning.
JournalRecord reread(const std::string& line) {
    JournalText text;
    EXPECT_EQ(parseJournal(kBegin + line, text), JournalVerdict::kGood) << line;
    return text.records.size() == 2 ? text.records[1] : JournalRecord();
}

TEST(KvJournalText, EachKindIsALineThatAPersonCanRead) {
    JournalRecord begin = change(JournalKind::kBegin, "/d/VC_Backup", "");
    begin.content = "1700000000.5";
    EXPECT_EQ(journalLine(begin), "begin\t3\tVcJournal 1\t1700000000.5\t/d/VC_Backup\t\n");

    JournalRecord over = change(JournalKind::kOver, "/d/a b", "/d/VC_Backup/3/2/backup.000");
    over.before = state(12, 1700000000, 0644);
    over.after = state(5, -1, 0755);
    EXPECT_EQ(journalLine(over),
              "over\t3\t/d/a b\t/d/VC_Backup/3/2/backup.000\t12 1700000000 644\t5 -1 755\n");

    JournalRecord added = change(JournalKind::kNew, "/d/n", "");
    added.after = state(1, 2, 0);
    EXPECT_EQ(journalLine(added), "new\t3\t/d/n\t\tmissing\t1 2 0\n");

    JournalRecord merge = change(JournalKind::kMerge, "/d/VC_Backup/VcBackup.ini", "");
    merge.before = state(4, 5, 0600);
    merge.content = "[a]\r\n";
    EXPECT_EQ(journalLine(merge), "merge\t3\t/d/VC_Backup/VcBackup.ini\t4 5 600\t[a]\\r\\n\n");

    EXPECT_EQ(journalLine(change(JournalKind::kDrop, "", "/d/VC_Backup/x")),
              "drop\t3\t/d/VC_Backup/x\n");
    EXPECT_EQ(journalLine(change(JournalKind::kJoin, "/e", "")), "join\t3\t/e\n");
    EXPECT_EQ(journalLine(change(JournalKind::kOwn, "/e", "")), "own\t3\t/e\n");
    EXPECT_EQ(journalLine(change(JournalKind::kDir, "/e", "")), "dir\t3\t/e\n");
    EXPECT_EQ(journalLine(about(JournalKind::kVoid)), "void\t9\t3\n");
    EXPECT_EQ(journalLine(about(JournalKind::kBack)), "back\t9\t3\n");
    EXPECT_EQ(journalLine(about(JournalKind::kKeep)), "keep\t9\t3\n");
    EXPECT_EQ(journalLine(about(JournalKind::kGave)), "gave\t9\t3\tmissing\n");
    EXPECT_EQ(journalLine(about(JournalKind::kDone)), "done\t9\n");
    EXPECT_EQ(journalLine(about(JournalKind::kUndone)), "undone\t9\n");
    EXPECT_EQ(journalLine(about(JournalKind::kEnded)), "ended\t9\n");
}

TEST(KvJournalText, EachKindIsReadBack) {
    for (int kind = 0; kind <= static_cast<int>(JournalKind::kEnded); ++kind) {
        JournalRecord record = change(static_cast<JournalKind>(kind), "/d/VC_Backup/VcJournal.1",
                                      "/d/VC_Backup/backup.000");
        record.content = "7";
        record.change = 2;
        record.before = state(18446744073709551615U, -9223372036854775807, 0777);
        const std::string line = journalLine(record);
        if (record.kind == JournalKind::kBegin) {
            EXPECT_EQ(verdictOf(line), JournalVerdict::kGood);
            continue;
        }
        EXPECT_EQ(journalLine(reread(line)), line);
    }
}

TEST(KvJournalText, EveryByteOfANameSurvives) {
    std::string name = "/d/";
    for (int byte = 1; byte < 256; ++byte) {
        name += static_cast<char>(byte);
    }
    for (const std::string& path :
         {name, std::string("/ "), std::string("/a\n"), std::string("/a, b"), std::string("/a\t"),
          std::string("/a  "), std::string("/\xC3\xA4\xFF"), std::string("/\\x41"),
          std::string("/a\x18")}) {
        const std::string line = journalLine(change(JournalKind::kDir, path, ""));
        EXPECT_EQ(line.find('\n'), line.size() - 1);
        EXPECT_EQ(reread(line).path, path);
    }
}

TEST(KvJournalText, AFormerContentMayHoldAnything) {
    JournalRecord merge = change(JournalKind::kMerge, "/r", "");
    merge.content = std::string("\0a\n \\", 5);
    EXPECT_EQ(reread(journalLine(merge)).content, merge.content);
    merge.content = "";
    EXPECT_EQ(reread(journalLine(merge)).content, "");
}

TEST(KvJournalText, ATornLastLineWasNotWritten) {
    const std::string whole = std::string(kBegin) + "dir\t1\t/d/x\n";
    const std::string torn = "dir\t2\t/d/y";
    for (size_t length = 1; length <= torn.size(); ++length) {
        JournalText text;
        EXPECT_EQ(parseJournal(whole + torn.substr(0, length), text), JournalVerdict::kGood);
        EXPECT_EQ(text.records.size(), 2U);
        EXPECT_EQ(text.wholeSize, whole.size());
    }
}

TEST(KvJournalText, ACancelledLineWasNotWritten) {
    JournalText text;
    const std::string bytes =
        std::string(kBegin) + "dir\t1\t/d/x" + kCancelledEnd + kCancelledEnd + "dir\t1\t/d/y\n";
    EXPECT_EQ(parseJournal(bytes, text), JournalVerdict::kGood);
    ASSERT_EQ(text.records.size(), 2U);
    EXPECT_EQ(text.records[1].path, "/d/y");
}

TEST(KvJournalText, WithoutItsFirstLineItIsEmpty) {
    const std::string begin = kBegin;
    for (size_t length = 0; length < begin.size(); ++length) {
        EXPECT_EQ(verdictOf(begin.substr(0, length)), JournalVerdict::kEmpty) << length;
    }
}

TEST(KvJournalText, WhatIsNoJournalIsToldByItsLine) {
    const std::string tooLong(kLongPathCapacity - 1, 'x');
    const std::string bad[] = {
        "dir\t1\tnot/absolute\n",
        "dir\t1\t\n",
        "dir\t1\n",
        "dir\t1\t/x\t/y\n",
        "dir\t\t/x\n",
        "dir\t-1\t/x\n",
        "dir\t+1\t/x\n",
        "dir\t1 \t/x\n",
        "dir\t99999999999999999999\t/x\n",
        "dir\t0\t/x\n",  // not behind the line before
        "dir\t1\t/x\\\n",
        "dir\t1\t/x\\q\n",
        "dir\t1\t/x\\x4\n",
        "dir\t1\t/x\\x00\n",
        "dir\t1\t/x\r\n",
        "dir\t1\t/" + tooLong + "\n",
        "drive\t1\t/x\n",
        "\n",
        "drop\t1\t/d/backup.000\n",
        "drop\t1\t/d/VC_Backup/../x\n",
        "over\t1\t/x\t/etc/passwd\tmissing\tmissing\n",
        "over\t1\t/x\t\tmissing\t1 2\n",
        "over\t1\t/x\t\tmissing\t1 2 8\n",
        "over\t1\t/x\t\tmissing\t1 2 1777\n",
        "over\t1\t/x\t\tmissing\t1 2 644 \n",
        "over\t1\t/x\t\tmissing\t\n",
        "back\t1\t1\n",
        "done\t1\t\n",
        "begin\t1\tVcJournal 1\t7\t/d/VC_Backup\t\n",
        std::string("dir\t1\t/x\0\n", 10),
    };
    for (const std::string& line : bad) {
        JournalText text;
        EXPECT_EQ(parseJournal(kBegin + line, text), JournalVerdict::kMalformed) << line;
        EXPECT_EQ(text.badLine, 2U);
    }
    for (const std::string first :
         {"x", "\n", "begin\t0\tVcJournal 2\t7\t/d/VC_Backup\t\n", "done\t0\n", "beginning"}) {
        EXPECT_EQ(verdictOf(first), JournalVerdict::kMalformed) << first;
    }
}

TEST(KvJournalText, StatesAreTheSameBySizeAndTime) {
    EXPECT_TRUE(isSameState({}, {}));
    EXPECT_FALSE(isSameState(state(1, 10, 0), {}));
    EXPECT_FALSE(isSameState({}, state(1, 10, 0)));
    EXPECT_TRUE(isSameState(state(1, 10, 0644), state(1, 10, 0755)));
    EXPECT_FALSE(isSameState(state(2, 10, 0), state(1, 10, 0)));
    EXPECT_FALSE(isSameState(state(1, 12, 0), state(1, 10, 0)));
    // Rounded down to even seconds.
    EXPECT_TRUE(isSameState(state(1, 10, 0), state(1, 11, 0)));
    EXPECT_FALSE(isSameState(state(1, 11, 0), state(1, 12, 0)));
    EXPECT_FALSE(isSameState(state(1, 11, 0), state(1, 10, 0)));
}

TEST(KvJournalText, ASavedCopyLiesInAStore) {
    EXPECT_TRUE(isSavedCopyPath("/d/VC_Backup/3/2/backup.000"));
    EXPECT_TRUE(isSavedCopyPath("/VC_Backup/../e/VC_Backup/3/2/backup.000"));
    EXPECT_FALSE(isSavedCopyPath("/d/VC_Backup/../backup.000"));
    EXPECT_FALSE(isSavedCopyPath("/d/VC_Backup"));
    EXPECT_FALSE(isSavedCopyPath("/d/VC_Backups/backup.000"));
    EXPECT_FALSE(isSavedCopyPath(""));
}

}  // namespace
