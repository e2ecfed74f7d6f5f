// Tree operations on a directory whose listing does not fit into memory: they fail and do not take
// the part that was listed for the whole.
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "fileop/KvFileOpUtil.h"
#include "tests/support/MemoryLimit.h"
#include "tests/support/TempTree.h"

namespace {

using testing::ExitedWithCode;

constexpr int kManyFiles = 4000;  // their names take a megabyte

class WithoutMemory : public testing::Test {
  protected:
    void SetUp() override {
        if (!kCanExhaustMemory) {
            GTEST_SKIP() << "here a process cannot be left without memory";
        }
        for (int i = 0; i < kManyFiles; ++i) {
            tree.write("d/" + std::to_string(i), "");
        }
    }

    TempTree tree;
};

[[noreturn]] void exitWith(bool isRight) {
    _exit(isRight ? 0 : 1);
}

TEST_F(WithoutMemory, ACopyFails) {
    const std::string from = tree.path("d/");
    const std::string to = tree.makeDir("to/");
    const auto body = [&]() {
        exhaustMemory(kMegabyte / 8);
        exitWith(KvFileOpUtil::copy(from.c_str(), to.c_str(), true) == KvFileOpUtil::kReadError);
    };
    EXPECT_EXIT(body(), ExitedWithCode(0), "");
}

TEST_F(WithoutMemory, ADeletionFailsAndKeepsTheDirectory) {
    const std::string path = tree.path("d");
    const auto body = [&]() {
        exhaustMemory(kMegabyte / 8);
        exitWith(KvFileOpUtil::xunlink(path.c_str()) == KvFileOpUtil::kBadParameters &&
                 KvFileOpUtil::isDir(path.c_str()));
    };
    EXPECT_EXIT(body(), ExitedWithCode(0), "");
}

TEST_F(WithoutMemory, ADeletionByPatternFails) {
    const std::string pattern = tree.path("d/*");
    const auto body = [&]() {
        exhaustMemory(kMegabyte / 8);
        exitWith(KvFileOpUtil::unlink(pattern.c_str()) == KvFileOpUtil::kBadParameters);
    };
    EXPECT_EXIT(body(), ExitedWithCode(0), "");
}

int visitNothing(KvFileOpUtil::CallbackEntry* /*entry*/) {
    return KvFileOpUtil::kGoOn;
}

TEST_F(WithoutMemory, AWalkFails) {
    const std::string path = tree.path("d");
    const auto body = [&]() {
        exhaustMemory(kMegabyte / 8);
        KvFileOpUtil::CallbackEntry entry{};
        entry.cbSize = sizeof entry;
        exitWith(!KvFileOpUtil::xaccess(path.c_str(), visitNothing, &entry));
    };
    EXPECT_EXIT(body(), ExitedWithCode(0), "");
}

}  // namespace
