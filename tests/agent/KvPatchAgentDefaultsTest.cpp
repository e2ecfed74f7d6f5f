// The agent that stands in where a patch names none that can be used.
#include <gmock/gmock.h>

#include "agent/KvPatchAgent.h"
#include "tests/support/LogCapture.h"

using ::testing::IsEmpty;

TEST(KvPatchAgentDefaults, AcceptEverythingOfTheOldInterface) {
    EXPECT_EQ(lStartPatch(7), 0);
    EXPECT_EQ(lEndPatch(0), 1);
    EXPECT_EQ(lStartPattern(nullptr), 1);
    EXPECT_EQ(lEndPattern(0, 1, 2), 1);
    EXPECT_EQ(lStartEngine(nullptr), 1);
    EXPECT_EQ(lEndEngine(0, 1, 2), 1);
    EXPECT_EQ(lStartProduct(nullptr), 1);
    EXPECT_EQ(lEndProduct(0, 1, 2), 1);
    EXPECT_EQ(lCheckFile(nullptr), 1);
    EXPECT_EQ(lIsRollback(), 1);
}

TEST(KvPatchAgentDefaults, AcceptEverythingOfTheNewInterface) {
    EXPECT_EQ(lStartAction(), 0);
    EXPECT_EQ(lEndAction(), 1);
    EXPECT_EQ(lStartItem(nullptr, 1, 2, 3, nullptr, nullptr), 1);
    EXPECT_EQ(lEndItem(0, nullptr, nullptr), 1);
    EXPECT_EQ(lCheckFileEx(nullptr), 1);
    EXPECT_EQ(lIsRollbackEx(), 1);
}

TEST(KvPatchAgentDefaults, LeavePathsAsTheyAre) {
    char path[PATCHAGENT_PATH_CAPACITY] = "/opt/app";
    lGetPatternPath(path);
    lGetEnginePath(path);
    lGetProductPath(path);
    EXPECT_STREQ(path, "/opt/app");
    lGetPatternPath(nullptr);
}

TEST(KvPatchAgentDefaults, TakeAnyUnusedArgumentsAndDoNothingWithThem) {
    LogCapture log;
    char text[] = "text";
    int number = 7;
    tag_Version version = {0x52000, 1234, 0};
    intended_unused_variables();
    intended_unused_variables(text, &number, 2.5, &version, nullptr);
    EXPECT_STREQ(text, "text");
    EXPECT_EQ(number, 7);
    EXPECT_EQ(version, (tag_Version{0x52000, 1234, 0}));
    EXPECT_THAT(log.lines(), IsEmpty());
}
