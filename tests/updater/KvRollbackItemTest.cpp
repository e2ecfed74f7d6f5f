// The rollback of one item: what it puts back, what it records and what it says.
#include "updater/KvRollbackItem.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <climits>

#include "tests/updater/RollbackItemTest.h"
#include "tests/updater/Story.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

const std::string kFound = "rollbackItem: item found.";

class KvRollbackItem : public RollbackItemTest {};

struct Wording {
    uint32_t version;
    std::string added;    // in front of the path of an added file
    std::string written;  // and of a written one
    std::string call;
};

class KvRollbackItemWording : public KvRollbackItem, public testing::WithParamInterface<Wording> {};

TEST_P(KvRollbackItemWording, TellsAndAsksInThisOrder) {
    app.item(3, 5).added("x.dat").written("a.dat");
    use(GetParam().version);
    Story story(agent());

    EXPECT_EQ(run(), 0);

    const std::string added = app.path("x.dat");
    const std::string written = app.path("a.dat");
    EXPECT_THAT(story.lines(),
                ElementsAre("Inf 6 Dump backup ini common section:Item Count: 1\n"
                            "PatchAgent Ver: 1 (New)\nPatchAgent File: Null",
                            "Inf 6 Dump item[0] in backup ini:\nClass[3] Type[0x5]\n"
                            "Original Ver[100] Result Ver[101]\nDestination: Null\n"
                            "Count of Added Files[1]\n\tFile 0: " +
                                added + "\nCount of OverWritten Files[1]\n\tFile 0: backup.000, " +
                                written + "\n",
                            "Inf 6 rollbackItem: find out the item with same class/type.",
                            "Inf 6 rollbackItem: item found.", "Inf 6 " + GetParam().added + added,
                            "call " + GetParam().call + "(" + added + ")",
                            "Inf 6 rollbackItem: rollback added file done.",
                            "Inf 6 " + GetParam().written + written,
                            "call " + GetParam().call + "(" + written + ")"));
}

// The misspelt word and the missing colon are what readers of the log look for.
INSTANTIATE_TEST_SUITE_P(Interfaces, KvRollbackItemWording,
                         testing::Values(Wording{PATCHAGENT_OLD, "Call PatchAgent CheckFile with: ",
                                                 "Call PatchAgent CheckFilie with: ", "CheckFile"},
                                         Wording{
                                             PATCHAGENT_NEW, "Call PatchAgent CheckFileEx with ",
                                             "Call PatchAgent CheckFileEx with: ", "CheckFileEx"}),
                         [](const auto& test) { return test.param.call; });

TEST_F(KvRollbackItem, LeavesAllFilesForAnUnknownInterface) {
    app.item(3, 5).added("x.dat").written("a.dat");
    use(9);
    Story story(agent());

    EXPECT_EQ(run(), 2);

    EXPECT_THAT(app.files(), ElementsAre("a.dat=new a.dat", "x.dat=added x.dat"));
    EXPECT_THAT(recorded(), ElementsAre("backup.001, " + app.path("x.dat"),
                                        "backup.002, " + app.path("a.dat")));
    EXPECT_THAT(story.linesAfter(kFound),
                ElementsAre("Err 6 rollbackItem: unknown patch agent version.",
                            "Inf 6 rollbackItem: rollback added file done.",
                            "Err 6 rollbackItem: unknown patch agent version."));
}

TEST_F(KvRollbackItem, DeletesTheAddedAndPutsTheSavedBack) {
    app.item(3, 5).added("x.dat").written("sub/a.dat");
    tree.setTime("app/" + app.store() + "backup.000", 1000000000);

    EXPECT_EQ(run(), 0);

    EXPECT_THAT(app.files(), ElementsAre("sub/=", "sub/a.dat=old sub/a.dat"));
    EXPECT_EQ(tree.time("app/sub/a.dat"), 1000000000);
    EXPECT_EQ(app.read(app.store() + "backup.000"), "old sub/a.dat") << "for another try";
}

// The second entry of a copy finds it gone.
TEST_F(KvRollbackItem, PutsACopyBackOnce) {
    app.item(3, 5).written("a.dat").entry("backup.000, " + app.path("b.dat"));
    tree.write("app/b.dat", "new b.dat");

    EXPECT_EQ(run(), 0);

    EXPECT_THAT(app.files(), ElementsAre("a.dat=old a.dat", "b.dat=new b.dat"));
}

// It would stand for all copies.
TEST_F(KvRollbackItem, EndsAtAnEntryWithoutABackupName) {
    app.item(3, 5).written("a.dat").entry(", " + app.path("b.dat"));

    EXPECT_EQ(run(), -5);

    EXPECT_EQ(app.read(app.store() + "backup.000"), "old a.dat");
    EXPECT_FALSE(app.has("b.dat"));
}

TEST_F(KvRollbackItem, EndsAtAFileThatCannotBePutBack) {
    tree.write("app/file", "no directory");
    tree.write("app/VC_Backup/3/5/backup.00a", "old");
    app.item(3, 5).entry("backup.00a, " + app.path("file/inner.dat"));
    LogCapture log;

    EXPECT_EQ(run(), -5);

    const std::vector<std::string> lines = log.lines();
    EXPECT_THAT(lines.back(), "Err 6 rollbackItem: rollback added file failed.");
    EXPECT_THAT(lines[lines.size() - 2], testing::StartsWith("Err 6 Cause: "));
    EXPECT_EQ(app.read("VC_Backup/3/5/backup.00a"), "old");
}

TEST_F(KvRollbackItem, KeepsACopyOfWhatItTakesAway) {
    app.item(3, 5).added("x.dat").written("a.dat");
    tree.setTime("app/x.dat", 1000000000);
    tree.setTime("app/a.dat", 1100000000);

    EXPECT_EQ(run(), 0);

    EXPECT_THAT(recorded(), ElementsAre("backup.001, " + app.path("x.dat"),
                                        "backup.002, " + app.path("a.dat")));
    EXPECT_EQ(own().addedCount, 0U) << "only written entries";
    EXPECT_EQ(app.read(app.store() + "backup.001"), "added x.dat");
    EXPECT_EQ(app.read(app.store() + "backup.002"), "new a.dat");
    EXPECT_EQ(tree.time("app/" + app.store() + "backup.001"), 1000000000);
    EXPECT_EQ(tree.time("app/" + app.store() + "backup.002"), 1100000000);
}

// At every question the file is still there and its copy already is.
TEST_F(KvRollbackItem, SavesAFileBeforeTheAgentIsAsked) {
    app.item(3, 5).added("x.dat").written("a.dat");
    std::vector<std::string> seen;
    agent().heard = [&](const std::string&) {
        const char* const copy = seen.empty() ? "backup.001" : "backup.002";
        seen.push_back(app.read(app.store() + copy) + "/" +
                       app.read(seen.empty() ? "x.dat" : "a.dat") + "/" +
                       std::to_string(own().writtenCount));
    };

    EXPECT_EQ(run(), 0);

    EXPECT_THAT(seen, ElementsAre("added x.dat/added x.dat/0", "new a.dat/new a.dat/1"));
}

TEST_F(KvRollbackItem, HasNothingToDoForAnItemWithoutFiles) {
    app.item(3, 5);
    Story story(agent());

    EXPECT_EQ(run(), 0);

    EXPECT_THAT(story.linesAfter(kFound),
                ElementsAre("Inf 6 rollbackItem: rollback added file done."));
    EXPECT_THAT(recorded(), IsEmpty());
}

TEST_F(KvRollbackItem, TakesTheFirstRecordOfItsClassAndType) {
    app.item(3, 6).added("type.dat").item(2, 5).added("class.dat");
    app.item(3, 5).added("x.dat").item(3, 5).added("later.dat");

    EXPECT_EQ(run(), 0);

    EXPECT_THAT(app.files(), ElementsAre("class.dat=added class.dat", "later.dat=added later.dat",
                                         "type.dat=added type.dat"));
    EXPECT_THAT(recorded(), ElementsAre("backup.000, " + app.path("x.dat")));
}

TEST_F(KvRollbackItem, RecordsMoreFilesThanTheListBeginsWith) {
    app.item(3, 5);
    for (int i = 0; i < 20; ++i) {
        app.added("x" + std::to_string(i)).written("a" + std::to_string(i));
    }

    EXPECT_EQ(run(), 0);

    ASSERT_EQ(recorded().size(), 40U);
    // The update's copies have the names up to 19, "00j" to the base of 36; 20 is "00k", 59 "01n".
    EXPECT_EQ(recorded()[0], "backup.00k, " + app.path("x0"));
    EXPECT_EQ(recorded()[19], "backup.013, " + app.path("x19"));
    EXPECT_EQ(recorded()[20], "backup.014, " + app.path("a0"));
    EXPECT_EQ(recorded()[39], "backup.01n, " + app.path("a19"));
    EXPECT_EQ(app.read(app.store() + "backup.01n"), "new a19");
    EXPECT_EQ(app.read("a19"), "old a19");
}

// --- Files and entries that are not as they should be

TEST_F(KvRollbackItem, GoesOnWithFilesThatAreGoneAlready) {
    app.item(3, 5).added("x.dat").added("y.dat").written("a.dat");
    unlink(app.path("x.dat").c_str());
    unlink(app.path("a.dat").c_str());

    EXPECT_EQ(run(), 0);

    EXPECT_THAT(app.files(), ElementsAre("a.dat=old a.dat"));
    EXPECT_THAT(agent().calls, Contains("CheckFileEx(" + app.path("x.dat") + ")"));
    EXPECT_EQ(recorded()[0], "backup.001, " + app.path("x.dat"));
    EXPECT_TRUE(app.has(app.store() + "backup.001"));
    EXPECT_EQ(app.read(app.store() + "backup.001"), "");
}

TEST_F(KvRollbackItem, LeavesAFileWhoseSavedCopyIsGone) {
    app.item(3, 5).written("a.dat").written("b.dat");
    unlink(inStore("backup.000").c_str());

    EXPECT_EQ(run(), 0);

    EXPECT_THAT(app.files(), ElementsAre("a.dat=new a.dat", "b.dat=old b.dat"));
}

struct Entry {
    const char* name;
    const char* text;        // "@" stands for the directory of "app"
    const char* target;      // what the agent is asked about, in the same way
    const char* afterwards;  // content of "a.dat"
};

class KvRollbackItemEntry : public KvRollbackItem, public testing::WithParamInterface<Entry> {
  protected:
    [[nodiscard]] std::string filled(std::string text) const {
        const size_t at = text.find('@');
        return at == std::string::npos ? text : text.replace(at, 1, app.path());
    }
};

TEST_P(KvRollbackItemEntry, IsSplitAtItsCommas) {
    tree.write("app/a.dat", "new");
    tree.write("app/VC_Backup/3/5/backup.00a", "old");
    app.item(3, 5).entry(filled(GetParam().text));

    EXPECT_EQ(run(), 0);

    const std::string target = filled(GetParam().target);
    EXPECT_THAT(agent().calls, ElementsAre("CheckFileEx(" + target + ")"));
    EXPECT_THAT(recorded(), ElementsAre("backup.000, " + target));
    EXPECT_EQ(app.read("a.dat"), GetParam().afterwards);
    EXPECT_EQ(app.read("VC_Backup/3/5/backup.00a"), "old");
}

INSTANTIATE_TEST_SUITE_P(
    Texts, KvRollbackItemEntry,
    testing::Values(Entry{"Plain", "backup.00a, @/a.dat", "@/a.dat", "old"},
                    Entry{"WithoutBlanks", "backup.00a,@/a.dat", "@/a.dat", "old"},
                    Entry{"WithBlanks", "backup.00a  ,   @/a.dat", "@/a.dat", "old"},
                    Entry{"WithADirectory", "/odd/place/backup.00a, @/a.dat", "@/a.dat", "old"},
                    Entry{"OfThreePieces", "backup.00a, @/a.dat, more", "@/a.dat", "old"},
                    Entry{"WithoutATarget", "backup.00a", "", "new"},
                    Entry{"WithAnEmptyTarget", "backup.00a,", "", "new"}),
    [](const auto& test) { return test.param.name; });

// --- What a result means for the run

TEST(KvRollbackItemStatus, IsASuccessOutsideTheKnownFailures) {
    const std::vector<std::string> none;
    const std::vector<std::string> access = {"Err 6 rollbackWithPatchAgent: access failed."};
    const std::vector<std::string> arguments = {"Err 6 rollbackWithPatchAgent: bad arguments."};
    const std::vector<std::string> cancel = {"Err 6 rollbackWithPatchAgent: user cancel."};
    const struct {
        int result;
        unsigned status;
        const std::vector<std::string>& records;
    } cases[] = {
        {INT_MIN, 0, none},  {-9, 0, none},      {-7, 0, none},    {-6, 58, access},
        {-5, 58, access},    {-4, 58, access},   {-3, 58, access}, {-2, 58, access},
        {-1, 12, arguments}, {0, 0, none},       {1, 60, cancel},  {2, 0, none},
        {3, 0, none},        {INT_MAX, 0, none},
    };
    for (const auto& c : cases) {
        LogCapture log;
        EXPECT_EQ(statusOfItem(static_cast<RollbackItemResult>(c.result)), c.status) << c.result;
        EXPECT_EQ(log.lines(), c.records) << c.result;
    }
}

}  // namespace
