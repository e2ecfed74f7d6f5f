#include "fileop/KvFileContents.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstring>
#include <string>
#include <thread>

#include "base/KvScoped.h"
#include "fileop/KvFileOpUtil.h"
#include "tests/support/TempTree.h"

namespace {

// The buffer stays from one copy to the next; what an earlier file left in it must not show.
TEST(KvFileContents, OneObjectCopiesFilesOfAnySizeOneAfterTheOther) {
    const TempTree tree;
    KvFileContents contents;
    for (const size_t size : {size_t{300000}, size_t{3}, size_t{0}, size_t{262144}, size_t{5}}) {
        const std::string text(size, static_cast<char>('a' + size % 26));
        EXPECT_EQ(
            contents.copy(tree.write("a", text).c_str(), tree.path("b").c_str(), TargetState::kAny),
            KvFileOpUtil::kDone);
        EXPECT_EQ(tree.read("b"), text) << size;
    }
}

TEST(KvFileContents, AFailureDoesNotSpoilTheNextCopy) {
    const TempTree tree;
    KvFileContents contents;
    const std::string file = tree.write("a", "text");
    const std::string dir = tree.makeDir("d");
    const std::string target = tree.path("b");
    EXPECT_EQ(contents.copy(tree.path("missing").c_str(), target.c_str(), TargetState::kAny),
              KvFileOpUtil::kCannotOpenSource);
    EXPECT_FALSE(tree.exists("b")) << "a source that does not open leaves no target";
    EXPECT_EQ(contents.copy(file.c_str(), dir.c_str(), TargetState::kAny),
              KvFileOpUtil::kDestinationNotWritable);
    EXPECT_EQ(contents.copy(dir.c_str(), target.c_str(), TargetState::kAny),
              KvFileOpUtil::kReadError);
    EXPECT_TRUE(tree.exists("b")) << "it was made before the read failed";
    EXPECT_EQ(contents.copy(file.c_str(), target.c_str(), TargetState::kAny), KvFileOpUtil::kDone);
    EXPECT_EQ(tree.read("b"), "text");
}

TEST(KvFileContents, AnEmptyTargetIsFilled) {
    const TempTree tree;
    KvFileContents contents;
    const std::string source = tree.write("a", "text");
    tree.setTime("a", 1000000000);
    const std::string target = tree.write("b", "");
    EXPECT_EQ(contents.copy(source.c_str(), target.c_str(), TargetState::kEmpty),
              KvFileOpUtil::kDone);
    EXPECT_EQ(tree.read("b"), "text");
    EXPECT_EQ(tree.time("b"), 1000000000);
}

// A file that does not tell its size, as a pipe does, is read until it ends.
TEST(KvFileContents, APipeIsReadToItsEnd) {
    const TempTree tree;
    const std::string pipe = tree.path("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    std::thread writer([&] {
        const ScopedFd end(open(pipe.c_str(), O_WRONLY));
        for (const char* const piece : {"one ", "two ", "three"}) {
            EXPECT_GT(write(end.get(), piece, strlen(piece)), 0);
            usleep(2000);
        }
    });
    KvFileContents contents;
    const std::string target = tree.path("b");
    EXPECT_EQ(contents.copy(pipe.c_str(), target.c_str(), TargetState::kAny), KvFileOpUtil::kDone);
    writer.join();
    EXPECT_EQ(tree.read("b"), "one two three");
}

void ignoreSignal(int) {}

// Signals every few hundred microseconds to whoever does not block them.
class Interruptions {
  public:
    Interruptions() {
        struct sigaction action {};
        action.sa_handler = ignoreSignal;  // and no SA_RESTART: calls fail with EINTR
        (void)sigaction(SIGALRM, &action, &before_);
        const itimerval often{{0, 300}, {0, 300}};
        (void)setitimer(ITIMER_REAL, &often, nullptr);
    }
    ~Interruptions() {
        const itimerval never{};
        (void)setitimer(ITIMER_REAL, &never, nullptr);
        (void)sigaction(SIGALRM, &before_, nullptr);
    }
    Interruptions(const Interruptions&) = delete;
    Interruptions& operator=(const Interruptions&) = delete;

  private:
    struct sigaction before_ {};
};

void blockSignals() {
    sigset_t all;
    (void)sigfillset(&all);
    (void)pthread_sigmask(SIG_BLOCK, &all, nullptr);
}

// Both ends are pipes that move in small pieces while signals get in: reads and writes are short
// and interrupted, and every byte arrives all the same.
TEST(KvFileContents, ShortAndInterruptedReadsAndWritesLoseNothing) {
    constexpr size_t kSize = 1000000;
    int source[2];
    int target[2];
    ASSERT_EQ(pipe(source), 0);
    ASSERT_EQ(pipe(target), 0);
    std::string sent(kSize, '\0');
    std::generate(sent.begin(), sent.end(), [i = 0]() mutable { return static_cast<char>(++i); });
    std::string received;
    std::thread feeder([&] {
        blockSignals();
        for (size_t at = 0; at < kSize; at += 10000) {
            (void)!write(source[1], sent.data() + at, 10000);
        }
        (void)close(source[1]);
    });
    std::thread drainer([&] {
        blockSignals();
        char piece[7000];
        ssize_t count = 0;
        while ((count = read(target[0], piece, sizeof(piece))) > 0) {
            received.append(piece, static_cast<size_t>(count));
            std::this_thread::yield();
        }
    });
    const auto name = [](int fd) { return "/dev/fd/" + std::to_string(fd); };
    KvFileContents contents;
    auto result = KvFileOpUtil::kReadError;
    {
        const Interruptions interruptions;
        result = contents.copy(name(source[0]).c_str(), name(target[1]).c_str(), TargetState::kAny);
    }
    (void)close(target[1]);
    feeder.join();
    drainer.join();
    (void)close(source[0]);
    (void)close(target[0]);
    EXPECT_EQ(result, KvFileOpUtil::kDone);
    EXPECT_EQ(received, sent);
}

}  // namespace
