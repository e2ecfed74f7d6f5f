// Rollbacks that are killed: what the update had replaced is still there, in the destination or in
// the store; and the next rollback does what the dead one should have done.
//
// There are two exceptions, which lie in how a rollback ends. It takes its items out of the records
// one by one, by writing each record anew. Killed from there on, when all files are as they should
// be, it leaves a record that cannot be read or no longer knows the item: the next rollback reports
// a disk failure. And what that one has done by then it undoes, which makes an empty file of each
// added one that was gone already.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <optional>
#include <random>
#include <thread>

#include "tests/run/PatchScenario.h"
#include "tests/run/TwoItemUpdate.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kDiskAccess = 58;

// Two items, updated. The second one, on "lib", is rolled back first: its added file, "c.dat" and
// "sub/d.dat"; then the three files of "app".
class UpdatedTwoItems {
  public:
    UpdatedTwoItems() : agent_(patch.agent(ScriptedAgent::kNew)) {
        planTwoItems(patch);
        first_.emplace(patch);
        EXPECT_EQ(patch.update().status, 0);
    }

    // Rolls back until the agent is called so.
    void rollBackUntil(const std::string& call) {
        agent_.script(call + " kills");
        EXPECT_EQ(patch.rollback().exitCode, -1);
        agent_.forgetScript();
    }

    // These trees are those from before the update.
    void expectFirst(const Destinations& trees) const { expectSame(*first_, trees); }

    PatchScenario patch;

  private:
    ScriptedAgent& agent_;
    std::optional<Destinations> first_;
};

class RollbackKilled : public testing::TestWithParam<const char*> {};

TEST_P(RollbackKilled, LosesNothingAndCanBeRepeated) {
    UpdatedTwoItems two;

    two.rollBackUntil(GetParam());
    expectOldFilesKept(two.patch);
    for (const std::string& content : kNewContents) {
        expectKept(two.patch, content);
    }

    EXPECT_EQ(two.patch.rollback().status, 0);
    two.expectFirst(Destinations(two.patch));
}

INSTANTIATE_TEST_SUITE_P(In, RollbackKilled,
                         testing::Values("IsRollbackEx", "StartAction", "StartItem #1",
                                         "CheckFileEx #1", "CheckFileEx #2", "CheckFileEx #3",
                                         "EndItem #1", "StartItem #2", "CheckFileEx #4",
                                         "CheckFileEx #5", "CheckFileEx #6", "EndItem #2",
                                         "EndAction"));

// The update's own copies have the numbers 000 and 001.
TEST(RollbackKilledAtItsEnd, LeavesTheCopiesThatItHasMade) {
    UpdatedTwoItems two;
    two.rollBackUntil("EndAction");
    EXPECT_EQ(two.patch.rollback().status, 0);
    const ScenarioDir lib = two.patch.destination("lib");
    EXPECT_FALSE(lib.hasSaved("2/4/000") || lib.hasSaved("2/4/001"));
    EXPECT_EQ(lib.saved("2/4/002"), "new");
}

// As if it had been killed between emptying the record of "app" and filling it again.
TEST(RollbackKilledAtItsEnd, CannotBeRepeatedButHasPutAllFilesBack) {
    UpdatedTwoItems two;
    two.rollBackUntil("EndAction");
    two.patch.destination("app").writeRecord("");
    two.expectFirst(Destinations(two.patch));

    EXPECT_EQ(two.patch.rollback().status, kDiskAccess);

    ASSERT_TRUE(two.patch.destination("lib").has("added.dat"));
    EXPECT_EQ(two.patch.destination("lib").read("added.dat"), "");
    std::filesystem::remove(two.patch.destination("lib").path("added.dat"));
    two.expectFirst(Destinations(two.patch));
}

// That another rollback works, or fails for the records alone.
void expectEnd(UpdatedTwoItems& two) {
    const Destinations left(two.patch);
    const std::optional<int> status = two.patch.rollback().status;
    if (status != 0) {
        EXPECT_EQ(status, kDiskAccess);
        two.expectFirst(left);
        const ScenarioDir lib = two.patch.destination("lib");
        if (lib.read("added.dat").empty()) {
            std::filesystem::remove(lib.path("added.dat"));
        }
    }
    two.expectFirst(Destinations(two.patch));
}

// One rollback of these files, killed after a random part of the time that it takes.
void killOnce(std::mt19937& random, std::chrono::microseconds longest) {
    UpdatedTwoItems two;
    two.patch.set("action", "1");
    two.patch.writeDescription();
    std::uniform_int_distribution<int64_t> moment(0, longest.count());

    const std::unique_ptr<RunningPatch> run = two.patch.start();
    std::this_thread::sleep_for(std::chrono::microseconds(moment(random)));
    run->process.kill();
    (void)two.patch.finish(*run);

    expectOldFilesKept(two.patch);
    expectEnd(two);
}

TEST(RollbackKilledAtRandom, LosesNothingAndCanBeRepeated) {
    UpdatedTwoItems whole;
    const Clock::time_point start = Clock::now();
    EXPECT_EQ(whole.patch.rollback().status, 0);
    const auto duration =
        std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - start);

    std::mt19937 random(20240229);
    const Clock::time_point end = Clock::now() + std::chrono::seconds(1);
    for (int i = 0; i < 40 && Clock::now() < end && !testing::Test::HasFailure(); ++i) {
        killOnce(random, duration);
    }
}

}  // namespace
