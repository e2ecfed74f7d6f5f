#include "log/KvReport.h"

#include <gtest/gtest.h>

#include <string>

#include "log/KvLogSettings.h"
#include "tests/log/LogDir.h"

namespace {

constexpr char kModule[] = "KvReportTest";

}  // namespace

TEST(KvReportTest, saysAMessageInOneLine) {
    const Overheard overheard;
    KV_INFO(kLevelProgress, "without arguments");
    EXPECT_EQ(s_type, kLogInfo);
    KV_ERROR(kLevelAlways, "%s failed with %d.", "step", -5);
    const int line = __LINE__ - 1;
    EXPECT_EQ(s_type, kLogError);
    EXPECT_EQ(s_line, line);
    EXPECT_EQ(overheard.texts,
              (std::vector<std::string>{"without arguments", "step failed with -5."}));
}

TEST(KvReportTest, isOneStatement) {
    const Overheard overheard;
    for (const bool isError : {false, true}) {
        if (isError)
            KV_ERROR(kLevelProgress, "error");
        else
            KV_INFO(kLevelProgress, "information");
    }
    EXPECT_EQ(overheard.texts, (std::vector<std::string>{"information", "error"}));
}

TEST(KvReportTest, levelsHaveTheirNumbers) {
    EXPECT_EQ(kLevelCallbackOnly, -1);
    EXPECT_EQ(kLevelDetail, 3);
    EXPECT_EQ(kLevelProgress, 6);
    EXPECT_EQ(kLevelAlways, 9);
    EXPECT_EQ(kLogInfo, 0);
    EXPECT_EQ(kLogError, 1);
}

// What each level is for, with the settings of a machine that nobody has touched.
TEST(KvReportTest, theDefaultThresholdShowsProgressAndHidesDetail) {
    const LogDir log;
    KV_INFO(kLevelCallbackOnly, "for a callback");
    KV_INFO(kLevelDetail, "detail");
    KV_INFO(kLevelProgress, "progress");
    KV_ERROR(kLevelAlways, "answer");
    const std::string text = log.text();
    EXPECT_EQ(text.find("for a callback"), std::string::npos);
    EXPECT_EQ(text.find("detail"), std::string::npos);
    EXPECT_NE(text.find(" progress"), std::string::npos);
    EXPECT_NE(text.find(" answer"), std::string::npos);
}
