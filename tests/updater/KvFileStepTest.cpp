// The step of each single file of an update: saved, recorded, deferred or refused.
#include "updater/KvFileStep.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "tests/support/LogCapture.h"
#include "tests/updater/FileStepTest.h"
#include "updater/KvRebootList.h"

namespace fs = std::filesystem;

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Ops = KvFileOpUtil;

TEST_F(KvFileStep, AsksBeforeANewFileAndRecordsItAfterwards) {
    LogCapture log;

    EXPECT_EQ(step("a.dat", Ops::kNewFile, Ops::kBefore), 0);
    EXPECT_THAT(added(), IsEmpty());
    EXPECT_EQ(step("a.dat", Ops::kNewFile, Ops::kAfter), 0);

    EXPECT_THAT(added(), ElementsAre(tree.path("app/a.dat")));
    EXPECT_THAT(agent.calls, ElementsAre("CheckFileEx(" + tree.path("app/a.dat") + ")"));
    EXPECT_THAT(log.lines(), ElementsAre("Inf 9 Call PatchAgent CheckFileEx( " +
                                             tree.path("app/a.dat") + " ) return 1,(OK)",
                                         "Inf 6 callBackForUpdate: Create file (" +
                                             tree.path("app/a.dat") + ") done."));
}

TEST_F(KvFileStep, SavesAnExistingFileBeforeItIsOverwritten) {
    tree.write("app/a.dat", "old");
    tree.setTime("app/a.dat", 1000000000);
    LogCapture log;

    EXPECT_EQ(step("a.dat", Ops::kOverwrite, Ops::kBefore), 0);

    const std::string entry = "backup.000, " + tree.path("app/a.dat");
    EXPECT_THAT(written(), ElementsAre(entry));
    EXPECT_EQ(tree.read("app/VC_Backup/3/5/backup.000"), "old");
    EXPECT_EQ(tree.time("app/VC_Backup/3/5/backup.000"), 1000000000);
    EXPECT_THAT(log.lines(),
                ElementsAre("Inf 9 Call PatchAgent CheckFileEx( " + tree.path("app/a.dat") +
                                " ) return 1,(OK)",
                            "Inf 6 callBackForUpdate: Overwrite file(" + entry + ") done."));
}

TEST_F(KvFileStep, DoesNothingAfterAnOverwriteAndForOtherActions) {
    tree.write("app/a.dat", "old");
    LogCapture log;

    EXPECT_EQ(step("a.dat", Ops::kOverwrite, Ops::kAfter), 0);
    EXPECT_EQ(stepTo(tree.path("app").c_str(), nullptr, Ops::kCreateDir, Ops::kBefore), 0);
    EXPECT_EQ(stepTo(tree.path("app").c_str(), nullptr, Ops::kCreateDir, Ops::kAfter), 0);

    EXPECT_THAT(written(), IsEmpty());
    EXPECT_THAT(added(), IsEmpty());
    EXPECT_THAT(agent.calls, IsEmpty());
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(KvFileStep, DoesNotAskAboutADirectory) {
    agent.answers["CheckFileEx"] = 0;
    EXPECT_EQ(stepTo("x", tree.makeDir("app/dir").c_str(), Ops::kNewFile, Ops::kBefore), 0);
    EXPECT_THAT(agent.calls, IsEmpty());
}

TEST_F(KvFileStep, SkipsWhatTheAgentSkips) {
    tree.write("app/a.dat", "old");
    agent.answers["CheckFileEx"] = 0;

    EXPECT_EQ(step("a.dat", Ops::kOverwrite, Ops::kBefore), 2);
    EXPECT_EQ(step("b.dat", Ops::kNewFile, Ops::kBefore), 2);

    EXPECT_THAT(written(), IsEmpty());
    EXPECT_FALSE(tree.exists("app/VC_Backup"));
}

TEST_F(KvFileStep, StopsWhenTheAgentFails) {
    tree.write("app/a.dat", "old");
    agent.answers["CheckFileEx"] = -1;
    LogCapture log(6);

    EXPECT_EQ(step("a.dat", Ops::kOverwrite, Ops::kBefore), 1);

    EXPECT_THAT(written(), IsEmpty());
    EXPECT_FALSE(tree.exists("app/VC_Backup"));
    EXPECT_EQ(log.lines().back(), "Err 6 callBackForUpdate: check file failed.");
}

TEST_F(KvFileStep, WritesAndSaysSoAfterAnAnswerWithoutAMeaning) {
    tree.write("app/a.dat", "old");
    agent.answers["CheckFileEx"] = 7;
    LogCapture log(6);

    EXPECT_EQ(step("a.dat", Ops::kOverwrite, Ops::kBefore), 0);

    EXPECT_THAT(written(), ElementsAre("backup.000, " + tree.path("app/a.dat")));
    ASSERT_GE(log.lines().size(), 2U);
    EXPECT_EQ(log.lines()[1], "Err 6 callBackForUpdate: check file return unknown value.");
}

TEST_F(KvFileStep, SkipsEverythingForAnUnknownInterface) {
    tree.write("app/a.dat", "old");
    agent.table()->version = 2;
    LogCapture log;
    EXPECT_EQ(step("a.dat", Ops::kOverwrite, Ops::kBefore), 2);
    EXPECT_FALSE(tree.exists("app/VC_Backup"));
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(KvFileStep, DefersAnExistingFileWithItsSource) {
    tree.write("app/a.dat", "old");
    agent.answers["CheckFileEx"] = -2;

    EXPECT_EQ(step("a.dat", Ops::kOverwrite, Ops::kBefore), 2);

    EXPECT_THAT(written(), ElementsAre("backup.000, " + tree.path("app/a.dat")));
    EXPECT_THAT(reboots.texts(),
                ElementsAre(tree.path("stage/a.dat") + " -> " + tree.path("app/a.dat") + ", 0"));
}

TEST_F(KvFileStep, WritesANewFileAtOnceWhateverTheAgentDefers) {
    agent.answers["CheckFileEx"] = -2;

    EXPECT_EQ(step("a.dat", Ops::kNewFile, Ops::kBefore), 0);
    EXPECT_EQ(step("a.dat", Ops::kNewFile, Ops::kAfter), 0);

    EXPECT_THAT(added(), ElementsAre(tree.path("app/a.dat")));
    EXPECT_THAT(reboots.texts(), IsEmpty());
    EXPECT_FALSE(g_RebootForNewFile);
}

TEST_F(KvFileStep, GoesOnWhenTheOldFileCannotBeCopied) {
    EXPECT_EQ(step("gone.dat", Ops::kOverwrite, Ops::kBefore), 0);
    EXPECT_THAT(written(), ElementsAre("backup.000, " + tree.path("app/gone.dat")));
    EXPECT_EQ(tree.read("app/VC_Backup/3/5/backup.000"), "");
}

TEST_F(KvFileStep, KeepsTheOrderOfMoreFilesThanTheListsBeginWith) {
    for (int i = 0; i < 40; ++i) {
        const std::string name = std::to_string(i);
        tree.write("app/old" + name, name);
        EXPECT_EQ(step("old" + name, Ops::kOverwrite, Ops::kBefore), 0);
        EXPECT_EQ(step("new" + name, Ops::kNewFile, Ops::kAfter), 0);
    }
    ASSERT_EQ(written().size(), 40U);
    ASSERT_EQ(added().size(), 40U);
    // 39 is "013" to the base of 36.
    EXPECT_EQ(written()[39], "backup.013, " + tree.path("app/old39"));
    EXPECT_EQ(added()[39], tree.path("app/new39"));
}

}  // namespace
