// Rollbacks on request that run out of memory, at the moments at which the run must tell.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/updater/ActionTest.h"
#include "tests/updater/OnMessage.h"
#include "tests/updater/UpdatedApp.h"
#include "tests/updater/WithoutMemory.h"
#include "updater/KvRollbackAction.h"

namespace {

using testing::ExitedWithCode;

// Item 1, the first to be rolled back, is the pattern 3/5 of "app".
class KvRollbackActionWithoutMemory : public WithoutMemory<ActionTest> {
  protected:
    KvRollbackActionWithoutMemory() : WithoutMemory(2), app(tree) {
        app.item(3, 5).added("x.dat").written("a.dat");
        place(0, 3, "100", "101");
        place(1, 3, "100", "101");
    }

    [[nodiscard]] bool isUntouched() const {
        return app.files() == std::vector<std::string>{"a.dat=new a.dat", "x.dat=added x.dat"};
    }

    UpdatedApp app;
};

// The first item's destination gets no memory; the second item is done by then, and undone. The
// first never begins.
TEST_F(KvRollbackActionWithoutMemory, EndsWhenAnItemsDestinationCannotBeKept) {
    text.setItem(0, "type", "6");
    text.setItem(0, "destination", std::string(8 * kMegabyte, 'd'));
    const auto body = [&]() {
        const OnMessage cut("Call PatchAgent EndItem", []() { limitMemory(6 * kMegabyte); });
        const bool isRight = runAction(rollback) == 48 && isUntouched();
        const std::string store = app.path(app.store());
        exitWith(isRight,
                 {"Inf 6 Call PatchAgent EndItem with: TRUE, 100, 101",
                  "Err 6 Cause: " + std::string(4095, 'd') + ": Cannot allocate memory",
                  "Err 6 rollbackWithPatchAgent: item failed.",
                  "Inf 6 rollbackWithPatchAgent: auto rollback.",
                  "Inf 6 Call PatchAgent StartItem with: empty string, 3, 0x5, 0x2, 101, 100",
                  "Inf 6 autoRollback moving files, from:" + store +
                      "backup.001, to:" + app.path("x.dat"),
                  "Inf 6 autoRollback moving files, from:" + store +
                      "backup.002, to:" + app.path("a.dat"),
                  "Inf 6 Call PatchAgent EndItem with: TRUE, 101, 100",
                  "Inf 6 rollbackWithPatchAgent: auto rollback done.",
                  "Inf 6 rollbackWithPatchAgent: error quit.",
                  "Err 6 rollback: rollbackWithPatchAgent failed."});
    };
    EXPECT_EXIT(body(), ExitedWithCode(0), "");
}

// Nothing is touched when nothing could be undone: the agent is not even asked.
TEST_F(KvRollbackActionWithoutMemory, EndsWhenTheRunCannotHaveARecord) {
    text = DescriptionText(4000);
    const auto body = [&]() {
        const OnMessage cut("Call PatchAgent IsRollbackEx", []() { limitMemory(kMegabyte / 8); });
        const bool isRight = runAction(rollback) == 48 && isUntouched();
        exitWith(isRight, {"Inf 6 Call PatchAgent IsRollbackEx with: void",
                           "Inf 6 rollbackWithPatchAgent: init auto-rollback backup structure.",
                           "Err 6 initBackupStru: malloc failed.",
                           "Inf 6 rollbackWithPatchAgent: init auto rollback backup info done.",
                           "Inf 6 rollbackWithPatchAgent: error quit.",
                           "Err 6 rollback: rollbackWithPatchAgent failed."});
    };
    EXPECT_EXIT(body(), ExitedWithCode(0), "");
}

}  // namespace
