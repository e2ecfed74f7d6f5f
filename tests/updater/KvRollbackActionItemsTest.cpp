// The rollback of all items of a description: what the agent hears, in which order, and how it
// ends.
#include <gmock/gmock.h>

#include "tests/updater/RollbackWithAgentTest.h"
#include "tests/updater/Story.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

const std::string kRecord = "VC_Backup/VcBackup.ini";

class KvRollbackActionItems : public RollbackWithAgentTest {
  protected:
    using RollbackWithAgentTest::RollbackWithAgentTest;
};

TEST_F(KvRollbackActionItems, NeedsAnAgentAndItems) {
    ReadDescription read(text);
    updateStru uncounted = *read.stru();
    uncounted.itemCount = 0;
    updateStru itemless = *read.stru();
    itemless.items = nullptr;
    _PatchAgent* const table = agent().table();

    for (const auto& call : {std::pair<_PatchAgent*, updateStru*>{nullptr, read.stru()},
                             {table, nullptr},
                             {table, &uncounted},
                             {table, &itemless}}) {
        log.forget();
        EXPECT_EQ(rollbackWithPatchAgent(call.first, call.second), 5U);
        EXPECT_THAT(log.lines(), ElementsAre("Err 6 rollbackWithPatchAgent: parameters failed."));
    }
    EXPECT_THAT(agent().calls, IsEmpty());
}

// Asking for more items than any memory holds touches none of them.
TEST_F(KvRollbackActionItems, NeedsMemoryForItsRecord) {
    ReadDescription read(text);
    updateStru endless = *read.stru();
    endless.itemCount = UINT64_MAX / 2;

    EXPECT_EQ(rollbackWithPatchAgent(agent().table(), &endless), 48U);

    EXPECT_THAT(log.lines(),
                ElementsAre("Inf 6 rollbackWithPatchAgent: init auto-rollback backup structure.",
                            "Err 6 initBackupStru: malloc failed.",
                            "Inf 6 rollbackWithPatchAgent: init auto rollback backup info done.",
                            "Inf 6 rollbackWithPatchAgent: error quit."));
    EXPECT_THAT(agent().calls, IsEmpty());
}

TEST_F(KvRollbackActionItems, GetsNoItemStartedForAnUnknownInterface) {
    app.item(3, 5).added("x.dat");
    use(9);

    EXPECT_EQ(run(), 60U);

    EXPECT_THAT(app.files(), ElementsAre("x.dat=added x.dat"));
    EXPECT_THAT(log.lines(),
                ElementsAre("Inf 6 rollbackWithPatchAgent: init auto-rollback backup structure.",
                            "Inf 6 rollbackWithPatchAgent: init auto rollback backup info done.",
                            "Err 9 rollbackWithPatchAgent: unknown patch agent version.",
                            "Err 9 startEachItem: unknown patch agent version.",
                            "Err 6 rollbackWithPatchAgent: start item failed.",
                            "Inf 6 rollbackWithPatchAgent: auto rollback.",
                            "Inf 6 rollbackWithPatchAgent: auto rollback done.",
                            "Inf 6 rollbackWithPatchAgent: error quit."));
}

// --- Before the items

class KvRollbackActionPaths : public KvRollbackActionItems {
  protected:
    KvRollbackActionPaths() : KvRollbackActionItems(4) {
        use(PATCHAGENT_OLD).answers["StartPatch"] = 1;
    }

    void placeAt(size_t index, int itemClass, const char* destination) {
        text.setItem(index, "class", std::to_string(itemClass))
            .setItem(index, "destination", destination);
    }
};

TEST_F(KvRollbackActionPaths, AreAskedForPatternEngineAndProductInThisOrder) {
    placeAt(0, 1, "/product");
    placeAt(1, 3, "/pattern");
    placeAt(2, 3, "/second");
    placeAt(3, 2, "/engine");
    agent().paths = {{"GetPatternPath", "/moved"}};
    Story story(agent());

    EXPECT_EQ(run(), 60U);

    EXPECT_THAT(
        story.linesAfter("init auto rollback backup info done."),
        ElementsAre(
            "Inf 6 Call PatchAgent GetPatternPath with: /pattern", "call GetPatternPath(/pattern)",
            "Inf 6 PatchAgent GetPatternPath result: /moved",
            "Inf 6 Call PatchAgent GetEnginePath with: /engine", "call GetEnginePath(/engine)",
            "Inf 6 PatchAgent GetEnginePath result: /engine",
            "Inf 6 Call PatchAgent GetProductPath with: /product", "call GetProductPath(/product)",
            "Inf 6 PatchAgent GetProductPath result: /product", "call IsRollback()",
            "Inf 6 rollbackWithPatchAgent: start patch.",
            "Inf 6 Call PatchAgent StartPatch with: 7", "call StartPatch(0x7)",
            "Err 6 rollbackWithPatchAgent: start patch failed.",
            "Inf 6 rollbackWithPatchAgent: error quit."));
}

// The mask has no "0x" in the message.
TEST_F(KvRollbackActionPaths, AreNotAskedForOfClassesThatHaveNoItem) {
    struct Row {
        int itemClass;
        const char* mask;
    };
    for (const Row& row : {Row{3, "1"}, Row{2, "2"}, Row{1, "4"}, Row{4, "0"}}) {
        for (size_t i = 0; i < 4; ++i) {
            placeAt(i, row.itemClass, "/app");
        }
        log.forget();
        agent().calls.clear();
        EXPECT_EQ(run(), 60U);
        EXPECT_THAT(log.texts(),
                    Contains("Call PatchAgent StartPatch with: " + std::string(row.mask)));
        EXPECT_EQ(agent().calls.size(), row.itemClass == 4 ? 2U : 3U);
    }
}

TEST_F(KvRollbackActionItems, RestoresToTheDescriptionsPathWhateverTheAgentWants) {
    app.item(3, 5).added("x.dat").written("a.dat");
    use(PATCHAGENT_OLD).paths = {{"GetPatternPath", tree.makeDir("elsewhere")}};

    EXPECT_EQ(run(), 0U);

    EXPECT_THAT(app.files(), ElementsAre("a.dat=old a.dat"));
    EXPECT_THAT(tree.snapshot("elsewhere"), IsEmpty());
}

// --- The items

class KvRollbackActionOfThree : public KvRollbackActionItems {
  protected:
    KvRollbackActionOfThree() : KvRollbackActionItems(3) {
        for (const int itemClass : {3, 2, 1}) {
            app.item(static_cast<unsigned>(itemClass), 5);
        }
        place(1, 2, "5.2", "6.0");
        place(2, 1, "5.2", "6.0");
    }
};

TEST_F(KvRollbackActionOfThree, GoesFromTheLastItemToTheFirstWithTheMarkOfARollback) {
    text.setItem(1, "forceupdate", "1");
    text.dropItem(0, "item.zip");

    EXPECT_EQ(run(), 0U);

    EXPECT_THAT(agent().calls,
                ElementsAre("StartAction()", "StartItem(2.zip, 1, 5, 0x2, 0x52000/0, 0x60000/0)",
                            "EndItem(1, 0x52000/0, 0x60000/0)",
                            "StartItem(1.zip, 2, 5, 0x2, 0x52000/0, 0x60000/0)",
                            "EndItem(1, 0x52000/0, 0x60000/0)",
                            "StartItem(null, 3, 5, 0x2, 0x64/0, 0x65/0)",
                            "EndItem(1, 0x64/0, 0x65/0)", "EndAction()"));
    EXPECT_THAT(log.texts(),
                Contains("Call PatchAgent StartItem with: NULL_String, 3, 0x5, 0x2, 100, 101"));
}

TEST_F(KvRollbackActionOfThree, TellsAnOldAgentByClass) {
    use(PATCHAGENT_OLD);

    EXPECT_EQ(run(), 0U);

    const std::string path = "(" + app.path() + ")";
    EXPECT_THAT(agent().calls, ElementsAre("GetPatternPath" + path, "GetEnginePath" + path,
                                           "GetProductPath" + path, "IsRollback()",
                                           "StartPatch(0x7)", "StartProduct(2.zip)",
                                           "EndProduct(1, 0x52000, 0x60000)", "StartEngine(1.zip)",
                                           "EndEngine(1, 0x52000, 0x60000)", "StartPattern(0.zip)",
                                           "EndPattern(1, 0x640000, 0x650000)", "EndPatch(1)"));
}

TEST_F(KvRollbackActionItems, TakesEveryAnswerButZeroForAStart) {
    for (const int yes : {7, -1}) {
        UpdatedApp(tree).item(3, 5).added("x.dat");
        use(PATCHAGENT_NEW).answers["StartItem"] = yes;
        EXPECT_EQ(run(), 0U);
        EXPECT_FALSE(app.has("x.dat"));
    }
}

TEST_F(KvRollbackActionItems, LooksForTheItemByItsOwnClassAndType) {
    app.item(3, 5).added("x.dat").item(2, 6).added("y.dat").item(3, 6).added("z.dat");
    text.setItem(0, "type", "6");

    EXPECT_EQ(run(), 0U);

    EXPECT_THAT(app.files(), ElementsAre("x.dat=added x.dat", "y.dat=added y.dat"));
}

// --- The end

// The first item is the last one to end.
TEST_F(KvRollbackActionOfThree, HandsTheLastAnswerToTheEndOfThePatch) {
    for (const int last : {1, 7, -1}) {
        use(PATCHAGENT_OLD).answers = {{"EndProduct", 9}, {"EndEngine", 8}, {"EndPattern", last}};
        UpdatedApp(tree).item(3, 5).item(2, 5).item(1, 5);
        log.forget();

        EXPECT_EQ(run(), 0U);

        EXPECT_EQ(agent().calls.back(), "EndPatch(" + std::to_string(last) + ")");
        EXPECT_THAT(log.lines(), Contains("Inf 6 Call PatchAgent EndPatch with: TRUE"));
    }
}

TEST_F(KvRollbackActionItems, LeavesTheResultOfTheAgentsLastCallAside) {
    app.item(3, 5).added("x.dat");
    agent().answers["EndAction"] = 0;
    EXPECT_EQ(run(), 0U);

    app.item(3, 5).added("x.dat");
    use(PATCHAGENT_OLD).answers["EndPatch"] = 0;
    EXPECT_EQ(run(), 0U);
}

TEST_F(KvRollbackActionItems, TakesTheItemOutOfTheRecordWithAllItsCopies) {
    app.item(3, 4).written("a.dat").item(3, 6).written("b.dat");
    const std::string others = app.read(kRecord);
    UpdatedApp(tree)
        .item(3, 4)
        .written("a.dat")
        .item(3, 5)
        .added("x.dat")
        .written("c.dat")
        .item(3, 6)
        .entry("backup.001, " + app.path("b.dat"));

    EXPECT_EQ(run(), 0U);

    EXPECT_EQ(app.read(kRecord), others) << "the last item has moved up";
    EXPECT_THAT(app.files(), ElementsAre("a.dat=new a.dat", "b.dat=new b.dat", "c.dat=old c.dat"));
    EXPECT_THAT(tree.snapshot("app/VC_Backup/3/5"), IsEmpty());
    EXPECT_TRUE(app.has("VC_Backup/3/4/backup.000"));
    EXPECT_TRUE(app.has("VC_Backup/3/6/backup.001"));
}

// The update can then no longer be undone, although nothing of it was.
TEST_F(KvRollbackActionItems, TakesAnItemOutOfTheRecordEvenIfTheAgentSkippedItsFiles) {
    app.item(3, 5).added("x.dat").written("a.dat");
    agent().answers["CheckFileEx"] = 0;

    EXPECT_EQ(run(), 0U);

    EXPECT_THAT(app.files(), ElementsAre("a.dat=new a.dat", "x.dat=added x.dat"));
    EXPECT_EQ(app.read(kRecord), "[common]\nitemcount=0\npatchagent.version=1\n");
    EXPECT_THAT(tree.snapshot("app/VC_Backup/3/5"), IsEmpty());
}

}  // namespace
