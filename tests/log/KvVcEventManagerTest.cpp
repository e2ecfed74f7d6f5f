#include "log/KvVcEventManager.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "fileop/KvVcLock.h"
#include "log/KvLogSettings.h"
#include "log/KvReport.h"
#include "tests/log/LogDir.h"
#include "tests/support/ForkedProcess.h"

namespace {

constexpr char kModule[] = "KvVcEventManagerTest";

int ignore(int /*first*/, void* /*text*/, void* data) {
    ++*static_cast<int*>(data);
    return 99;
}

// All rows of the lock agent taken, so that no other resource can be locked.
std::vector<std::unique_ptr<KvVcLock>> takeAllLocks() {
    std::vector<std::unique_ptr<KvVcLock>> locks;
    for (int i = 0; i < KvVcLock::kRowCount; ++i) {
        const std::string name = "resource " + std::to_string(i);
        locks.push_back(std::make_unique<KvVcLock>(kThreadLock, name.c_str(), true));
    }
    return locks;
}

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

TEST(KvVcEventManager, Exists) {
    ASSERT_NE(g_pEventManager, nullptr);
}

TEST(KvVcEventManager, SwitchesToAnotherDirectory) {
    const LogDir first;
    KV_INFO(kLevelProgress, "to the first");
    const LogDir second;
    KV_INFO(kLevelProgress, "to the second");
    EXPECT_EQ(s_vcpath, second.tree().path());
    EXPECT_EQ(s_config_file, second.tree().path("vccfg.ini"));
    EXPECT_NE(first.text().find("to the first"), std::string::npos);
    EXPECT_EQ(first.text().find("to the second"), std::string::npos);
    EXPECT_NE(second.text().find("to the second"), std::string::npos);
}

TEST(KvVcEventManager, StillTakesTheDirectoryWithASeparatorAtItsEnd) {
    const LogDir log;
    g_pEventManager->resetVCPath((log.tree().path() + "/").c_str());
    EXPECT_EQ(s_config_file, log.tree().path("vccfg.ini"));
    EXPECT_EQ(s_log_file, log.tree().path(LogDir::kText));
}

TEST(KvVcEventManager, ChangesNothingWhenTheLockIsNotObtained) {
    const LogDir first;
    const TempTree second;
    const auto locks = takeAllLocks();
    g_pEventManager->resetVCPath(second.path().c_str());
    EXPECT_EQ(s_vcpath, first.tree().path());
    EXPECT_EQ(s_log_file, first.tree().path(LogDir::kText));
}

TEST(KvVcEventManager, GivesTheLockBack) {
    const LogDir log;
    KvVcLock lock;
    EXPECT_TRUE(lock.create(kThreadLock, "///VCPATH", false));
    EXPECT_NE(access("///VCPATH.lock", F_OK), 0);  // of threads only: no file is made
}

TEST(KvVcEventManager, WaitsForAnotherThreadThatSwitches) {
    const LogDir first;
    const TempTree second;
    std::promise<void> held;
    std::atomic<bool> released{false};
    std::thread other([&] {
        const KvVcLock lock(kThreadLock, "///VCPATH", true);
        held.set_value();
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        released = true;
    });
    held.get_future().wait();
    g_pEventManager->resetVCPath(second.path().c_str());
    EXPECT_TRUE(released);
    EXPECT_EQ(s_vcpath, second.path());
    other.join();
}

TEST(KvVcEventManager, ChangesNothingForNull) {
    const LogDir log;
    g_pEventManager->resetVCPath(nullptr);
    EXPECT_EQ(s_vcpath, log.tree().path());
}

// A name that was cut would be another file's: nothing is read there and nothing written.
TEST(KvVcEventManager, ReadsAndWritesNothingUnderANameThatIsTooLong) {
    const LogDir log;
    const std::string longest(kPathCapacity - 1, 'x');
    for (const std::string& path : {longest, longest + "yz", std::string(kLongPathCapacity, '/')}) {
        g_pEventManager->resetVCPath(path.c_str());
        EXPECT_EQ(s_vcpath, path.substr(0, kPathCapacity - 1));
        EXPECT_STREQ(s_config_file, "");
        EXPECT_STREQ(s_log_file, "");
        KV_INFO(kLevelProgress, "lost");
    }
}

TEST(KvVcEventManager, SendsEverythingToTheCallback) {
    const LogDir log("[Debug]\nLevel=7\n");
    const Overheard overheard;
    KV_INFO(kLevelCallbackOnly, "a");
    KV_INFO(kLevelDetail, "b");
    KV_ERROR(kLevelAlways, "c");
    KV_INFO(-2, "below every level");
    EXPECT_EQ(overheard.texts, (std::vector<std::string>{"a", "b", "c"}));
    EXPECT_EQ(overheard.firstArguments, (std::vector<int>{-1, -1, -1}));
    EXPECT_EQ(log.text(), "");
}

TEST(KvVcEventManager, IgnoresWhatTheCallbackReturns) {
    int calls = 0;
    g_pEventManager->redirectToCallback(ignore, &calls);
    KV_INFO(kLevelProgress, "one");
    KV_INFO(kLevelProgress, "two");
    g_pEventManager->redirectToCallback(nullptr, nullptr);
    EXPECT_EQ(calls, 2);
}

TEST(KvVcEventManager, DropsEventsForACallbackThatIsMissing) {
    const LogDir log;
    g_pEventManager->redirectToCallback(nullptr, nullptr);
    KV_INFO(kLevelAlways, "lost");
    EXPECT_EQ(log.text(), "");
}

TEST(KvVcEventManager, LeavesTheCallbackWhenTheDirectoryIsSwitched) {
    const Overheard overheard;
    const LogDir log;
    KV_INFO(kLevelProgress, "to the file");
    EXPECT_TRUE(overheard.texts.empty());
    EXPECT_NE(log.text().find("to the file"), std::string::npos);
}

// In a process of its own, because it changes the settings for good.
TEST(KvVcEventManager, RegistersItsListenersAndTakesThemBack) {
    ForkedProcess child([](const Talk&) {
        Overheard overheard;
        {
            KvVcEventManager second;
            second.redirectToCallback(s_callback, s_callback_data);
            g_pEventManager->redirectToCallback(s_callback, &overheard);
            KV_INFO(kLevelProgress, "i");
            KV_ERROR(kLevelProgress, "e");
        }
        const bool twice = overheard.texts == std::vector<std::string>{"i", "i", "e", "e"};
        overheard.texts.clear();
        KV_INFO(kLevelProgress, "i");
        KV_ERROR(kLevelProgress, "e");
        const bool once = overheard.texts == std::vector<std::string>{"i", "e"};
        return twice && once ? 0 : 1;
    });
    EXPECT_EQ(child.finish(), 0);
}

// That it is the right directory is shown by programs put somewhere (KvLogStartupTest.cpp).
TEST(KvVcEventManager, FillsTheContextWithTheProgramsDirectory) {
    const std::string velocore = g_DefaultContext.velocorePath;
    ASSERT_FALSE(velocore.empty());
    EXPECT_EQ(velocore.back(), '/');
    EXPECT_EQ(g_DefaultContext.workPath, velocore);
    EXPECT_EQ(g_DefaultContext.dataPath, velocore + "VC_Data");
    EXPECT_EQ(std::to_string(g_DefaultContext.threadId), threadNumber());
}

TEST(KvVcLogListeners, WriteIntoTheLogFile) {
    for (const int mode : {2, 3}) {
        const LogDir log(config(mode, 5));
        EXPECT_EQ(printed([] { informAndFail(6); }), "");
        EXPECT_EQ(log.text().substr(0, 5), "\nInf ") << "mode " << mode;
        EXPECT_TRUE(holds(log.text(), " information\nErr ")) << "mode " << mode;
        EXPECT_TRUE(holds(log.text(), " failure")) << "mode " << mode;
    }
}

TEST(KvVcLogListeners, SetTheirOwnKindAndLineForTheRecord) {
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

TEST(KvVcLogListeners, WriteHtmlWhenAsked) {
    const LogDir log("[Debug]\nhtml=1\n");
    informAndFail(6);
    EXPECT_EQ(log.text(), "");
    EXPECT_TRUE(holds(log.html(), "<span id=\"inf\"> information\n<br>"));
    EXPECT_TRUE(holds(log.html(), "<span id=\"err\"> failure\n<br>"));
}

TEST(KvVcLogListeners, PrintTheBareTextOnStandardOutput) {
    const LogDir log("[Debug]\nlog_mode=1\nhtml=1\n");
    EXPECT_EQ(printed([] { informAndFail(6); }), "information\nfailure\n");
    EXPECT_EQ(log.text() + log.html(), "");
}

TEST(KvVcLogListeners, GiveTheTextToTheCallback) {
    const LogDir log;
    const Overheard overheard;
    EXPECT_EQ(printed([] { informAndFail(6); }), "");
    EXPECT_EQ(overheard.texts, (std::vector<std::string>{"information", "failure"}));
    EXPECT_EQ(log.text(), "");
}

TEST(KvVcLogListeners, GoNowhereInAnyOtherMode) {
    for (const int mode : {0, 5, -1, 22}) {
        const LogDir log(config(mode, 5));
        EXPECT_EQ(printed([] { informAndFail(9); }), "") << "mode " << mode;
        EXPECT_EQ(log.text() + log.html(), "") << "mode " << mode;
    }
}

// In every mode the same: a level below the configured one reaches no output.
TEST(KvVcLogListeners, PassTheConfiguredLevelAndAbove) {
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

TEST(KvVcLogListeners, IgnoreTheOtherKindAndNull) {
    const Overheard overheard;
    KvInfoEvent info("information", 6);
    KvErrorEvent error("failure", 6);
    EXPECT_EQ(KvVcErrorEventListener().processEvent(&info), 0);
    EXPECT_EQ(KvVcInfoEventListener().processEvent(&error), 0);
    EXPECT_EQ(KvVcErrorEventListener().processEvent(nullptr), 0);
    EXPECT_EQ(KvVcInfoEventListener().processEvent(nullptr), 0);
    EXPECT_TRUE(overheard.texts.empty());
}
