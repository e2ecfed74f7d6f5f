// The clean-up's first step when there is no memory for a name: nothing is deleted by half of one.
#include <gtest/gtest.h>
#include <unistd.h>

#include "tests/support/MemoryLimit.h"
#include "tests/updater/CleanupTest.h"
#include "tests/updater/OnMessage.h"
#include "tests/updater/WithoutMemory.h"

namespace {

using testing::ExitedWithCode;

class Cache : public CleanupTest {
  protected:
    explicit Cache(int /*items*/) {}
};

class KvCleanupWithoutMemory : public WithoutMemory<Cache> {
  protected:
    KvCleanupWithoutMemory() : WithoutMemory(0) {
        tree.write("cache/a.bin", "1");
        tree.makeDir("work/empty");
        tree.write("work/a.bin", "1");
    }

    // Ends the process, with 0 when these are the last messages and nothing is gone. It works where
    // half of a name would find the files, too.
    [[noreturn]] void removeWithoutMemory(const std::string& section,
                                          const std::vector<std::string>& last) {
        const OnMessage cut("Flag ", []() { limitMemory(6 * kMegabyte); });
        const bool isThere = chdir(tree.path("work").c_str()) == 0;
        remove(section);
        exitWith(isThere && tree.exists("cache/a.bin") && tree.exists("work/a.bin") &&
                     tree.exists("work/empty"),
                 last);
    }

    const std::string huge = std::string(8 * kMegabyte, 'd');
};

TEST_F(KvCleanupWithoutMemory, TouchesNothingForACachePathThatFindsNone) {
    EXPECT_EXIT(removeWithoutMemory(
                    "cachepath=" + huge + "\ncachedfilescount=1\ncachedfile_0=,a.bin,a.etag,1\n",
                    {"Err 6 Cause: cachedfiles: Cannot allocate memory"}),
                ExitedWithCode(0), "");
}

TEST_F(KvCleanupWithoutMemory, PassesOverAnEntryThatFindsNone) {
    EXPECT_EXIT(
        removeWithoutMemory("cachepath=" + cachePath +
                                "\ncachedfilescount=1\ncachedfile_0=" + huge + ",a.bin,a.etag,1\n",
                            {"Err 6 Cause: cachedfiles: Cannot allocate memory",
                             "Inf -1 VcPatch Action: remove cached files succeed."}),
        ExitedWithCode(0), "");
}

}  // namespace
