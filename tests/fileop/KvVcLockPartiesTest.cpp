// The lock between processes, between threads, and both.
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <future>
#include <string>
#include <thread>

#include "fileop/KvVcLock.h"
#include "tests/fileop/LockTools.h"
#include "tests/support/ForkedProcess.h"

namespace {

// How long a blocked party is watched before it counts as blocked.
constexpr int kWatch = 100;  // milliseconds

// Another process that, once started, takes the lock, says so, and keeps it until it is told to let
// go. It must be made before this process takes locks, for the reason above.
class OtherProcess {
  public:
    OtherProcess(unsigned type, const std::string& path, bool wait)
        : process([=](const Talk& talk) {
              if (!talk.hears()) {
                  return kLost;
              }
              const KvVcLock lock(type, path.c_str(), wait);
              if (!lock.isLocked()) {
                  return kRefused;
              }
              talk.tell();
              return talk.hears() ? kHadIt : kLost;
          }) {}

    static constexpr int kHadIt = 0;
    static constexpr int kRefused = 1;
    static constexpr int kLost = 2;

    void start() const { process.talk().tell(); }
    [[nodiscard]] bool isIn(int milliseconds = Talk::kPatience) const {
        return process.talk().hears(milliseconds);
    }
    [[nodiscard]] bool isBlocked() const { return !isIn(kWatch); }
    int letGo() {
        process.talk().tell();
        return process.finish();
    }

    ForkedProcess process;
};

// Whether another process that was made before can take the lock: it tries once, without waiting.
int outcomeOf(OtherProcess& other) {
    other.start();
    return other.letGo();
}

TEST_F(Lock, AnotherProcessGetsItOnceTheHolderLetsGo) {
    OtherProcess trying(kFileLock, path, kTry);
    OtherProcess waiting(kFileLock, path, kWait);
    KvVcLock lock(kFileLock, path.c_str(), kWait);
    EXPECT_EQ(outcomeOf(trying), OtherProcess::kRefused);
    waiting.start();
    EXPECT_TRUE(waiting.isBlocked());
    lock.release();
    EXPECT_TRUE(waiting.isIn());
    EXPECT_FALSE(lock.create(kFileLock, path.c_str(), kTry));
    EXPECT_EQ(waiting.letGo(), OtherProcess::kHadIt);
    EXPECT_TRUE(lock.create(kFileLock, path.c_str(), kTry));
}

TEST_F(Lock, FailedTriesLeaveTheHolderAlone) {
    OtherProcess holder(kFileLock, path, kWait);
    holder.start();
    ASSERT_TRUE(holder.isIn());
    for (int i = 0; i < 3; ++i) {
        EXPECT_FALSE(KvVcLock(kFileAndThreadLock, path.c_str(), kTry).isLocked());
        EXPECT_TRUE(tree.exists("VcPatch.ini.lock"));
    }
    EXPECT_EQ(holder.letGo(), OtherProcess::kHadIt);
}

TEST_F(Lock, AHolderThatIsKilledLosesItsLock) {
    for (const bool wait : {kWait, kTry}) {
        OtherProcess holder(kFileAndThreadLock, path, wait);
        holder.start();
        ASSERT_TRUE(holder.isIn());
        OtherProcess waiting(kFileLock, path, kWait);
        waiting.start();
        EXPECT_TRUE(waiting.isBlocked());
        holder.process.kill();
        EXPECT_TRUE(waiting.isIn());
        EXPECT_EQ(waiting.letGo(), OtherProcess::kHadIt);
        EXPECT_TRUE(tree.exists("VcPatch.ini.lock"));
        EXPECT_TRUE(KvVcLock(kFileLock, path.c_str(), kTry).isLocked());
    }
}

TEST_F(Lock, AProcessThatWaitedForADeletedLockFileHoldsTheNewOne) {
    OtherProcess waiting(kFileLock, path, kWait);
    KvVcLock lock(kFileLock, path.c_str(), kTry);
    waiting.start();
    EXPECT_TRUE(waiting.isBlocked());
    lock.release();
    ASSERT_TRUE(waiting.isIn());
    EXPECT_TRUE(tree.exists("VcPatch.ini.lock"));
    EXPECT_FALSE(lock.create(kFileLock, path.c_str(), kTry));
    EXPECT_EQ(waiting.letGo(), OtherProcess::kHadIt);
    EXPECT_TRUE(tree.exists("VcPatch.ini.lock"));
}

void onSignal(int) {}

TEST_F(Lock, ASignalDoesNotEndTheWait) {
    OtherProcess holder(kFileLock, path, kWait);
    holder.start();
    ASSERT_TRUE(holder.isIn());
    ForkedProcess waiting([&](const Talk& talk) {
        struct sigaction action {};
        action.sa_handler = onSignal;  // no SA_RESTART: the wait is interrupted
        (void)sigaction(SIGUSR1, &action, nullptr);
        talk.tell();
        const KvVcLock lock(kFileLock, path.c_str(), kWait);
        talk.tell();
        return lock.isLocked() ? 0 : 1;
    });
    ASSERT_TRUE(waiting.talk().hears());
    for (int i = 0; i < 5; ++i) {
        EXPECT_FALSE(waiting.talk().hears(20));
        ::kill(waiting.id(), SIGUSR1);
    }
    EXPECT_FALSE(waiting.talk().hears(20));
    EXPECT_EQ(holder.letGo(), OtherProcess::kHadIt);
    EXPECT_EQ(waiting.finish(), 0);
}

TEST_F(Lock, ADeadlockBetweenProcessesFailsInsteadOfHanging) {
    const std::string second = tree.path("second");
    ForkedProcess other([&](const Talk& talk) {
        const KvVcLock mine(kFileLock, second.c_str(), kWait);
        talk.tell();
        return talk.hears() && KvVcLock(kFileLock, path.c_str(), kWait).isLocked() ? 1 : 0;
    });
    ASSERT_TRUE(other.talk().hears());
    auto mine = std::make_unique<KvVcLock>(kFileLock, path.c_str(), kWait);
    other.talk().tell();
    const bool got = KvVcLock(kFileLock, second.c_str(), kWait).isLocked();
    mine.reset();
    const bool otherGot = other.finish() == 1;
    EXPECT_NE(got, otherGot) << "exactly one of the two is refused";
}

TEST_F(Lock, ThreadLocksDoNotReachOtherProcesses) {
    OtherProcess other(kThreadLock, path, kWait);
    other.start();
    ASSERT_TRUE(other.isIn());
    EXPECT_TRUE(KvVcLock(kFileAndThreadLock, path.c_str(), kTry).isLocked());
    EXPECT_EQ(other.letGo(), OtherProcess::kHadIt);
}

// A thread of this process that waits for a lock and lets it go at once.
class WaitingThread {
  public:
    WaitingThread(unsigned type, const std::string& path)
        : got_(std::async(std::launch::async,
                          [=] { return KvVcLock(type, path.c_str(), kWait).isLocked(); })) {}

    [[nodiscard]] bool isBlocked() const {
        return got_.wait_for(std::chrono::milliseconds(kWatch)) == std::future_status::timeout;
    }
    bool gotIt() { return got_.get(); }

  private:
    std::future<bool> got_;
};

TEST_F(Lock, ThreadsWaitForEachOther) {
    for (const unsigned type : {kThreadLock, kFileAndThreadLock}) {
        KvVcLock lock(type, path.c_str(), kTry);
        WaitingThread thread(type, path);
        EXPECT_TRUE(thread.isBlocked());
        lock.release();
        EXPECT_TRUE(thread.gotIt());
        EXPECT_TRUE(KvVcLock(type, path.c_str(), kTry).isLocked()) << "the row is free again";
    }
}

TEST_F(Lock, AThreadThatWaitedKeepsOtherProcessesOut) {
    KvVcLock lock(kFileAndThreadLock, path.c_str(), kWait);
    std::promise<void> holds;
    std::promise<void> mayEnd;
    std::thread thread([&] {
        const KvVcLock second(kFileAndThreadLock, path.c_str(), kWait);
        holds.set_value();
        mayEnd.get_future().wait();
    });
    lock.release();
    holds.get_future().wait();
    EXPECT_FALSE(othersGet(path));
    mayEnd.set_value();
    thread.join();
    EXPECT_TRUE(othersGet(path));
}

// One row serves objects of different types; each gives up just what it took.
TEST_F(Lock, AThreadLockExcludesThreadsOnARowThatAFileLockOpened) {
    const KvVcLock opener(kFileLock, path.c_str(), kWait);
    KvVcLock holder(kThreadLock, path.c_str(), kWait);
    EXPECT_TRUE(holder.isLocked());
    WaitingThread thread(kThreadLock, path);
    EXPECT_TRUE(thread.isBlocked());
    holder.release();
    EXPECT_TRUE(thread.gotIt());
    EXPECT_FALSE(othersGet(path));
}

TEST_F(Lock, AFileLockEndsOnARowThatAThreadLockOpened) {
    KvVcLock opener(kThreadLock, path.c_str(), kWait);
    KvVcLock file(kFileLock, path.c_str(), kWait);
    EXPECT_TRUE(file.isLocked());
    EXPECT_FALSE(othersGet(path));
    file.release();
    EXPECT_TRUE(othersGet(path));
    WaitingThread thread(kThreadLock, path);
    EXPECT_TRUE(thread.isBlocked()) << "the file lock took no mutex and frees none";
    opener.release();
    EXPECT_TRUE(thread.gotIt());
}

}  // namespace
