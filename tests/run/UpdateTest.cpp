// The update, told by what the real binary leaves behind.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "fileop/KvDiskNames.h"
#include "tests/run/PatchScenario.h"
#include "tests/run/RecordModel.h"

namespace fs = std::filesystem;

namespace {

using testing::HasSubstr;

constexpr time_t kLongAgo = 1000000000;
const std::string kRecord = kBackupRecordName;
TEST(Update, ReplacesAndAddsFilesAndRecordsThem) {
    PatchScenario patch;
    const ScenarioDir app = patch.destination();
    app.write("a.dat", "old");
    patch.item(3, 5).stage("a.dat", "new").stage("b.dat", "more");

    const RunOutcome run = patch.update();

    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(app.files(), (FileTree{{"a.dat", "new"}, {"b.dat", "more"}}));
    EXPECT_EQ(app.saved("3/5/000"), "old");
    EXPECT_THAT(run.log, LogEndsWith({"Inf VcPatch end."}));
    // To the letter; other tests take records from RecordModel.
    EXPECT_EQ(app.record(),
              "[common]\nitemcount=1\npatchagent.version=1\n"
              "[item_0]\nclass=3\ntype=5\norigin.version=100\nresult.version=101\n"
              "added.filecount=1\nadded.0=" +
                  app.path("b.dat") + "\nwritten.filecount=1\n" +
                  writtenLine("000", app.path("a.dat")));
}

TEST(Update, KeepsTheTimesOfStagedAndOfSavedFiles) {
    PatchScenario patch;
    patch.destination().write("a.dat", "old");
    patch.tree().setTime("app/a.dat", kLongAgo);
    patch.item(3, 5).stage("a.dat", "new").stage("b.dat", "more");
    patch.tree().setTime("staging/3/5/a.dat", kLongAgo + 1);
    patch.tree().setTime("staging/3/5/b.dat", kLongAgo + 2);

    EXPECT_EQ(patch.update().status, 0);

    EXPECT_EQ(patch.tree().time("app/a.dat"), kLongAgo + 1);
    EXPECT_EQ(patch.tree().time("app/b.dat"), kLongAgo + 2);
    EXPECT_EQ(patch.destination().savedTime("3/5/000"), kLongAgo);
}

TEST(Update, TakesWholeTrees) {
    PatchScenario patch;
    patch.destination().write("data/deep/a.dat", "old");
    patch.item(3, 5).stage("data/deep/a.dat", "new").stage("more/b.dat", "b");

    EXPECT_EQ(patch.update().status, 0);

    EXPECT_EQ(patch.destination().files(), (FileTree{{"data/", ""},
                                                     {"data/deep/", ""},
                                                     {"data/deep/a.dat", "new"},
                                                     {"more/", ""},
                                                     {"more/b.dat", "b"}}));
    EXPECT_THAT(patch.destination().record(),
                HasSubstr(writtenLine("000", patch.destination().path("data/deep/a.dat"))));
}

TEST(Update, FillsTheRecordOfEachDestination) {
    PatchScenario patch;
    patch.item(3, 5).stage("a.dat", "a");
    patch.item(2, 4).stage("b.dat", "b").to("lib").versions("5.2", "6.0");

    EXPECT_EQ(patch.update().status, 0);

    const ScenarioDir app = patch.destination();
    const ScenarioDir lib = patch.destination("lib");
    EXPECT_EQ(app.record(), recordOf({recordedItem(3, 5).adds(app.path("a.dat"))}));
    EXPECT_EQ(lib.record(), recordOf({{2, 4, "5.2", "6.0", {lib.path("b.dat")}, {}}}));
}

TEST(Update, ListsItemsOfOneDestinationInTheirOrder) {
    PatchScenario patch;
    patch.item(3, 6).stage("a.dat", "a");
    patch.item(3, 5).stage("b.dat", "b");

    EXPECT_EQ(patch.update().status, 0);

    const ScenarioDir app = patch.destination();
    EXPECT_EQ(app.record(), recordOf({recordedItem(3, 6).adds(app.path("a.dat")),
                                      recordedItem(3, 5).adds(app.path("b.dat"))}));
}

// The second item saves what the first one wrote.
TEST(Update, LetsALaterItemReplaceTheFileOfAnEarlierOne) {
    PatchScenario patch;
    patch.item(3, 5).stage("a.dat", "first");
    patch.item(3, 6).stage("a.dat", "second");

    EXPECT_EQ(patch.update().status, 0);

    EXPECT_EQ(patch.destination().read("a.dat"), "second");
    EXPECT_EQ(patch.destination().saved("3/6/000"), "first");
}

// A name that the record holds is not used again.
TEST(Update, KeepsOneGenerationAtEachDestination) {
    PatchScenario patch;
    const ScenarioDir app = patch.destination("app");
    const ScenarioDir lib = patch.destination("lib");
    app.write("a.dat", "a0");
    lib.write("b.dat", "b0");
    const std::string numbers[] = {"000", "001", "000"};
    for (int i = 0; i < 3; ++i) {
        const std::string number = numbers[i];
        const std::string before = std::to_string(i);
        const std::string after = std::to_string(i + 1);
        patch.clearStaging();
        patch.item(3, 5).stage("a.dat", "a" + after);
        patch.item(3, 6).to("lib").stage("b.dat", "b" + after).stage("b" + after, "new");

        EXPECT_EQ(patch.update().status, 0);

        const RecordedItem inApp = recordedItem(3, 5).saves(number, app.path("a.dat"));
        EXPECT_EQ(app.store(), (FileTree{{"3/", ""},
                                         {"3/5/", ""},
                                         {savedName("3/5/" + number), "a" + before},
                                         {kBackupRecordName, recordOf({inApp})}}));
        const RecordedItem inLib =
            recordedItem(3, 6).adds(lib.path("b" + after)).saves(number, lib.path("b.dat"));
        EXPECT_EQ(lib.store(), (FileTree{{"3/", ""},
                                         {"3/6/", ""},
                                         {savedName("3/6/" + number), "b" + before},
                                         {kBackupRecordName, recordOf({inLib})}}));
        EXPECT_EQ(app.files(), (FileTree{{"a.dat", "a" + after}}));
        EXPECT_EQ(lib.read("b.dat"), "b" + after);
    }
}

TEST(Update, LeavesOtherItemsOfTheRecordAlone) {
    PatchScenario patch;
    const ScenarioDir app = patch.destination();
    app.write("a.dat", "old");
    patch.item(3, 5).stage("a.dat", "new");
    EXPECT_EQ(patch.update().status, 0);

    patch.clearStaging();
    patch.item(3, 6).stage("b.dat", "b");
    EXPECT_EQ(patch.update().status, 0);

    EXPECT_EQ(app.saved("3/5/000"), "old");
    EXPECT_EQ(app.record(), recordOf({recordedItem(3, 5).saves("000", app.path("a.dat")),
                                      recordedItem(3, 6).adds(app.path("b.dat"))}));
}

TEST(Update, WithoutBackupForgetsTheGenerationBefore) {
    PatchScenario patch;
    patch.destination().write("a.dat", "first");
    patch.item(3, 5).stage("a.dat", "second");
    EXPECT_EQ(patch.update().status, 0);

    patch.clearStaging();
    patch.item(3, 5).stage("a.dat", "third");
    patch.set("backup", "0");
    EXPECT_EQ(patch.update().status, 0);

    EXPECT_EQ(patch.destination().read("a.dat"), "third");
    const RecordModel forgotten(1, "");
    EXPECT_EQ(patch.destination().store(),
              (FileTree{{"3/", ""}, {"3/5/", ""}, {kBackupRecordName, forgotten.text()}}));
}

TEST(Update, MakesARecordThatIsNotOneAnew) {
    PatchScenario patch;
    const ScenarioDir app = patch.destination();
    app.writeRecord("no record at all");
    patch.item(3, 5).stage("a.dat", "a");

    const RunOutcome run = patch.update();

    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(app.record(), recordOf({recordedItem(3, 5).adds(app.path("a.dat"))}));
    EXPECT_THAT(run.log, LogHas({"Inf Crashed " + kRecord + " file deleted!",
                                 "Inf New " + kRecord + " file created!"}));
}

// The record can neither be read nor taken away: the files stay updated, what was saved is dropped.
TEST(Update, ReplacesNothingWithoutARecordThatItCanRead) {
    PatchScenario patch;
    const ScenarioDir app = patch.destination();
    app.write("a.dat", "old");
    fs::create_directories(app.recordPath());
    fs::create_directories(app.storePath("3/5"));
    patch.item(3, 5).stage("a.dat", "new").stage("b.dat", "more");
    patch.asOrdinaryUser();
    fs::permissions(app.storePath(), fs::perms::owner_read | fs::perms::owner_exec);

    const RunOutcome run = patch.update();

    EXPECT_EQ(run.status, 58);
    EXPECT_THAT(run.log, LogHas({"Err Cause: " + app.storePath(kRecord) + ": Is a directory",
                                 "Err callBackForUpdate: crtUniFile failed."}));
    EXPECT_EQ(app.files(), (FileTree{{"a.dat", "old"}}));
    EXPECT_EQ(app.store(), (FileTree{{"3/", ""}, {"3/5/", ""}, {kRecord + "/", ""}}));
}

// A directory that holds something counts as deleted, as everywhere, and takes no record.
TEST(Update, AddsFilesWithADirectoryInThePlaceOfTheRecord) {
    PatchScenario patch;
    const ScenarioDir app = patch.destination();
    app.write(std::string(kBackupStoreName) + "/" + kRecord + "/inner", "kept");
    patch.item(3, 5).stage("a.dat", "new");

    const RunOutcome run = patch.update();

    EXPECT_EQ(run.status, 0);
    EXPECT_THAT(run.log, LogHas({"Err Cause: " + app.storePath(kRecord) + ": Is a directory",
                                 "Inf Flush " + kRecord + " failed", "Inf mergeBackupIni: done."}));
    EXPECT_EQ(app.read("a.dat"), "new");
    EXPECT_EQ(app.store(), (FileTree{{kRecord + "/", ""}, {kRecord + "/inner", "kept"}}));
}

TEST(Update, DropsADamagedItemFromTheRecord) {
    PatchScenario patch;
    const ScenarioDir app = patch.destination();
    std::string record = recordOf({recordedItem(3, 7), recordedItem(3, 6)});
    const std::string lost = "origin.version=100\n";
    record.erase(record.find(lost), lost.size());
    app.writeRecord(record);
    patch.item(3, 5).stage("a.dat", "a");

    EXPECT_EQ(patch.update().status, 0);

    EXPECT_EQ(app.record(),
              recordOf({recordedItem(3, 6), recordedItem(3, 5).adds(app.path("a.dat"))}));
}

// Nor does a missing staging directory make a difference.
TEST(Update, RecordsAnItemWithoutFiles) {
    for (const bool isStaged : {true, false}) {
        PatchScenario patch;
        const std::string staged = patch.item(3, 5).stagingDir();
        if (!isStaged) {
            fs::remove(staged);
        }
        EXPECT_EQ(patch.update().status, 0);
        EXPECT_EQ(patch.destination().record(), recordOf({recordedItem(3, 5)}));
    }
}

// Without its separator the name of what is not there is that of a file.
TEST(Update, MakesAMissingDestinationThatIsNamedAsADirectory) {
    PatchScenario patch;
    ScenarioItem& item = patch.item(3, 5).stage("a.dat", "a");
    const ScenarioDir there = patch.destination("not/there/yet");

    item.set("destination", there.path());
    EXPECT_EQ(patch.update().status, 12);

    item.set("destination", there.path() + "/");
    EXPECT_EQ(patch.update().status, 0);
    EXPECT_EQ(there.files(), (FileTree{{"a.dat", "a"}}));
}

}  // namespace
