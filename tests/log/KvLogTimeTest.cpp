#include "log/KvLogTime.h"

#include <gtest/gtest.h>

#include <string>

#include "log/KvVcLog.h"

namespace {

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

TEST(KvLogTimeTest, writesEveryFieldWithItsDigits) {
    const tm early = localTime(2024, 1, 1, 0, 0, 5);
    EXPECT_EQ(stampOf(&early), "20240101 00:00:05\n");
    const tm late = localTime(1999, 12, 31, 23, 59, 60);
    EXPECT_EQ(stampOf(&late), "19991231 23:59:60\n");
}

TEST(KvLogTimeTest, cutsAYearThatIsTooLong) {
    const tm far = localTime(12345, 6, 7, 8, 9, 10);
    EXPECT_EQ(stampOf(&far), "123450607 08:09:1\n");
}

TEST(KvLogTimeTest, hasAStampForATimeThatCannotBeTold) {
    EXPECT_EQ(stampOf(nullptr), "20380118 00:00:00\n");
}

TEST(KvLogTimeTest, tellsTheLocalTimeOfNow) {
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

TEST(KvLogTimeTest, keepsOneBufferForAllCalls) {
    const char* first = GetTime();
    EXPECT_EQ(GetTime(), first);
}
