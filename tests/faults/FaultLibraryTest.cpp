// The preloaded library does to a small program what it was told, and nothing else.
#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <cstring>

#include "tests/faults/Fault.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/TempTree.h"

namespace {

class FaultLibrary : public testing::Test {
  protected:
    void SetUp() override {
        if (std::string(KV_FAULT_LIBRARY).empty()) {
            GTEST_SKIP() << "calls are made to fail only on Linux with the GNU C library, and not "
                            "in builds with sanitizers";
        }
    }

    // What the probe says of three calls of this kind.
    std::string probe(const std::string& kind, const Fault& fault, bool forks = false) {
        tree.write("tally", std::string(sizeof(FaultTally), '\0'));
        ChildCommand command;
        command.executable = KV_FAULT_PROBE;
        command.arguments = {kind};
        if (forks) {
            command.arguments.emplace_back("fork");
        }
        command.directory = tree.path();
        command.environment = {{"LD_PRELOAD", KV_FAULT_LIBRARY},
                               {"KV_FAULT_TALLY", tree.path("tally")},
                               {"KV_FAULT", fault.forLibrary()}};
        result = runChild(command);
        const std::string bytes = tree.read("tally");
        std::memcpy(&tally, bytes.data(), sizeof tally);
        return result.out;
    }

    [[nodiscard]] uint64_t calls(const std::string& function) const {
        return tally.calls[tallyIndex(function)];
    }

    TempTree tree;
    ChildResult result;
    FaultTally tally = {};
};

const std::string kNoSpace = std::to_string(-ENOSPC);
const std::string kNoMemory = std::to_string(-ENOMEM);

TEST_F(FaultLibrary, CountsWithoutTouching) {
    EXPECT_EQ(probe("malloc", {}), "1 1 1");
    EXPECT_EQ(tally.armed, 1U);
    EXPECT_EQ(calls("malloc"), 3U);
    EXPECT_EQ(calls("open"), 1U);
    EXPECT_EQ(calls("change"), 1U);
    EXPECT_EQ(tally.struck, 0U);
}

TEST_F(FaultLibrary, FailsOneCall) {
    EXPECT_EQ(probe("malloc", {"malloc", 2, "ENOMEM"}), "1 " + kNoMemory + " 1");
    EXPECT_EQ(tally.struck, 1U);
}

TEST_F(FaultLibrary, FailsEveryCallFromOneOn) {
    EXPECT_EQ(probe("malloc", {"malloc", 2, "ENOMEM+"}), "1 " + kNoMemory + " " + kNoMemory);
    EXPECT_EQ(tally.struck, 2U);
}

TEST_F(FaultLibrary, LeavesACallThatIsNotReached) {
    EXPECT_EQ(probe("malloc", {"malloc", 4, "ENOMEM"}), "1 1 1");
    EXPECT_EQ(tally.struck, 0U);
}

TEST_F(FaultLibrary, DoesNotCountAForkedChild) {
    EXPECT_EQ(probe("malloc", {"malloc", 1, "ENOMEM"}, true), kNoMemory + " 1 1");
    EXPECT_EQ(calls("malloc"), 3U);
}

// What is not read is there for the next call.
TEST_F(FaultLibrary, ReadsHalf) {
    tree.write("file", "abcdefghijklmnopqrs");
    EXPECT_EQ(probe("read", {"read", 1, "short"}), "5 10 4");
}

TEST_F(FaultLibrary, WritesHalf) {
    EXPECT_EQ(probe("write", {"write", 2, "short"}), "10 5 10");
    EXPECT_EQ(tree.read("file").size(), 25U);
}

TEST_F(FaultLibrary, FillsTheDisk) {
    EXPECT_EQ(probe("write", {"write", 2, "full"}), "10 5 " + kNoSpace);
}

TEST_F(FaultLibrary, KillsInTheMiddleOfAWrite) {
    EXPECT_EQ(probe("write", {"write", 2, "half"}), "");
    EXPECT_EQ(result.signal, SIGKILL);
    EXPECT_EQ(tree.read("file").size(), 15U);
}

// The first change is the probe's own opening of its file.
TEST_F(FaultLibrary, KillsBeforeAChange) {
    EXPECT_EQ(probe("mkdir", {"change", 3, "kill"}), "");
    EXPECT_EQ(result.signal, SIGKILL);
    EXPECT_TRUE(tree.exists("dir0"));
    EXPECT_FALSE(tree.exists("dir1"));
}

TEST_F(FaultLibrary, ClosesAFileWhoseCloseFails) {
    EXPECT_EQ(probe("close", {"close", 2, "EIO"}), "1 " + std::to_string(-EIO) + " 1");
}

TEST_F(FaultLibrary, LeavesTheLoaderItsReason) {
    EXPECT_EQ(probe("dlopen", {"dlopen", 2, "EIO"}), "1 -1 1");
}

}  // namespace
