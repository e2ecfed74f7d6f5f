// Update actions that run out of memory, at the moments at which the run must tell.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/updater/OnMessage.h"
#include "tests/updater/UpdateActionTest.h"
#include "tests/updater/WithoutMemory.h"

namespace {

using testing::ExitedWithCode;

class KvUpdateActionWithoutMemory : public WithoutMemory<KvUpdateAction> {
  protected:
    KvUpdateActionWithoutMemory() : WithoutMemory(2) {}
};

// The second item's destination gets no memory; the first item is undone, the second never began.
TEST_F(KvUpdateActionWithoutMemory, EndsWhenAnItemsDestinationCannotBeKept) {
    place(1, 3, "100", "101");
    text.setItem(1, "type", "6");
    text.setItem(1, "destination", std::string(8 * kMegabyte, 'd'));
    const auto body = [&]() {
        const OnMessage cut("Call PatchAgent StartItem with: 1.zip",
                            []() { limitMemory(6 * kMegabyte); });
        const bool isRight = run() == 48 && !tree.exists("app/a.dat");
        exitWith(isRight,
                 {"Inf 6 Call PatchAgent StartItem with: 1.zip, 3, 0x6, 0x0, 100, 101",
                  "Err 6 Cause: " + std::string(4095, 'd') + ": Cannot allocate memory",
                  "Err 6 updateWithPatchAgent: malloc for blist dest failed.",
                  "Inf 6 updateWithPatchAgent: auto rollback.",
                  "Inf 6 Call PatchAgent StartItem with: empty string, 3, 0x5, 0x2, 101, 100",
                  "Inf 6 Auto Rollback in Update: Unlinking " + file() + " .",
                  "Inf 6 Call PatchAgent EndItem with: TRUE, 101, 100",
                  "Inf 6 updateWithPatchAgent: auto rollback done.",
                  "Inf 6 updateWithPatchAgent: error quit.",
                  "Err 6 update: updateWithPatchAgent failed."});
    };
    EXPECT_EXIT(body(), ExitedWithCode(0), "");
}

// Nothing is copied when nothing could be undone: the agent is not even asked.
TEST_F(KvUpdateActionWithoutMemory, EndsWhenTheRunCannotHaveARecord) {
    text = DescriptionText(4000);
    const auto body = [&]() {
        const OnMessage cut("No patchagent.", []() { limitMemory(kMegabyte / 8); });
        const bool isRight = run() == 48 && !tree.exists("app/a.dat");
        exitWith(isRight,
                 {"Inf 6 update: update with new patch agent.",
                  "Inf 6 No patchagent. Use default patchagent inside VC",
                  "Err 6 initBackupStru: malloc failed.", "Inf 6 updateWithPatchAgent: error quit.",
                  "Err 6 update: updateWithPatchAgent failed."});
    };
    EXPECT_EXIT(body(), ExitedWithCode(0), "");
}

}  // namespace
