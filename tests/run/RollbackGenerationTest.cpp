// Rollbacks among several generations: after further updates, after rollbacks, after a record was
// damaged and repaired; and with files that wait for the restart.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "fileop/KvDiskNames.h"
#include "tests/run/PatchScenario.h"
#include "tests/run/RecordModel.h"
#include "tests/run/TwoItemUpdate.h"

namespace {

const std::string kNoItems = recordOf({});

class RollbackGeneration : public testing::Test {
  protected:
    void updateTwoItems() {
        planTwoItems(patch);
        ASSERT_EQ(patch.update().status, 0);
    }

    // Both items again, with other files.
    void updateFurther() {
        patch.clearStaging();
        patch.item(3, 5).stage("a.dat", "newer a").stage("late.dat", "later");
        patch.item(2, 4).to("lib").versions("6.0", "6.1").stage("sub/d.dat", "newer d");
        ASSERT_EQ(patch.update().status, 0);
    }

    void expectNothingLeft() const {
        for (const char* const name : {"app", "lib"}) {
            const ScenarioDir dir = patch.destination(name);
            EXPECT_EQ(dir.record(), kNoItems);
            for (const auto& entry : dir.store()) {
                EXPECT_TRUE(entry.first.back() == '/' || entry.first == kBackupRecordName)
                    << entry.first;
            }
        }
    }

    PatchScenario patch;
};

TEST_F(RollbackGeneration, UndoesTheLastUpdateOnly) {
    updateTwoItems();
    const Destinations afterTheFirst(patch);
    updateFurther();

    EXPECT_EQ(patch.rollback().status, 0);

    expectSame(afterTheFirst, Destinations(patch));
    expectNothingLeft();
}

TEST_F(RollbackGeneration, FindsNothingAfterARollback) {
    updateTwoItems();
    updateFurther();
    ASSERT_EQ(patch.rollback().status, 0);
    const Destinations before(patch);

    const RunOutcome run = patch.rollback();

    EXPECT_EQ(run.status, 58);
    EXPECT_THAT(run.log, LogHas({"Inf rollbackItem: item not found."}));
    expectSame(before, Destinations(patch));
    expectNothingLeft();
}

TEST_F(RollbackGeneration, StartsAnewWithTheNextUpdate) {
    planTwoItems(patch);
    const Destinations first(patch);
    for (int round = 0; round < 2; ++round) {
        patch.clearStaging();
        planTwoItems(patch);
        ASSERT_EQ(patch.update().status, 0);
        EXPECT_TRUE(patch.destination().hasSaved("3/5/000"));
        ASSERT_EQ(patch.rollback().status, 0);
        expectSame(first, Destinations(patch));
    }
    expectNothingLeft();
}

// The items of one destination are rolled back in two runs, the one recorded first at first.
TEST_F(RollbackGeneration, TakesOneItemAndRenumbersTheOthers) {
    patch.destination().write("a.dat", "old a");
    patch.destination().write("b.dat", "old b");
    patch.item(3, 5).stage("a.dat", "new a");
    patch.item(3, 6).stage("b.dat", "new b");
    ASSERT_EQ(patch.update().status, 0);

    patch.clearStaging();
    patch.item(3, 5);
    EXPECT_EQ(patch.rollback().status, 0);

    EXPECT_EQ(patch.destination().files(), (FileTree{{"a.dat", "old a"}, {"b.dat", "new b"}}));
    EXPECT_EQ(patch.destination().record(),
              recordOf({recordedItem(3, 6).saves("000", patch.destination().path("b.dat"))}));

    patch.clearStaging();
    patch.item(3, 6);
    EXPECT_EQ(patch.rollback().status, 0);
    EXPECT_EQ(patch.destination().files(), (FileTree{{"a.dat", "old a"}, {"b.dat", "old b"}}));
    EXPECT_EQ(patch.destination().record(), kNoItems);
}

// Two items of one destination, updated; then something happens to the record.
class RollbackAfterDamage : public testing::Test {
  protected:
    RollbackAfterDamage() {
        patch.destination().write("a.dat", "old a");
        patch.destination().write("b.dat", "old b");
        patch.item(3, 5).stage("a.dat", "new a");
        patch.item(3, 6).stage("b.dat", "new b");
        EXPECT_EQ(patch.update().status, 0);
    }

    // Takes out the first line that begins so.
    void damage(const std::string& key) {
        std::string record = patch.destination().record();
        const size_t at = record.find("\n" + key) + 1;
        record.erase(at, record.find('\n', at) + 1 - at);
        patch.destination().writeRecord(record);
    }

    RunOutcome rollBack(unsigned type) {
        patch.clearStaging();
        patch.item(3, type);
        return patch.rollback();
    }

    void updateSecond() {
        patch.clearStaging();
        patch.item(3, 6).stage("b.dat", "newer b").stage("c.dat", "more");
        ASSERT_EQ(patch.update().status, 0);
    }

    PatchScenario patch;
};

TEST_F(RollbackAfterDamage, FailsAndLeavesTheRecordAsItIs) {
    for (const char* const key : {"result.version", "itemcount"}) {
        damage(key);
        const FileTree before = patch.tree().snapshot("app");

        const RunOutcome run = rollBack(6);

        EXPECT_EQ(run.status, 58);
        EXPECT_THAT(run.log, LogHas({"Err rollbackItem: phaseIniForBackup failed."}));
        EXPECT_EQ(patch.tree().snapshot("app"), before);
    }
}

TEST_F(RollbackAfterDamage, WorksAgainForWhatTheNextUpdateKept) {
    damage("result.version");
    updateSecond();

    EXPECT_EQ(rollBack(6).status, 0);

    EXPECT_EQ(patch.destination().files(), (FileTree{{"a.dat", "new a"}, {"b.dat", "new b"}}));
    EXPECT_EQ(patch.destination().record(), kNoItems);
    // The damaged item is lost to the record, not what was saved for it.
    EXPECT_EQ(rollBack(5).status, 58);
    EXPECT_EQ(patch.destination().saved("3/5/000"), "old a");
}

TEST_F(RollbackAfterDamage, WorksForWhatWasUpdatedSinceTheRecordWasMadeAnew) {
    damage("itemcount");
    updateSecond();

    EXPECT_EQ(rollBack(5).status, 58);
    EXPECT_EQ(rollBack(6).status, 0);

    EXPECT_EQ(patch.destination().files(), (FileTree{{"a.dat", "new a"}, {"b.dat", "new b"}}));
}

// The order of the items within the repaired record is another one than before.
TEST_F(RollbackAfterDamage, TakesEachItemByClassAndTypeNotByPlace) {
    patch.clearStaging();
    patch.item(3, 7).stage("d.dat", "new d");
    ASSERT_EQ(patch.update().status, 0);
    damage("result.version");
    updateSecond();

    EXPECT_EQ(rollBack(7).status, 0);
    EXPECT_FALSE(patch.destination().has("d.dat"));
    EXPECT_EQ(patch.destination().read("b.dat"), "newer b");
    EXPECT_EQ(rollBack(6).status, 0);
    EXPECT_EQ(patch.destination().read("b.dat"), "new b");
}

class RollbackDeferred : public testing::TestWithParam<ScriptedAgent::Interface> {
  protected:
    RollbackDeferred() {
        patch.tree().write("app/a.dat", "old");
        patch.item(3, 5).stage("a.dat", "new").stage("added.dat", "more");
        const ScriptedAgent& agent = patch.agent(GetParam());
        EXPECT_EQ(patch.update().status, 0);
        agent.script(GetParam() == ScriptedAgent::kOld ? "CheckFile = -2" : "CheckFileEx = -2");
    }

    PatchScenario patch;
};

// What is to be deleted has no source.
TEST_P(RollbackDeferred, LeavesTheFilesAndListsThemForTheRestart) {
    const FileTree before = patch.destination().files();

    const RunOutcome run = patch.rollback();

    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(patch.destination().files(), before);
    const ScenarioDir app = patch.destination();
    EXPECT_THAT(run.log, LogHas({"Inf adding reboot list into system registry/ini...",
                                 deferredLine("", app.path("added.dat")),
                                 deferredLine(app.savedPath("3/5/000"), app.path("a.dat"))}));
}

// The record counts the item as rolled back, and the saved copies go with it.
TEST_P(RollbackDeferred, IsNeverthelessDone) {
    EXPECT_EQ(patch.rollback().status, 1);
    EXPECT_EQ(patch.rollback().status, 58);
    EXPECT_FALSE(patch.destination().hasSaved("3/5/000"));
    EXPECT_FALSE(patch.destination().hasSaved("3/5/001"));
}

// Status 1 is not the plain success that the clean-up asks for.
TEST_P(RollbackDeferred, CountsAsAFailureWhenNobodyWaits) {
    patch.set("nowaiting", "1");

    const RunOutcome run = patch.rollback();

    EXPECT_EQ(run.status, std::nullopt);
    EXPECT_FALSE(patch.tree().exists("staging"));
    EXPECT_TRUE(patch.saveDir().has(patch.savedDescription()));
}

INSTANTIATE_TEST_SUITE_P(Agent, RollbackDeferred,
                         testing::Values(ScriptedAgent::kOld, ScriptedAgent::kNew),
                         [](const auto& test) {
                             return test.param == ScriptedAgent::kOld ? "Old" : "New";
                         });

TEST_F(RollbackGeneration, RemovesTheStagingDirectoryWhenNobodyWaits) {
    updateTwoItems();
    patch.set("nowaiting", "1");

    const RunOutcome run = patch.rollback();

    EXPECT_EQ(run.status, std::nullopt);
    EXPECT_EQ(patch.destination().read("a.dat"), "old app/a.dat");
    EXPECT_FALSE(patch.tree().exists("staging"));
    EXPECT_FALSE(std::filesystem::exists(patch.saveDir().path()));
    EXPECT_THAT(run.log, LogLacks({"rollback: rollbackWithPatchAgent failed."}));
}

}  // namespace
