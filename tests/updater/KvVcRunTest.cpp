// The run sequence inside this process: what it publishes and how it ends.
#include "updater/KvVcRun.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "base/KvText.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TempTree.h"
#include "tests/updater/RefusedDocuments.h"
#include "tests/updater/RunGlobals.h"

namespace {

using testing::ElementsAre;

class KvVcRun : public testing::Test {
  protected:
    // Runs on a description with these lines in `[common]`.
    int run(const std::string& common) {
        tree.write("staging/VcPatch.ini", "[common]\nvelocore_path=" + root + "\n" + common);
        return runArguments({"VcPatch", tree.path("staging")});
    }

    static int runArguments(std::vector<std::string> arguments) {
        std::vector<char*> pointers;
        for (std::string& argument : arguments) {
            pointers.push_back(argument.data());
        }
        pointers.push_back(nullptr);
        return runVcPatch(static_cast<int>(arguments.size()), pointers.data());
    }

    TempTree tree;
    std::string root = tree.makeDir("vc");
    RunGlobals globals;
};

TEST_F(KvVcRun, PublishesItsPaths) {
    EXPECT_EQ(run("action=2\n"), 0);
    EXPECT_EQ(g_VCTempPath, tree.path("staging"));
    EXPECT_EQ(g_VelocorePath, root);
    EXPECT_EQ(g_VelocoreDataPath, root + "/VC_Data");
}

TEST_F(KvVcRun, PublishesTheRootAsDataDirectoryInTheOldOrganisation) {
    tree.write("vc/vccfg.ini", "[common]\nbkd_use_old_dir_organization=1\n");
    EXPECT_EQ(run("action=2\n"), 0);
    EXPECT_EQ(g_VelocoreDataPath, root);
}

TEST_F(KvVcRun, PublishesLibraryNamesCutToTwentyCharacters) {
    EXPECT_EQ(run("action=2\nVCLib=abcdefghijklmnopqrstuvwxyz\nSavLib=abcdefghijklmnopqrst\n"
                  "RstLib=short\n"),
              0);
    EXPECT_STREQ(g_VelocoreLib, "abcdefghijklmnopqrst");
    EXPECT_STREQ(g_SavFileLib, "abcdefghijklmnopqrst");
    EXPECT_STREQ(g_RstFileLib, "short");
}

TEST_F(KvVcRun, LeavesLibraryNamesEmptyWithoutTheirKeys) {
    EXPECT_EQ(run("action=2\n"), 0);
    EXPECT_STREQ(g_VelocoreLib, "");
    EXPECT_STREQ(g_SavFileLib, "");
    EXPECT_STREQ(g_RstFileLib, "");
}

TEST_F(KvVcRun, CutsARootThatIsTooLong) {
    root = "/" + std::string(1500, 'r');
    EXPECT_EQ(run("action=2\n"), 0);
    EXPECT_EQ(g_VelocorePath, root.substr(0, 1023));
    EXPECT_EQ(tree.read("staging/VcResult.ini"), "result=0\n");
}

TEST_F(KvVcRun, SetsTheCodePage) {
    EXPECT_EQ(run("action=2\ncodepage=936x\n"), 0);
    EXPECT_EQ(GetCurrentCharType(), 936U);
}

TEST_F(KvVcRun, LeavesTheCodePageWithoutTheKey) {
    const CodePage japanese(932);
    EXPECT_EQ(run("action=2\n"), 0);
    EXPECT_EQ(GetCurrentCharType(), 932U);
}

TEST_F(KvVcRun, ReportsEveryMessageAsProgress) {
    const LogCapture log;
    EXPECT_EQ(run("action=7\n"), 0);
    EXPECT_THAT(
        log.lines(),
        ElementsAre(
            "Inf 6 VcPatch[1.0.0.1027] argv[1]: " + tree.path("staging") + "\nVC Path: " + root,
            "Err 6 VcPatch Action: Undefined action value.",
            "Inf 6 Writing result file (" + tree.path("staging/VcResult.ini") + "), status = 57",
            "Inf 6 VcPatch end."));
}

TEST_F(KvVcRun, ReportsAMissingActionAsAnError) {
    const LogCapture log;
    EXPECT_EQ(run(""), 0);
    ASSERT_EQ(log.lines().size(), 4U);
    EXPECT_EQ(log.lines()[1], "Err 6 VcPatch fetch (common:action) failed.");
}

TEST_F(KvVcRun, TellsWhyADescriptionCannotBeRead) {
    tree.makeDir("staging/VcPatch.ini");
    const LogCapture log;
    EXPECT_EQ(runArguments({"VcPatch", tree.path("staging")}), 0);
    EXPECT_EQ(tree.read("staging/VcResult.ini"), "result=57\n");
    EXPECT_THAT(
        log.texts(),
        ElementsAre("VcPatch[1.0.0.1027] argv[1]: " + tree.path("staging") + "\nVC Path: ",
                    "Cause: " + tree.path("staging/VcPatch.ini") + ": Is a directory",
                    "VcPatch fetch (common:action) failed.",
                    "Writing result file (" + tree.path("staging/VcResult.ini") + "), status = 57",
                    "VcPatch end."));
}

// What is left of such a path names something else.
TEST_F(KvVcRun, ReadsNoDescriptionWhosePathDoesNotFit) {
    const std::string staging = tree.path(std::string(4096, '/') + "staging");
    tree.write("staging/VcPatch.ini", "[common]\naction=2\n");
    const LogCapture log;
    EXPECT_EQ(runArguments({"VcPatch", staging}), 0);
    EXPECT_THAT(log.texts(),
                testing::IsSupersetOf({"Cause: " + staging.substr(0, 4095) + ": File name too long",
                                       std::string("VcPatch fetch (common:action) failed.")}));
}

// A path that is cut names another directory.
TEST_F(KvVcRun, CleansUpNoStagingDirectoryWhosePathIsCut) {
    const std::string outer = tree.path("outer/");
    const std::string cut = outer + std::string(1022 - outer.size(), '/') + "x";
    ASSERT_EQ(cut.size(), 1023U);
    tree.write("outer/x/precious", "1");
    tree.write("outer/xyz/VcPatch.ini",
               "[common]\nvelocore_path=" + root + "\naction=2\nnowaiting=1\n");
    const LogCapture log;
    EXPECT_EQ(runArguments({"VcPatch", cut + "yz"}), 0);
    EXPECT_EQ(tree.read("outer/x/precious"), "1");
    EXPECT_TRUE(tree.exists("outer/xyz/VcPatch.ini"));
    EXPECT_THAT(log.texts(), testing::Contains("Cause: " + cut + ": File name too long"));
}

TEST_F(KvVcRun, EndsWithoutMemoryForTheDescription) {
    tree.makeDir("staging");
    const LogCapture log;
    const RefusedDocuments none;

    EXPECT_EQ(runArguments({"VcPatch", tree.path("staging")}), 1);

    EXPECT_EQ(tree.read("staging/VcResult.ini"), "result=57\n");
    EXPECT_THAT(log.lines(), ElementsAre("Err 6 Cause: " + tree.path("staging/VcPatch.ini") +
                                             ": Cannot allocate memory",
                                         "Err 6 VcPatch: KvIniUtil failed.",
                                         "Inf 6 Writing result file (" +
                                             tree.path("staging/VcResult.ini") + "), status = 57",
                                         "Inf 6 VcPatch end."));
}

TEST_F(KvVcRun, ReportsAnAgentVersionThatRollbackDoesNotKnow) {
    const LogCapture log;
    EXPECT_EQ(run("action=1\nitemcount=1\npatchagent.version=5\n[item_0]\nclass=3\ntype=5\n"
                  "origin.version=1\nresult.version=2\ndestination=/nowhere\n"),
              0);
    EXPECT_THAT(log.lines(),
                testing::Contains("Err 6 rollback: unkown patch agent version number."));
    EXPECT_EQ(tree.read("staging/VcResult.ini"), "result=0\n");
}

TEST_F(KvVcRun, TellsTheLogWhereTheRootIs) {
    EXPECT_EQ(run("action=2\n"), 0);
    EXPECT_TRUE(tree.exists("vc/VC_Data/VC_Log/KvuDump.txt"));
}

}  // namespace
