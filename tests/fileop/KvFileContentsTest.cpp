#include "fileop/KvFileContents.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <string>
#include <thread>

#include "base/KvFailure.h"
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
    EXPECT_FALSE(tree.exists("b"));
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

TEST(KvFileContents, APipeIsNoFileAndNobodyWaitsForIt) {
    const TempTree tree;
    KvFileContents contents;
    const std::string file = tree.write("a", "text");
    const std::string pipe = tree.path("pipe");
    const std::string target = tree.path("b");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_EQ(contents.copy(pipe.c_str(), target.c_str(), TargetState::kAny),
              KvFileOpUtil::kCannotOpenSource);
    EXPECT_FALSE(tree.exists("b"));
    EXPECT_EQ(contents.copy(file.c_str(), pipe.c_str(), TargetState::kAny),
              KvFileOpUtil::kDestinationNotWritable);
}

// The note names the side that failed, once.
TEST(KvFileContents, AFailureIsNotedWithItsPathAndItsCause) {
    const TempTree tree;
    const KvFailureScope scope;
    KvFileContents contents;
    const std::string file = tree.write("a", "text");
    const std::string missing = tree.path("missing");
    const std::string nowhere = tree.path("no/b");
    KvFailure failure{};
    EXPECT_EQ(contents.copy(missing.c_str(), nowhere.c_str(), TargetState::kAny),
              KvFileOpUtil::kCannotOpenSource);
    ASSERT_TRUE(takeFailure(failure));
    EXPECT_EQ(std::string(failure.subject), missing);
    EXPECT_EQ(failure.error, ENOENT);
    EXPECT_EQ(contents.copy(file.c_str(), tree.path().c_str(), TargetState::kAny),
              KvFileOpUtil::kDestinationNotWritable);
    ASSERT_TRUE(takeFailure(failure));
    EXPECT_EQ(std::string(failure.subject), tree.path());
    EXPECT_EQ(failure.error, EISDIR);
    EXPECT_FALSE(isFailureNoted());
    EXPECT_EQ(contents.copy(file.c_str(), tree.path("b").c_str(), TargetState::kAny),
              KvFileOpUtil::kDone);
    EXPECT_FALSE(isFailureNoted());
}

}  // namespace
