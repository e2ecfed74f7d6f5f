#include "tests/support/ChildProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <stdexcept>

#include "tests/support/TempTree.h"

namespace {

using std::chrono::milliseconds;
using testing::HasSubstr;

// The test's stand-in for an executable that does many things.
ChildCommand script(const std::string& text) {
    return {"/bin/sh", {"-c", text}};
}

TEST(ChildProcess, TellsExitCodeAndBothOutputs) {
    const ChildResult result = runChild(script("echo out; echo err >&2; exit 7"));
    EXPECT_EQ(result.exitCode, 7);
    EXPECT_EQ(result.signal, 0);
    EXPECT_FALSE(result.timedOut);
    EXPECT_EQ(result.out, "out\n");
    EXPECT_EQ(result.err, "err\n");
}

TEST(ChildProcess, TellsTheSignal) {
    const ChildResult result = runChild(script("kill -TERM $$"));
    EXPECT_EQ(result.signal, SIGTERM);
    EXPECT_EQ(result.exitCode, -1);
    EXPECT_FALSE(result.timedOut);
}

TEST(ChildProcess, PassesArgumentsAsTheyAre) {
    const ChildResult result = runChild(
        {"/bin/sh", {"-c", "printf '<%s>' \"$@\"", "sh", "a b", "", "*", "$HOME", "'\"\n"}});
    EXPECT_EQ(result.out, "<a b><><*><$HOME><'\"\n>");
}

TEST(ChildProcess, RunsInTheDirectory) {
    const TempTree tree;
    ChildCommand command = script("pwd -P");
    command.directory = tree.path();
    EXPECT_EQ(runChild(command).out, std::filesystem::canonical(tree.path()).string() + "\n");
}

TEST(ChildProcess, FindsARelativeExecutableFromHere) {
    const TempTree tree;
    ChildCommand command = script("exit 3");
    command.executable = std::filesystem::relative("/bin/sh").string();
    command.directory = tree.path();
    EXPECT_EQ(runChild(command).exitCode, 3);
}

TEST(ChildProcess, GivesUpPrivilegesWhenAsked) {
    ChildCommand command = script("id -u; id -g");
    command.user = 65534;
    const bool isRoot = geteuid() == 0;
    const std::string own = std::to_string(geteuid()) + "\n" + std::to_string(getegid()) + "\n";
    EXPECT_EQ(runChild(command).out, isRoot ? "65534\n65534\n" : own);
}

TEST(ChildProcess, SetsVariablesBesideTheOthers) {
    ASSERT_EQ(setenv("KV_CHILD_KEPT", "kept", 1), 0);
    ASSERT_EQ(setenv("KV_CHILD_CHANGED", "old", 1), 0);
    ChildCommand command = script("echo $KV_CHILD_KEPT $KV_CHILD_CHANGED $KV_CHILD_NEW");
    command.environment = {{"KV_CHILD_CHANGED", "changed"}, {"KV_CHILD_NEW", "new"}};
    EXPECT_EQ(runChild(command).out, "kept changed new\n");
    unsetenv("KV_CHILD_KEPT");
    unsetenv("KV_CHILD_CHANGED");
}

TEST(ChildProcess, HasNoInput) {
    const ChildResult result = runChild({"/bin/cat"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, "");
}

TEST(ChildProcess, ReadsMoreThanPipesHold) {
    const ChildResult result = runChild(script(
        "i=0; while [ $i -lt 3000 ]; do echo \"$i 0123456789012345678901234567890123456789\";"
        "echo \"$i 0123456789012345678901234567890123456789\" >&2; i=$((i+1)); done"));
    EXPECT_EQ(result.out.size(), 3000 * 42 + 10 + 90 * 2 + 900 * 3 + 2000 * 4u);
    EXPECT_EQ(result.err, result.out);
}

TEST(ChildProcess, KillsWhenTheTimeIsUp) {
    const char* const endless[] = {"echo early; sleep 30; echo late",
                                   "echo early; exec >&- 2>&-; sleep 30",
                                   "echo early; sleep 30 & exit 0"};
    for (const char* const text : endless) {
        ChildCommand command = script(text);
        command.limit = milliseconds(150);
        const auto start = std::chrono::steady_clock::now();
        const ChildResult result = runChild(command);
        EXPECT_TRUE(result.timedOut) << text;
        EXPECT_EQ(result.out, "early\n");
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
    }
}

TEST(ChildProcess, ATimedOutChildEndsByASignal) {
    ChildCommand command{"/bin/sleep", {"30"}};
    command.limit = milliseconds(50);
    EXPECT_EQ(runChild(command).signal, SIGKILL);
}

TEST(ChildProcess, CanBeKilledWhileItRuns) {
    ChildProcess child({"/bin/sleep", {"30"}});
    child.kill();
    const ChildResult result = child.wait();
    EXPECT_EQ(result.signal, SIGKILL);
    EXPECT_FALSE(result.timedOut);
}

TEST(ChildProcess, WhatCannotRunIsAnError) {
    EXPECT_THROW((void)runChild({"/nowhere/tool"}), std::runtime_error);
    ChildCommand lost = script("exit 0");
    lost.directory = "/nowhere";
    try {
        (void)runChild(lost);
        FAIL() << "ran in a missing directory";
    } catch (const std::runtime_error& error) {
        EXPECT_THAT(error.what(), HasSubstr("cannot run /bin/sh: "));
    }
}

}  // namespace
