#include "log/KvLogRecord.h"

#include <gtest/gtest.h>

#include <string>

namespace {

constexpr char kStamp[] = "20240101 12:00:05\n";

constexpr KvLogFields kInfo{false, kStamp, 412, 7938, ""};
constexpr KvLogFields kError{true, kStamp, 412, 7938, ""};

std::string text(const KvLogFields& fields, const std::string& message) {
    return makeTextRecord(fields, message.c_str()).c_str();
}

tm localTime(int year, int month, int day, int hour, int minute, int second) {
    tm time{};
    time.tm_year = year - 1900;
    time.tm_mon = month - 1;
    time.tm_mday = day;
    time.tm_hour = hour;
    time.tm_min = minute;
    time.tm_sec = second;
    return time;
}

std::string stampOf(const tm* time) {
    char stamp[kStampCapacity];
    formatStamp(stamp, time);
    return stamp;
}

}  // namespace

TEST(KvLogRecord, PutsTheFieldsBeforeTheMessage) {
    EXPECT_EQ(text(kInfo, "Start patch"), "\nInf 20240101 12:00:05 412 7938 Start patch");
    EXPECT_EQ(text(kError, "No."), "\nErr 20240101 12:00:05 412 7938 No.");
}

TEST(KvLogRecord, WritesAnEmptyMessageAsARecord) {
    EXPECT_EQ(text(kInfo, ""), "\nInf 20240101 12:00:05 412 7938 ");
}

TEST(KvLogRecord, LinesContinuationsUpUnderTheMessage) {
    const std::string indent(31, ' ');
    EXPECT_EQ(text(kInfo, "one\ntwo\n"),
              "\nInf 20240101 12:00:05 412 7938 one\n" + indent + "two\n" + indent);
    EXPECT_EQ(text(kInfo, std::string(76, 'x')),
              "\nInf 20240101 12:00:05 412 7938 " + std::string(75, 'x') + "\n" + indent + "x");
}

TEST(KvLogRecord, IndentsByThePrefixOfThisRecord) {
    const KvLogFields widest{true, kStamp, 4294967295U, 4294967295U, ""};
    EXPECT_EQ(text(widest, "one\ntwo"),
              "\nErr 20240101 12:00:05 4294967295 4294967295 one\n" + std::string(44, ' ') + "two");
}

TEST(KvLogRecord, KnowsSeparatorLines) {
    EXPECT_TRUE(isSeparatorLine("-"));
    EXPECT_TRUE(isSeparatorLine("-----"));
    EXPECT_FALSE(isSeparatorLine(""));
    EXPECT_FALSE(isSeparatorLine("--- "));
    EXPECT_FALSE(isSeparatorLine(" ---"));
    EXPECT_FALSE(isSeparatorLine("--x--"));
}

TEST(KvLogRecord, LetsASeparatorLineStandAlone) {
    EXPECT_EQ(text(kInfo, "-----"), "\n-----");
    EXPECT_EQ(text(kError, std::string(100, '-')), "\n" + std::string(100, '-'));
}

TEST(KvLogRecord, WritesEveryFieldWithItsDigits) {
    const tm early = localTime(2024, 1, 1, 0, 0, 5);
    EXPECT_EQ(stampOf(&early), "20240101 00:00:05\n");
    const tm late = localTime(1999, 12, 31, 23, 59, 60);
    EXPECT_EQ(stampOf(&late), "19991231 23:59:60\n");
}

TEST(KvLogRecord, CutsAYearThatIsTooLong) {
    const tm far = localTime(12345, 6, 7, 8, 9, 10);
    EXPECT_EQ(stampOf(&far), "123450607 08:09:1\n");
}

TEST(KvLogRecord, HasAStampForATimeThatCannotBeTold) {
    EXPECT_EQ(stampOf(nullptr), "20380118 00:00:00\n");
}

TEST(KvLogRecord, TellsTheLocalTimeOfNow) {
    const time_t before = time(nullptr);
    const std::string stamp = GetTime();
    const time_t after = time(nullptr);
    bool isNow = false;
    for (time_t now = before; now <= after; ++now) {
        char expected[32];
        ASSERT_NE(strftime(expected, sizeof expected, "%Y%m%d %H:%M:%S\n", localtime(&now)), 0U);
        isNow = isNow || stamp == expected;
    }
    EXPECT_TRUE(isNow) << stamp;
}

TEST(KvLogRecord, KeepsOneBufferForAllCalls) {
    const char* first = GetTime();
    EXPECT_EQ(GetTime(), first);
}

TEST(KvLogRecord, KnowsWhatSeparatesWords) {
    const std::string wordCharacters =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_";
    for (int ch = 0; ch < 256; ++ch) {
        const bool inWord = wordCharacters.find(static_cast<char>(ch)) != std::string::npos;
        EXPECT_EQ(IsWordSeparator(static_cast<char>(ch)), !inWord) << "character " << ch;
    }
}
