// Copies of single files: the steps, the answers of the callback, and every result by its own
// route.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <string>

#include "fileop/KvFileOpUtil.h"
#include "tests/fileop/StepRecorder.h"
#include "tests/fileop/TestProcess.h"
#include "tests/support/TempTree.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Operation = int (*)(const char*, const char*, bool, KvFileOpUtil::Callback,
                          KvFileOpUtil::CallbackEntry*);

// Both copies do the same with a single file.
class KvFileCopy : public testing::TestWithParam<Operation> {
  protected:
    int copy(const std::string& from, const std::string& to, bool overwrite = true) {
        return GetParam()(tree.path(from).c_str(), tree.path(to).c_str(), overwrite,
                          StepRecorder::callback, &recorder.entry);
    }

    TempTree tree;
    StepRecorder recorder{tree};
};

INSTANTIATE_TEST_SUITE_P(XcopyAndCopy, KvFileCopy,
                         testing::Values(&KvFileOpUtil::xcopy, &KvFileOpUtil::copy),
                         [](const auto& param) { return param.index == 0 ? "xcopy" : "copy"; });

TEST_P(KvFileCopy, ANewFileIsAskedForBeforeAndAfter) {
    tree.write("s/a", "text");
    tree.makeDir("d");
    EXPECT_EQ(copy("s/a", "d/b"), KvFileOpUtil::kDone);
    EXPECT_THAT(recorder.steps, ElementsAre("before make d/", "after make d/",
                                            "before new s/a > d/b", "after new s/a > d/b"));
    EXPECT_EQ(tree.read("d/b"), "text");
    EXPECT_EQ(tree.read("s/a"), "text");
}

TEST_P(KvFileCopy, MissingParentsAreMade) {
    tree.write("a", "text");
    EXPECT_EQ(copy("a", "d/e/b"), KvFileOpUtil::kDone);
    EXPECT_THAT(recorder.steps, ElementsAre("before make d/e/", "before make d/", "before make ./",
                                            "after make ./", "after make ./", "after make ./",
                                            "before new a > d/e/b", "after new a > d/e/b"));
    EXPECT_EQ(tree.read("d/e/b"), "text");
}

TEST_P(KvFileCopy, AnExistingFileIsOverwrittenWhenAllowed) {
    tree.write("a", "new");
    tree.write("d/b", "old and longer");
    EXPECT_EQ(copy("a", "d/b"), KvFileOpUtil::kDone);
    EXPECT_THAT(recorder.steps, ElementsAre("before make d/", "after make d/",
                                            "before over a > d/b", "after over a > d/b"));
    EXPECT_EQ(tree.read("d/b"), "new");
}

TEST_P(KvFileCopy, AnExistingFileStaysWhenOverwritingIsNotAllowed) {
    tree.write("a", "new");
    tree.write("d/b", "old");
    EXPECT_EQ(copy("a", "d/b", false), KvFileOpUtil::kDestinationExists);
    EXPECT_THAT(recorder.steps, ElementsAre("before make d/", "after make d/"));
    EXPECT_EQ(tree.read("a"), "new");
    EXPECT_EQ(tree.read("d/b"), "old");
    EXPECT_EQ(copy("a", "d/c", false), KvFileOpUtil::kDone) << "a new file needs no leave";
}

TEST_P(KvFileCopy, IntoADirectoryTheFileKeepsItsName) {
    tree.write("s/a", "text");
    tree.makeDir("d");
    EXPECT_EQ(copy("s/a", "d"), KvFileOpUtil::kDone);
    EXPECT_THAT(recorder.steps, ElementsAre("before new s/a > d/a", "after new s/a > d/a"));
    EXPECT_EQ(copy("s/a", "e/"), KvFileOpUtil::kDone);
    EXPECT_EQ(tree.read("d/a"), "text");
    EXPECT_EQ(tree.read("e/a"), "text");
}

TEST_P(KvFileCopy, BackslashesSeparate) {
    tree.write("s/a", "text");
    EXPECT_EQ(copy("s\\a", "d\\b"), KvFileOpUtil::kDone);
    EXPECT_EQ(tree.read("d/b"), "text");
    EXPECT_EQ(recorder.steps.back(), "after new s/a > d/b");
}

TEST_P(KvFileCopy, ABadParameterIsRefusedBeforeAnyStep) {
    tree.write("s/a.txt", "");
    tree.write("file", "");
    tree.write("a*b/f", "");
    EXPECT_EQ(GetParam()(nullptr, "d/", true, nullptr, nullptr), KvFileOpUtil::kBadParameters);
    EXPECT_EQ(GetParam()("", "d/", true, nullptr, nullptr), KvFileOpUtil::kBadParameters);
    EXPECT_EQ(GetParam()("s/", nullptr, true, nullptr, nullptr), KvFileOpUtil::kBadParameters);
    EXPECT_EQ(GetParam()("s/", "", true, nullptr, nullptr), KvFileOpUtil::kBadParameters);
    for (const char* const source : {"s", "s/", "s\\", "s/*.txt", "s/?.txt", "a*b/f"}) {
        EXPECT_EQ(copy(source, "file"), KvFileOpUtil::kBadParameters) << source;
        EXPECT_EQ(copy(source, "missing"), KvFileOpUtil::kBadParameters) << source;
    }
    EXPECT_THAT(recorder.steps, IsEmpty());
}

TEST_P(KvFileCopy, AFileCopiedOntoItselfIsEmptied) {
    tree.write("a", "text");
    EXPECT_EQ(copy("a", "a"), KvFileOpUtil::kDone);
    EXPECT_EQ(recorder.steps.back(), "after over a > a");
    EXPECT_TRUE(tree.exists("a"));
    EXPECT_EQ(tree.read("a"), "");
}

TEST_P(KvFileCopy, ASkippedFileStaysAndCountsAsCopied) {
    tree.write("a", "new");
    tree.write("d/b", "old");
    recorder.answers["before over a > d/b"] = KvFileOpUtil::kSkip;
    EXPECT_EQ(copy("a", "d/b"), KvFileOpUtil::kDone);
    EXPECT_EQ(recorder.steps.back(), "before over a > d/b") << "no step, nothing after it";
    EXPECT_EQ(tree.read("d/b"), "old");
}

TEST_P(KvFileCopy, AnyOtherAnswerStopsAndIsReturned) {
    tree.write("a", "new");
    for (const int stop : {1, 3, 5, -1, -5, 1000000}) {
        recorder.answers["before new a > d/b"] = stop;
        EXPECT_EQ(copy("a", "d/b"), stop);
        EXPECT_FALSE(tree.exists("d/b"));
    }
}

TEST_P(KvFileCopy, AnAnswerAfterTheCopyCanOnlyStop) {
    tree.write("a", "new");
    recorder.answers["after new a > d/b"] = KvFileOpUtil::kSkip;
    EXPECT_EQ(copy("a", "d/b"), KvFileOpUtil::kDone);
    recorder.answers["after over a > d/b"] = 9;
    EXPECT_EQ(copy("a", "d/b"), 9);
    EXPECT_EQ(tree.read("d/b"), "new");
}

TEST_P(KvFileCopy, AskingNeedsBothTheCallbackAndTheEntry) {
    tree.write("a", "text");
    const std::string from = tree.path("a");
    const std::string to = tree.path("b");
    EXPECT_EQ(GetParam()(from.c_str(), to.c_str(), true, StepRecorder::callback, nullptr), 0);
    EXPECT_EQ(GetParam()(from.c_str(), to.c_str(), true, nullptr, &recorder.entry), 0);
    EXPECT_THAT(recorder.steps, IsEmpty());
    EXPECT_EQ(recorder.entry.action, KvFileOpUtil::kOverwrite)
        << "the entry is filled all the same";
    EXPECT_EQ(recorder.entry.phase, KvFileOpUtil::kAfter);
    EXPECT_EQ(tree.read("b"), "text");
}

TEST_P(KvFileCopy, TheRecordSizeDoesNotMatterToACopy) {
    tree.write("a", "text");
    recorder.entry.cbSize = 1;
    EXPECT_EQ(copy("a", "d/a"), KvFileOpUtil::kDone);
    EXPECT_EQ(recorder.steps.back(), "after new a > d/a");
}

TEST_P(KvFileCopy, AMissingSourceCannotBeOpened) {
    EXPECT_EQ(copy("missing", "d/b"), KvFileOpUtil::kCannotOpenSource);
    EXPECT_EQ(recorder.steps.back(), "before new missing > d/b");
    EXPECT_FALSE(tree.exists("d/b"));
    EXPECT_TRUE(tree.exists("d")) << "the parent was made first";
}

TEST_P(KvFileCopy, AnUnreadableSourceCannotBeOpened) {
    ASSERT_EQ(chmod(tree.write("a", "text").c_str(), 0), 0);
    ASSERT_EQ(chmod(tree.path().c_str(), 0777), 0);
    EXPECT_EQ(resultInChild([this] { return copy("a", "b"); }), KvFileOpUtil::kCannotOpenSource);
    EXPECT_FALSE(tree.exists("b"));
}

// A directory opens for reading but does not read; it takes the file's place at the last moment.
TEST_P(KvFileCopy, ASourceThatCannotBeReadIsAReadError) {
    tree.write("a", "text");
    recorder.meanwhile = [this](const std::string& step) {
        if (step == "before new a > d/b") {
            (void)unlink(tree.path("a").c_str());
            tree.makeDir("a");
        }
    };
    EXPECT_EQ(copy("a", "d/b"), KvFileOpUtil::kReadError);
    EXPECT_EQ(recorder.steps.back(), "before new a > d/b");
}

// Neither a pipe nor a device is waited for, whatever stands on its other side.
TEST_P(KvFileCopy, AnOddSourceCannotBeOpened) {
    ASSERT_EQ(mkfifo(tree.path("pipe").c_str(), 0600), 0);
    EXPECT_EQ(copy("pipe", "b"), KvFileOpUtil::kCannotOpenSource);
    EXPECT_EQ(recorder.steps.back(), "before new pipe > b");
    EXPECT_FALSE(tree.exists("b"));
    EXPECT_EQ(GetParam()("/dev/zero", tree.path("b").c_str(), true, nullptr, nullptr),
              KvFileOpUtil::kCannotOpenSource);
}

TEST_P(KvFileCopy, AnOddDestinationIsAskedForAndNotWritable) {
    tree.write("a", "text");
    ASSERT_EQ(mkfifo(tree.path("pipe").c_str(), 0600), 0);
    EXPECT_EQ(copy("a", "pipe", false), KvFileOpUtil::kDestinationExists);
    EXPECT_EQ(copy("a", "pipe"), KvFileOpUtil::kDestinationNotWritable);
    EXPECT_EQ(recorder.steps.back(), "before over a > pipe");
    EXPECT_EQ(GetParam()(tree.path("a").c_str(), "/dev/full", true, nullptr, nullptr),
              KvFileOpUtil::kDestinationNotWritable);
}

// The limit lets a part of the bytes through and refuses the rest.
TEST_P(KvFileCopy, AWriteThatTakesOnlyAPartIsAWriteError) {
    tree.write("a", std::string(5000, 'x'));
    ASSERT_EQ(chmod(tree.path().c_str(), 0777), 0);
    EXPECT_EQ(resultInChild([this] {
                  const rlimit limit{1000, 1000};
                  if (signal(SIGXFSZ, SIG_IGN) == SIG_ERR || setrlimit(RLIMIT_FSIZE, &limit) != 0) {
                      return 1;
                  }
                  return copy("a", "b");
              }),
              KvFileOpUtil::kWriteError);
    EXPECT_EQ(tree.read("b").size(), 1000U) << "what was written stays";
}

TEST_P(KvFileCopy, ADirectoryInTheWayIsNotWritable) {
    tree.write("s/a", "text");
    tree.makeDir("d/a");
    EXPECT_EQ(copy("s/a", "d/"), KvFileOpUtil::kDestinationNotWritable);
    EXPECT_THAT(recorder.steps, IsEmpty());
}

TEST_P(KvFileCopy, ADestinationThatDoesNotOpenIsNotWritable) {
    tree.write("a", "text");
    tree.write("file", "");
    tree.makeDir("d");
    ASSERT_EQ(symlink("nowhere/x", tree.path("d/dangling").c_str()), 0);
    EXPECT_EQ(copy("a", "d/dangling"), KvFileOpUtil::kDestinationNotWritable);
    EXPECT_EQ(recorder.steps.back(), "before new a > d/dangling");
    EXPECT_EQ(copy("a", "file/b"), KvFileOpUtil::kDestinationNotWritable) << "no such parent";
    EXPECT_EQ(copy("a", "file/b/"), KvFileOpUtil::kDestinationNotWritable);
    EXPECT_EQ(copy("a", std::string(300, 'x')), KvFileOpUtil::kDestinationNotWritable);
    EXPECT_EQ(copy("a", std::string(10000, 'x')), KvFileOpUtil::kDestinationNotWritable);
}

TEST_P(KvFileCopy, AnUnreadableDestinationCountsAsNew) {
    tree.write("a", "new");
    ASSERT_EQ(chmod(tree.write("b", "old").c_str(), 0222), 0);
    ASSERT_EQ(chmod(tree.path().c_str(), 0777), 0);
    EXPECT_EQ(resultInChild([this] {
                  const int result = copy("a", "b", false);
                  return recorder.steps.back() == "after new a > b" ? result : 1;
              }),
              KvFileOpUtil::kDone);
    EXPECT_EQ(tree.read("b"), "new");
}

TEST_P(KvFileCopy, OnlyTheTimesAreKeptInWholeSeconds) {
    tree.write("a", "text");
    const timespec times[2] = {{1000000007, 999999999}, {1000000009, 500000000}};
    ASSERT_EQ(utimensat(AT_FDCWD, tree.path("a").c_str(), times, 0), 0);
    ASSERT_EQ(chmod(tree.path("a").c_str(), 0751), 0);
    const mode_t mask = umask(027);
    const int result = copy("a", "b");
    (void)umask(mask);
    ASSERT_EQ(result, KvFileOpUtil::kDone);
    struct stat from {};
    struct stat to {};
    ASSERT_EQ(stat(tree.path("a").c_str(), &from), 0);
    ASSERT_EQ(stat(tree.path("b").c_str(), &to), 0);
    EXPECT_EQ(to.st_mtime, 1000000009);
    EXPECT_EQ(to.st_atime, from.st_atime);
    const auto time = std::filesystem::last_write_time(tree.path("b")).time_since_epoch();
    EXPECT_EQ(time % std::chrono::seconds(1), std::chrono::seconds(0));
    EXPECT_EQ(to.st_mode & 07777, 0640U);
}

TEST_P(KvFileCopy, EveryByteArrives) {
    constexpr size_t kBlock = 262144;
    for (const size_t size : {size_t{0}, size_t{1}, kBlock - 1, kBlock, kBlock + 1, 3 * kBlock}) {
        std::string text(size, '\0');
        std::generate(text.begin(), text.end(),
                      [i = 0U]() mutable { return static_cast<char>((++i * 2654435761U) >> 24U); });
        tree.write("a", text);
        ASSERT_EQ(copy("a", "b"), KvFileOpUtil::kDone);
        EXPECT_EQ(tree.read("b"), text) << size;
    }
}

TEST_P(KvFileCopy, ASparseFileIsCopiedWithItsZeros) {
    ASSERT_EQ(truncate(tree.write("a", "x").c_str(), 1000000), 0);
    EXPECT_EQ(copy("a", "b"), KvFileOpUtil::kDone);
    EXPECT_EQ(tree.read("b"), "x" + std::string(999999, '\0'));
}

TEST_P(KvFileCopy, ALinkIsCopiedAsTheFileItPointsAt) {
    tree.write("a", "text");
    ASSERT_EQ(symlink("a", tree.path("link").c_str()), 0);
    EXPECT_EQ(copy("link", "b"), KvFileOpUtil::kDone);
    struct stat status {};
    ASSERT_EQ(lstat(tree.path("b").c_str(), &status), 0);
    EXPECT_TRUE(S_ISREG(status.st_mode));
}

TEST_P(KvFileCopy, OddNamesAreNames) {
    for (const char* const name : {"a b", "line\nbreak", "...", "-rf", "\xC3\xA4"}) {
        tree.write(std::string("s/") + name, name);
        EXPECT_EQ(copy(std::string("s/") + name, "d/"), KvFileOpUtil::kDone);
        EXPECT_EQ(tree.read(std::string("d/") + name), name);
    }
}

TEST_P(KvFileCopy, APlainNameThatIsNotThereIsNoMatch) {
    EXPECT_EQ(copy("missing", "d/"), KvFileOpUtil::kDone);
    EXPECT_EQ(copy("missing*", "d/"), KvFileOpUtil::kDone);
    EXPECT_TRUE(tree.snapshot("d").empty());
    EXPECT_TRUE(tree.exists("d"));
}

TEST_P(KvFileCopy, FailuresLeaveNoDescriptorOpen) {
    tree.write("a", "text");
    tree.makeDir("d");
    ASSERT_EQ(symlink("nowhere/x", tree.path("d/dangling").c_str()), 0);
    const int before = nextDescriptor();
    (void)copy("a", "b");
    (void)copy("missing", "b");
    (void)copy("a", "d/dangling");
    (void)GetParam()(tree.path("a").c_str(), "/dev/full", true, nullptr, nullptr);
    EXPECT_EQ(nextDescriptor(), before);
}

}  // namespace
