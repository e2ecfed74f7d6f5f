// What reading a description costs, and what it does when there is no memory.
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <string>

#include "log/KvReport.h"
#include "patch/KvUpdateStru.h"
#include "tests/patch/DescriptionText.h"
#include "tests/support/LogCapture.h"
#include "tests/support/LogMatchers.h"
#include "tests/support/MemoryLimit.h"

using ::testing::ExitedWithCode;

namespace {

// The most memory that this process had so far, in bytes.
long peakMemory() {
    struct rusage usage {};
    (void)getrusage(RUSAGE_SELF, &usage);
#ifdef __APPLE__
    return usage.ru_maxrss;
#else
    return usage.ru_maxrss * 1024;
#endif
}

// Reads the description in a process that can no longer get memory, and ends that process: with 0
// when the description was found unusable for this reason alone and everything was released.
[[noreturn]] void readWithoutMemory(const std::string& text, long slack) {
    const KvIniUtil document(text.c_str(), ';', false, true, '=');
    updateStru stru{};
    LogCapture log(kLevelProgress);
    limitMemory(slack);
    const bool isUnusable = phaseIniForUpdate(&document, &stru) == -1;
    const bool isReleased =
        stru.items == nullptr && stru.patchAgentFile == nullptr && stru.velocorePath == nullptr;
    const bool isTold =
        testing::Matches(LogEndsWith({"Err 6 Cause: VcPatch.ini: Cannot allocate memory",
                                      "Err 6 phaseIniForUpdate: malloc failed.",
                                      "Inf 6 phaseIniForUpdate: error quit."}))(log.lines());
    _exit(isUnusable && isReleased && isTold ? 0 : 1);
}

}  // namespace

// A count that promises gigabytes costs what the sections cost.
TEST(KvUpdateStruMemory, EndsAtOnceForCountsThatNothingCanHold) {
    for (const char* count : {"-1", "4294967295", "-2147483648", "2147483647", "76695844",
                              "76695845", "99999999999999999999"}) {
        SCOPED_TRACE(count);
        const DescriptionText text = DescriptionText(2).set("itemcount", count);
        const long peakBefore = peakMemory();
        const auto start = std::chrono::steady_clock::now();
        LogCapture log;
        const ReadDescription read(text);
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
        EXPECT_LT(peakMemory() - peakBefore, 16 * kMegabyte);
        EXPECT_EQ(read.result(), -1);
        EXPECT_THAT(log.lines(6), LogIs({"Err 6 phaseIniForUpdate: fetch class failed.",
                                         "Inf 6 phaseIniForUpdate: error quit."}));
    }
}

TEST(KvUpdateStruMemory, EndsWithAMessageWhenATextCannotBeCopied) {
    if (!kCanLimitMemory) {
        GTEST_SKIP() << "this platform does not limit the memory of a process";
    }
    const std::string hugeText(kMoreThanTheHeapKeeps, 'x');
    const std::string mark = "<huge>";
    for (const DescriptionText& description :
         {DescriptionText().set("patchagent", mark), DescriptionText().set("velocore_path", mark),
          DescriptionText(2).set("patchagent", "a.so").setItem(1, "destination", mark),
          DescriptionText(2).set("patchagent", "a.so").setItem(1, "item.zip", mark)}) {
        std::string text = description.text();
        SCOPED_TRACE(text);
        text.replace(text.find(mark), mark.size(), hugeText);
        EXPECT_EXIT(readWithoutMemory(text, 4 * kMegabyte), ExitedWithCode(0), "");
    }
}

TEST(KvUpdateStruMemory, EndsWithAMessageWhenTheItemsDoNotFit) {
    if (!kCanLimitMemory) {
        GTEST_SKIP() << "this platform does not limit the memory of a process";
    }
    // In a program started anew: what earlier tests released could hold the items.
    ::testing::FLAGS_gtest_death_test_style = "threadsafe";
    const std::string text = DescriptionText(10000).text();
    EXPECT_EXIT(readWithoutMemory(text, kMegabyte / 8), ExitedWithCode(0), "");
}
