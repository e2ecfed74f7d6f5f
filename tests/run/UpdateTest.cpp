// The update, told by what the real binary leaves behind.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/run/PatchScenario.h"

namespace fs = std::filesystem;

namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr time_t kLongAgo = 1000000000;
constexpr char kRecord[] = "VcBackup.ini";
constexpr char kNoItems[] = "[common]\nitemcount=0\npatchagent.version=1\npatchagent=\n";

// The head of a record whose run named no agent.
std::string recordOf(int items) {
    return "[common]\nitemcount=" + std::to_string(items) + "\npatchagent.version=1\n";
}

std::string section(int index, int itemClass, int type, const std::string& lists) {
    return "[item_" + std::to_string(index) + "]\nclass=" + std::to_string(itemClass) +
           "\ntype=" + std::to_string(type) + "\norigin.version=100\nresult.version=101\n" + lists;
}

std::string addedOnly(const std::string& path) {
    return "added.filecount=1\nadded.0=" + path + "\nwritten.filecount=0\n";
}

std::string writtenOnly(const std::string& name, const std::string& path) {
    return "added.filecount=0\nwritten.filecount=1\nwritten.0=" + name + ", " + path + "\n";
}

const std::string kNothing = "added.filecount=0\nwritten.filecount=0\n";

TEST(Update, ReplacesAndAddsFiles) {
    PatchScenario patch;
    patch.destination().write("a.dat", "old");
    patch.item(3, 5).stage("a.dat", "new").stage("b.dat", "more");

    const RunOutcome run = patch.update();

    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(patch.destination().files(), (FileTree{{"a.dat", "new"}, {"b.dat", "more"}}));
    EXPECT_EQ(patch.destination().store().at("3/5/backup.000"), "old");
    EXPECT_THAT(run.log, Contains(info("VcPatch end.")));
}

TEST(Update, RecordsWhatItReplacedAndAdded) {
    PatchScenario patch;
    patch.destination().write("a.dat", "old");
    patch.item(3, 5).stage("a.dat", "new").stage("b.dat", "more");

    EXPECT_EQ(patch.update().status, 0);

    const std::string app = patch.destination().path();
    EXPECT_EQ(patch.destination().store().at(kRecord),
              recordOf(1) +
                  section(0, 3, 5,
                          "added.filecount=1\nadded.0=" + app + "/b.dat\n" +
                              "written.filecount=1\nwritten.0=backup.000, " + app + "/a.dat\n"));
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
    EXPECT_EQ(patch.tree().time("app/VC_Backup/3/5/backup.000"), kLongAgo);
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
    EXPECT_THAT(patch.destination().store().at(kRecord),
                HasSubstr("written.0=backup.000, " + patch.destination().path("data/deep/a.dat")));
}

TEST(Update, FillsTheRecordOfEachDestination) {
    PatchScenario patch;
    patch.item(3, 5).stage("a.dat", "a");
    patch.item(2, 4).stage("b.dat", "b").to("lib").versions("5.2", "6.0");

    EXPECT_EQ(patch.update().status, 0);

    EXPECT_EQ(patch.destination().store().at(kRecord),
              recordOf(1) + section(0, 3, 5, addedOnly(patch.destination().path("a.dat"))));
    EXPECT_THAT(patch.destination("lib").store().at(kRecord),
                testing::AllOf(StartsWith(recordOf(1) + "[item_0]\nclass=2\ntype=4\n"),
                               HasSubstr(addedOnly(patch.destination("lib").path("b.dat")))));
}

TEST(Update, ListsItemsOfOneDestinationInTheirOrder) {
    PatchScenario patch;
    patch.item(3, 6).stage("a.dat", "a");
    patch.item(3, 5).stage("b.dat", "b");

    EXPECT_EQ(patch.update().status, 0);

    EXPECT_EQ(patch.destination().store().at(kRecord),
              recordOf(2) + section(0, 3, 6, addedOnly(patch.destination().path("a.dat"))) +
                  section(1, 3, 5, addedOnly(patch.destination().path("b.dat"))));
}

// The second item saves what the first one wrote.
TEST(Update, LetsALaterItemReplaceTheFileOfAnEarlierOne) {
    PatchScenario patch;
    patch.item(3, 5).stage("a.dat", "first");
    patch.item(3, 6).stage("a.dat", "second");

    EXPECT_EQ(patch.update().status, 0);

    EXPECT_EQ(patch.destination().read("a.dat"), "second");
    EXPECT_EQ(patch.destination().store().at("3/6/backup.000"), "first");
}

TEST(Update, KeepsOneGenerationAndNeverReusesANameThatTheRecordHolds) {
    PatchScenario patch;
    const ScenarioDir app = patch.destination();
    app.write("a.dat", "first");
    const auto updateTo = [&](const std::string& content) {
        patch.clearStaging();
        patch.item(3, 5).stage("a.dat", content);
        EXPECT_EQ(patch.update().status, 0);
    };
    const auto storeWith = [&](const std::string& name, const std::string& content) {
        return FileTree{
            {"3/", ""},
            {"3/5/", ""},
            {"3/5/" + name, content},
            {kRecord, recordOf(1) + section(0, 3, 5, writtenOnly(name, app.path("a.dat")))}};
    };

    updateTo("second");
    EXPECT_EQ(app.store(), storeWith("backup.000", "first"));
    updateTo("third");
    EXPECT_EQ(app.store(), storeWith("backup.001", "second"));
    updateTo("fourth");
    EXPECT_EQ(app.store(), storeWith("backup.000", "third"));
    EXPECT_EQ(app.files(), (FileTree{{"a.dat", "fourth"}}));
}

TEST(Update, KeepsOneGenerationAtEachDestination) {
    PatchScenario patch;
    patch.destination("app").write("a.dat", "a0");
    patch.destination("lib").write("b.dat", "b0");
    const char* const names[] = {"backup.000", "backup.001", "backup.000"};
    for (int i = 0; i < 3; ++i) {
        const std::string before = std::to_string(i);
        const std::string after = std::to_string(i + 1);
        patch.clearStaging();
        patch.item(3, 5).stage("a.dat", "a" + after);
        patch.item(3, 6).to("lib").stage("b.dat", "b" + after).stage("b" + after, "new");

        EXPECT_EQ(patch.update().status, 0);

        const ScenarioDir app = patch.destination("app");
        const ScenarioDir lib = patch.destination("lib");
        const std::string name = names[i];
        EXPECT_EQ(
            app.store(),
            (FileTree{
                {"3/", ""},
                {"3/5/", ""},
                {"3/5/" + name, "a" + before},
                {kRecord, recordOf(1) + section(0, 3, 5, writtenOnly(name, app.path("a.dat")))}}));
        EXPECT_EQ(
            lib.store(),
            (FileTree{{"3/", ""},
                      {"3/6/", ""},
                      {"3/6/" + name, "b" + before},
                      {kRecord,
                       recordOf(1) + section(0, 3, 6,
                                             "added.filecount=1\nadded.0=" + lib.path("b" + after) +
                                                 "\nwritten.filecount=1\nwritten.0=" + name + ", " +
                                                 lib.path("b.dat") + "\n")}}));
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

    EXPECT_EQ(app.store().at("3/5/backup.000"), "old");
    EXPECT_EQ(app.store().at(kRecord),
              recordOf(2) + section(0, 3, 5, writtenOnly("backup.000", app.path("a.dat"))) +
                  section(1, 3, 6, addedOnly(app.path("b.dat"))));
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
    EXPECT_EQ(patch.destination().store(),
              (FileTree{{"3/", ""}, {"3/5/", ""}, {kRecord, kNoItems}}));
}

TEST(Update, MakesARecordThatIsNotOneAnew) {
    PatchScenario patch;
    patch.destination().write("VC_Backup/VcBackup.ini", "no record at all");
    patch.item(3, 5).stage("a.dat", "a");

    const RunOutcome run = patch.update();

    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(patch.destination().store().at(kRecord),
              recordOf(1) + section(0, 3, 5, addedOnly(patch.destination().path("a.dat"))));
    EXPECT_THAT(run.log, Contains(info("Crashed VcBackup.ini file deleted!")));
    EXPECT_THAT(run.log, Contains(info("New VcBackup.ini file created!")));
}

// The record can neither be read nor taken away: the files stay updated, what was saved is dropped.
TEST(Update, SucceedsWithoutARecordThatItCanMerge) {
    PatchScenario patch;
    patch.destination().write("a.dat", "old");
    patch.tree().makeDir("app/VC_Backup/VcBackup.ini");
    patch.tree().makeDir("app/VC_Backup/3/5");
    patch.item(3, 5).stage("a.dat", "new").stage("b.dat", "more");
    patch.asOrdinaryUser();
    fs::permissions(patch.destination().path("VC_Backup"),
                    fs::perms::owner_read | fs::perms::owner_exec);

    const RunOutcome run = patch.update();

    EXPECT_EQ(run.status, 0);
    EXPECT_THAT(run.log, Contains(error("Delete crashed VcBackup.ini file failed!")));
    EXPECT_THAT(run.log, Contains(error("Merge backup ini faild")));
    EXPECT_THAT(run.texts(), Not(Contains("mergeBackupIni: done.")));
    EXPECT_EQ(patch.destination().files(), (FileTree{{"a.dat", "new"}, {"b.dat", "more"}}));
    EXPECT_EQ(patch.destination().store(),
              (FileTree{{"3/", ""}, {"3/5/", ""}, {"VcBackup.ini/", ""}}));
}

// A directory that holds something counts as deleted, as everywhere, and takes no record.
TEST(Update, SucceedsWithADirectoryInThePlaceOfTheRecord) {
    PatchScenario patch;
    patch.destination().write("a.dat", "old");
    patch.destination().write("VC_Backup/VcBackup.ini/inner", "kept");
    patch.item(3, 5).stage("a.dat", "new");

    const RunOutcome run = patch.update();

    EXPECT_EQ(run.status, 0);
    EXPECT_THAT(run.log, Contains(info("Flush VcBackup.ini failed")));
    EXPECT_THAT(run.log, Contains(info("mergeBackupIni: done.")));
    EXPECT_EQ(patch.destination().read("a.dat"), "new");
    EXPECT_EQ(patch.destination().store(), (FileTree{{"3/", ""},
                                                     {"3/5/", ""},
                                                     {"3/5/backup.000", "old"},
                                                     {"VcBackup.ini/", ""},
                                                     {"VcBackup.ini/inner", "kept"}}));
}

TEST(Update, DropsADamagedItemFromTheRecord) {
    PatchScenario patch;
    patch.destination().write(
        "VC_Backup/VcBackup.ini",
        recordOf(2) + "[item_0]\nclass=3\ntype=7\n" + section(1, 3, 6, kNothing));
    patch.item(3, 5).stage("a.dat", "a");

    EXPECT_EQ(patch.update().status, 0);

    EXPECT_EQ(patch.destination().store().at(kRecord),
              recordOf(2) + section(0, 3, 6, kNothing) +
                  section(1, 3, 5, addedOnly(patch.destination().path("a.dat"))));
}

TEST(Update, RecordsAnItemWithoutFiles) {
    PatchScenario patch;
    patch.item(3, 5);

    const RunOutcome run = patch.update();

    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(patch.destination().store().at(kRecord), recordOf(1) + section(0, 3, 5, kNothing));
}

TEST(Update, TakesAMissingStagingDirectoryForAnEmptyOne) {
    PatchScenario patch;
    fs::remove_all(patch.item(3, 5).stagingDir());

    EXPECT_EQ(patch.update().status, 0);

    EXPECT_EQ(patch.destination().store().at(kRecord), recordOf(1) + section(0, 3, 5, kNothing));
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
