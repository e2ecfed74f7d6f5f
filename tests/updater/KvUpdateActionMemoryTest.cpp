// Update actions that run out of memory, at the moments at which the run must tell.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#ifdef __GLIBC__
#include <malloc.h>
#endif

#include "tests/support/MemoryLimit.h"
#include "tests/updater/LogLines.h"
#include "tests/updater/OnMessage.h"
#include "tests/updater/UpdateActionTest.h"

namespace {

using testing::ExitedWithCode;

// The runs are those of a program started anew: what earlier tests released could hold what a run
// asks for.
class UpdateWithoutMemory : public UpdateAction {
  protected:
    UpdateWithoutMemory() : UpdateAction(2) {
        testing::FLAGS_gtest_death_test_style = "threadsafe";
#ifdef __GLIBC__
        // There, large blocks that are released go back to the system, and none is taken again.
        if (testing::internal::InDeathTestChild()) {
            (void)mallopt(M_MMAP_THRESHOLD, 65536);
        }
#endif
    }

    void SetUp() override {
        if (!kCanLimitMemory) {
            GTEST_SKIP() << "this platform does not limit the memory of a process";
        }
    }

    // Ends the process, whose tree nobody else removes: with 0 when the messages end with these.
    [[noreturn]] void exitWith(bool isRight, const std::vector<std::string>& last) {
        const std::vector<std::string> lines = linesOf(log);
        const bool isTold =
            lines.size() >= last.size() && std::equal(last.rbegin(), last.rend(), lines.rbegin());
        restoreMemory();
        std::filesystem::remove_all(tree.path());
        _exit(isRight && isTold ? 0 : 1);
    }
};

// The second item's destination gets no memory; the first item is undone, the second never began.
TEST_F(UpdateWithoutMemory, EndsWhenAnItemsDestinationCannotBeKept) {
    place(1, 3, "100", "101");
    text.setItem(1, "type", "6");
    text.setItem(1, "destination", std::string(8 * kMegabyte, 'd'));
    const auto body = [&]() {
        const OnMessage cut("Call PatchAgent StartItem with: 1.zip",
                            []() { limitMemory(6 * kMegabyte); });
        const bool isRight = run() == 48 && !tree.exists("app/a.dat");
        exitWith(isRight,
                 {"6 info Call PatchAgent StartItem with: 1.zip, 3, 0x6, 0x0, 100, 101",
                  "6 error updateWithPatchAgent: malloc for blist dest failed.",
                  "6 info updateWithPatchAgent: auto rollback.",
                  "6 info Call PatchAgent StartItem with: empty string, 3, 0x5, 0x2, 101, 100",
                  "6 info Auto Rollback in Update: Unlinking " + file() + " .",
                  "6 info Call PatchAgent EndItem with: TRUE, 101, 100",
                  "6 info updateWithPatchAgent: auto rollback done.",
                  "6 info updateWithPatchAgent: error quit.",
                  "6 error update: updateWithPatchAgent failed."});
    };
    EXPECT_EXIT(body(), ExitedWithCode(0), "");
}

// Nothing is copied when nothing could be undone: the agent is not even asked.
TEST_F(UpdateWithoutMemory, EndsWhenTheRunCannotHaveARecord) {
    text = DescriptionText(4000);
    const auto body = [&]() {
        const OnMessage cut("No patchagent.", []() { limitMemory(kMegabyte / 8); });
        const bool isRight = run() == 48 && !tree.exists("app/a.dat");
        exitWith(isRight, {"6 info update: update with new patch agent.",
                           "6 info No patchagent. Use default patchagent inside VC",
                           "6 error initBackupStru: malloc failed.",
                           "6 info updateWithPatchAgent: error quit.",
                           "6 error update: updateWithPatchAgent failed."});
    };
    EXPECT_EXIT(body(), ExitedWithCode(0), "");
}

}  // namespace
