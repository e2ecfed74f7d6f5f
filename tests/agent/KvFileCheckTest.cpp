// What the agent says of a file, what is made of it and what is logged.
#include "agent/KvFileCheck.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/agent/FakeAgent.h"
#include "tests/support/LogCapture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

struct Answer {
    int answer;
    FileDecision decision;
    const char* words;  // of the new interface
    const char* error;  // logged behind it; "" for none
};

class EveryAnswer : public testing::TestWithParam<Answer> {
  protected:
    static std::vector<LogRecord> withError(std::vector<LogRecord> records) {
        if (*GetParam().error != '\0') {
            records.push_back(errorAt(6, GetParam().error));
        }
        return records;
    }
};

TEST_P(EveryAnswer, OfANewAgentIsLoggedInWords) {
    FakeAgent agent(PATCHAGENT_NEW);
    agent.answers["CheckFileEx"] = GetParam().answer;
    LogCapture log;

    EXPECT_EQ(decideFile(agent.table(), "/app/a.dat"), GetParam().decision);

    EXPECT_THAT(agent.calls, ElementsAre("CheckFileEx(/app/a.dat)"));
    EXPECT_EQ(log.records(),
              withError({infoAt(9, "Call PatchAgent CheckFileEx( /app/a.dat ) return " +
                                       std::to_string(GetParam().answer) + ",(" + GetParam().words +
                                       ")")}));
}

TEST_P(EveryAnswer, OfAnOldAgentIsLoggedAsItIs) {
    FakeAgent agent(PATCHAGENT_OLD);
    agent.answers["CheckFile"] = GetParam().answer;
    LogCapture log;

    EXPECT_EQ(decideFile(agent.table(), "/app/a.dat"), GetParam().decision);

    EXPECT_THAT(agent.calls, ElementsAre("CheckFile(/app/a.dat)"));
    EXPECT_EQ(log.records(),
              withError({infoAt(9, "Call PatchAgent CheckFile( /app/a.dat ) return " +
                                       std::to_string(GetParam().answer))}));
}

INSTANTIATE_TEST_SUITE_P(
    Agent, EveryAnswer,
    testing::Values(
        Answer{-2, FileDecision::kReboot,
               "Do not copy the file now, but add to the reboot-list, to be executed on the next "
               "restart of the OS. (Windows only)",
               ""},
        Answer{-1, FileDecision::kStop, "Error, and VC will try to auto-rollback",
               "callBackForUpdate: check file failed."},
        Answer{0, FileDecision::kSkip, "Skip this file", ""},
        Answer{1, FileDecision::kWrite, "OK", ""},
        Answer{7, FileDecision::kWrite, "unknown error",
               "callBackForUpdate: check file return unknown value."},
        Answer{-3, FileDecision::kWrite, "unknown error",
               "callBackForUpdate: check file return unknown value."}));

TEST(DecideFile, LogsAWordForANullPath) {
    LogCapture log;
    FakeAgent old(PATCHAGENT_OLD);
    EXPECT_EQ(decideFile(old.table(), nullptr), FileDecision::kWrite);
    FakeAgent fresh(PATCHAGENT_NEW);
    EXPECT_EQ(decideFile(fresh.table(), nullptr), FileDecision::kWrite);

    EXPECT_THAT(log.records(),
                ElementsAre(infoAt(9, "Call PatchAgent CheckFile( Null_File ) return 1"),
                            infoAt(9, "Call PatchAgent CheckFileEx( Null_File ) return 1,(OK)")));
}

TEST(DecideFile, SkipsEveryFileWithoutAnAgentTable) {
    EXPECT_EQ(decideFile(nullptr, "/app/a.dat"), FileDecision::kSkip);
}

TEST(DecideFile, SkipsEveryFileForAnUnknownInterface) {
    FakeAgent unknown(2);
    LogCapture log;

    EXPECT_EQ(decideFile(unknown.table(), "/app/a.dat"), FileDecision::kSkip);

    EXPECT_THAT(log.records(), IsEmpty());
}

}  // namespace
