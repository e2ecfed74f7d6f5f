// Signals and closed descriptors that the real binary is started with or meets: what ends it, what
// it survives, and that nothing is printed into its files. The user's cancel has tests of its own.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <thread>

#include "fileop/KvVcLock.h"
#include "tests/run/DefaultSignals.h"
#include "tests/run/PatchScenario.h"

namespace {

using testing::HasSubstr;

void planUpdate(PatchScenario& patch) {
    patch.destination().write("a.dat", "old");
    patch.item(3, 5).stage("a.dat", "new");
    patch.set("action", "0");
}

// Runs the binary from a shell: `line` starts it as "$0" on the argument "$1".
ChildResult runFromShell(const PatchScenario& patch, const std::string& line) {
    patch.writeDescription();
    ChildCommand command = patch.command({patch.staging().path()});
    command.arguments = {"-c", line, command.executable, patch.staging().path()};
    command.executable = "/bin/sh";
    return runChild(command);
}

TEST(Signals, EndTheProcessBeforeTheAgentHearsAWord) {
    const DefaultSignals usual;
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        PatchScenario patch;
        planUpdate(patch);
        const ScriptedAgent& agent = patch.agent(ScriptedAgent::kNew);
        patch.writeDescription();
        KvVcLock held;
        ASSERT_TRUE(held.create(kFileLock, patch.staging().path("VcPatch.ini").c_str(), true));

        const std::unique_ptr<RunningPatch> run = patch.start();
        std::this_thread::sleep_for(std::chrono::milliseconds(100));  // the run waits for the lock
        (void)kill(run->process.id(), signal);

        EXPECT_EQ(run->process.wait().signal, signal);
        EXPECT_THAT(agent.calls(), testing::IsEmpty());
        EXPECT_EQ(patch.destination().read("a.dat"), "old");
    }
}

TEST(Signals, LeaveTheRunAloneWhenTheCallerIgnoresThem) {
    PatchScenario patch;
    planUpdate(patch);
    patch.agent(ScriptedAgent::kNew)
        .script("StartItem raises TERM\nStartItem raises INT\nStartItem raises HUP");

    EXPECT_EQ(runFromShell(patch, "trap '' TERM INT HUP; exec \"$0\" \"$1\"").exitCode, 0);

    EXPECT_EQ(patch.result(), "result=0\n");
    EXPECT_EQ(patch.destination().read("a.dat"), "new");
}

TEST(Signals, APipeThatNobodyReadsDoesNotEndTheRun) {
    const DefaultSignals usual;
    PatchScenario patch;
    planUpdate(patch);
    patch.configure("[Debug]\nlog_mode=1\nLevel=0\n");

    // The reader is gone when the run starts.
    (void)runFromShell(patch, "{ sleep 0.1; exec \"$0\" \"$1\"; } | :");
    for (int i = 0; i < 100 && patch.result().empty(); ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }

    EXPECT_EQ(patch.result(), "result=0\n");
    EXPECT_EQ(patch.destination().read("a.dat"), "new");
}

TEST(Signals, AFileThatGrowsTooLargeFailsTheRunAndIsUndone) {
    const DefaultSignals usual;
    PatchScenario patch;
    planUpdate(patch);
    patch.item(3, 6).stage("b.dat", std::string(8 << 20, 'x'));

    EXPECT_EQ(runFromShell(patch, "ulimit -f 2048; exec \"$0\" \"$1\"").exitCode, 0);

    EXPECT_EQ(patch.result(), "result=58\n");
    EXPECT_EQ(patch.destination().read("a.dat"), "old");
}

class ClosedStreams : public testing::TestWithParam<const char*> {};

TEST_P(ClosedStreams, TakeNoFileOfTheRun) {
    PatchScenario patch;
    planUpdate(patch);
    patch.configure("[Debug]\nlog_mode=1\nLevel=0\n");

    const std::string line = std::string("exec \"$0\" \"$1\" ") + GetParam();
    EXPECT_EQ(runFromShell(patch, line).exitCode, 0);

    EXPECT_EQ(patch.result(), "result=0\n");
    EXPECT_EQ(patch.destination().read("a.dat"), "new");
    EXPECT_EQ(patch.tree().read("staging/VcPatch.ini.lock"), "");
    for (const auto& entry : std::filesystem::recursive_directory_iterator(patch.tree().path())) {
        if (entry.is_regular_file() && entry.path().filename() != "VcPatch") {
            const std::string name = entry.path().lexically_relative(patch.tree().path()).string();
            EXPECT_EQ(patch.tree().read(name).find("VcPatch Action"), std::string::npos) << name;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(All, ClosedStreams,
                         testing::Values("<&- >&- 2>&-", ">&-", "<&- >&-", "2>&-", "<&-"));

}  // namespace
