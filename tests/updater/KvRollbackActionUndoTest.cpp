// A rollback that fails: its status, what comes back, and what the agent hears of the undoing.
#include <gmock/gmock.h>

#include <cstdlib>
#include <functional>
#include <utility>

#include "tests/updater/RollbackWithAgentTest.h"
#include "tests/updater/Story.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

class KvRollbackActionUndone : public RollbackWithAgentTest {
  protected:
    using RollbackWithAgentTest::RollbackWithAgentTest;
};

TEST_F(KvRollbackActionUndone, RefusedEndIsReportedTwiceAndPutsAllFilesBack) {
    app.item(3, 5).added("x.dat").written("a.dat");
    agent().answers["EndItem"] = 0;
    Story story(agent());

    EXPECT_EQ(run(), 60U);

    const std::string x = app.path("x.dat");
    const std::string a = app.path("a.dat");
    const std::string store = app.path(app.store());
    EXPECT_THAT(app.files(), ElementsAre("a.dat=new a.dat", "x.dat=added x.dat"));
    EXPECT_THAT(
        story.linesAfter("call CheckFileEx(" + a + ")"),
        ElementsAre(
            "Inf 6 Call PatchAgent EndItem with: TRUE, 100, 101", "call EndItem(1, 0x64/0, 0x65/0)",
            "Err 6 rollbackWithPatchAgent: end item failed.",
            "Err 6 rollbackWithPatchAgent: item failed.",
            "Inf 6 rollbackWithPatchAgent: auto rollback.",
            "Inf 6 Call PatchAgent StartItem with: empty string, 3, 0x5, 0x2, 101, 100",
            "call StartItem(, 3, 5, 0x2, 0x65/0, 0x64/0)",
            "Inf 6 autoRollback moving files, from:" + store + "backup.001, to:" + x,
            "Inf 6 autoRollback moving files, from:" + store + "backup.002, to:" + a,
            "Inf 6 Call PatchAgent EndItem with: TRUE, 101, 100", "call EndItem(1, 0x65/0, 0x64/0)",
            "Err 6 End Class[3] error but in auto rollback so ignore it",
            "Inf 6 rollbackWithPatchAgent: auto rollback done.",
            "Inf 6 rollbackWithPatchAgent: error quit."));
}

TEST_F(KvRollbackActionUndone, RefusedEndPutsAllFilesBackForAnOldAgentToo) {
    app.item(3, 5).added("x.dat").written("a.dat");
    use(PATCHAGENT_OLD).answers["EndPattern"] = 0;
    const std::string recordBefore = app.read("VC_Backup/VcBackup.ini");

    EXPECT_EQ(run(), 60U);

    EXPECT_THAT(app.files(), ElementsAre("a.dat=new a.dat", "x.dat=added x.dat"));
    EXPECT_EQ(app.read("VC_Backup/VcBackup.ini"), recordBefore);
    EXPECT_THAT(
        agent().calls,
        ElementsAre("GetPatternPath(" + app.path() + ")", "IsRollback()", "StartPatch(0x1)",
                    "StartPattern(0.zip)", "CheckFile(" + app.path("x.dat") + ")",
                    "CheckFile(" + app.path("a.dat") + ")", "EndPattern(1, 0x640000, 0x650000)",
                    "StartPattern()", "EndPattern(1, 0x650000, 0x640000)"));
}

// --- What the result of an item comes to

struct ItemResult {
    const char* name;
    std::function<void(TempTree&, DescriptionText&, FakeAgent&)> prepare;
    unsigned status;
    const char* error;
};

void PrintTo(const ItemResult& result, std::ostream* out) {
    *out << result.name;
}

class KvRollbackActionResult : public KvRollbackActionUndone,
                               public testing::WithParamInterface<ItemResult> {};

TEST_P(KvRollbackActionResult, HasAStatusAndAMessageAndIsUndone) {
    app.item(3, 5).added("x.dat");
    GetParam().prepare(tree, text, agent());
    Story story(agent());

    EXPECT_EQ(run(), GetParam().status);

    EXPECT_THAT(app.files(), ElementsAre("x.dat=added x.dat"));
    std::vector<std::string> lines = story.lines();
    ASSERT_GE(lines.size(), 11U);
    EXPECT_THAT(
        (std::vector<std::string>(lines.end() - 11, lines.end())),
        ElementsAre(GetParam().error, "Inf 6 Call PatchAgent EndItem with: FALSE, 100, 101",
                    "call EndItem(0, 0x64/0, 0x65/0)", "Err 6 rollbackWithPatchAgent: item failed.",
                    "Inf 6 rollbackWithPatchAgent: auto rollback.",
                    "Inf 6 Call PatchAgent StartItem with: empty string, 3, 0x5, 0x2, 101, 100",
                    "call StartItem(, 3, 5, 0x2, 0x65/0, 0x64/0)",
                    "Inf 6 Call PatchAgent EndItem with: TRUE, 101, 100",
                    "call EndItem(1, 0x65/0, 0x64/0)",
                    "Inf 6 rollbackWithPatchAgent: auto rollback done.",
                    "Inf 6 rollbackWithPatchAgent: error quit."));
}

INSTANTIATE_TEST_SUITE_P(
    Results, KvRollbackActionResult,
    testing::Values(ItemResult{"NoRoomForThePath",
                               [](TempTree&, DescriptionText& text, FakeAgent&) {
                                   text.setItem(0, "destination", "/" + std::string(4090, 'd'));
                               },
                               12, "Err 6 rollbackWithPatchAgent: bad arguments."},
                    ItemResult{"NoRecord",
                               [](TempTree& tree, DescriptionText& text, FakeAgent&) {
                                   text.setItem(0, "destination", tree.makeDir("elsewhere"));
                               },
                               58, "Err 6 rollbackWithPatchAgent: access failed."},
                    ItemResult{"NotInTheRecord",
                               [](TempTree& tree, DescriptionText&, FakeAgent&) {
                                   tree.write("app/VC_Backup/VcBackup.ini",
                                              "[common]\nitemcount=0\npatchagent.version=1\n");
                               },
                               58, "Err 6 rollbackWithPatchAgent: access failed."},
                    ItemResult{"NotSaved",
                               [](TempTree& tree, DescriptionText&, FakeAgent&) {
                                   tree.write("app/VC_Backup/3", "in the way");
                               },
                               58, "Err 6 rollbackWithPatchAgent: access failed."},
                    ItemResult{"Cancelled",
                               [](TempTree&, DescriptionText&, FakeAgent& agent) {
                                   agent.answers["CheckFileEx"] = -1;
                               },
                               60, "Err 6 rollbackWithPatchAgent: user cancel."}),
    [](const auto& test) { return test.param.name; });

TEST_F(KvRollbackActionUndone, AgentsRefusalOfTheEndOutweighsTheDisk) {
    agent().answers["EndItem"] = 0;
    Story story(agent());

    EXPECT_EQ(run(), 60U);

    const std::vector<std::string> lines = story.linesAfter(" doesnot exist.");
    ASSERT_GE(lines.size(), 6U);
    EXPECT_THAT((std::vector<std::string>(lines.begin(), lines.begin() + 6)),
                ElementsAre("Err 6 rollbackWithPatchAgent: access failed.",
                            "Inf 6 Call PatchAgent EndItem with: FALSE, 100, 101",
                            "call EndItem(0, 0x64/0, 0x65/0)",
                            "Err 6 rollbackWithPatchAgent: end item failed.",
                            "Err 6 rollbackWithPatchAgent: item failed.",
                            "Inf 6 rollbackWithPatchAgent: auto rollback."));
}

// Without a destination there is nothing to undo either: the second pair of calls is missing.
TEST_F(KvRollbackActionUndone, ItemWithoutADestinationHasNoRecord) {
    ReadDescription read(text);
    free(std::exchange(read.stru()->items[0].destination, nullptr));

    EXPECT_EQ(rollbackWithPatchAgent(agent().table(), read.stru()), 58U);

    EXPECT_THAT(log.lines(), Contains("Err 6 rollbackItem: VC_Backup/VcBackup.ini doesnot exist."));
    EXPECT_THAT(agent().calls,
                ElementsAre("StartAction()", "StartItem(0.zip, 3, 5, 0x2, 0x64/0, 0x65/0)",
                            "EndItem(0, 0x64/0, 0x65/0)"));
}

// --- An item that the agent refuses at its start is known by its destination alone

TEST_F(KvRollbackActionUndone, RefusedStartIsUndoneAsAnItemOfNoClass) {
    app.item(3, 5).added("x.dat");
    agent().answers["StartItem"] = 0;
    Story story(agent());

    EXPECT_EQ(run(), 60U);

    EXPECT_THAT(app.files(), ElementsAre("x.dat=added x.dat"));
    EXPECT_THAT(
        story.linesAfter("PatchAgent StartAction with: void"),
        ElementsAre(
            "call StartAction()",
            "Inf 6 Call PatchAgent StartItem with: 0.zip, 3, 0x5, 0x2, 100, 101",
            "call StartItem(0.zip, 3, 5, 0x2, 0x64/0, 0x65/0)",
            "Err 6 startEachItem: start item failed.",
            "Inf 6 Call PatchAgent EndItem with: FALSE, 100, 101",
            "call EndItem(0, 0x64/0, 0x65/0)", "Err 6 rollbackWithPatchAgent: start item failed.",
            "Inf 6 rollbackWithPatchAgent: auto rollback.",
            "Inf 6 Call PatchAgent StartItem with: empty string, 0, 0x0, 0x2, 0.0, 0.0",
            "call StartItem(, 0, 0, 0x2, 0x0/0, 0x0/0)",
            "Err 6 Start Class[0] error but in auto rollback ignore it",
            "Inf 6 Call PatchAgent EndItem with: TRUE, 0.0, 0.0", "call EndItem(1, 0x0/0, 0x0/0)",
            "Inf 6 rollbackWithPatchAgent: auto rollback done.",
            "Inf 6 rollbackWithPatchAgent: error quit."));
}

// Nobody is called for it, and no answer yet counts as a failed one.
TEST_F(KvRollbackActionUndone, RefusedStartIsOnlyLoggedForAnOldAgent) {
    use(PATCHAGENT_OLD).answers["StartPattern"] = 0;
    Story story(agent());

    EXPECT_EQ(run(), 60U);

    EXPECT_THAT(
        story.linesAfter("call StartPatch(0x1)"),
        ElementsAre("Inf 6 Call PatchAgent StartPattern with: 0.zip", "call StartPattern(0.zip)",
                    "Err 6 startEachItem: start pattern failed.",
                    "Inf 6 Call PatchAgent EndPattern with: FALSE, 6553600, 6619136",
                    "call EndPattern(0, 0x640000, 0x650000)",
                    "Err 6 rollbackWithPatchAgent: start item failed.",
                    "Inf 6 rollbackWithPatchAgent: auto rollback.",
                    "Err 6 Start Class[0] error but in auto rollback so ignore it",
                    "Err 6 End Class[0] error but in auto rollback so ignore it",
                    "Inf 6 rollbackWithPatchAgent: auto rollback done.",
                    "Inf 6 rollbackWithPatchAgent: error quit."));
}

TEST_F(KvRollbackActionUndone, ItemOfAnUnknownClassIsRefusedForAnOldAgent) {
    text.setItem(0, "class", "4");
    use(PATCHAGENT_OLD);

    EXPECT_EQ(run(), 60U);

    EXPECT_THAT(agent().calls, ElementsAre("IsRollback()", "StartPatch(0x0)"));
    EXPECT_THAT(log.lines(), Contains("Err 9 startEachItem: unknown class."));
    EXPECT_THAT(log.lines(), Contains("Err 6 rollbackWithPatchAgent: start item failed."));
}

// --- Several items

// Product, engine and pattern, each with an added and a replaced file.
class KvRollbackActionOfThreeUndone : public KvRollbackActionUndone {
  protected:
    KvRollbackActionOfThreeUndone() : KvRollbackActionUndone(3) {
        app.item(1, 5).added("product.new").written("product.dat");
        app.item(2, 5).added("engine.new").written("engine.dat");
        app.item(3, 5).added("pattern.new").written("pattern.dat");
        place(0, 1, "5.2", "6.0");
        place(1, 2, "5.2", "6.0");
        before_ = app.files();
    }

    // That all files are as the update left them.
    void expectAllBack() const { EXPECT_EQ(app.files(), before_); }

  private:
    std::vector<std::string> before_;
};

TEST_F(KvRollbackActionOfThreeUndone, BringsBackWhatAllItemsHaveLost) {
    tree.setTime("app/pattern.new", 1000000000);
    tree.setTime("app/pattern.dat", 1100000000);
    agent().fileAnswers["CheckFileEx(" + app.path("product.dat") + ")"] = -1;

    EXPECT_EQ(run(), 60U);

    expectAllBack();
    EXPECT_EQ(tree.time("app/pattern.new"), 1000000000);
    EXPECT_EQ(tree.time("app/pattern.dat"), 1100000000);
    const std::vector<std::string>& calls = agent().calls;
    ASSERT_GE(calls.size(), 7U);
    EXPECT_THAT(
        (std::vector<std::string>(calls.end() - 7, calls.end())),
        ElementsAre("EndItem(0, 0x52000/0, 0x60000/0)", "StartItem(, 3, 5, 0x2, 0x65/0, 0x64/0)",
                    "EndItem(1, 0x65/0, 0x64/0)", "StartItem(, 2, 5, 0x2, 0x60000/0, 0x52000/0)",
                    "EndItem(1, 0x60000/0, 0x52000/0)",
                    "StartItem(, 1, 5, 0x2, 0x60000/0, 0x52000/0)",
                    "EndItem(1, 0x60000/0, 0x52000/0)"));
}

// The pattern is done, the engine is refused, the product is never reached.
TEST_F(KvRollbackActionOfThreeUndone, PassesOverItemsThatWereNeverReached) {
    use(PATCHAGENT_OLD).answers["StartEngine"] = 0;

    EXPECT_EQ(run(), 60U);

    expectAllBack();
    const std::vector<std::string>& calls = agent().calls;
    ASSERT_GE(calls.size(), 4U);
    EXPECT_THAT((std::vector<std::string>(calls.end() - 4, calls.end())),
                ElementsAre("StartEngine(1.zip)", "EndEngine(0, 0x52000, 0x60000)",
                            "StartPattern()", "EndPattern(1, 0x650000, 0x640000)"));
    // The refused one is judged by the pattern's answer.
    EXPECT_THAT(log.texts(), Not(Contains(HasSubstr("Class[0]"))));
}

TEST_F(KvRollbackActionOfThreeUndone, BringsBackFilesThatTheAgentHadSkipped) {
    agent().answers["CheckFileEx"] = 0;
    agent().fileAnswers["CheckFileEx(" + app.path("product.dat") + ")"] = -1;

    EXPECT_EQ(run(), 60U);

    expectAllBack();
}

// A comma in a path has no place in an entry, so this copy cannot be put back.
TEST_F(KvRollbackActionUndone, StatusIsThatOfTheFailureEvenIfTheUndoingStops) {
    app.item(3, 5).added("x,y.dat").added("z.dat");
    agent().fileAnswers["CheckFileEx(" + app.path("z.dat") + ")"] = -1;
    Story story(agent());

    EXPECT_EQ(run(), 60U);

    EXPECT_THAT(app.files(), ElementsAre("z.dat=added z.dat"));
    EXPECT_THAT(
        story.linesAfter("rollbackWithPatchAgent: auto rollback."),
        ElementsAre("Inf 6 Call PatchAgent StartItem with: empty string, 3, 0x5, 0x2, 101, 100",
                    "call StartItem(, 3, 5, 0x2, 0x65/0, 0x64/0)",
                    "Err 6 autoRollback: written file name failed.",
                    "Inf 6 rollbackWithPatchAgent: auto rollback done.",
                    "Inf 6 rollbackWithPatchAgent: error quit."));
}

}  // namespace
