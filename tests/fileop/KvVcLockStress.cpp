// Many processes and threads on few paths, all types and both ways of taking a lock at once: two
// holders never overlap, and everybody comes to an end. Built by itself, so that it can run under
// ThreadSanitizer, too.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <memory>
#include <new>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "fileop/KvVcLock.h"
#include "tests/support/ForkedProcess.h"
#include "tests/support/TempTree.h"

namespace {

constexpr size_t kPaths = 3;
constexpr auto kDuration = std::chrono::milliseconds(1200);

// What all processes see.
struct Board {
    std::array<std::atomic<int>, kPaths> holders{};
    std::atomic<int> taken{0};
    std::atomic<int> overlaps{0};
};

struct BoardUnmapper {
    void operator()(Board* board) const { (void)munmap(board, sizeof(Board)); }
};

std::unique_ptr<Board, BoardUnmapper> makeBoard() {
    void* const memory =
        mmap(nullptr, sizeof(Board), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANON, -1, 0);
    if (memory == MAP_FAILED) {
        throw std::bad_alloc();
    }
    return std::unique_ptr<Board, BoardUnmapper>(new (memory) Board);
}

class Stress : public testing::Test {
  protected:
    using Processes = std::vector<std::unique_ptr<ForkedProcess>>;

    // Takes and lets go of random locks until the time is over; the number of locks taken.
    int work(unsigned type, unsigned startValue, std::chrono::milliseconds duration);

    void start(Processes& processes, const std::function<int(unsigned)>& body) {
        const auto number = static_cast<unsigned>(processes.size() + 1);
        processes.push_back(
            std::make_unique<ForkedProcess>([=](const Talk&) { return body(number); }));
    }

    TempTree tree;
    std::unique_ptr<Board, BoardUnmapper> board = makeBoard();
    // Guarded by nothing but the locks: ThreadSanitizer sees when two threads are in at once.
    std::array<int, kPaths> turns{};

  private:
    void hold(size_t path, unsigned type);
};

void Stress::hold(size_t path, unsigned type) {
    if (board->holders[path].fetch_add(1) != 0) {
        ++board->overlaps;
    }
    if (type == kFileAndThreadLock) {
        ++turns[path];
    }
    std::this_thread::yield();
    board->holders[path].fetch_sub(1);
    ++board->taken;
}

int Stress::work(unsigned type, unsigned startValue, std::chrono::milliseconds duration) {
    std::minstd_rand random(startValue);
    const auto end = std::chrono::steady_clock::now() + duration;
    int taken = 0;
    while (std::chrono::steady_clock::now() < end) {
        const size_t path = random() % kPaths;
        const std::string name = tree.path("resource" + std::to_string(path));
        const bool wait = random() % 4 != 0;
        const KvVcLock lock(type, name.c_str(), wait);
        // A waiting lock fails, too, when the system suspects a deadlock: it takes all threads of
        // a process for one, and one waits while another holds.
        if (lock.isLocked()) {
            hold(path, type);
            ++taken;
        }
    }
    return taken;
}

TEST_F(Stress, HoldersNeverOverlapAndNobodyHangs) {
    Processes processes;
    for (int i = 0; i < 4; ++i) {
        start(processes, [&](unsigned number) {
            std::vector<std::thread> threads;
            for (unsigned t = 0; t < 4; ++t) {
                threads.emplace_back(
                    [&, t] { (void)work(kFileAndThreadLock, 10 * number + t, kDuration); });
            }
            for (std::thread& thread : threads) {
                thread.join();
            }
            return 0;
        });
        start(processes, [&](unsigned number) { return work(kFileLock, number, kDuration) == 0; });
    }
    for (const auto& process : processes) {
        EXPECT_EQ(process->finish(), 0);
    }
    EXPECT_EQ(board->overlaps, 0);
    EXPECT_GT(board->taken, 100);
    RecordProperty("taken", board->taken);
}

TEST_F(Stress, ThreadsOfOneProcessTakeTurns) {
    std::vector<std::thread> threads;
    for (unsigned t = 1; t <= 6; ++t) {
        threads.emplace_back([&, t] { (void)work(kThreadLock, t, kDuration / 4); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(board->overlaps, 0);
    EXPECT_GT(board->taken, 100);
}

TEST_F(Stress, HoldersThatDieDoNotStopTheOthers) {
    Processes processes;
    const std::string name = tree.path("resource0");
    for (int i = 0; i < 24; ++i) {
        start(processes, [&](unsigned number) {
            (void)work(kFileLock, number, std::chrono::milliseconds(20));
            const KvVcLock lock(kFileLock, name.c_str(), number % 2 == 0);
            return ::kill(getpid(), SIGKILL);
        });
    }
    for (const auto& process : processes) {
        EXPECT_EQ(process->finish(), -SIGKILL);
    }
    EXPECT_EQ(board->overlaps, 0);
    EXPECT_TRUE(KvVcLock(kFileAndThreadLock, name.c_str(), false).isLocked());
}

}  // namespace
