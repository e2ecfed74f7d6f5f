#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "fileop/KvFileOpUtil.h"
#include "tests/fileop/StepRecorder.h"
#include "tests/fileop/TestProcess.h"
#include "tests/support/TempTree.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

// Works in the tree itself, so that paths can be relative and nothing above them is looked at.
class KvDirCreate : public testing::Test {
  protected:
    int create(const char* path) {
        return KvFileOpUtil::createDir(path, StepRecorder::callback, &recorder.entry);
    }

    TempTree tree;
    WorkingDir here{tree.path()};
    StepRecorder recorder{tree};
};

// The entry is not filled again on the way down: each call after a level still shows the topmost.
TEST_F(KvDirCreate, ParentsAreMadeFirst) {
    EXPECT_EQ(create("x/y/z/"), KvFileOpUtil::kDone);
    EXPECT_THAT(recorder.steps,
                ElementsAre("before make x/y/z/", "before make x/y/", "before make x/",
                            "after make x/", "after make x/", "after make x/"));
    EXPECT_THAT(tree.snapshot(), ElementsAre(Pair("x/", ""), Pair("x/y/", ""), Pair("x/y/z/", "")));
}

TEST_F(KvDirCreate, ParentsExistWhenTheCallAfterThemRuns) {
    std::string made;
    recorder.meanwhile = [&](const std::string& step) {
        if (step == "after make x/") {
            made += tree.exists("x/y/z") ? "z" : tree.exists("x/y") ? "y" : "x";
        } else {
            EXPECT_FALSE(tree.exists("x"));
        }
    };
    EXPECT_EQ(create("x/y/z"), KvFileOpUtil::kDone);
    EXPECT_EQ(made, "xyz");
}

TEST_F(KvDirCreate, AnExistingDirectoryIsAskedForToo) {
    tree.makeDir("x/y");
    EXPECT_EQ(create("x/y"), KvFileOpUtil::kDone);
    EXPECT_THAT(recorder.steps, ElementsAre("before make x/y", "after make x/y"));
}

TEST_F(KvDirCreate, TheClimbEndsAtTheFirstExistingParent) {
    tree.makeDir("x/y");
    EXPECT_EQ(create("x/y/z"), KvFileOpUtil::kDone);
    EXPECT_THAT(recorder.steps, ElementsAre("before make x/y/z", "before make x/y/",
                                            "after make x/y/", "after make x/y/"));
}

TEST_F(KvDirCreate, TheEntryNamesNoDestination) {
    recorder.entry.destination = "stale";
    recorder.entry.cbSize = 0;
    EXPECT_EQ(create("x"), KvFileOpUtil::kDone);
    EXPECT_THAT(recorder.steps, ElementsAre("before make x", "after make x"));
    EXPECT_EQ(recorder.entry.destination, nullptr);
}

TEST_F(KvDirCreate, NullIsABadParameterAndEmptyIsNothingToDo) {
    EXPECT_EQ(create(nullptr), KvFileOpUtil::kBadParameters);
    EXPECT_EQ(create(""), KvFileOpUtil::kDone);
    EXPECT_THAT(recorder.steps, IsEmpty());
}

TEST_F(KvDirCreate, TheRootIsAskedForButNothingFollows) {
    EXPECT_EQ(create("/"), KvFileOpUtil::kDone);
    EXPECT_THAT(recorder.steps, ElementsAre("before make /"));
    EXPECT_EQ(create("//"), KvFileOpUtil::kDone);
    recorder.answers["before make /"] = 7;
    EXPECT_EQ(create("/"), 7);
}

TEST_F(KvDirCreate, ThePathIsUsedAsItStands) {
    EXPECT_EQ(create("x\\y"), KvFileOpUtil::kDone);
    EXPECT_THAT(tree.snapshot(), ElementsAre(Pair("x\\y/", "")));
}

TEST_F(KvDirCreate, TheModeIsThatOfTheUmask) {
    const mode_t mask = umask(0);
    (void)create("open/sub");
    (void)umask(027);
    (void)create("closed");
    (void)umask(mask);
    struct stat status {};
    ASSERT_EQ(stat("open", &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0775U);
    ASSERT_EQ(stat("open/sub", &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0775U);
    ASSERT_EQ(stat("closed", &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0750U);
}

TEST_F(KvDirCreate, WhatIsInTheWayMakesItFail) {
    tree.write("file", "");
    EXPECT_EQ(create("file"), KvFileOpUtil::kDestinationNotWritable);
    EXPECT_EQ(create("file/x/y"), KvFileOpUtil::kDestinationNotWritable);
    EXPECT_THAT(recorder.steps, ElementsAre("before make file", "before make file/x/y",
                                            "before make file/x/", "before make file/"));
    ASSERT_EQ(symlink("nowhere", "dangling"), 0);
    EXPECT_EQ(create("dangling"), KvFileOpUtil::kDestinationNotWritable);
}

TEST_F(KvDirCreate, ADirectoryThatMayNotBeWrittenMakesItFail) {
    tree.makeDir("locked");
    ASSERT_EQ(chmod(tree.path().c_str(), 0755), 0);
    ASSERT_EQ(chmod("locked", 0555), 0);
    EXPECT_EQ(resultInChild([this] { return create("locked/x"); }),
              KvFileOpUtil::kDestinationNotWritable);
}

TEST_F(KvDirCreate, ALinkToADirectoryIsADirectory) {
    tree.makeDir("target");
    ASSERT_EQ(symlink("target", "link"), 0);
    EXPECT_EQ(create("link/x"), KvFileOpUtil::kDone);
    EXPECT_TRUE(tree.exists("target/x"));
}

TEST_F(KvDirCreate, ASkippedDirectoryIsNotMade) {
    recorder.answers["before make x"] = KvFileOpUtil::kSkip;
    EXPECT_EQ(create("x"), KvFileOpUtil::kDone);
    EXPECT_THAT(recorder.steps, ElementsAre("before make x"));
    EXPECT_FALSE(tree.exists("x"));
    recorder.answers["before make p/"] = KvFileOpUtil::kSkip;
    EXPECT_EQ(create("p/x"), KvFileOpUtil::kDestinationNotWritable) << "it has no parent";
    EXPECT_EQ(recorder.steps.back(), "before make p/");
}

TEST_F(KvDirCreate, AStopIsReturnedForItsOwnLevelOnly) {
    for (const int stop : {1, 3, -1, 1000000}) {
        recorder.answers["before make x/y"] = stop;
        EXPECT_EQ(create("x/y"), stop);
    }
    recorder.answers.clear();
    recorder.answers["before make x/"] = 4;
    EXPECT_EQ(create("x/y"), KvFileOpUtil::kDestinationNotWritable);
    EXPECT_FALSE(tree.exists("x"));
    recorder.answers.clear();
    recorder.answers["after make x/"] = 4;
    EXPECT_EQ(create("x/y"), KvFileOpUtil::kDestinationNotWritable);
    EXPECT_TRUE(tree.exists("x"));
    EXPECT_FALSE(tree.exists("x/y"));
}

TEST_F(KvDirCreate, AnAnswerAfterTheLevelCanOnlyStop) {
    recorder.answers["after make x"] = KvFileOpUtil::kSkip;
    EXPECT_EQ(create("x"), KvFileOpUtil::kDone);
    recorder.answers["after make x"] = 4;
    EXPECT_EQ(create("x"), 4) << "also for one that exists";
    recorder.answers["after make y"] = 5;
    EXPECT_EQ(create("y"), 5);
    EXPECT_TRUE(tree.exists("y"));
}

TEST_F(KvDirCreate, AskingNeedsBothTheCallbackAndTheEntry) {
    EXPECT_EQ(KvFileOpUtil::createDir("x", StepRecorder::callback, nullptr), KvFileOpUtil::kDone);
    EXPECT_EQ(KvFileOpUtil::createDir("y", nullptr, &recorder.entry), KvFileOpUtil::kDone);
    EXPECT_THAT(recorder.steps, IsEmpty());
    EXPECT_EQ(recorder.entry.action, KvFileOpUtil::kCreateDir) << "it is filled all the same";
    EXPECT_TRUE(tree.exists("x"));
    EXPECT_TRUE(tree.exists("y"));
}

// Each level takes one '/' off its path: a doubled one names the level that was just made.
TEST_F(KvDirCreate, ADoubledSeparatorIsALevelOfItsOwn) {
    tree.makeDir("x");
    EXPECT_EQ(create("x//"), KvFileOpUtil::kDone);
    EXPECT_EQ(create("x//y"), KvFileOpUtil::kDone);
    EXPECT_EQ(create("new//y"), KvFileOpUtil::kDestinationNotWritable);
    EXPECT_TRUE(tree.exists("new"));
    EXPECT_EQ(create("new//y"), KvFileOpUtil::kDone) << "now that it exists";
}

TEST_F(KvDirCreate, FiveHundredLevelsAreMade) {
    std::string path;
    for (int i = 0; i < 500; ++i) {
        path += "a/";
    }
    EXPECT_EQ(KvFileOpUtil::createDir(path.c_str()), KvFileOpUtil::kDone);
    EXPECT_TRUE(KvFileOpUtil::isDir(path.c_str()));
}

TEST_F(KvDirCreate, NoLengthOfThePathEndsTheProcess) {
    tree.write("file", "");
    std::string path = "file/";
    for (int i = 0; i < 10000; ++i) {
        path += "a/";
    }
    EXPECT_EQ(create(path.c_str()), KvFileOpUtil::kDestinationNotWritable);
    EXPECT_EQ(recorder.steps.size(), 10001U) << "each level is asked for once";
    EXPECT_EQ(create(std::string(100000, 'x').c_str()), KvFileOpUtil::kDestinationNotWritable);
    EXPECT_THAT(tree.snapshot(), ElementsAre(Pair("file", "")));
}

}  // namespace
