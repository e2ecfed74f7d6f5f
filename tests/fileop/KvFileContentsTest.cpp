#include "fileop/KvFileContents.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

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

}  // namespace
