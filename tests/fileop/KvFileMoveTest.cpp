#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "fileop/KvFileOpUtil.h"
#include "tests/fileop/StepRecorder.h"
#include "tests/support/TempTree.h"

namespace {

using testing::ElementsAre;
using testing::Pair;

class KvFileMove : public testing::Test {
  protected:
    int xmove(const std::string& from, const std::string& to, bool overwrite = true) {
        return KvFileOpUtil::xmove(tree.path(from).c_str(), tree.path(to).c_str(), overwrite,
                                   StepRecorder::callback, &recorder.entry);
    }
    int move(const std::string& from, const std::string& to, bool overwrite = true) {
        return KvFileOpUtil::move(tree.path(from).c_str(), tree.path(to).c_str(), overwrite,
                                  StepRecorder::callback, &recorder.entry);
    }

    TempTree tree;
    StepRecorder recorder{tree};
};

TEST_F(KvFileMove, AFileIsCopiedThenDeleted) {
    tree.write("s/f", "1");
    tree.setTime("s/f", 1000000000);
    tree.makeDir("d");
    EXPECT_EQ(move("s/f", "d/g"), KvFileOpUtil::kDone);
    EXPECT_EQ(xmove("d/g", "s/f"), KvFileOpUtil::kDone);
    EXPECT_THAT(recorder.steps,
                ElementsAre("before make d/", "after make d/", "before new s/f > d/g",
                            "after new s/f > d/g", "before delete s/f", "after delete s/f",
                            "before make s/", "after make s/", "before new d/g > s/f",
                            "after new d/g > s/f", "before delete d/g", "after delete d/g"));
    EXPECT_THAT(tree.snapshot(), ElementsAre(Pair("d/", ""), Pair("s/", ""), Pair("s/f", "1")));
    EXPECT_EQ(tree.time("s/f"), 1000000000);
}

TEST_F(KvFileMove, XmoveTakesAWholeTree) {
    tree.write("s/one/f", "1");
    tree.makeDir("d");
    EXPECT_EQ(xmove("s/", "d/"), KvFileOpUtil::kDone);
    EXPECT_THAT(recorder.steps,
                ElementsAre("before make d/s/", "before make d/", "after make d/", "after make d/",
                            "before make d/s/one/", "before make d/s/", "after make d/s/",
                            "after make d/s/", "before new s/one/f > d/s/one/f",
                            "after new s/one/f > d/s/one/f", "before delete s/one/f",
                            "after delete s/one/f", "before remove s/one", "after remove s/one",
                            "before remove s", "after remove s"));
    EXPECT_FALSE(tree.exists("s"));
    EXPECT_EQ(tree.read("d/s/one/f"), "1");
}

// What one level of copying left behind keeps its directory from being removed; the copied files
// are not deleted one by one.
TEST_F(KvFileMove, MoveOfADirectoryLeavesItAsItIs) {
    tree.write("s/f", "1");
    EXPECT_EQ(move("s/", "d/"), KvFileOpUtil::kDone);
    EXPECT_EQ(recorder.steps.back(), "before remove s");
    EXPECT_EQ(tree.read("s/f"), "1");
    EXPECT_EQ(tree.read("d/f"), "1");
}

TEST_F(KvFileMove, PatternsMoveWhatMatches) {
    tree.write("s/a.dat", "1");
    tree.write("s/b.txt", "2");
    tree.write("s/c.dat/x", "3");
    EXPECT_EQ(move("s/*.dat", "d/"), KvFileOpUtil::kDone);
    EXPECT_THAT(tree.snapshot("d"), ElementsAre(Pair("a.dat", "1")));
    EXPECT_EQ(xmove("s/*.dat", "d/"), KvFileOpUtil::kDone);
    EXPECT_THAT(tree.snapshot("d"),
                ElementsAre(Pair("a.dat", "1"), Pair("c.dat/", ""), Pair("c.dat/x", "3")));
    EXPECT_THAT(tree.snapshot("s"), ElementsAre(Pair("b.txt", "2")));
}

TEST_F(KvFileMove, NothingIsDeletedWhenTheCopyFails) {
    tree.write("a", "1");
    tree.write("b", "2");
    tree.makeDir("d/a");
    for (const auto operation : {&KvFileOpUtil::move, &KvFileOpUtil::xmove}) {
        const std::string from = tree.path("a");
        EXPECT_EQ(operation(nullptr, "d", true, nullptr, nullptr), KvFileOpUtil::kBadParameters);
        EXPECT_EQ(operation(from.c_str(), "", true, nullptr, nullptr),
                  KvFileOpUtil::kBadParameters);
        EXPECT_EQ(operation(from.c_str(), tree.path("b").c_str(), false, nullptr, nullptr),
                  KvFileOpUtil::kDestinationExists);
        EXPECT_EQ(operation(from.c_str(), tree.path("d/").c_str(), true, nullptr, nullptr),
                  KvFileOpUtil::kDestinationNotWritable);
        EXPECT_EQ(
            operation(tree.path("none").c_str(), tree.path("e").c_str(), true, nullptr, nullptr),
            KvFileOpUtil::kCannotOpenSource);
        EXPECT_EQ(tree.read("a"), "1");
        EXPECT_EQ(tree.read("b"), "2");
    }
}

TEST_F(KvFileMove, AStopOfTheCopyKeepsTheSource) {
    tree.write("a", "1");
    for (const char* const step : {"before new a > d/a", "after over a > d/a"}) {
        tree.write("d/keep", "");
        recorder.answers[step] = 4;
        recorder.answers["before delete a"] = 99;
    }
    EXPECT_EQ(xmove("a", "d/a"), 4);
    EXPECT_FALSE(tree.exists("d/a"));
    tree.write("d/a", "old");
    EXPECT_EQ(move("a", "d/a"), 4);
    EXPECT_EQ(tree.read("d/a"), "1");
    EXPECT_EQ(tree.read("a"), "1");
}

// A skipped copy counts as done, so the source goes all the same.
TEST_F(KvFileMove, ASkippedCopyStillDeletesTheSource) {
    tree.write("a", "1");
    tree.makeDir("d");
    recorder.answers["before new a > d/a"] = KvFileOpUtil::kSkip;
    EXPECT_EQ(xmove("a", "d/"), KvFileOpUtil::kDone);
    EXPECT_THAT(recorder.steps,
                ElementsAre("before new a > d/a", "before delete a", "after delete a"));
    EXPECT_THAT(tree.snapshot(), ElementsAre(Pair("d/", "")));
}

TEST_F(KvFileMove, AStopOfTheDeletionIsReturned) {
    tree.write("a", "1");
    recorder.answers["before delete a"] = 8;
    EXPECT_EQ(move("a", "d/"), 8);
    EXPECT_EQ(xmove("a", "d/"), 8);
    EXPECT_EQ(tree.read("a"), "1");
    EXPECT_EQ(tree.read("d/a"), "1");
}

}  // namespace
