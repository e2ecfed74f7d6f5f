#include "log/KvVcEventManager.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <climits>
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

}  // namespace

TEST(KvVcEventManagerTest, exists) {
    ASSERT_NE(g_pEventManager, nullptr);
}

TEST(KvVcEventManagerTest, switchesToAnotherDirectory) {
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

TEST(KvVcEventManagerTest, stillTakesTheDirectoryWithASeparatorAtItsEnd) {
    const LogDir log;
    g_pEventManager->resetVCPath((log.tree().path() + "/").c_str());
    EXPECT_EQ(s_config_file, log.tree().path("vccfg.ini"));
    EXPECT_EQ(s_log_file, log.tree().path(LogDir::kText));
}

TEST(KvVcEventManagerTest, changesNothingWhenTheLockIsNotObtained) {
    const LogDir first;
    const TempTree second;
    const auto locks = takeAllLocks();
    g_pEventManager->resetVCPath(second.path().c_str());
    EXPECT_EQ(s_vcpath, first.tree().path());
    EXPECT_EQ(s_log_file, first.tree().path(LogDir::kText));
}

TEST(KvVcEventManagerTest, givesTheLockBack) {
    const LogDir log;
    KvVcLock lock;
    EXPECT_TRUE(lock.create(kThreadLock, "///VCPATH", false));
    EXPECT_NE(access("///VCPATH.lock", F_OK), 0);  // of threads only: no file is made
}

TEST(KvVcEventManagerTest, waitsForAnotherThreadThatSwitches) {
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

TEST(KvVcEventManagerTest, changesNothingForNull) {
    const LogDir log;
    g_pEventManager->resetVCPath(nullptr);
    EXPECT_EQ(s_vcpath, log.tree().path());
}

// A name that was cut would be another file's: nothing is read there and nothing written.
TEST(KvVcEventManagerTest, readsAndWritesNothingUnderANameThatIsTooLong) {
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

TEST(KvVcEventManagerTest, sendsEverythingToTheCallback) {
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

TEST(KvVcEventManagerTest, ignoresWhatTheCallbackReturns) {
    int calls = 0;
    g_pEventManager->redirectToCallback(ignore, &calls);
    KV_INFO(kLevelProgress, "one");
    KV_INFO(kLevelProgress, "two");
    g_pEventManager->redirectToCallback(nullptr, nullptr);
    EXPECT_EQ(calls, 2);
}

TEST(KvVcEventManagerTest, dropsEventsForACallbackThatIsMissing) {
    const LogDir log;
    g_pEventManager->redirectToCallback(nullptr, nullptr);
    KV_INFO(kLevelAlways, "lost");
    EXPECT_EQ(log.text(), "");
}

TEST(KvVcEventManagerTest, leavesTheCallbackWhenTheDirectoryIsSwitched) {
    const Overheard overheard;
    const LogDir log;
    KV_INFO(kLevelProgress, "to the file");
    EXPECT_TRUE(overheard.texts.empty());
    EXPECT_NE(log.text().find("to the file"), std::string::npos);
}

// In a process of its own, because it changes the settings for good.
TEST(KvVcEventManagerTest, registersItsListenersAndTakesThemBack) {
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
TEST(KvVcEventManagerTest, fillsTheContextWithTheProgramsDirectory) {
    const std::string velocore = g_DefaultContext.velocorePath;
    ASSERT_FALSE(velocore.empty());
    EXPECT_EQ(velocore.back(), '/');
    EXPECT_EQ(g_DefaultContext.workPath, velocore);
    EXPECT_EQ(g_DefaultContext.dataPath, velocore + "VC_Data");
    EXPECT_EQ(std::to_string(g_DefaultContext.threadId), threadNumber());
}
