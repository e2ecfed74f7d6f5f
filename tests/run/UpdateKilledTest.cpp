// Updates that are killed: what was there is still there, in the destination or in the store; and
// the next run does what the dead one should have done.
#include <gtest/gtest.h>

#include <chrono>
#include <random>
#include <thread>

#include "tests/run/PatchScenario.h"
#include "tests/run/TwoItemUpdate.h"

namespace {

using Clock = std::chrono::steady_clock;

void expectUpdated(const PatchScenario& patch) {
    EXPECT_EQ(
        patch.destination("app").files(),
        (FileTree{{"a.dat", "new a"}, {"added.dat", "new"}, {"sub/", ""}, {"sub/b.dat", "new b"}}));
    EXPECT_EQ(
        patch.destination("lib").files(),
        (FileTree{{"added.dat", "new"}, {"c.dat", "new c"}, {"sub/", ""}, {"sub/d.dat", "new d"}}));
}

class UpdateKilled : public testing::TestWithParam<const char*> {};

TEST_P(UpdateKilled, LosesNothingAndCanBeRepeated) {
    PatchScenario patch;
    planTwoItems(patch);
    ScriptedAgent& agent = patch.agent(ScriptedAgent::kNew);
    agent.script(GetParam());

    EXPECT_EQ(patch.update().exitCode, -1);
    expectOldFilesKept(patch);

    agent.forgetScript();
    EXPECT_EQ(patch.update().status, 0);
    expectUpdated(patch);
}

INSTANTIATE_TEST_SUITE_P(In, UpdateKilled,
                         testing::Values("StartAction kills", "StartItem #1 kills",
                                         "CheckFileEx #1 kills", "CheckFileEx #2 kills",
                                         "CheckFileEx #3 kills", "EndItem #1 kills",
                                         "StartItem #2 kills", "CheckFileEx #4 kills",
                                         "CheckFileEx #5 kills", "CheckFileEx #6 kills",
                                         "EndItem #2 kills", "EndAction kills"));

// One update of these files, killed after a random part of the time that it takes.
void killOnce(std::mt19937& random, std::chrono::microseconds longest) {
    PatchScenario patch;
    planTwoItems(patch);
    patch.set("action", "0");
    patch.writeDescription();
    std::uniform_int_distribution<int64_t> moment(0, longest.count());

    const std::unique_ptr<RunningPatch> run = patch.start();
    std::this_thread::sleep_for(std::chrono::microseconds(moment(random)));
    run->process.kill();
    (void)patch.finish(*run);
    expectOldFilesKept(patch);

    EXPECT_EQ(patch.update().status, 0);
    expectUpdated(patch);
}

TEST(UpdateKilledAtRandom, LosesNothingAndCanBeRepeated) {
    PatchScenario whole;
    planTwoItems(whole);
    const Clock::time_point start = Clock::now();
    EXPECT_EQ(whole.update().status, 0);
    const auto duration =
        std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - start);

    std::mt19937 random(20240229);
    const Clock::time_point end = Clock::now() + std::chrono::seconds(1);
    for (int i = 0; i < 40 && Clock::now() < end && !testing::Test::HasFailure(); ++i) {
        killOnce(random, duration);
    }
}

}  // namespace
