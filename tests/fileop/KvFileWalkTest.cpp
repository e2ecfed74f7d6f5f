#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

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

class KvFileWalk : public testing::Test {
  protected:
    bool walk(const std::string& name) {
        return KvFileOpUtil::xaccess(tree.path(name).c_str(), StepRecorder::callback,
                                     &recorder.entry);
    }

    TempTree tree;
    StepRecorder recorder{tree};
};

TEST_F(KvFileWalk, DirectoriesComeBeforeTheirContents) {
    tree.write("d/one/two/f", "1");
    EXPECT_TRUE(walk("d"));
    EXPECT_THAT(recorder.steps,
                ElementsAre("before visit-dir d", "before visit-dir d/one",
                            "before visit-dir d/one/two", "before visit-file d/one/two/f"));
}

TEST_F(KvFileWalk, APathIsShownAsItIsGivenButWithSlashes) {
    tree.write("d/e/f", "1");
    EXPECT_TRUE(walk("d/e/"));
    EXPECT_TRUE(walk("d\\e"));
    EXPECT_TRUE(walk("d\\e\\f"));
    EXPECT_THAT(recorder.steps, ElementsAre("before visit-dir d/e/", "before visit-file d/e/f",
                                            "before visit-dir d/e", "before visit-file d/e/f",
                                            "before visit-file d/e/f"));
}

// What the visits of a whole tree are, worked out from the rules in the order of the system.
void expectTree(const fs::path& root, const std::string& name, std::vector<std::string>& steps) {
    steps.push_back("before visit-dir " + name);
    for (const auto& entry : fs::directory_iterator(root / name)) {
        const std::string path = name + "/" + entry.path().filename().string();
        if (entry.is_directory()) {
            expectTree(root, path, steps);
        } else {
            steps.push_back("before visit-file " + path);
        }
    }
}

TEST_F(KvFileWalk, AWideTreeIsVisitedInTheOrderOfTheSystem) {
    for (int i = 0; i < 100; ++i) {
        tree.write(
            "d/" + std::to_string(i % 5) + "/" + std::to_string(i % 7) + "/" + std::to_string(i),
            "");
    }
    std::vector<std::string> expected;
    expectTree(tree.path(), "d", expected);
    EXPECT_TRUE(walk("d"));
    EXPECT_EQ(recorder.steps, expected);
}

TEST_F(KvFileWalk, TheEntryTellsSizeAndTime) {
    tree.write("d/f", "12345");
    tree.setTime("d/f", 1000000001);
    tree.setTime("d", 1000000002);
    recorder.entry.destination = "stale";
    recorder.entry.phase = KvFileOpUtil::kAfter;
    EXPECT_TRUE(walk("d/f"));
    EXPECT_EQ(recorder.entry.size, 5U);
    EXPECT_EQ(recorder.entry.modifyTime, 1000000001);
    EXPECT_EQ(recorder.entry.phase, KvFileOpUtil::kBefore);
    EXPECT_EQ(recorder.entry.destination, nullptr);
    tree.makeDir("e");
    tree.setTime("e", 1000000002);
    EXPECT_TRUE(walk("e"));
    EXPECT_EQ(recorder.entry.size, 0U) << "of a directory";
    EXPECT_EQ(recorder.entry.modifyTime, 1000000002);
}

TEST_F(KvFileWalk, ASizeIsCutTo32Bits) {
    ASSERT_EQ(truncate(tree.write("f", "").c_str(), 4294967296 + 7), 0);
    EXPECT_TRUE(walk("f"));
    EXPECT_EQ(recorder.entry.size, 7U);
}

TEST_F(KvFileWalk, AMissingPathCallsNobody) {
    tree.write("file", "");
    EXPECT_FALSE(walk("missing"));
    EXPECT_FALSE(walk("file/")) << "a file is no directory";
    EXPECT_FALSE(walk("*")) << "nor is anything a pattern here";
    EXPECT_FALSE(walk(std::string(5000, 'x')));
    EXPECT_FALSE(KvFileOpUtil::xaccess(nullptr, StepRecorder::callback, &recorder.entry));
    EXPECT_FALSE(KvFileOpUtil::xaccess("", StepRecorder::callback, &recorder.entry));
    EXPECT_THAT(recorder.steps, IsEmpty());
}

TEST_F(KvFileWalk, ARecordOfAnotherSizeIsRefused) {
    tree.write("f", "");
    for (const uint32_t size : {0U, 1U, 48U, 52U, 55U, 57U, 64U, 0xFFFFFFFFU}) {
        recorder.entry.cbSize = size;
        EXPECT_FALSE(walk("f")) << size;
    }
    EXPECT_THAT(recorder.steps, IsEmpty());
}

TEST_F(KvFileWalk, WithoutCallbackOrEntryItTellsWhetherThePathExists) {
    const std::string file = tree.write("f", "");
    const std::string missing = tree.path("missing");
    recorder.entry.cbSize = 0;
    EXPECT_TRUE(KvFileOpUtil::xaccess(file.c_str(), nullptr, &recorder.entry));
    EXPECT_TRUE(KvFileOpUtil::xaccess(file.c_str(), StepRecorder::callback, nullptr));
    EXPECT_TRUE(KvFileOpUtil::xaccess(file.c_str()));
    EXPECT_FALSE(KvFileOpUtil::xaccess(missing.c_str(), nullptr, &recorder.entry));
    EXPECT_FALSE(KvFileOpUtil::xaccess(missing.c_str(), StepRecorder::callback, nullptr));
    EXPECT_FALSE(KvFileOpUtil::xaccess(nullptr));
    EXPECT_FALSE(KvFileOpUtil::xaccess(""));
    EXPECT_THAT(recorder.steps, IsEmpty());
}

TEST_F(KvFileWalk, TheAnswerOfTheCallbackDoesNotMatter) {
    tree.write("d/f", "");
    recorder.answers["before visit-dir d"] = 1;
    recorder.answers["before visit-file d/f"] = -5;
    EXPECT_TRUE(walk("d"));
    recorder.answers["before visit-dir d"] = KvFileOpUtil::kSkip;
    EXPECT_TRUE(walk("d"));
    EXPECT_EQ(recorder.steps.size(), 4U);
}

TEST_F(KvFileWalk, ACallbackKeepsTheWalkOutByChangingTheAction) {
    tree.write("d/closed/f", "");
    recorder.meanwhile = [this](const std::string& step) {
        if (step == "before visit-dir d/closed") {
            recorder.entry.action = KvFileOpUtil::kVisitFile;
        }
    };
    EXPECT_TRUE(walk("d"));
    EXPECT_THAT(recorder.steps, ElementsAre("before visit-dir d", "before visit-dir d/closed"));
}

TEST_F(KvFileWalk, ACallbackMayDeleteTheDirectoryItVisits) {
    tree.write("d/gone/f", "");
    recorder.meanwhile = [this](const std::string& step) {
        if (step == "before visit-dir d/gone") {
            EXPECT_EQ(KvFileOpUtil::xunlink(tree.path("d/gone").c_str()), KvFileOpUtil::kDone);
        }
    };
    EXPECT_TRUE(walk("d"));
    EXPECT_THAT(recorder.steps, ElementsAre("before visit-dir d", "before visit-dir d/gone"));
    EXPECT_FALSE(tree.exists("d/gone"));
}

TEST_F(KvFileWalk, WhatCannotBeLookedAtEndsTheWalk) {
    tree.makeDir("d/sub");
    ASSERT_EQ(symlink("nowhere", tree.path("d/sub/dangling").c_str()), 0);
    EXPECT_FALSE(walk("d"));
    EXPECT_THAT(recorder.steps, ElementsAre("before visit-dir d", "before visit-dir d/sub"));
}

// The listed name becomes a path, whose backslash separates: there is no such file.
TEST_F(KvFileWalk, ABackslashInANameEndsTheWalk) {
    tree.write("d/back\\slash", "");
    EXPECT_FALSE(walk("d"));
    EXPECT_THAT(recorder.steps, ElementsAre("before visit-dir d"));
}

// "d/\\" names d itself, and so on until the path is too long.
TEST_F(KvFileWalk, ADirectoryNamedBackslashEndsTheWalk) {
    tree.makeDir("d/\\");
    EXPECT_FALSE(walk("d"));
    EXPECT_GT(recorder.steps.size(), 3000U);
}

TEST_F(KvFileWalk, ALinkIsVisitedAsWhatItPointsAt) {
    tree.write("target/f", "123");
    tree.makeDir("d");
    ASSERT_EQ(symlink("../target", tree.path("d/link").c_str()), 0);
    EXPECT_TRUE(walk("d"));
    EXPECT_THAT(recorder.steps, ElementsAre("before visit-dir d", "before visit-dir d/link",
                                            "before visit-file d/link/f"));
    EXPECT_EQ(KvFileOpUtil::getDirSize(tree.path("d").c_str()), 3U);
}

TEST_F(KvFileWalk, ALoopOfLinksEnds) {
    tree.makeDir("d");
    ASSERT_EQ(symlink(".", tree.path("d/loop").c_str()), 0);
    EXPECT_FALSE(walk("d")) << "after as many links as the system follows";
    EXPECT_GT(recorder.steps.size(), 2U);
}

TEST_F(KvFileWalk, ATreeOf500LevelsNeedsNoDescriptors) {
    std::string path = tree.path("d");
    for (int i = 0; i < 500; ++i) {
        path += "/abcde";
    }
    fs::create_directories(path);
    const FewDescriptors few(nextDescriptor() + 4);
    EXPECT_TRUE(walk("d"));
    EXPECT_EQ(recorder.steps.size(), 501U);
}

}  // namespace
