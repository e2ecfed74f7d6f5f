#include "base/KvDate.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <string>

namespace {

struct Month {
    const char* name;
    int days;
};

constexpr Month kMonths[] = {{"Jan", 31}, {"Feb", 29}, {"Mar", 31}, {"Apr", 30},
                             {"May", 31}, {"Jun", 30}, {"Jul", 31}, {"Aug", 31},
                             {"Sep", 30}, {"Oct", 31}, {"Nov", 30}, {"Dec", 31}};

TEST(KvDate, MonthsHaveNames) {
    for (int month = 1; month <= 12; ++month) {
        EXPECT_STREQ(GetMonthString(month), kMonths[month - 1].name);
    }
    for (const int month : {0, 13, -1, INT_MIN, INT_MAX}) {
        EXPECT_STREQ(GetMonthString(month), "???");
    }
}

TEST(KvDate, TheFirstFieldThatDiffersDecidesWhichIsLater) {
    tm early{};
    tm late{};
    EXPECT_FALSE(early > late);
    // From the least to the most important field, each against all that come after it.
    int tm::*const fields[] = {&tm::tm_sec,  &tm::tm_min, &tm::tm_hour,
                               &tm::tm_mday, &tm::tm_mon, &tm::tm_year};
    for (const auto field : fields) {
        late.*field = 1;
        EXPECT_TRUE(late > early);
        EXPECT_FALSE(early > late);
        early = late;
        early.*field = 0;
        for (const auto smaller : fields) {
            if (smaller == field) {
                break;
            }
            early.*smaller = 50;
        }
        EXPECT_TRUE(late > early);
        EXPECT_FALSE(early > late);
        early = tm{};
    }
}

TEST(KvDate, OtherFieldsAreNotCompared) {
    tm a{};
    tm b{};
    a.tm_wday = a.tm_yday = a.tm_isdst = 3;
    EXPECT_FALSE(a > b);
    EXPECT_FALSE(b > a);
}

TEST(KvDate, ReadsEveryField) {
    tm date{};
    date.tm_wday = 11;
    date.tm_yday = 22;
    date.tm_isdst = 33;
    ASSERT_TRUE(ConvertDateStrToStruct(&date, "Mar  7 04:05:06 2019 GMT"));
    EXPECT_EQ(date.tm_year, 2019);
    EXPECT_EQ(date.tm_mon, 3);
    EXPECT_EQ(date.tm_mday, 7);
    EXPECT_EQ(date.tm_hour, 4);
    EXPECT_EQ(date.tm_min, 5);
    EXPECT_EQ(date.tm_sec, 6);
    EXPECT_EQ(date.tm_wday, 11);
    EXPECT_EQ(date.tm_yday, 22);
    EXPECT_EQ(date.tm_isdst, 33);
}

TEST(KvDate, EveryMonthHasItsLastDay) {
    for (const Month& month : kMonths) {
        for (int day = 0; day <= 32; ++day) {
            char text[32];
            snprintf(text, sizeof(text), "%s %2d 10:00:00 2001 XYZ", month.name, day);
            tm date{};
            EXPECT_EQ(ConvertDateStrToStruct(&date, text), day >= 1 && day <= month.days) << text;
        }
    }
}

struct DateRow {
    const char* text;
    bool good;
};

TEST(KvDate, AcceptsAndRefuses) {
    const DateRow rows[] = {
        {"Jan  1 00:00:00 1900 GMT", true},
        {"Dec 31 23:59:59 2099 GMT", true},
        {"Feb 29 10:00:00 2001 XYZ", true},
        {"Jan 29 10:00:00 2001    ", true},   // four pieces are enough
        {"Jan 1 1:2:3 2001 a b c d", true},   // what follows the year is not read
        {"Jan\t 1 00:00:00 1900 GMT", true},  // pieces are trimmed
        {" Jan 1 10:00:00 2001 XYZ", true},
        {"Jan 29 xx:00:00 2001 XYZ", true},  // an hour without a digit is 0
        {"Jan 29 :00:00:7 2001 XYZ", true},
        {"Jan 29 10:0x:5x 2001 XYZ", true},
        {"Jan 9x 10:00:00 2001 XYZ", true},
        {"jan 29 10:00:00 2001 XYZ", false},
        {"JAN 29 10:00:00 2001 XYZ", false},
        {"Foo 29 10:00:00 2001 XYZ", false},
        {"??? 29 10:00:00 2001 XYZ", false},
        {"January 1 1:00:00 2001 X", false},
        {"Jan -1 10:00:00 2001 XYZ", false},
        {"Jan xx 10:00:00 2001 XYZ", false},
        {"Jan 29 10:00:00 1899 XYZ", false},
        {"Jan 29 10:00:00 2100 XYZ", false},
        {"Jan 29 10:00:00 year XYZ", false},
        {"Jan 29 10:00:00 -001 XYZ", false},
        {"Jan 29 24:00:00 2001 XYZ", false},
        {"Jan 29 -1:00:00 2001 XYZ", false},
        {"Jan 29 10:60:00 2001 XYZ", false},
        {"Jan 29 10:-1:00 2001 XYZ", false},
        {"Jan 29 10:+1:00 2001 XYZ", false},
        {"Jan 29 10:x1:00 2001 XYZ", false},
        {"Jan 29 10:00:60 2001 XYZ", false},
        {"Jan 29 10:00:-1 2001 XYZ", false},
        {"Jan 29 10:00:x1 2001 XYZ", false},
        {"Jan 29 10:00:   2001 XYZ", false},
        {"Jan 29 10::0:00 2001 XYZ", false},
        {"Jan 29 10-00-00 2001 XYZ", false},
        {"Jan 29 10:00-00 2001 XYZ", false},
        {"Jan 29 10:00:00x2001xXYZ", false},
        {"Jan 29           10:0:00", false},
        {"                        ", false},
        {"Jan2910:00:002001XYZXYZX", false},
    };
    for (const DateRow& row : rows) {
        ASSERT_EQ(strlen(row.text), 24u) << row.text;
        tm date{};
        EXPECT_EQ(ConvertDateStrToStruct(&date, row.text), row.good) << row.text;
    }
}

TEST(KvDate, AnyOtherLengthIsRefused) {
    tm date{};
    EXPECT_FALSE(ConvertDateStrToStruct(&date, "Feb 29 10:00:00 2001"));
    EXPECT_FALSE(ConvertDateStrToStruct(&date, "Feb 29 10:00:00 2001 XY"));
    EXPECT_FALSE(ConvertDateStrToStruct(&date, "Feb 29 10:00:00 2001 WXYZ"));
    EXPECT_FALSE(ConvertDateStrToStruct(&date, ""));
    EXPECT_FALSE(ConvertDateStrToStruct(&date, std::string(100000, ' ').c_str()));
    EXPECT_FALSE(ConvertDateStrToStruct(&date, nullptr));
    EXPECT_FALSE(ConvertDateStrToStruct(nullptr, "Feb 29 10:00:00 2001 XYZ"));
    EXPECT_FALSE(ConvertDateStrToStruct(nullptr, nullptr));
}

TEST(KvDate, FieldsAreWrittenInTheOrderMonthDayYearTime) {
    tm date{};
    EXPECT_FALSE(ConvertDateStrToStruct(&date, "Mar  7 10:00:00 1899 XYZ"));
    EXPECT_EQ(date.tm_mon, 3);
    EXPECT_EQ(date.tm_mday, 7);
    EXPECT_EQ(date.tm_hour, 0) << "the time is read after the year";
    EXPECT_FALSE(ConvertDateStrToStruct(&date, "Mar  7 10:61:00 2001 XYZ"));
    EXPECT_EQ(date.tm_year, 2001);
    EXPECT_EQ(date.tm_hour, 10);
}

TEST(KvDate, DatesMadeInTheSameWayCompare) {
    tm early{};
    tm late{};
    ASSERT_TRUE(ConvertDateStrToStruct(&early, "Dec 31 23:59:59 2000 GMT"));
    ASSERT_TRUE(ConvertDateStrToStruct(&late, "Jan  1 00:00:00 2001 GMT"));
    EXPECT_TRUE(late > early);
    EXPECT_FALSE(early > late);
}

}  // namespace
