#include "log/KvLogFile.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "log/KvVcLog.h"
#include "tests/log/LogDir.h"

namespace {

// Sets the limit of the log for as long as the object lives.
class LogLimit {
  public:
    explicit LogLimit(uint32_t bytes) : before_(g_log_file_size) { g_log_file_size = bytes; }
    ~LogLimit() { g_log_file_size = before_; }
    LogLimit(const LogLimit&) = delete;
    LogLimit& operator=(const LogLimit&) = delete;

  private:
    uint32_t before_;
};

// A file of this size that takes no room.
std::string makeSparse(const TempTree& tree, const std::string& name, off_t size) {
    std::string path = tree.write(name, "");
    EXPECT_EQ(truncate(path.c_str(), size), 0);
    return path;
}

}  // namespace

TEST(KvLogFileTest, looksAtTheFileOnTheFirstOfEveryHundredCalls) {
    letNextCallMeasure();
    std::string looked;
    for (int call = 1; call <= 301; ++call) {
        if (checkLogFileSize("/missing/log")) {
            looked += std::to_string(call) + " ";
        }
    }
    EXPECT_EQ(looked, "1 101 201 301 ");
}

TEST(KvLogFileTest, startsAnewWhenThereIsNoFile) {
    letNextCallMeasure();
    EXPECT_TRUE(checkLogFileSize("/missing/log"));
    letNextCallMeasure();
    EXPECT_TRUE(checkLogFileSize(nullptr));
    letNextCallMeasure();
    EXPECT_TRUE(checkLogFileSize(""));
}

TEST(KvLogFileTest, deletesAFileThatIsLargerThanTheLimit) {
    const TempTree tree;
    const LogLimit limit(10);
    const std::string path = tree.write("log", "12345678901");
    letNextCallMeasure();
    EXPECT_TRUE(checkLogFileSize(path.c_str()));
    EXPECT_FALSE(tree.exists("log"));
}

TEST(KvLogFileTest, keepsAFileOfExactlyTheLimit) {
    const TempTree tree;
    const LogLimit limit(10);
    const std::string path = tree.write("log", "1234567890");
    letNextCallMeasure();
    EXPECT_FALSE(checkLogFileSize(path.c_str()));
    EXPECT_TRUE(tree.exists("log"));
}

TEST(KvLogFileTest, leavesALargeFileAloneOnTheOtherCalls) {
    const TempTree tree;
    const LogLimit limit(10);
    const std::string path = tree.write("log", "12345678901");
    letNextCallsNotMeasure();
    for (int call = 0; call < 99; ++call) {
        EXPECT_FALSE(checkLogFileSize(path.c_str()));
    }
    EXPECT_TRUE(tree.exists("log"));
    EXPECT_TRUE(checkLogFileSize(path.c_str()));
}

TEST(KvLogFileTest, takesALimitAboveTwoGibibytesForWhatItIs) {
    const TempTree tree;
    const LogLimit limit(0xC0000000);
    const std::string small = makeSparse(tree, "small", 0xC0000000LL);
    letNextCallMeasure();
    EXPECT_FALSE(checkLogFileSize(small.c_str()));
    const std::string large = makeSparse(tree, "large", 0xC0000001LL);
    letNextCallMeasure();
    EXPECT_TRUE(checkLogFileSize(large.c_str()));
}

TEST(KvLogFileTest, appendsToWhatIsThere) {
    const TempTree tree;
    const std::string path = tree.path("log");
    EXPECT_EQ(appendToLog(path.c_str(), "one", 3), LogAppend::kDone);
    EXPECT_EQ(appendToLog(path.c_str(), "\ntwo", 4), LogAppend::kDone);
    EXPECT_EQ(tree.read("log"), "one\ntwo");
}

TEST(KvLogFileTest, tellsWhenTheTextIsNotWritten) {
    const TempTree tree;
    EXPECT_EQ(appendToLog(tree.path("missing/log").c_str(), "x", 1), LogAppend::kNotOpened);
    EXPECT_EQ(appendToLog(tree.path().c_str(), "x", 1), LogAppend::kNotOpened);
    EXPECT_EQ(appendToLog("", "x", 1), LogAppend::kNotOpened);
}

TEST(KvLogFileTest, tellsWhenTheDiskIsFull) {
    if (access("/dev/full", W_OK) != 0) {
        GTEST_SKIP() << "this system has no device that is always full";
    }
    EXPECT_EQ(appendToLog("/dev/full", "x", 1), LogAppend::kCutShort);
}
