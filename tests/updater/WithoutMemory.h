// What the tests of actions that run out of memory share, on top of an action's own fixture. Each
// runs the action in a death test whose process ends with `exitWith`.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>
#ifdef __GLIBC__
#include <malloc.h>
#endif

#include "tests/support/LogCapture.h"
#include "tests/support/MemoryLimit.h"

// The runs are those of a program started anew: what earlier tests released could hold what a run
// asks for.
template <typename Action>
class WithoutMemory : public Action {
  protected:
    explicit WithoutMemory(int items) : Action(items) {
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
        const std::vector<std::string> lines = this->log.lines();
        const bool isTold =
            lines.size() >= last.size() && std::equal(last.rbegin(), last.rend(), lines.rbegin());
        restoreMemory();
        std::filesystem::remove_all(this->tree.path());
        _exit(isRight && isTold ? 0 : 1);
    }
};
