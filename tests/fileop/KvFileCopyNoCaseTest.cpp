// The copy that finds a name in any case.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "fileop/KvFileOpUtil.h"
#include "tests/fileop/StepRecorder.h"
#include "tests/support/TempTree.h"

namespace fs = std::filesystem;

namespace {

class KvFileCopyNoCase : public testing::Test {
  protected:
    int copyncase(const std::string& from, const std::string& to, bool overwrite = true) {
        return KvFileOpUtil::copyncase(tree.path(from).c_str(), tree.path(to).c_str(), overwrite,
                                       StepRecorder::callback, &recorder.entry);
    }

    // Names that differ in case only are one file there.
    bool ignoresCase() {
        tree.write("case", "");
        return fs::exists(tree.path("CASE"));
    }

    TempTree tree;
    StepRecorder recorder{tree};
};

TEST_F(KvFileCopyNoCase, ANameIsFoundInAnyCase) {
    if (ignoresCase()) {
        GTEST_SKIP() << "the file system does not keep the names apart";
    }
    tree.write("d/README.txt", "1");
    tree.makeDir("d/readme.TXT");
    EXPECT_EQ(copyncase("d/Readme.TXT", "out"), KvFileOpUtil::kDone);
    EXPECT_EQ(tree.read("out"), "1");
    EXPECT_EQ(recorder.steps.back(), "after new d/README.txt > out");
}

TEST_F(KvFileCopyNoCase, TheExactNameWinsOverAnyOtherCase) {
    if (ignoresCase()) {
        GTEST_SKIP() << "the file system does not keep the names apart";
    }
    const std::vector<std::string> names{"README.txt", "readme.txt", "Readme.TXT", "rEADME.txt"};
    for (const std::string& name : names) {
        tree.write("d/" + name, name);
    }
    for (const std::string& name : names) {
        EXPECT_EQ(copyncase("d/" + name, "out"), KvFileOpUtil::kDone);
        EXPECT_EQ(tree.read("out"), name);
    }
}

TEST_F(KvFileCopyNoCase, WithoutTheExactNameTheFirstListedIsTaken) {
    if (ignoresCase()) {
        GTEST_SKIP() << "the file system does not keep the names apart";
    }
    tree.write("d/README", "upper");
    tree.write("d/readme", "lower");
    std::string first;
    for (const auto& entry : fs::directory_iterator(tree.path("d"))) {
        first = first.empty() ? tree.read("d/" + entry.path().filename().string()) : first;
    }
    EXPECT_EQ(copyncase("d/Readme", "out"), KvFileOpUtil::kDone);
    EXPECT_EQ(tree.read("out"), first);
}

TEST_F(KvFileCopyNoCase, NoFileOfTheNameIsTold) {
    tree.makeDir("d/readme");
    ASSERT_EQ(symlink("nowhere", tree.path("d/README").c_str()), 0);
    EXPECT_EQ(copyncase("d/Readme", "out"), KvFileOpUtil::kNoSuchName);
    EXPECT_EQ(copyncase("d/", "out"), KvFileOpUtil::kNoSuchName);
    EXPECT_EQ(copyncase("missing/x", "out"), KvFileOpUtil::kNoSuchName);
    EXPECT_EQ(KvFileOpUtil::copyncase("", "out", true), KvFileOpUtil::kNoSuchName);
    EXPECT_EQ(KvFileOpUtil::copyncase(nullptr, "out", true), KvFileOpUtil::kBadParameters);
    EXPECT_EQ(KvFileOpUtil::copyncase("in", nullptr, true), KvFileOpUtil::kBadParameters);
    EXPECT_FALSE(tree.exists("out"));
}

TEST_F(KvFileCopyNoCase, CopyInAnyCaseReturnsTheResultOfTheCopy) {
    tree.write("d/README", "1");
    tree.write("out", "2");
    EXPECT_EQ(copyncase("d\\readme", "out", false), KvFileOpUtil::kDestinationExists);
    EXPECT_EQ(copyncase("d/readme", "", true), KvFileOpUtil::kDone) << "into the directory";
    EXPECT_EQ(KvFileOpUtil::copyncase(tree.path("d/readme").c_str(), "", true),
              KvFileOpUtil::kBadParameters);
    recorder.answers["before over d/README > out"] = 11;
    EXPECT_EQ(copyncase("d/readme", "out"), 11);
}

}  // namespace
