#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "base/KvText.h"
#include "log/KvLogRecord.h"
#include "log/KvVcLog.h"
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

}  // namespace

TEST(KvLogWriteTest, appendsOneRecordAfterTheOther) {
    const TempTree tree;
    const std::string path = tree.path("log.txt");
    writeInfo(path, false, "Start patch");
    Log_Set("KvTest", __LINE__, kLogError);
    Log_Write(path.c_str(), false, "No.");
    writeInfo(path, false, "---");
    EXPECT_EQ(withoutTime(tree.read("log.txt")),
              textPrefix("Inf") + "Start patch" + textPrefix("Err") + "No." + "\n---");
}

TEST(KvLogWriteTest, labelsEveryKindButErrorsAsInformation) {
    const TempTree tree;
    Log_Set("KvTest", __LINE__, static_cast<VcLogType_t>(7));
    Log_Write(tree.path("log.txt").c_str(), false, "seven");
    EXPECT_EQ(withoutTime(tree.read("log.txt")), textPrefix("Inf") + "seven");
}

TEST(KvLogWriteTest, makesTheDirectoryAndItsParents) {
    const TempTree tree;
    writeInfo(tree.path("a/b/c/log.txt"), false, "x");
    EXPECT_EQ(withoutTime(tree.read("a/b/c/log.txt")), textPrefix("Inf") + "x");
}

TEST(KvLogWriteTest, beginsANewHtmlFileWithTheHeader) {
    const TempTree tree;
    letNextCallMeasure();
    writeInfo(tree.path("log.htm"), true, "one");
    writeInfo(tree.path("log.htm"), true, "---");
    writeInfo(tree.path("log.htm"), true, "two");
    EXPECT_EQ(withoutTime(tree.read("log.htm")),
              kHtmlLogHeader + htmlRecord("one") + "\n<hr>\n" + htmlRecord("two"));
}

// The header is tried before the directory is made.
TEST(KvLogWriteTest, leavesTheHeaderOutWhereTheDirectoryIsNewToo) {
    const TempTree tree;
    letNextCallMeasure();
    writeInfo(tree.path("new/log.htm"), true, "one");
    EXPECT_EQ(withoutTime(tree.read("new/log.htm")), htmlRecord("one"));
}

// Between two looks at the file nobody notices that it is new.
TEST(KvLogWriteTest, leavesTheHeaderOutOnACallThatDoesNotLook) {
    const TempTree tree;
    letNextCallsNotMeasure();
    writeInfo(tree.path("log.htm"), true, "one");
    EXPECT_EQ(withoutTime(tree.read("log.htm")), htmlRecord("one"));
}

TEST(KvLogWriteTest, givesATextLogNoHeader) {
    const TempTree tree;
    letNextCallMeasure();
    writeInfo(tree.path("log.txt"), false, "one");
    EXPECT_EQ(withoutTime(tree.read("log.txt")), textPrefix("Inf") + "one");
}

TEST(KvLogWriteTest, startsATooLongLogAfresh) {
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

TEST(KvLogWriteTest, losesWhatCannotBeWritten) {
    const TempTree tree;
    const std::string file = tree.write("file", "as it was");
    writeInfo(file + "/log.txt", false, "x");
    writeInfo(tree.makeDir("directory"), false, "x");
    EXPECT_EQ(tree.snapshot(),
              (std::map<std::string, std::string>{{"file", "as it was"}, {"directory/", ""}}));
}

TEST(KvLogWriteTest, toleratesMissingArguments) {
    const TempTree tree;
    Log_Write(nullptr, false, "x");
    Log_Write("", true, "x");
    Log_Set(nullptr, 0, kLogInfo);
    Log_Write(tree.path("log.txt").c_str(), false, nullptr);
    EXPECT_EQ(withoutTime(tree.read("log.txt")), textPrefix("Inf"));
}

// Four processes at once: each record is one write, so none is torn by another.
TEST(KvLogWriteTest, keepsTheRecordsOfSeveralProcessesWhole) {
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
