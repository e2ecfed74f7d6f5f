#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>
#include <filesystem>
#include <string>
#include <vector>

#include "base/KvFailure.h"
#include "base/KvScoped.h"
#include "fileop/KvDirList.h"
#include "fileop/KvFileOpUtil.h"
#include "tests/fileop/StepRecorder.h"
#include "tests/fileop/TestProcess.h"
#include "tests/support/TempTree.h"

namespace fs = std::filesystem;

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::UnorderedElementsAre;

class KvFileDelete : public testing::Test {
  protected:
    int unlink(const std::string& name) {
        return KvFileOpUtil::unlink(tree.path(name).c_str(), StepRecorder::callback,
                                    &recorder.entry);
    }
    int xunlink(const std::string& name) {
        return KvFileOpUtil::xunlink(tree.path(name).c_str(), StepRecorder::callback,
                                     &recorder.entry);
    }
    // Both must delete the same way.
    template <typename Check>
    void withBoth(const Check& check) {
        check([this](const std::string& name) { return unlink(name); });
        recorder.steps.clear();
        recorder.answers.clear();
        check([this](const std::string& name) { return xunlink(name); });
    }

    TempTree tree;
    StepRecorder recorder{tree};
};

TEST_F(KvFileDelete, NoPathIsABadParameter) {
    EXPECT_EQ(KvFileOpUtil::unlink(nullptr), KvFileOpUtil::kBadParameters);
    EXPECT_EQ(KvFileOpUtil::unlink(""), KvFileOpUtil::kBadParameters);
    EXPECT_EQ(KvFileOpUtil::xunlink(nullptr), KvFileOpUtil::kBadParameters);
    EXPECT_EQ(KvFileOpUtil::xunlink(""), KvFileOpUtil::kBadParameters);
    // The root without its '/' is no path either.
    EXPECT_EQ(KvFileOpUtil::unlink("/"), KvFileOpUtil::kBadParameters);
}

TEST_F(KvFileDelete, AFileIsAskedForBeforeAndAfter) {
    withBoth([this](const auto& remove) {
        tree.write("d/f", "1");
        recorder.entry.destination = "stale";
        EXPECT_EQ(remove("d/f"), KvFileOpUtil::kDone);
        EXPECT_THAT(recorder.steps, ElementsAre("before delete d/f", "after delete d/f"));
        EXPECT_FALSE(tree.exists("d/f"));
        EXPECT_TRUE(tree.exists("d"));
    });
}

TEST_F(KvFileDelete, AnEmptyDirectoryIsRemoved) {
    withBoth([this](const auto& remove) {
        for (const char* const name : {"d", "d/", "d\\"}) {
            recorder.steps.clear();
            tree.makeDir("d");
            EXPECT_EQ(remove(name), KvFileOpUtil::kDone);
            EXPECT_THAT(recorder.steps, ElementsAre("before remove d", "after remove d"));
            EXPECT_FALSE(tree.exists("d"));
        }
    });
}

TEST_F(KvFileDelete, WhatIsGoneAlreadyIsNoFailure) {
    EXPECT_EQ(unlink("missing"), KvFileOpUtil::kDone);
    EXPECT_THAT(recorder.steps, ElementsAre("before delete missing")) << "nothing after it";
    EXPECT_EQ(recorder.entry.phase, KvFileOpUtil::kAfter);
    tree.write("file", "");
    EXPECT_EQ(unlink("file/x"), KvFileOpUtil::kDone) << "nor is a parent that is a file";
    recorder.steps.clear();
    EXPECT_EQ(xunlink("missing"), KvFileOpUtil::kDone);
    EXPECT_EQ(xunlink("missing/"), KvFileOpUtil::kDone);
    EXPECT_EQ(xunlink("missing*"), KvFileOpUtil::kDone);
    EXPECT_EQ(unlink("missing*"), KvFileOpUtil::kDone);
    EXPECT_THAT(recorder.steps, IsEmpty());
}

TEST_F(KvFileDelete, UnlinkLeavesADirectoryThatHoldsEntries) {
    tree.write("d/f", "1");
    EXPECT_EQ(unlink("d"), KvFileOpUtil::kDone);
    EXPECT_THAT(recorder.steps, ElementsAre("before remove d"));
    EXPECT_EQ(recorder.entry.phase, KvFileOpUtil::kAfter);
    EXPECT_EQ(tree.read("d/f"), "1");
}

TEST_F(KvFileDelete, XunlinkRemovesContentsBeforeTheirDirectory) {
    tree.write("d/one/two/f", "1");
    EXPECT_EQ(xunlink("d/"), KvFileOpUtil::kDone);
    EXPECT_THAT(recorder.steps, ElementsAre("before delete d/one/two/f", "after delete d/one/two/f",
                                            "before remove d/one/two", "after remove d/one/two",
                                            "before remove d/one", "after remove d/one",
                                            "before remove d", "after remove d"));
    EXPECT_FALSE(tree.exists("d"));
}

// What the steps of a whole tree are, worked out from the rules in the order of the system.
void expectTree(const fs::path& root, const std::string& name, std::vector<std::string>& steps) {
    for (const auto& entry : fs::directory_iterator(root / name)) {
        const std::string path = name + "/" + entry.path().filename().string();
        if (entry.is_directory()) {
            expectTree(root, path, steps);
        } else {
            steps.insert(steps.end(), {"before delete " + path, "after delete " + path});
        }
    }
    steps.insert(steps.end(), {"before remove " + name, "after remove " + name});
}

TEST_F(KvFileDelete, XunlinkOfAWideTreeGoesInTheOrderOfTheSystem) {
    for (int i = 0; i < 100; ++i) {
        tree.write(
            "d/" + std::to_string(i % 5) + "/" + std::to_string(i % 7) + "/" + std::to_string(i),
            "");
    }
    tree.makeDir("d/empty");
    std::vector<std::string> expected;
    expectTree(tree.path(), "d", expected);
    EXPECT_EQ(xunlink("d"), KvFileOpUtil::kDone);
    EXPECT_EQ(recorder.steps, expected);
    EXPECT_FALSE(tree.exists("d"));
}

TEST_F(KvFileDelete, XunlinkOfAPatternTakesFilesAndWholeDirectories) {
    tree.write("d/a.dat", "");
    tree.write("d/b.txt", "");
    tree.write("d/c.dat/x", "");
    tree.write("d/other/y.dat", "");
    EXPECT_EQ(xunlink("d/*.dat"), KvFileOpUtil::kDone);
    EXPECT_THAT(tree.snapshot("d"),
                ElementsAre(Pair("b.txt", ""), Pair("other/", ""), Pair("other/y.dat", "")));
}

TEST_F(KvFileDelete, UnlinkOfAPatternTakesFilesAndEmptyDirectories) {
    tree.write("d/a.dat", "");
    tree.write("d/b.txt", "");
    tree.write("d/full.dat/x", "");
    tree.makeDir("d/empty.dat");
    tree.makeDir("d/other");
    EXPECT_EQ(unlink("d/*.dat"), KvFileOpUtil::kDone);
    EXPECT_THAT(recorder.steps,
                UnorderedElementsAre("before delete d/a.dat", "after delete d/a.dat",
                                     "before remove d/empty.dat", "after remove d/empty.dat",
                                     "before remove d/full.dat"));
    EXPECT_THAT(tree.snapshot("d"), ElementsAre(Pair("b.txt", ""), Pair("full.dat/", ""),
                                                Pair("full.dat/x", ""), Pair("other/", "")));
}

TEST_F(KvFileDelete, ADirectoryThatBearsAPatternAsItsNameIsThatDirectory) {
    tree.makeDir("d/*");
    tree.write("d/f", "");
    EXPECT_EQ(unlink("d/*"), KvFileOpUtil::kDone);
    EXPECT_THAT(tree.snapshot("d"), ElementsAre(Pair("f", "")));
}

TEST_F(KvFileDelete, AStarInAFileNameIsAPattern) {
    tree.write("d/st*r", "");
    tree.write("d/star", "");
    tree.write("d/stop", "");
    EXPECT_EQ(xunlink("d/st*r"), KvFileOpUtil::kDone);
    EXPECT_THAT(tree.snapshot("d"), ElementsAre(Pair("stop", "")));
    tree.write("e/st*r", "");
    tree.write("e/stop", "");
    EXPECT_EQ(xunlink("e"), KvFileOpUtil::kDone);
    EXPECT_FALSE(tree.exists("e"));
}

TEST_F(KvFileDelete, AWildcardInTheDirectoryPartIsNoPattern) {
    tree.write("a*b/f", "");
    tree.write("axb/f", "");
    EXPECT_EQ(xunlink("a*b/f"), KvFileOpUtil::kDone);
    EXPECT_FALSE(tree.exists("a*b/f"));
    tree.write("a*b/f", "");
    EXPECT_EQ(unlink("a*b/f"), KvFileOpUtil::kDone);
    EXPECT_FALSE(tree.exists("a*b/f"));
    EXPECT_TRUE(tree.exists("axb/f"));
}

TEST_F(KvFileDelete, ASkippedEntryStaysAndCountsAsDeleted) {
    withBoth([this](const auto& remove) {
        tree.write("d/f", "");
        recorder.answers["before delete d/f"] = KvFileOpUtil::kSkip;
        EXPECT_EQ(remove("d/f"), KvFileOpUtil::kDone);
        EXPECT_THAT(recorder.steps, ElementsAre("before delete d/f"));
        EXPECT_TRUE(tree.exists("d/f"));
    });
    EXPECT_EQ(xunlink("d"), KvFileOpUtil::kDone);
    EXPECT_EQ(recorder.steps.back(), "before remove d") << "it still holds the skipped file";
    EXPECT_TRUE(tree.exists("d/f"));
}

TEST_F(KvFileDelete, AnswersForADirectoryCountLikeThoseForAFile) {
    withBoth([this](const auto& remove) {
        tree.makeDir("d");
        recorder.answers["before remove d"] = KvFileOpUtil::kSkip;
        EXPECT_EQ(remove("d"), KvFileOpUtil::kDone);
        EXPECT_THAT(recorder.steps, ElementsAre("before remove d"));
        EXPECT_TRUE(tree.exists("d"));
        recorder.answers["before remove d"] = 7;
        EXPECT_EQ(remove("d"), 7);
        EXPECT_TRUE(tree.exists("d"));
        recorder.answers.clear();
        recorder.answers["after remove d"] = 8;
        EXPECT_EQ(remove("d"), 8);
        EXPECT_FALSE(tree.exists("d"));
        tree.makeDir("d");
        recorder.answers["after remove d"] = KvFileOpUtil::kSkip;
        EXPECT_EQ(remove("d"), KvFileOpUtil::kDone);
        EXPECT_FALSE(tree.exists("d"));
    });
}

TEST_F(KvFileDelete, AnyOtherAnswerStopsAndIsReturned) {
    withBoth([this](const auto& remove) {
        for (const int stop : {1, 3, -1, -6, 1000000}) {
            tree.write("d/f", "");
            recorder.answers["before delete d/f"] = stop;
            EXPECT_EQ(remove("d/f"), stop);
            EXPECT_TRUE(tree.exists("d/f"));
        }
    });
}

TEST_F(KvFileDelete, AnAnswerAfterTheDeletionCanOnlyStop) {
    withBoth([this](const auto& remove) {
        tree.write("d/f", "");
        recorder.answers["after delete d/f"] = KvFileOpUtil::kSkip;
        EXPECT_EQ(remove("d/f"), KvFileOpUtil::kDone);
        tree.write("d/f", "");
        recorder.answers["after delete d/f"] = 9;
        EXPECT_EQ(remove("d/f"), 9);
        EXPECT_FALSE(tree.exists("d/f"));
    });
}

TEST_F(KvFileDelete, AStopInsideATreeEndsIt) {
    tree.write("d/one/two/f", "");
    recorder.answers["after remove d/one/two"] = 5;
    EXPECT_EQ(xunlink("d"), 5);
    EXPECT_EQ(recorder.steps.back(), "after remove d/one/two");
    EXPECT_THAT(tree.snapshot("d"), ElementsAre(Pair("one/", "")));
    recorder.answers["before remove d/one"] = 6;
    EXPECT_EQ(xunlink("d/*"), 6);
    EXPECT_EQ(unlink("d/*"), 6);
    EXPECT_TRUE(tree.exists("d/one"));
}

TEST_F(KvFileDelete, AskingNeedsBothTheCallbackAndTheEntry) {
    tree.write("a", "");
    tree.write("b", "");
    EXPECT_EQ(KvFileOpUtil::unlink(tree.path("a").c_str(), StepRecorder::callback, nullptr), 0);
    EXPECT_EQ(KvFileOpUtil::xunlink(tree.path("b").c_str(), nullptr, &recorder.entry), 0);
    EXPECT_THAT(recorder.steps, IsEmpty());
    EXPECT_EQ(recorder.entry.action, KvFileOpUtil::kDeleteFile) << "it is filled all the same";
    EXPECT_EQ(recorder.entry.phase, KvFileOpUtil::kAfter);
    EXPECT_TRUE(tree.snapshot().empty());
}

// The last component "." cannot be removed, whoever asks.
TEST_F(KvFileDelete, AnyOtherFailureOfTheSystemIsABadParameter) {
    tree.makeDir("d");
    EXPECT_EQ(unlink("d/."), KvFileOpUtil::kBadParameters);
    EXPECT_THAT(recorder.steps, ElementsAre("before remove d/."));
    EXPECT_EQ(recorder.entry.phase, KvFileOpUtil::kAfter);
    EXPECT_EQ(xunlink("d/."), KvFileOpUtil::kBadParameters);
    EXPECT_EQ(unlink(std::string(5000, 'x')), KvFileOpUtil::kBadParameters);
}

TEST_F(KvFileDelete, AFailureInsideATreeEndsIt) {
    tree.write("d/locked/f", "");
    ASSERT_EQ(chmod(tree.path().c_str(), 0777), 0);
    ASSERT_EQ(chmod(tree.path("d").c_str(), 0777), 0);
    ASSERT_EQ(chmod(tree.path("d/locked").c_str(), 0555), 0);
    for (const char* const name : {"d", "d/*", "d/locked/f", "d/locked/*"}) {
        EXPECT_EQ(resultInChild([&] { return xunlink(name); }), KvFileOpUtil::kBadParameters);
    }
    EXPECT_EQ(resultInChild([&] { return unlink("d/locked/f"); }), KvFileOpUtil::kBadParameters);
    EXPECT_EQ(resultInChild([&] { return unlink("d/locked/*"); }), KvFileOpUtil::kBadParameters);
    EXPECT_TRUE(tree.exists("d/locked/f"));
}

TEST_F(KvFileDelete, ALinkToADirectoryIsAnEntryLikeAFile) {
    tree.write("target/f", "1");
    for (const char* const name : {"d", "d/", "d/*", "d/link", "d/link/"}) {
        tree.makeDir("d");
        ASSERT_EQ(symlink("../target", tree.path("d/link").c_str()), 0);
        recorder.steps.clear();
        EXPECT_EQ(xunlink(name), KvFileOpUtil::kDone) << name;
        EXPECT_EQ(recorder.steps.front(), "before delete d/link");
        EXPECT_FALSE(tree.exists("d/link")) << name;
        EXPECT_EQ(tree.read("target/f"), "1");
    }
    for (const char* const name : {"d/link", "d/link/", "d/*"}) {
        tree.makeDir("d");
        ASSERT_EQ(symlink("../target", tree.path("d/link").c_str()), 0);
        EXPECT_EQ(unlink(name), KvFileOpUtil::kDone) << name;
        EXPECT_FALSE(tree.exists("d/link")) << name;
        EXPECT_EQ(tree.read("target/f"), "1");
    }
}

TEST_F(KvFileDelete, XunlinkContentsFollowsTheNamedLinkAndNoOther) {
    tree.write("target/sub/f", "");
    tree.write("other/f", "1");
    ASSERT_EQ(symlink("../other", tree.path("target/inner").c_str()), 0);
    ASSERT_EQ(symlink("target", tree.path("link").c_str()), 0);
    EXPECT_EQ(KvFileOpUtil::xunlinkContents(tree.path("link/").c_str()), KvFileOpUtil::kDone);
    EXPECT_TRUE(fs::is_symlink(tree.path("link")));
    EXPECT_THAT(tree.snapshot("target"), IsEmpty());
    EXPECT_EQ(tree.read("other/f"), "1");
    EXPECT_EQ(KvFileOpUtil::xunlinkContents(tree.path("target").c_str()), KvFileOpUtil::kDone);
    EXPECT_FALSE(tree.exists("target")) << "a directory itself goes whole";
    EXPECT_EQ(KvFileOpUtil::xunlinkContents(""), KvFileOpUtil::kBadParameters);
}

TEST_F(KvFileDelete, ADirectoryThatCannotBeListedFails) {
    tree.write("d/sub/f", "");
    ASSERT_EQ(chmod(tree.path().c_str(), 0777), 0);
    ASSERT_EQ(chmod(tree.path("d").c_str(), 0777), 0);
    ASSERT_EQ(chmod(tree.path("d/sub").c_str(), 0333), 0);
    for (const char* const name : {"d", "d/sub/*"}) {
        EXPECT_EQ(resultInChild([&] {
                      clearFailure();
                      const int result = xunlink(name);
                      KvFailure failure{};
                      const bool isRight = takeFailure(failure) && failure.error == EACCES &&
                                           failure.subject == tree.path("d/sub/");
                      return isRight ? result : 1;
                  }),
                  KvFileOpUtil::kBadParameters)
            << name;
    }
    EXPECT_TRUE(tree.exists("d/sub/f"));
}

TEST_F(KvFileDelete, OtherLinksAreDeletedThemselves) {
    tree.write("target", "1");
    tree.makeDir("d");
    ASSERT_EQ(symlink("../target", tree.path("d/link").c_str()), 0);
    ASSERT_EQ(symlink("nowhere", tree.path("d/dangling").c_str()), 0);
    ASSERT_EQ(symlink("nowhere", tree.path("d/alone").c_str()), 0);
    EXPECT_EQ(xunlink("d/alone"), KvFileOpUtil::kDone);
    EXPECT_FALSE(tree.exists("d/alone"));
    EXPECT_EQ(xunlink("d"), KvFileOpUtil::kDone);
    EXPECT_FALSE(tree.exists("d"));
    EXPECT_EQ(tree.read("target"), "1");
}

TEST_F(KvFileDelete, OddNamesAreDeleted) {
    for (const char* const name : {"a b", "line\nbreak", "back\\slash", "...", "?"}) {
        tree.write(std::string("d/") + name, "");
    }
    EXPECT_EQ(xunlink("d"), KvFileOpUtil::kDone);
    EXPECT_FALSE(tree.exists("d"));
}

TEST_F(KvFileDelete, ADirectoryWithABackslashInItsNameStays) {
    // A directory is a path again, whose backslash separates: it is not found.
    tree.write("d/sub\\dir/f", "");
    EXPECT_EQ(xunlink("d"), KvFileOpUtil::kDone);
    EXPECT_TRUE(tree.exists("d/sub\\dir/f"));
    // "e/\\" names e itself, and "e//\\" again, until a path is too long to be deleted.
    tree.write("e/\\/f", "");
    EXPECT_EQ(xunlink("e"), KvFileOpUtil::kBadParameters);
    EXPECT_THAT(tree.snapshot("e"), ElementsAre(Pair("\\/", ""), Pair("\\/f", "")));
}

// A name directly under the root is looked for in the working directory, as its listing is.
TEST_F(KvFileDelete, XunlinkOfANameUnderTheRootMeansTheWorkingDirectory) {
    tree.write("kv-under-root", "");
    tree.write("kv-dir-under-root/f", "");
    const WorkingDir here(tree.path());
    EXPECT_EQ(KvFileOpUtil::xunlink("/kv-under-root"), KvFileOpUtil::kDone);
    EXPECT_EQ(KvFileOpUtil::xunlink("/kv-dir-under-root"), KvFileOpUtil::kDone);
    EXPECT_TRUE(tree.snapshot().empty());
}

TEST_F(KvFileDelete, APlainNameInAnUnreadableDirectoryNeedsNoListing) {
    ASSERT_EQ(chmod(tree.path().c_str(), 0755), 0);
    for (const bool isWhole : {true, false}) {
        tree.write("d/f", "");
        ASSERT_EQ(chmod(tree.path("d").c_str(), 0333), 0);
        EXPECT_EQ(resultInChild([&] { return isWhole ? xunlink("d/f") : unlink("d/f"); }),
                  KvFileOpUtil::kDone);
        EXPECT_FALSE(tree.exists("d/f"));
    }
}

// A directory that may be read but not searched lists the name, and the deletion then fails.
TEST_F(KvFileDelete, APlainNameInADirectoryThatCannotBeSearchedFails) {
    tree.write("d/f", "");
    ASSERT_EQ(chmod(tree.path().c_str(), 0755), 0);
    ASSERT_EQ(chmod(tree.path("d").c_str(), 0444), 0);
    EXPECT_EQ(resultInChild([&] { return xunlink("d/f"); }), KvFileOpUtil::kBadParameters);
    EXPECT_EQ(resultInChild([&] { return unlink("d/f"); }), KvFileOpUtil::kBadParameters);
    EXPECT_EQ(resultInChild([&] { return xunlink("d/none"); }), KvFileOpUtil::kBadParameters)
        << "nobody can tell that it is not there";
    EXPECT_TRUE(tree.exists("d/f"));
}

// Deleting every file by its name costs about as much as listing the directory a few times; with
// one listing a file it would be thousands of times.
TEST_F(KvFileDelete, APlainNameDoesNotListItsDirectory) {
    constexpr int kFiles = 2000;
    const std::string dir = tree.makeDir("d") + "/";
#ifdef _PC_CASE_SENSITIVE
    if (pathconf(dir.c_str(), _PC_CASE_SENSITIVE) == 0) {
        GTEST_SKIP() << "without case only a listing tells which name an entry bears";
    }
#endif
    for (int i = 0; i < kFiles; ++i) {
        const ScopedFd file(open((dir + std::to_string(i)).c_str(), O_CREAT | O_WRONLY, 0600));
        ASSERT_TRUE(file.isOpen());
    }
    const clock_t start = clock();
    for (int i = 0; i < 5; ++i) {
        ASSERT_EQ(KvDirList(dir.c_str()).getFileCount(), static_cast<unsigned>(kFiles));
    }
    const clock_t listed = clock();
    for (int i = 0; i < kFiles; ++i) {
        ASSERT_EQ(KvFileOpUtil::xunlink((dir + std::to_string(i)).c_str()), 0);
    }
    EXPECT_LT(clock() - listed, 40 * (listed - start));
    EXPECT_TRUE(KvFileOpUtil::isEmptyDir(dir.c_str()));
}

}  // namespace
