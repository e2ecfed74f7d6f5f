#include "updater/KvRunStatus.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>

#include "base/KvText.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TempTree.h"
#include "tests/updater/RunGlobals.h"

namespace {

using testing::ElementsAre;

class KvRunStatusFile : public testing::Test {
  protected:
    KvRunStatusFile() { Strncpy(g_VCTempPath, tree.path().c_str(), sizeof g_VCTempPath); }

    [[nodiscard]] std::string write(int status) const {
        writeResult(status);
        return tree.read("VcResult.ini");
    }

    TempTree tree;
    RunGlobals globals;
};

TEST_F(KvRunStatusFile, HoldsTheOneKey) {
    EXPECT_EQ(write(0), "result=0\n");
}

TEST_F(KvRunStatusFile, IsReplacedByTheNextRun) {
    (void)write(60);
    EXPECT_EQ(write(1), "result=1\n");
}

TEST_F(KvRunStatusFile, TakesEveryNumber) {
    EXPECT_EQ(write(-1), "result=-1\n");
    EXPECT_EQ(write(INT_MIN), "result=-2147483648\n");
    EXPECT_EQ(write(INT_MAX), "result=2147483647\n");
}

TEST_F(KvRunStatusFile, SaysWhatItWrites) {
    const LogCapture log;
    (void)write(58);
    EXPECT_THAT(log.lines(), ElementsAre("Inf 6 Writing result file (" + tree.path() +
                                         "/VcResult.ini), status = 58"));
}

struct Before {
    const char* before;
    const char* after;
};

class KvRunStatusFileBefore : public KvRunStatusFile, public testing::WithParamInterface<Before> {};

// All that is no "result" before the first header stays.
TEST_P(KvRunStatusFileBefore, KeepsTheRest) {
    tree.write("VcResult.ini", GetParam().before);
    EXPECT_EQ(write(4), GetParam().after);
}

INSTANTIATE_TEST_SUITE_P(
    Contents, KvRunStatusFileBefore,
    testing::Values(Before{"", "result=4\n"}, Before{"result=0\n", "result=4\n"},
                    Before{"RESULT = 0", "result=4\n"},
                    Before{"first=1\nresult=0\nlast=2\n", "first=1\nlast=2\nresult=4\n"},
                    Before{"[other]\nresult=0\n", "result=4\n[other]\nresult=0\n"},
                    Before{"a=1\n[common]\nresult=9\n", "a=1\nresult=4\n[common]\nresult=9\n"},
                    // Only the first of two is replaced.
                    Before{"result=1\nresult=2\n", "result=2\nresult=4\n"}));

TEST_F(KvRunStatusFile, IsToldToBeMissingWhereItCannotBeWritten) {
    const LogCapture log;
    Strncpy(g_VCTempPath, tree.path("nowhere").c_str(), sizeof g_VCTempPath);
    const std::string path = tree.path("nowhere/VcResult.ini");
    writeResult(0);
    EXPECT_FALSE(tree.exists("nowhere"));
    EXPECT_THAT(log.lines(), ElementsAre("Inf 6 Writing result file (" + path + "), status = 0",
                                         "Err 6 Cause: " + path + ": No such file or directory"));
}

// Nothing is lost of what cannot be read, and nobody waits for a writer of the pipe.
TEST_F(KvRunStatusFile, IsNotWrittenIntoAnythingButAFile) {
    ASSERT_EQ(mkfifo(tree.path("VcResult.ini").c_str(), 0644), 0);
    const LogCapture log;
    writeResult(0);
    ASSERT_EQ(log.texts().size(), 2U);
    EXPECT_EQ(log.texts()[1], "Cause: " + tree.path("VcResult.ini") + ": Not a regular file");
}

TEST_F(KvRunStatusFile, IsNotWrittenThroughTheLinkOfSomebodyElse) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can make a link that belongs to somebody else";
    }
    tree.write("other.ini", "a=1\n");
    const std::string link = tree.path("VcResult.ini");
    ASSERT_EQ(symlink("other.ini", link.c_str()), 0);
    ASSERT_EQ(lchown(link.c_str(), 65534, 65534), 0);
    const LogCapture log;
    writeResult(0);
    EXPECT_EQ(tree.read("other.ini"), "a=1\n");
    ASSERT_EQ(log.texts().size(), 2U);
    EXPECT_EQ(log.texts()[1], "Cause: " + link + ": Link of another user");
}

TEST_F(KvRunStatusFile, IsWrittenThroughALinkOfOnesOwn) {
    tree.write("other.ini", "a=1\n");
    ASSERT_EQ(symlink("other.ini", tree.path("VcResult.ini").c_str()), 0);
    const LogCapture log;
    writeResult(0);
    EXPECT_EQ(tree.read("other.ini"), "a=1\nresult=0\n");
    EXPECT_EQ(log.texts().size(), 1U);
}

TEST_F(KvRunStatusFile, FitsBehindTheLongestStagingPath) {
    const LogCapture log;
    const std::string longest = "/" + std::string(sizeof g_VCTempPath - 2, 'x');
    Strncpy(g_VCTempPath, longest.c_str(), sizeof g_VCTempPath);
    writeResult(0);
    EXPECT_THAT(log.texts(),
                ElementsAre("Writing result file (" + longest + "/VcResult.ini), status = 0",
                            "Cause: " + longest + "/VcResult.ini: File name too long"));
}

// The caller depends on the numbers.
TEST(KvRunStatus, KeepsItsNumbers) {
    EXPECT_EQ(kStatusSuccess, 0U);
    EXPECT_EQ(kStatusRebootRequired, 1U);
    EXPECT_EQ(kStatusCloseProgram, 3U);
    EXPECT_EQ(kStatusNothingToUpdate, 4U);
    EXPECT_EQ(kStatusNothingToRollBack, 5U);
    EXPECT_EQ(kStatusBadDescription, 12U);
    EXPECT_EQ(kStatusOutOfMemory, 48U);
    EXPECT_EQ(kStatusBadInvocation, 57U);
    EXPECT_EQ(kStatusDiskAccess, 58U);
    EXPECT_EQ(kStatusAgentFailed, 60U);
}

}  // namespace
