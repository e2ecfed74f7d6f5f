#include "tests/support/LogMatchers.h"

#include <gmock/gmock.h>

#include "log/KvReport.h"
#include "tests/support/LogCapture.h"

namespace {

constexpr char kModule[] = "LogMatchersTest";

using testing::ExplainMatchResult;
using testing::HasSubstr;
using testing::Not;

const LogLines kLog = {"Inf one", "Err two", "Inf three"};

std::string explained(const LogMatcher& matcher) {
    testing::StringMatchResultListener listener;
    EXPECT_FALSE(ExplainMatchResult(matcher, kLog, &listener));
    return listener.str();
}

TEST(LogIs, TakesTheWholeLogAlone) {
    EXPECT_THAT(kLog, LogIs({"Inf one", "Err two", "Inf three"}));
    EXPECT_THAT(LogLines(), LogIs({}));
    EXPECT_THAT(explained(LogIs({"Inf one", "Inf two", "Inf three"})),
                HasSubstr("line 1 is\n    Err two\nand should be\n    Inf two"));
    EXPECT_THAT(explained(LogIs({"Inf one", "Err two"})), HasSubstr("should be\n    (nothing)"));
    EXPECT_THAT(explained(LogIs({"Inf one", "Err two", "Inf three", "Inf four"})),
                HasSubstr("line 3 is\n    (nothing)"));
}

TEST(LogHas, TakesLinesInTheirOrder) {
    EXPECT_THAT(kLog, LogHas({"Inf one", "Inf three"}));
    EXPECT_THAT(kLog, LogHas({}));
    EXPECT_THAT(explained(LogHas({"Inf three", "Err two"})), HasSubstr("behind the line before"));
    EXPECT_THAT(explained(LogHas({"Err two", "Err two"})), HasSubstr("behind the line before"));
    EXPECT_THAT(explained(LogHas({"Inf thre"})), HasSubstr("nearest to it\n    Inf three"));
    EXPECT_THAT(LogLines(), Not(LogHas({"Inf one"})));
}

TEST(LogEndsWith, TakesTheLastLines) {
    EXPECT_THAT(kLog, LogEndsWith({"Err two", "Inf three"}));
    EXPECT_THAT(explained(LogEndsWith({"Err two"})), HasSubstr("line 2 is\n    Inf three"));
    EXPECT_THAT(LogLines(), Not(LogEndsWith({"Inf one"})));
    EXPECT_THAT(kLog, Not(LogEndsWith({"Inf", "Inf one", "Err two", "Inf three"})));
}

TEST(LogLacks, FindsATextInAnyLine) {
    EXPECT_THAT(kLog, LogLacks({"four", "Inf two"}));
    EXPECT_THAT(explained(LogLacks({"four", "two"})), HasSubstr("which has\n    Err two"));
}

TEST(LogCapture, TellsKindLevelAndText) {
    const LogCapture log;
    KV_INFO(kLevelDetail, "a\nb");
    KV_ERROR(kLevelAlways, "c");
    EXPECT_THAT(log.lines(), LogIs({"Inf 3 a\nb", "Err 9 c"}));
    EXPECT_THAT(log.lines(4), LogIs({"Err 9 c"}));
}

}  // namespace
