// Updates that fail part-way: what their rollback does not put back, and never did.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <thread>

#include "tests/run/PatchScenario.h"
#include "tests/run/TwoItemUpdate.h"

namespace fs = std::filesystem;

namespace {

// Whether the agent hears of the end of so many items within half a minute.
bool waitForEnds(const ScriptedAgent& agent, long count) {
    const auto isEnd = [](const std::string& call) { return call.rfind("EndItem(", 0) == 0; };
    for (int i = 0; i < 3000; ++i) {
        const std::vector<std::string> calls = agent.calls();
        if (std::count_if(calls.begin(), calls.end(), isEnd) >= count) {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
}

TEST(UpdateNotUndone, DirectoriesThatItMade) {
    PatchScenario patch;
    patch.item(3, 5).stage("new/a.dat", "a");
    patch.agent(ScriptedAgent::kNew).script("EndItem #1 = 0");

    EXPECT_EQ(patch.update().status, 60);

    EXPECT_EQ(patch.destination().files(), (FileTree{{"new/", ""}}));
}

// Nor what belongs to items before it.
TEST(UpdateNotUndone, AReplacedFileWithACommaInItsName) {
    PatchScenario patch;
    patch.destination().write("a.dat", "old a");
    patch.destination("lib").write("b,c.dat", "old b");
    patch.item(3, 5).stage("a.dat", "new a");
    patch.item(2, 4).to("lib").stage("b,c.dat", "new b");
    patch.agent(ScriptedAgent::kNew).script("EndItem #2 = 0");

    const RunOutcome run = patch.update();

    EXPECT_EQ(run.status, 60);
    EXPECT_THAT(run.log, LogHas({"Err autoRollback: written file name failed."}));
    EXPECT_EQ(patch.destination("lib").read("b,c.dat"), "new b");
    EXPECT_EQ(patch.destination().read("a.dat"), "new a");
    // What was saved is still there.
    EXPECT_EQ(patch.destination("lib").saved("2/4/000"), "old b");
    EXPECT_EQ(patch.destination().saved("3/5/000"), "old a");
}

// It is put back over the file whose name lacks the blank, which is lost.
TEST(UpdateNotUndone, AReplacedFileWithABlankAtTheEndOfItsName) {
    PatchScenario patch;
    patch.destination().write("a.dat", "a user's own");
    patch.destination().write("a.dat ", "old");
    patch.item(3, 5).stage("a.dat ", "new");
    patch.agent(ScriptedAgent::kNew).script("EndItem #1 = 0");

    EXPECT_EQ(patch.update().status, 60);

    EXPECT_EQ(patch.destination().files(), (FileTree{{"a.dat", "old"}, {"a.dat ", "new"}}));
    expectEmptyStore(patch.destination());
}

TEST(UpdateNotUndone, AReplacedFileWhoseNameIsAPattern) {
    PatchScenario patch;
    patch.destination().write("a*b.dat", "old");
    patch.item(3, 5).stage("a*b.dat", "new");
    patch.agent(ScriptedAgent::kNew).script("EndItem #1 = 0");

    EXPECT_EQ(patch.update().status, 60);

    EXPECT_EQ(patch.destination().read("a*b.dat"), "");
}

TEST(UpdateNotUndone, FilesThatMatchTheNameOfAnAddedOne) {
    PatchScenario patch;
    patch.destination().write("axb.dat", "a user's own");
    patch.destination().write("c.dat", "kept");
    patch.item(3, 5).stage("a*b.dat", "new");
    patch.agent(ScriptedAgent::kNew).script("EndItem #1 = 0");

    EXPECT_EQ(patch.update().status, 60);

    EXPECT_EQ(patch.destination().files(), (FileTree{{"c.dat", "kept"}}));
}

// The file is taken for a new one, and what was added is deleted.
TEST(UpdateNotUndone, AFileThatMayBeWrittenButNotRead) {
    PatchScenario patch;
    patch.destination().write("a.dat", "old");
    patch.item(3, 5).stage("a.dat", "new");
    patch.agent(ScriptedAgent::kNew).script("EndItem #1 = 0");
    fs::permissions(patch.destination().path("a.dat"), fs::perms::owner_write);
    patch.asOrdinaryUser();

    const RunOutcome run = patch.update();

    EXPECT_EQ(run.status, 60);
    EXPECT_THAT(run.log, LogHas({"Inf Auto Rollback in Update: Unlinking " +
                                 patch.destination().path("a.dat") + " ."}));
    EXPECT_EQ(patch.destination().files(), FileTree{});
    expectEmptyStore(patch.destination());
}

// The directory of a replaced file becomes a file before the rollback: its saved copy stays.
// The items before it are undone all the same.
TEST(UpdateNotUndone, AFileThatCannotBeMovedBack) {
    PatchScenario patch;
    patch.destination("lib").write("b.dat", "old b");
    patch.destination().write("sub/a.dat", "old a");
    patch.item(2, 4).to("lib").stage("b.dat", "new b");
    patch.item(3, 5).stage("sub/a.dat", "new a");
    const ScriptedAgent& agent = patch.agent(ScriptedAgent::kNew);
    agent.script("EndItem #2 waits " + patch.tree().path("go") + "\nEndItem #2 = 0");
    patch.set("action", "0");
    patch.writeDescription();

    const std::unique_ptr<RunningPatch> running = patch.start();
    ASSERT_TRUE(waitForEnds(agent, 2));
    fs::remove_all(patch.destination().path("sub"));
    patch.destination().write("sub", "in the way");
    patch.tree().write("go", "");
    const RunOutcome run = patch.finish(*running);

    EXPECT_EQ(run.status, 60);
    EXPECT_EQ(patch.destination().files(), (FileTree{{"sub", "in the way"}}));
    EXPECT_EQ(patch.destination("lib").files(), (FileTree{{"b.dat", "old b"}}));
    EXPECT_EQ(patch.destination().saved("3/5/000"), "old a");
    expectEmptyStore(patch.destination("lib"));
}

// Every entry then has a piece too many.
TEST(UpdateNotUndone, ReplacedFilesOfADestinationWithACommaInItsName) {
    PatchScenario patch;
    const ScenarioDir app = patch.destination("my,app");
    app.write("a.dat", "old");
    patch.item(3, 5).to("my,app").stage("a.dat", "new").stage("b.dat", "more");
    patch.agent(ScriptedAgent::kNew).script("EndItem #1 = 0");

    const RunOutcome run = patch.update();

    EXPECT_EQ(run.status, 60);
    EXPECT_THAT(run.log, LogHas({"Err autoRollback: written file name failed."}));
    EXPECT_EQ(app.files(), (FileTree{{"a.dat", "new"}}));
    EXPECT_EQ(app.saved("3/5/000"), "old");
}

// The path of each of its files is a pattern to the copies: none is saved, and none moved back.
TEST(UpdateNotUndone, ReplacedFilesOfADestinationWhoseNameIsAPattern) {
    PatchScenario patch;
    const ScenarioDir app = patch.destination("a*p");
    app.write("a.dat", "old");
    patch.item(3, 5).to("a*p").stage("a.dat", "new").stage("b.dat", "more");
    patch.agent(ScriptedAgent::kNew).script("EndItem #1 = 0");

    EXPECT_EQ(patch.update().status, 60);

    EXPECT_EQ(app.files(), (FileTree{{"a.dat", "new"}}));
    EXPECT_EQ(app.saved("3/5/000"), "");
}

// The deletion and the move take the backslash for a separator.
TEST(UpdateNotUndone, FilesWithABackslashInTheirNames) {
    PatchScenario patch;
    patch.destination().write("a\\x.dat", "old");
    patch.item(3, 5).stage("a\\x.dat", "new").stage("b\\x.dat", "more");
    patch.agent(ScriptedAgent::kNew).script("EndItem #1 = 0");

    EXPECT_EQ(patch.update().status, 60);

    EXPECT_EQ(patch.destination().files(),
              (FileTree{{"a/", ""}, {"a/x.dat", ""}, {"a\\x.dat", "new"}, {"b\\x.dat", "more"}}));
}

}  // namespace
