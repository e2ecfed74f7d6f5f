#include "log/KvVcLog.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstring>
#include <string>

#include "base/KvFailure.h"
#include "base/KvScoped.h"
#include "base/KvText.h"
#include "log/KvLogRecord.h"
#include "log/KvLogSettings.h"
#include "tests/log/LogDir.h"
#include "tests/support/ForkedProcess.h"

namespace {

void writeInfo(const std::string& path, bool html, const std::string& message) {
    Log_Set("KvTest", __LINE__, kLogInfo);
    Log_Write(path.c_str(), html, message.c_str());
}

// Whether a time stamp stands at `at`.
bool isStampAt(const std::string& text, size_t at) {
    const std::string shape = "dddddddd dd:dd:dd";
    for (size_t i = 0; i < shape.size(); ++i) {
        const char ch = at + i < text.size() ? text[at + i] : '\0';
        if (shape[i] == 'd' ? !IsDigit(ch) : ch != shape[i]) {
            return false;
        }
    }
    return true;
}

// The records with the moment, which no test can know, as "NOW".
std::string withoutTime(std::string records) {
    for (size_t at = 0; at < records.size(); ++at) {
        if (isStampAt(records, at)) {
            records.replace(at, strlen("YYYYMMDD HH:MM:SS"), "NOW");
        }
    }
    return records;
}

std::string textPrefix(const std::string& type) {
    return "\n" + type + " NOW " + processNumber() + " " + threadNumber() + " ";
}

std::string htmlRecord(const std::string& message) {
    const KvLogFields fields{false, "NOW", static_cast<unsigned>(std::stoul(processNumber())),
                             static_cast<unsigned>(std::stoul(threadNumber())), ""};
    return makeHtmlRecord(fields, message.c_str()).c_str();
}

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

TEST(KvVcLog, AppendsOneRecordAfterTheOther) {
    const TempTree tree;
    const std::string path = tree.path("log.txt");
    writeInfo(path, false, "Start patch");
    Log_Set("KvTest", __LINE__, kLogError);
    Log_Write(path.c_str(), false, "No.");
    writeInfo(path, false, "---");
    EXPECT_EQ(withoutTime(tree.read("log.txt")),
              textPrefix("Inf") + "Start patch" + textPrefix("Err") + "No." + "\n---");
}

TEST(KvVcLog, LabelsEveryKindButErrorsAsInformation) {
    const TempTree tree;
    Log_Set("KvTest", __LINE__, static_cast<VcLogType_t>(7));
    Log_Write(tree.path("log.txt").c_str(), false, "seven");
    EXPECT_EQ(withoutTime(tree.read("log.txt")), textPrefix("Inf") + "seven");
}

TEST(KvVcLog, MakesTheDirectoryAndItsParents) {
    const TempTree tree;
    writeInfo(tree.path("a/b/c/log.txt"), false, "x");
    EXPECT_EQ(withoutTime(tree.read("a/b/c/log.txt")), textPrefix("Inf") + "x");
}

TEST(KvVcLog, BeginsANewHtmlFileWithTheHeader) {
    const TempTree tree;
    letNextCallMeasure();
    writeInfo(tree.path("log.htm"), true, "one");
    writeInfo(tree.path("log.htm"), true, "---");
    writeInfo(tree.path("log.htm"), true, "two");
    EXPECT_EQ(withoutTime(tree.read("log.htm")),
              kHtmlLogHeader + htmlRecord("one") + "\n<hr>\n" + htmlRecord("two"));
}

// The header is tried before the directory is made.
TEST(KvVcLog, LeavesTheHeaderOutWhereTheDirectoryIsNewToo) {
    const TempTree tree;
    letNextCallMeasure();
    writeInfo(tree.path("new/log.htm"), true, "one");
    EXPECT_EQ(withoutTime(tree.read("new/log.htm")), htmlRecord("one"));
}

// Between two looks at the file nobody notices that it is new.
TEST(KvVcLog, LeavesTheHeaderOutOnACallThatDoesNotLook) {
    const TempTree tree;
    letNextCallsNotMeasure();
    writeInfo(tree.path("log.htm"), true, "one");
    EXPECT_EQ(withoutTime(tree.read("log.htm")), htmlRecord("one"));
}

TEST(KvVcLog, GivesATextLogNoHeader) {
    const TempTree tree;
    letNextCallMeasure();
    writeInfo(tree.path("log.txt"), false, "one");
    EXPECT_EQ(withoutTime(tree.read("log.txt")), textPrefix("Inf") + "one");
}

TEST(KvVcLog, StartsATooLongLogAfresh) {
    const LogDir defaults;
    const TempTree tree;
    for (const std::string& name : {std::string("log.txt"), std::string("log.htm")}) {
        const bool html = name == "log.htm";
        const std::string path = tree.write(name, std::string(size_t{6} * 1024 * 1024, 'x'));
        letNextCallMeasure();
        writeInfo(path, html, "new");
        EXPECT_EQ(withoutTime(tree.read(name)),
                  html ? kHtmlLogHeader + htmlRecord("new") : textPrefix("Inf") + "new");
    }
}

TEST(KvVcLog, LosesWhatCannotBeWritten) {
    const TempTree tree;
    const std::string file = tree.write("file", "as it was");
    writeInfo(file + "/log.txt", false, "x");
    writeInfo(tree.makeDir("directory"), false, "x");
    EXPECT_EQ(tree.snapshot(),
              (std::map<std::string, std::string>{{"file", "as it was"}, {"directory/", ""}}));
}

// A pipe that nobody reads would hold up a writer, and the size check, for ever.
TEST(KvVcLog, WritesIntoNothingButARegularFile) {
    const TempTree tree;
    ASSERT_EQ(mkfifo(tree.path("pipe").c_str(), 0600), 0);
    ASSERT_EQ(symlink("/dev/null", tree.path("device").c_str()), 0);
    for (const char* const name : {"pipe", "device"}) {
        for (const bool html : {false, true}) {
            letNextCallMeasure();
            writeInfo(tree.path(name), html, "lost");
        }
        letNextCallMeasure();
        EXPECT_TRUE(checkLogFileSize(tree.path(name).c_str())) << name;
    }
    const ScopedFd reader(open(tree.path("pipe").c_str(), O_RDONLY | O_NONBLOCK));
    writeInfo(tree.path("pipe"), false, "lost");
    char byte = 0;
    EXPECT_EQ(read(reader.get(), &byte, 1), 0) << "nothing reaches a pipe that is read, either";
}

// In a process of its own, whose files the system lets grow no further.
TEST(KvVcLog, LosesWhatTheSystemDoesNotTake) {
    const TempTree tree;
    const std::string path = tree.path("log.txt");
    ForkedProcess child([&path](const Talk&) {
        (void)signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{10, 10};
        const bool isLimited = setrlimit(RLIMIT_FSIZE, &limit) == 0;
        writeInfo(path, false, "longer than ten bytes");
        return isLimited ? 0 : 1;
    });
    EXPECT_EQ(child.finish(), 0);
    EXPECT_EQ(tree.read("log.txt").size(), 10U);
}

TEST(KvVcLog, WritesThroughAnOwnLink) {
    const TempTree tree;
    ASSERT_EQ(symlink("elsewhere.txt", tree.path("log.txt").c_str()), 0);
    writeInfo(tree.path("log.txt"), false, "makes the file");
    writeInfo(tree.path("log.txt"), false, "appends");
    EXPECT_EQ(withoutTime(tree.read("elsewhere.txt")),
              textPrefix("Inf") + "makes the file" + textPrefix("Inf") + "appends");
}

TEST(KvVcLog, LeavesTheFileBehindALinkOfAnotherUserAlone) {
    const TempTree tree;
    const LogLimit limit(3);
    (void)tree.write("elsewhere", "longer than the limit");
    const std::string link = tree.path("log.txt");
    ASSERT_EQ(symlink("elsewhere", link.c_str()), 0);
    if (geteuid() != 0 || lchown(link.c_str(), 12345, 12345) != 0) {
        GTEST_SKIP() << "only root can give a link away";
    }
    letNextCallMeasure();
    writeInfo(link, false, "lost");
    EXPECT_EQ(tree.read("log.txt"), "longer than the limit");
}

// The log is lost by design: whoever reports a failure later must not name it as the cause.
TEST(KvVcLog, IsNeverTheCauseOfAFailure) {
    const TempTree tree;
    clearFailure();
    writeInfo(tree.write("file", "") + "/log.txt", false, "lost");
    EXPECT_FALSE(isFailureNoted());
    noteFailure("/a", "before");
    writeInfo(tree.path("log.txt"), false, "written");
    KvFailure failure;
    ASSERT_TRUE(takeFailure(failure));
    EXPECT_STREQ(failure.subject, "/a");
}

TEST(KvVcLog, ToleratesMissingArguments) {
    const TempTree tree;
    Log_Write(nullptr, false, "x");
    Log_Write("", true, "x");
    Log_Set(nullptr, 0, kLogInfo);
    Log_Write(tree.path("log.txt").c_str(), false, nullptr);
    EXPECT_EQ(withoutTime(tree.read("log.txt")), textPrefix("Inf"));
}

// Four processes at once: each record is one write, so none is torn by another.
TEST(KvVcLog, KeepsTheRecordsOfSeveralProcessesWhole) {
    constexpr int kRecords = 50;
    const TempTree tree;
    const std::string path = tree.path("log.htm");
    const auto body = [&path](const Talk& talk) {
        const bool started = talk.hears();
        for (int i = 0; started && i < kRecords; ++i) {
            writeInfo(path, true, std::string(20000, 'x'));
        }
        return started ? 0 : 1;
    };
    letNextCallsNotMeasure();
    ForkedProcess children[] = {ForkedProcess(body), ForkedProcess(body), ForkedProcess(body),
                                ForkedProcess(body)};
    for (const ForkedProcess& child : children) {
        child.talk().tell();
    }
    for (ForkedProcess& child : children) {
        EXPECT_EQ(child.finish(), 0);
    }
    const std::string log = tree.read("log.htm");
    const std::string message = " " + std::string(20000, 'x') + "\n<br>\n</span>";
    int whole = 0;
    for (size_t at = log.find(message); at != std::string::npos; at = log.find(message, at + 1)) {
        ++whole;
    }
    EXPECT_EQ(whole, 4 * kRecords);
}

TEST(KvVcLog, LooksAtTheFileOnTheFirstOfEveryHundredCalls) {
    letNextCallMeasure();
    std::string looked;
    for (int call = 1; call <= 301; ++call) {
        if (checkLogFileSize("/missing/log")) {
            looked += std::to_string(call) + " ";
        }
    }
    EXPECT_EQ(looked, "1 101 201 301 ");
}

TEST(KvVcLog, StartsAnewWhenThereIsNoFile) {
    letNextCallMeasure();
    EXPECT_TRUE(checkLogFileSize("/missing/log"));
    letNextCallMeasure();
    EXPECT_TRUE(checkLogFileSize(nullptr));
    letNextCallMeasure();
    EXPECT_TRUE(checkLogFileSize(""));
}

TEST(KvVcLog, DeletesAFileThatIsLargerThanTheLimit) {
    const TempTree tree;
    const LogLimit limit(10);
    const std::string path = tree.write("log", "12345678901");
    letNextCallMeasure();
    EXPECT_TRUE(checkLogFileSize(path.c_str()));
    EXPECT_FALSE(tree.exists("log"));
}

TEST(KvVcLog, KeepsAFileOfExactlyTheLimit) {
    const TempTree tree;
    const LogLimit limit(10);
    const std::string path = tree.write("log", "1234567890");
    letNextCallMeasure();
    EXPECT_FALSE(checkLogFileSize(path.c_str()));
    EXPECT_TRUE(tree.exists("log"));
}

TEST(KvVcLog, LeavesALargeFileAloneOnTheOtherCalls) {
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

TEST(KvVcLog, TakesALimitAboveTwoGibibytesForWhatItIs) {
    const TempTree tree;
    const LogLimit limit(0xC0000000);
    const std::string small = makeSparse(tree, "small", 0xC0000000LL);
    letNextCallMeasure();
    EXPECT_FALSE(checkLogFileSize(small.c_str()));
    const std::string large = makeSparse(tree, "large", 0xC0000001LL);
    letNextCallMeasure();
    EXPECT_TRUE(checkLogFileSize(large.c_str()));
}
