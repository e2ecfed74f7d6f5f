// What the result of one item's rollback means for the run.
#include "updater/KvRollbackItemStatus.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <vector>

#include "tests/support/LogCapture.h"

namespace {

using testing::ElementsAreArray;

TEST(KvRollbackItemStatus, IsASuccessOutsideTheKnownFailures) {
    const std::vector<LogRecord> none;
    const std::vector<LogRecord> access = {errorAt(6, "rollbackWithPatchAgent: access failed.")};
    const std::vector<LogRecord> arguments = {errorAt(6, "rollbackWithPatchAgent: bad arguments.")};
    const std::vector<LogRecord> cancel = {errorAt(6, "rollbackWithPatchAgent: user cancel.")};
    const struct {
        int result;
        unsigned status;
        const std::vector<LogRecord>& records;
    } cases[] = {
        {INT_MIN, 0, none},  {-9, 0, none},      {-7, 0, none},    {-6, 58, access},
        {-5, 58, access},    {-4, 58, access},   {-3, 58, access}, {-2, 58, access},
        {-1, 12, arguments}, {0, 0, none},       {1, 60, cancel},  {2, 0, none},
        {3, 0, none},        {INT_MAX, 0, none},
    };
    for (const auto& c : cases) {
        LogCapture log;
        EXPECT_EQ(statusOfItem(c.result), c.status) << c.result;
        EXPECT_THAT(log.records(), ElementsAreArray(c.records)) << c.result;
    }
}

}  // namespace
