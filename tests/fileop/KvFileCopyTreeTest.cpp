// Copies of patterns and whole trees.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "fileop/KvFileOpUtil.h"
#include "tests/fileop/StepRecorder.h"
#include "tests/fileop/TestProcess.h"
#include "tests/support/TempTree.h"

namespace fs = std::filesystem;

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

class KvFileCopyTree : public testing::Test {
  protected:
    int xcopy(const std::string& from, const std::string& to, bool overwrite = true) {
        return KvFileOpUtil::xcopy(tree.path(from).c_str(), tree.path(to).c_str(), overwrite,
                                   StepRecorder::callback, &recorder.entry);
    }
    int copy(const std::string& from, const std::string& to, bool overwrite = true) {
        return KvFileOpUtil::copy(tree.path(from).c_str(), tree.path(to).c_str(), overwrite,
                                  StepRecorder::callback, &recorder.entry);
    }

    TempTree tree;
    StepRecorder recorder{tree};
};

TEST_F(KvFileCopyTree, XcopyOfADirectoryMakesADirectoryOfItsName) {
    tree.write("a/x", "1");
    tree.makeDir("b");
    EXPECT_EQ(xcopy("a/", "b/"), KvFileOpUtil::kDone);
    EXPECT_THAT(recorder.steps,
                ElementsAre("before make b/a/", "before make b/", "after make b/", "after make b/",
                            "before new a/x > b/a/x", "after new a/x > b/a/x"));
    EXPECT_THAT(tree.snapshot("b"), ElementsAre(Pair("a/", ""), Pair("a/x", "1")));
}

TEST_F(KvFileCopyTree, CopyOfADirectoryTakesItsFilesOnly) {
    tree.write("a/x", "1");
    tree.write("a/sub/y", "2");
    tree.makeDir("top");
    EXPECT_EQ(copy("a/", "top/b/"), KvFileOpUtil::kDone);
    EXPECT_THAT(recorder.steps, ElementsAre("before make top/b/", "before make top/",
                                            "after make top/", "after make top/",
                                            "before new a/x > top/b/x", "after new a/x > top/b/x"));
    EXPECT_THAT(tree.snapshot("top/b"), ElementsAre(Pair("x", "1")));
}

// Directories are asked for level by level, whether they exist or not, and each before its entries.
TEST_F(KvFileCopyTree, XcopyOfATreeStepByStep) {
    tree.write("s/one/two/deep", "1");
    tree.makeDir("d");
    EXPECT_EQ(xcopy("s", "d"), KvFileOpUtil::kDone);
    EXPECT_THAT(recorder.steps,
                ElementsAre("before make d/s/", "before make d/", "after make d/", "after make d/",
                            "before make d/s/one/", "before make d/s/", "after make d/s/",
                            "after make d/s/", "before make d/s/one/two/", "before make d/s/one/",
                            "after make d/s/one/", "after make d/s/one/",
                            "before new s/one/two/deep > d/s/one/two/deep",
                            "after new s/one/two/deep > d/s/one/two/deep"));
}

// What the steps of a whole tree are, worked out from the rules in the order of the system.
void expectTree(const fs::path& root, const std::string& from, const std::string& to,
                std::vector<std::string>& steps) {
    const std::string made = to + fs::path(from).filename().string() + "/";
    steps.insert(steps.end(), {"before make " + made, "before make " + to, "after make " + to,
                               "after make " + to});
    for (const auto& entry : fs::directory_iterator(root / from)) {
        const std::string name = entry.path().filename().string();
        if (entry.is_directory()) {
            expectTree(root, from + "/" + name, made, steps);
        } else {
            std::string copied = from;
            copied.append("/").append(name).append(" > ").append(made).append(name);
            steps.push_back("before new " + copied);
            steps.push_back("after new " + copied);
        }
    }
}

TEST_F(KvFileCopyTree, XcopyVisitsAWideTreeInTheOrderOfTheSystem) {
    for (int i = 0; i < 200; ++i) {
        const std::string branch = std::to_string(i % 5) + "/" + std::to_string(i % 7);
        tree.write("s/" + (i % 3 == 0 ? branch : std::to_string(i % 5)) + "/f" + std::to_string(i),
                   std::to_string(i));
    }
    tree.makeDir("s/empty/empty");
    tree.makeDir("d");
    std::vector<std::string> expected;
    expectTree(tree.path(), "s", "d/", expected);
    EXPECT_EQ(xcopy("s", "d"), KvFileOpUtil::kDone);
    EXPECT_EQ(recorder.steps, expected);
    EXPECT_EQ(tree.snapshot("d/s"), tree.snapshot("s"));
}

TEST_F(KvFileCopyTree, TheDestinationGetsTheLastComponentOfTheSource) {
    tree.write("a/b/x", "1");
    const WorkingDir here(tree.path());
    EXPECT_EQ(KvFileOpUtil::xcopy("a/b/", "one/", true), KvFileOpUtil::kDone);
    EXPECT_EQ(KvFileOpUtil::xcopy("a/", "two/", true), KvFileOpUtil::kDone);
    EXPECT_EQ(KvFileOpUtil::xcopy("a/b//", "three/", true), KvFileOpUtil::kDone);
    EXPECT_TRUE(tree.exists("one/b/x"));
    EXPECT_TRUE(tree.exists("two/a/b/x"));
    EXPECT_TRUE(tree.exists("three/b/x"));
}

// The root has no last component; its listing is that of the working directory.
TEST_F(KvFileCopyTree, TheRootContributesNoName) {
    tree.write("cwd/x", "1");
    tree.makeDir("d");
    const WorkingDir here(tree.path("cwd"));
    EXPECT_EQ(KvFileOpUtil::xcopy("/", "../d/", true), KvFileOpUtil::kDone);
    EXPECT_THAT(tree.snapshot("d"), ElementsAre(Pair("x", "1")));
}

TEST_F(KvFileCopyTree, APatternTakesFilesAndWholeDirectories) {
    tree.write("s/a.dat", "1");
    tree.write("s/b.txt", "2");
    tree.write("s/c.dat/x", "3");
    tree.write("s/other/y.dat", "4");
    EXPECT_EQ(xcopy("s/*.dat", "d/"), KvFileOpUtil::kDone);
    EXPECT_THAT(tree.snapshot("d"),
                ElementsAre(Pair("a.dat", "1"), Pair("c.dat/", ""), Pair("c.dat/x", "3")));
    EXPECT_EQ(copy("s/?.dat", "e/"), KvFileOpUtil::kDone);
    EXPECT_THAT(tree.snapshot("e"), ElementsAre(Pair("a.dat", "1")));
}

TEST_F(KvFileCopyTree, EverythingBelowADirectoryGoesByTheStarPattern) {
    tree.write("s/a", "1");
    tree.write("s/sub/b", "2");
    EXPECT_EQ(xcopy("s/*", "d"), KvFileOpUtil::kBadParameters) << "d is no directory yet";
    tree.makeDir("d");
    EXPECT_EQ(xcopy("s/*", "d"), KvFileOpUtil::kDone);
    EXPECT_EQ(tree.snapshot("d"), tree.snapshot("s"));
}

TEST_F(KvFileCopyTree, ADirectoryOntoAFileNameIsRefused) {
    tree.write("a/x", "1");
    tree.write("b", "2");
    EXPECT_EQ(xcopy("a/", "b"), KvFileOpUtil::kBadParameters);
    EXPECT_EQ(copy("a/", "b"), KvFileOpUtil::kBadParameters);
    EXPECT_EQ(xcopy("a/*.txt", "b.txt"), KvFileOpUtil::kBadParameters);
    EXPECT_EQ(copy("a/*.txt", "b.txt"), KvFileOpUtil::kBadParameters);
    EXPECT_THAT(recorder.steps, IsEmpty());
}

TEST_F(KvFileCopyTree, AStopEndsTheWholeTreeAtOnce) {
    tree.write("s/one/two/file", "1");
    tree.makeDir("d");
    recorder.answers["before new s/one/two/file > d/s/one/two/file"] = 5;
    EXPECT_EQ(xcopy("s", "d"), 5);
    EXPECT_EQ(recorder.steps.back(), "before new s/one/two/file > d/s/one/two/file");
    recorder.answers.clear();
    recorder.answers["after new s/one/two/file > d/s/one/two/file"] = -77;
    EXPECT_EQ(xcopy("s", "d"), -77);
    EXPECT_TRUE(tree.exists("d/s/one/two/file")) << "what is done stays done";
}

TEST_F(KvFileCopyTree, AStopEndsAtTheFirstOfManyFiles) {
    for (int i = 0; i < 20; ++i) {
        tree.write("s/" + std::to_string(i), "");
    }
    tree.makeDir("d");
    recorder.meanwhile = [this](const std::string& step) { recorder.answers[step] = 5; };
    EXPECT_EQ(xcopy("s/*", "d"), 5);
    EXPECT_EQ(recorder.steps.size(), 1U);
    EXPECT_EQ(copy("s/*", "d"), 5);
    EXPECT_EQ(recorder.steps.size(), 2U);
    EXPECT_TRUE(tree.snapshot("d").empty());
}

TEST_F(KvFileCopyTree, AStopForADirectoryIsReturned) {
    tree.write("s/x", "1");
    tree.makeDir("d");
    recorder.answers["before make d/s/"] = 6;
    EXPECT_EQ(xcopy("s", "d/"), 6);
    recorder.answers.clear();
    recorder.answers["before make d/"] = 6;
    EXPECT_EQ(xcopy("s", "d/"), KvFileOpUtil::kDestinationNotWritable) << "a parent's is not told";
    recorder.answers.clear();
    recorder.answers["before make e/"] = 7;
    EXPECT_EQ(copy("s", "e/"), 7);
    EXPECT_TRUE(tree.snapshot("d").empty());
}

// A directory that was skipped is asked for once more, and then its files have nowhere to go.
TEST_F(KvFileCopyTree, ASkippedDirectoryIsStillMissing) {
    tree.write("s/x", "1");
    tree.makeDir("d");
    recorder.answers["before make d/s/"] = KvFileOpUtil::kSkip;
    EXPECT_EQ(xcopy("s", "d/"), KvFileOpUtil::kDestinationNotWritable);
    EXPECT_THAT(recorder.steps,
                ElementsAre("before make d/s/", "before make d/s/", "before new s/x > d/s/x"));
}

TEST_F(KvFileCopyTree, ASkippedFileDoesNotEndTheTree) {
    tree.write("s/a", "1");
    tree.write("s/b", "2");
    tree.makeDir("d");
    recorder.answers["before new s/a > d/a"] = KvFileOpUtil::kSkip;
    EXPECT_EQ(xcopy("s/*", "d"), KvFileOpUtil::kDone);
    EXPECT_THAT(tree.snapshot("d"), ElementsAre(Pair("b", "2")));
}

TEST_F(KvFileCopyTree, EveryFailureOfAFileEndsTheTreeWithItsResult) {
    tree.write("s/sub/f", "1");
    tree.write("d/s/sub/f", "2");
    EXPECT_EQ(xcopy("s", "d", false), KvFileOpUtil::kDestinationExists);
    EXPECT_EQ(tree.read("d/s/sub/f"), "2");

    tree.makeDir("e/s/sub/f");
    EXPECT_EQ(xcopy("s", "e"), KvFileOpUtil::kDestinationNotWritable);

    if (access("/dev/full", W_OK) == 0) {
        tree.makeDir("f/s/sub");
        ASSERT_EQ(symlink("/dev/full", tree.path("f/s/sub/f").c_str()), 0);
        EXPECT_EQ(xcopy("s", "f"), KvFileOpUtil::kDestinationNotWritable);
    }

    tree.makeDir("g");
    recorder.meanwhile = [this](const std::string& step) {
        if (step == "before new s/sub/f > g/s/sub/f") {
            (void)unlink(tree.path("s/sub/f").c_str());
            tree.makeDir("s/sub/f");
        }
    };
    EXPECT_EQ(xcopy("s", "g"), KvFileOpUtil::kReadError);

    tree.makeDir("t/sub");
    ASSERT_EQ(symlink("nowhere", tree.path("t/sub/dangling").c_str()), 0);
    EXPECT_EQ(xcopy("t", "g"), KvFileOpUtil::kCannotOpenSource);
    EXPECT_EQ(xcopy("t/sub/dangling", "g/"), KvFileOpUtil::kCannotOpenSource);
}

TEST_F(KvFileCopyTree, AFileWhereADirectoryMustBeIsNotWritable) {
    tree.write("s/sub/f", "1");
    tree.write("d/s/sub", "a file");
    EXPECT_EQ(xcopy("s", "d"), KvFileOpUtil::kDestinationNotWritable);
    EXPECT_EQ(tree.read("d/s/sub"), "a file");
}

TEST_F(KvFileCopyTree, LinksToDirectoriesAreCopiedAsDirectories) {
    tree.write("target/f", "1");
    tree.makeDir("s");
    tree.makeDir("d");
    ASSERT_EQ(symlink("../target", tree.path("s/link").c_str()), 0);
    EXPECT_EQ(xcopy("s", "d"), KvFileOpUtil::kDone);
    EXPECT_FALSE(fs::is_symlink(tree.path("d/s/link")));
    EXPECT_EQ(tree.read("d/s/link/f"), "1");
    EXPECT_EQ(xcopy("s/link", "e/"), KvFileOpUtil::kDone);
    EXPECT_EQ(tree.read("e/link/f"), "1");
}

TEST_F(KvFileCopyTree, NamesThatLookLikePatternsAreCopiedOnce) {
    tree.write("s/st*r", "1");
    tree.write("s/star", "2");
    tree.write("s/d*r/x", "3");
    tree.write("s/a b/line\nbreak", "4");
    tree.makeDir("d");
    EXPECT_EQ(xcopy("s", "d"), KvFileOpUtil::kDone);
    EXPECT_EQ(tree.snapshot("d/s"), tree.snapshot("s"));
    EXPECT_EQ(
        std::count(recorder.steps.begin(), recorder.steps.end(), "before new s/star > d/s/star"),
        1);
}

// A file is handled by its path as listed; a directory is a path again, whose backslash separates.
TEST_F(KvFileCopyTree, ABackslashInANameSeparatesOnlyInDirectories) {
    tree.write("s/back\\slash", "1");
    tree.write("s/sub\\dir/x", "2");
    tree.makeDir("d");
    EXPECT_EQ(xcopy("s", "d"), KvFileOpUtil::kDone);
    EXPECT_THAT(tree.snapshot("d"), ElementsAre(Pair("s/", ""), Pair("s/back\\slash", "1")));
}

// "d/\\" names d itself: the copy goes on into its own source until a path is too long.
TEST_F(KvFileCopyTree, ADirectoryNamedBackslashEndsTheCopyButNotTheProcess) {
    const std::string name(200, 's');
    tree.write(name + "/\\/x", "1");
    tree.makeDir("d");
    EXPECT_EQ(xcopy(name, "d"), KvFileOpUtil::kDestinationNotWritable);
}

TEST_F(KvFileCopyTree, ATreeOf500LevelsIsCopiedWithoutHoldingDirectoriesOpen) {
    std::string path = tree.path("s");
    for (int i = 0; i < 500; ++i) {
        path += "/abcde";
    }
    fs::create_directories(path);
    tree.write(path.substr(tree.path().size() + 1) + "/f", "deep");
    tree.makeDir("d");
    const int before = nextDescriptor();
    const FewDescriptors few(before + 4);
    EXPECT_EQ(xcopy("s", "d"), KvFileOpUtil::kDone);
    EXPECT_EQ(nextDescriptor(), before);
    EXPECT_EQ(tree.read("d" + path.substr(tree.path().size()) + "/f"), "deep");
    EXPECT_EQ(KvFileOpUtil::xunlink(tree.path("d").c_str()), KvFileOpUtil::kDone);
    EXPECT_FALSE(tree.exists("d"));
}

// The source fits the longest path that the system takes; its copy, a little deeper, does not.
TEST_F(KvFileCopyTree, ADestinationBeyondTheLongestPathIsNotWritable) {
    std::string path = tree.makeDir("s");
    while (path.size() + 201 < 4096) {
        path += "/" + std::string(200, 'x');
        fs::create_directory(path);
    }
    EXPECT_EQ(xcopy("s", "a-longer-way-down/" + std::string(200, 'y') + "/"),
              KvFileOpUtil::kDestinationNotWritable);
    EXPECT_EQ(KvFileOpUtil::xunlink(tree.path("a-longer-way-down").c_str()), 0);
    EXPECT_EQ(KvFileOpUtil::xunlink(tree.path("s").c_str()), 0);
    EXPECT_FALSE(tree.exists("s"));
}

TEST_F(KvFileCopyTree, ADirectoryThatCannotBeSearchedFailsLikeAFile) {
    tree.write("s/sub/f", "1");
    tree.makeDir("d");
    for (const char* const name : {"", "d"}) {
        ASSERT_EQ(chmod(tree.path(name).c_str(), 0777), 0);
    }
    ASSERT_EQ(chmod(tree.path("s").c_str(), 0444), 0);
    EXPECT_EQ(resultInChild([this] { return xcopy("s/*", "d/"); }),
              KvFileOpUtil::kCannotOpenSource);
}

TEST_F(KvFileCopyTree, APlainNameInADirectoryThatCannotBeSearchedFailsToo) {
    tree.write("s/f", "1");
    tree.makeDir("d");
    for (const char* const name : {"", "d"}) {
        ASSERT_EQ(chmod(tree.path(name).c_str(), 0777), 0);
    }
    ASSERT_EQ(chmod(tree.path("s").c_str(), 0444), 0);
    EXPECT_EQ(resultInChild([this] { return xcopy("s/f", "d/"); }),
              KvFileOpUtil::kCannotOpenSource);
    EXPECT_EQ(resultInChild([this] { return copy("s/f", "d/"); }), KvFileOpUtil::kCannotOpenSource);
    EXPECT_EQ(resultInChild([this] { return xcopy("s/none", "d/"); }),
              KvFileOpUtil::kCannotOpenSource)
        << "nobody can tell that it is not there";
}

// A name needs no listing; everything else in such a directory does.
TEST_F(KvFileCopyTree, OnlyAPlainNameIsCopiedFromAnUnreadableDirectory) {
    tree.write("s/f", "1");
    tree.makeDir("d");
    for (const char* const name : {"", "d"}) {
        ASSERT_EQ(chmod(tree.path(name).c_str(), 0777), 0);
    }
    ASSERT_EQ(chmod(tree.path("s").c_str(), 0111), 0);
    EXPECT_EQ(resultInChild([this] { return xcopy("s/*", "d/"); }),
              KvFileOpUtil::kCannotOpenSource);
    EXPECT_EQ(resultInChild([this] { return copy("s/", "d/"); }), KvFileOpUtil::kCannotOpenSource);
    EXPECT_EQ(resultInChild([this] { return xcopy("s/f", "d/"); }), KvFileOpUtil::kDone);
    EXPECT_EQ(tree.read("d/f"), "1");
}

TEST_F(KvFileCopyTree, AListedDirectoryThatIsGoneIsPassedOver) {
    tree.makeDir("s/a");
    tree.makeDir("s/b");
    tree.makeDir("d");
    recorder.meanwhile = [this](const std::string& step) {
        if (step.find("d/a") != std::string::npos) {
            (void)rmdir(tree.path("s/b").c_str());
        } else if (step.find("d/b") != std::string::npos) {
            (void)rmdir(tree.path("s/a").c_str());
        }
    };
    EXPECT_EQ(xcopy("s/*", "d/"), KvFileOpUtil::kDone);
    EXPECT_NE(tree.exists("d/a"), tree.exists("d/b"));
}

}  // namespace
