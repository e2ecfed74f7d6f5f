// Updates of files and directories with awkward names.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/run/PatchScenario.h"
#include "tests/run/RecordModel.h"

namespace {

using testing::HasSubstr;

constexpr time_t kLongAgo = 1000000000;

// The record of a run that replaced this file alone.
std::string written(const std::string& path) {
    return recordOf({recordedItem(3, 5).saves("000", path)});
}

TEST(UpdateOfNames, TakesNamesWithBlanks) {
    PatchScenario patch;
    const ScenarioDir app = patch.destination("my app");
    app.write("a b.dat", "old");
    patch.item(3, 5).to("my app").stage("a b.dat", "new");

    EXPECT_EQ(patch.update().status, 0);
    EXPECT_EQ(app.read("a b.dat"), "new");
    EXPECT_EQ(app.record(), written(app.path("a b.dat")));

    EXPECT_EQ(patch.rollback().status, 0);
    EXPECT_EQ(app.read("a b.dat"), "old");
}

// The record cannot represent the name, but writes it.
TEST(UpdateOfNames, WritesNamesWithCommasAsTheyAre) {
    PatchScenario patch;
    patch.destination().write("a,b.dat", "old");
    patch.item(3, 5).stage("a,b.dat", "new");

    EXPECT_EQ(patch.update().status, 0);

    EXPECT_EQ(patch.destination().read("a,b.dat"), "new");
    EXPECT_EQ(patch.destination().saved("3/5/000"), "old");
    EXPECT_EQ(patch.destination().record(), written(patch.destination().path("a,b.dat")));
}

// A name with '*' is a pattern to the copy that saves the old file: it is not saved, and the update
// goes on all the same.
TEST(UpdateOfNames, DoesNotSaveAFileWhoseNameIsAPattern) {
    PatchScenario patch;
    patch.destination().write("a*b.dat", "old");
    patch.item(3, 5).stage("a*b.dat", "new").stage("c*d.dat", "more");

    EXPECT_EQ(patch.update().status, 0);

    EXPECT_EQ(patch.destination().files(), (FileTree{{"a*b.dat", "new"}, {"c*d.dat", "more"}}));
    EXPECT_EQ(patch.destination().saved("3/5/000"), "");
}

// The entry then has a piece too many for those who read it back.
TEST(UpdateOfNames, TakesADestinationWithAComma) {
    PatchScenario patch;
    const ScenarioDir app = patch.destination("my,app");
    app.write("a.dat", "old");
    patch.item(3, 5).to("my,app").stage("a.dat", "new");

    EXPECT_EQ(patch.update().status, 0);

    EXPECT_EQ(app.files(), (FileTree{{"a.dat", "new"}}));
    EXPECT_EQ(app.saved("3/5/000"), "old");
    EXPECT_EQ(app.record(), written(app.path("a.dat")));
}

TEST(UpdateOfNames, SavesNoFileOfADestinationWhoseNameIsAPattern) {
    PatchScenario patch;
    const ScenarioDir app = patch.destination("a*p");
    app.write("a.dat", "old");
    patch.item(3, 5).to("a*p").stage("a.dat", "new");

    EXPECT_EQ(patch.update().status, 0);

    EXPECT_EQ(app.files(), (FileTree{{"a.dat", "new"}}));
    EXPECT_EQ(app.saved("3/5/000"), "");
    EXPECT_EQ(app.record(), written(app.path("a.dat")));
}

// Where no character has two bytes. A listed file keeps its name; its old content is looked for
// under the name with a separator, so that what is saved is empty.
TEST(UpdateOfNames, TakesAFileWithABackslashAsItIs) {
    PatchScenario patch;
    patch.destination().write("a\\x.dat", "old");
    patch.item(3, 5).stage("a\\x.dat", "new");

    EXPECT_EQ(patch.update().status, 0);

    EXPECT_EQ(patch.destination().files(), (FileTree{{"a\\x.dat", "new"}}));
    EXPECT_EQ(patch.destination().saved("3/5/000"), "");
    EXPECT_EQ(patch.destination().record(), written(patch.destination().path("a\\x.dat")));
}

// It is entered under the name with a separator, which is not there.
TEST(UpdateOfNames, PassesOverAStagedDirectoryWithABackslash) {
    PatchScenario patch;
    patch.item(3, 5).stage("d\\e/x.dat", "new").stage("y.dat", "new");

    EXPECT_EQ(patch.update().status, 0);

    EXPECT_EQ(patch.destination().files(), (FileTree{{"y.dat", "new"}}));
}

// Copy and record do. The directory of a saved file is made under the name as it stands and looked
// for under the other, so that no file can be replaced there.
TEST(UpdateOfNames, TakesABackslashInADestinationForASeparator) {
    PatchScenario patch;
    const ScenarioDir sub = patch.destination("app/sub");
    patch.tree().makeDir("app/sub");
    patch.item(3, 5).stage("a.dat", "new").set("destination", patch.tree().path("app") + "\\sub");

    EXPECT_EQ(patch.update().status, 0);
    EXPECT_EQ(sub.files(), (FileTree{{"a.dat", "new"}}));
    EXPECT_THAT(sub.record(), HasSubstr("added.0=" + sub.path("a.dat") + "\n"));

    const RunOutcome replaced = patch.update();
    EXPECT_EQ(replaced.status, 58);
    EXPECT_EQ(sub.files(), (FileTree{{"a.dat", "new"}}));
    EXPECT_THAT(replaced.log, LogHas({"Err callBackForUpdate: crtUniFile failed."}));
}

class UpdateInCodePage : public testing::TestWithParam<const char*> {};

// The second byte of the character is that of a backslash.
TEST_P(UpdateInCodePage, KeepsDoubleByteNamesWhole) {
#ifdef __APPLE__
    GTEST_SKIP() << "file names are UTF-8 here";
#endif
    PatchScenario patch;
    const std::string name = "\x81\\x.dat";
    patch.set("codepage", GetParam());
    patch.destination().write(name, "old");
    patch.item(3, 5).stage(name, "new");

    EXPECT_EQ(patch.update().status, 0);

    EXPECT_EQ(patch.destination().files(), (FileTree{{name, "new"}}));
    EXPECT_EQ(patch.destination().saved("3/5/000"), "old");
    EXPECT_THAT(patch.destination().record(),
                HasSubstr(writtenLine("000", patch.destination().path(name))));
}

TEST_P(UpdateInCodePage, UndoesDoubleByteNames) {
#ifdef __APPLE__
    GTEST_SKIP() << "file names are UTF-8 here";
#endif
    PatchScenario patch;
    const std::string name = "\x81\\x.dat";
    const std::string added = "\x81|y.dat";
    patch.set("codepage", GetParam());
    patch.destination().write(name, "old");
    patch.tree().setTime("app/" + name, kLongAgo);
    patch.item(3, 5).stage(name, "new").stage(added, "more");
    patch.agent(ScriptedAgent::kNew).script("EndItem #1 = 0");

    EXPECT_EQ(patch.update().status, 60);

    EXPECT_EQ(patch.destination().files(), (FileTree{{name, "old"}}));
    EXPECT_EQ(patch.tree().time("app/" + name), kLongAgo);
}

// In a tree, and as the destination.
TEST_P(UpdateInCodePage, KeepsDoubleByteDirectoriesWhole) {
#ifdef __APPLE__
    GTEST_SKIP() << "file names are UTF-8 here";
#endif
    PatchScenario patch;
    const ScenarioDir app = patch.destination("\x81\\");
    app.write("\x81\\/z.dat", "old");
    patch.set("codepage", GetParam());
    patch.item(3, 5).to("\x81\\").stage("\x81\\/z.dat", "new").stage("\x81\\/y.dat", "more");

    EXPECT_EQ(patch.update().status, 0);

    EXPECT_EQ(app.files(),
              (FileTree{{"\x81\\/", ""}, {"\x81\\/y.dat", "more"}, {"\x81\\/z.dat", "new"}}));
    EXPECT_EQ(app.saved("3/5/000"), "old");
    EXPECT_THAT(app.record(), HasSubstr("added.0=" + app.path("\x81\\/y.dat")));
    EXPECT_THAT(app.record(), HasSubstr(writtenLine("000", app.path("\x81\\/z.dat"))));
}

TEST_P(UpdateInCodePage, UndoesDoubleByteDirectories) {
#ifdef __APPLE__
    GTEST_SKIP() << "file names are UTF-8 here";
#endif
    PatchScenario patch;
    const ScenarioDir app = patch.destination("\x81\\");
    app.write("\x81\\/z.dat", "old");
    patch.set("codepage", GetParam());
    patch.item(3, 5).to("\x81\\").stage("\x81\\/z.dat", "new").stage("\x81\\/y.dat", "more");
    patch.agent(ScriptedAgent::kNew).script("EndItem #1 = 0");

    EXPECT_EQ(patch.update().status, 60);

    EXPECT_EQ(app.files(), (FileTree{{"\x81\\/", ""}, {"\x81\\/z.dat", "old"}}));
}

INSTANTIATE_TEST_SUITE_P(DoubleByte, UpdateInCodePage, testing::Values("932", "936", "949", "950"));

}  // namespace
