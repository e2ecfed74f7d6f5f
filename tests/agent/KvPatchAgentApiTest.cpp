#include "agent/KvPatchAgentApi.h"

#include <gmock/gmock.h>

#include <map>
#include <string>

#include "tests/agent/PatchAgentApiAsC.h"

// Agents are compiled far away and at other times: every number here is for good.
TEST(KvPatchAgentApi, GivesACCompilerTheNumbersOfTheInterface) {
    std::map<std::string, long> numbers;
    for (const ApiNumber* row = apiNumbersInC; row->name != nullptr; ++row) {
        numbers[row->name] = row->value;
    }

    const std::map<std::string, long> expected = {
        {"types", 13},
        {"version record", 12},
        {"version", 0},
        {"build", 4},
        {"reserved", 8},
        {"old", 0},
        {"new", 1},
        {"go on", 0},
        {"error", 1},
        {"close program", 2},
        {"reboot", -2},
        {"file error", -1},
        {"skip", 0},
        {"replace", 1},
        {"no", 0},
        {"yes", 1},
        {"product", 1},
        {"engine", 2},
        {"pattern", 3},
        {"pattern bit", 1},
        {"engine bit", 2},
        {"product bit", 4},
        {"force update", 1},
        {"rollback", 2},
        {"path capacity", 4096},
    };
    EXPECT_EQ(numbers, expected);
}

TEST(KvPatchAgentApi, DeclaresTheSameRecordToACppCompiler) {
    EXPECT_EQ(sizeof(tag_Version), 12U);
    EXPECT_EQ(offsetof(tag_Version, version), 0U);
    EXPECT_EQ(offsetof(tag_Version, build), 4U);
    EXPECT_EQ(offsetof(tag_Version, reserved), 8U);
}
