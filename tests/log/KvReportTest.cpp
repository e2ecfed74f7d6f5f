#include "log/KvReport.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include "base/KvFailure.h"
#include "log/KvEventPublisher.h"
#include "log/KvLogSettings.h"
#include "tests/log/LogDir.h"

namespace {

constexpr char kModule[] = "KvReportTest";

// The events of both kinds, whatever the log makes of them.
class Witness : public KvInfoEventListener {
  public:
    Witness() { KvEventPublisher::addEventListener(this); }
    ~Witness() override { KvEventPublisher::removeEventListener(this); }

    int processEvent(KvEvent* event) override {
        text = event->toString();
        level = static_cast<KvInfoEvent*>(event)->getLevel();
        ++count;
        return 0;
    }

    std::string text;
    int level = 0;
    int count = 0;
};

}  // namespace

TEST(KvReport, SaysAMessageInOneLine) {
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

TEST(KvReport, IsOneStatement) {
    const Overheard overheard;
    for (const bool isError : {false, true}) {
        if (isError)
            KV_ERROR(kLevelProgress, "error");
        else
            KV_INFO(kLevelProgress, "information");
    }
    EXPECT_EQ(overheard.texts, (std::vector<std::string>{"information", "error"}));
}

TEST(KvReport, LevelsHaveTheirNumbers) {
    EXPECT_EQ(kLevelCallbackOnly, -1);
    EXPECT_EQ(kLevelDetail, 3);
    EXPECT_EQ(kLevelProgress, 6);
    EXPECT_EQ(kLevelAlways, 9);
    EXPECT_EQ(kLogInfo, 0);
    EXPECT_EQ(kLogError, 1);
}

// What each level is for, with the settings of a machine that nobody has touched.
TEST(KvReport, TheDefaultThresholdShowsProgressAndHidesDetail) {
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

TEST(KvReport, RemembersTheKindAndTheLineAndNoFile) {
    Log_Set("KvUpdaterStru", 1234, kLogError);
    EXPECT_EQ(s_type, kLogError);
    EXPECT_EQ(s_line, 1234);
    EXPECT_STREQ(s_file.c_str(), "");
    Log_Set("KvUpdaterStru", 5, kLogInfo);
    EXPECT_EQ(s_type, kLogInfo);
    EXPECT_EQ(s_line, 5);
}

TEST(KvReport, PublishesTheFormattedTextWithItsLevel) {
    const LogDir nowhere("[Debug]\nlog_mode=0\n");
    const Witness witness;
    Log_Set("KvTest", __LINE__, kLogInfo);
    Throw_Event(9, "%s %d%%", "half is", 50);
    EXPECT_EQ(witness.text, "half is 50%");
    EXPECT_EQ(witness.level, 9);
}

TEST(KvReport, PublishesAnErrorAsAnErrorOnly) {
    const LogDir nowhere("[Debug]\nlog_mode=0\n");
    const Witness witness;
    Log_Set("KvTest", __LINE__, kLogError);
    Throw_Event(9, "no");
    EXPECT_EQ(witness.count, 0);
}

TEST(KvReport, PublishesNothingOfAnyOtherKind) {
    const Overheard overheard;
    Log_Set("KvTest", __LINE__, static_cast<VcLogType_t>(2));
    Throw_Event(9, "neither");
    Log_Set("KvTest", __LINE__, static_cast<VcLogType_t>(-1));
    Throw_Event(9, "nor");
    EXPECT_TRUE(overheard.texts.empty());
}

TEST(KvReport, TheKindStaysInForceUntilTheNextCall) {
    const LogDir nowhere("[Debug]\nlog_mode=0\n");
    const Witness witness;
    Log_Set("KvTest", __LINE__, kLogInfo);
    Throw_Event(9, "one");
    Throw_Event(9, "two");
    EXPECT_EQ(witness.count, 2);
}

TEST(KvReport, CutsALongMessage) {
    const Overheard overheard;
    Log_Set("KvTest", __LINE__, kLogInfo);
    Throw_Event(6, "%s", std::string(20478, 'a').c_str());
    Throw_Event(6, "%s", std::string(20479, 'b').c_str());
    Throw_Event(6, "%s", std::string(30000, 'c').c_str());
    ASSERT_EQ(overheard.texts.size(), 3U);
    EXPECT_EQ(overheard.texts[0], std::string(20478, 'a'));
    EXPECT_EQ(overheard.texts[1], std::string(20479, 'b'));
    EXPECT_EQ(overheard.texts[2], std::string(20479, 'c'));
}

TEST(KvReport, IgnoresAMissingFormat) {
    const Overheard overheard;
    // Through a pointer without the format check, which would refuse it.
    void (*throwEvent)(int, const char*, ...) = Throw_Event;
    throwEvent(6, nullptr);
    EXPECT_TRUE(overheard.texts.empty());
}

TEST(KvReport, SaysACauseAsAnErrorOfProgress) {
    const LogDir log("[Debug]\nLevel=6\n");
    reportCause("/data/VC_Backup", "No space left");
    EXPECT_EQ(log.text().substr(0, 5), "\nErr ");
    EXPECT_NE(log.text().find(" Cause: /data/VC_Backup: No space left"), std::string::npos);
    const LogDir quiet("[Debug]\nLevel=7\n");
    reportCause("/data/VC_Backup", "No space left");
    EXPECT_EQ(quiet.text(), "");
}

TEST(KvReport, SaysTheReasonOfTheSystemInItsWords) {
    const Overheard overheard;
    reportCauseErrno("/data", ENOSPC);
    reportCauseErrno("/pipe", kErrorNotRegularFile);
    reportCause("100%s", "%d");
    reportCause(nullptr, nullptr);
    EXPECT_EQ(overheard.texts,
              (std::vector<std::string>{std::string("Cause: /data: ") + strerror(ENOSPC),
                                        "Cause: /pipe: Not a regular file", "Cause: 100%s: %d",
                                        "Cause: : "}));
}

TEST(KvReport, TellsANotedFailureOnce) {
    const Overheard overheard;
    clearFailure();
    EXPECT_FALSE(reportNotedCause());
    EXPECT_TRUE(overheard.texts.empty());
    noteFailure("/first", EIO);
    noteFailure("/second", "follows from it");
    EXPECT_TRUE(reportNotedCause());
    EXPECT_FALSE(reportNotedCause());
    EXPECT_EQ(overheard.texts,
              (std::vector<std::string>{std::string("Cause: /first: ") + strerror(EIO)}));
}

TEST(KvReport, HasRoomForTheLongestSubject) {
    const Overheard overheard;
    clearFailure();
    noteFailure(std::string(4095, 'x').c_str(), "long");
    EXPECT_TRUE(reportNotedCause());
    EXPECT_EQ(overheard.texts,
              (std::vector<std::string>{"Cause: " + std::string(4095, 'x') + ": long"}));
}
