// What the two log listeners do with an event.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "log/KvLogSettings.h"
#include "log/KvVcEventManager.h"
#include "log/KvVcLog.h"
#include "tests/log/LogDir.h"

namespace {

void informAndFail(int level) {
    KvInfoEvent info("information", level);
    KvErrorEvent error("failure", level);
    EXPECT_EQ(KvVcInfoEventListener().processEvent(&info), 0);
    EXPECT_EQ(KvVcErrorEventListener().processEvent(&error), 0);
}

std::string config(int mode, int level) {
    return "[Debug]\nlog_mode=" + std::to_string(mode) + "\nLevel=" + std::to_string(level) + "\n";
}

// What `act` writes to standard output.
template <typename Act>
std::string printed(Act act) {
    testing::internal::CaptureStdout();
    act();
    (void)fflush(stdout);
    return testing::internal::GetCapturedStdout();
}

bool holds(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

}  // namespace

TEST(KvVcLogListenersTest, writeIntoTheLogFile) {
    for (const int mode : {2, 3}) {
        const LogDir log(config(mode, 5));
        EXPECT_EQ(printed([] { informAndFail(6); }), "");
        EXPECT_EQ(log.text().substr(0, 5), "\nInf ") << "mode " << mode;
        EXPECT_TRUE(holds(log.text(), " information\nErr ")) << "mode " << mode;
        EXPECT_TRUE(holds(log.text(), " failure")) << "mode " << mode;
    }
}

TEST(KvVcLogListenersTest, setTheirOwnKindAndLineForTheRecord) {
    const LogDir log;
    KvInfoEvent info("information", 6);
    Log_Set("KvTest", 7, kLogError);
    (void)KvVcInfoEventListener().processEvent(&info);
    EXPECT_EQ(s_type, kLogInfo);
    EXPECT_EQ(s_line, 141);
    KvErrorEvent error("failure", 6);
    (void)KvVcErrorEventListener().processEvent(&error);
    EXPECT_EQ(s_type, kLogError);
    EXPECT_EQ(s_line, 180);
}

TEST(KvVcLogListenersTest, writeHtmlWhenAsked) {
    const LogDir log("[Debug]\nhtml=1\n");
    informAndFail(6);
    EXPECT_EQ(log.text(), "");
    EXPECT_TRUE(holds(log.html(), "<span id=\"inf\"> information\n<br>"));
    EXPECT_TRUE(holds(log.html(), "<span id=\"err\"> failure\n<br>"));
}

TEST(KvVcLogListenersTest, printTheBareTextOnStandardOutput) {
    const LogDir log("[Debug]\nlog_mode=1\nhtml=1\n");
    EXPECT_EQ(printed([] { informAndFail(6); }), "information\nfailure\n");
    EXPECT_EQ(log.text() + log.html(), "");
}

TEST(KvVcLogListenersTest, giveTheTextToTheCallback) {
    const LogDir log;
    const Overheard overheard;
    EXPECT_EQ(printed([] { informAndFail(6); }), "");
    EXPECT_EQ(overheard.texts, (std::vector<std::string>{"information", "failure"}));
    EXPECT_EQ(log.text(), "");
}

TEST(KvVcLogListenersTest, goNowhereInAnyOtherMode) {
    for (const int mode : {0, 5, -1, 22}) {
        const LogDir log(config(mode, 5));
        EXPECT_EQ(printed([] { informAndFail(9); }), "") << "mode " << mode;
        EXPECT_EQ(log.text() + log.html(), "") << "mode " << mode;
    }
}

// In every mode the same: a level below the configured one reaches no output.
TEST(KvVcLogListenersTest, passTheConfiguredLevelAndAbove) {
    for (const int mode : {1, 2, 3}) {
        for (const auto& [threshold, level, passes] :
             {std::tuple(5, 4, false), std::tuple(5, 5, true), std::tuple(5, 6, true),
              std::tuple(0, 3, true), std::tuple(5, 3, false), std::tuple(7, 6, false),
              std::tuple(9, 9, true), std::tuple(10, 9, false), std::tuple(5, -1, false),
              std::tuple(-1, -1, true)}) {
            const LogDir log(config(mode, threshold));
            const std::string out = printed([eventLevel = level] { informAndFail(eventLevel); });
            const std::string shown = out + log.text();
            EXPECT_EQ(holds(shown, "information"), passes) << threshold << " " << level;
            EXPECT_EQ(holds(shown, "failure"), passes) << threshold << " " << level;
        }
    }
}

TEST(KvVcLogListenersTest, ignoreTheOtherKindAndNull) {
    const Overheard overheard;
    KvInfoEvent info("information", 6);
    KvErrorEvent error("failure", 6);
    EXPECT_EQ(KvVcErrorEventListener().processEvent(&info), 0);
    EXPECT_EQ(KvVcInfoEventListener().processEvent(&error), 0);
    EXPECT_EQ(KvVcErrorEventListener().processEvent(nullptr), 0);
    EXPECT_EQ(KvVcInfoEventListener().processEvent(nullptr), 0);
    EXPECT_TRUE(overheard.texts.empty());
}
