// Settling, on journals written by hand: what goes back, what is left alone, what stops it.
#include "tests/journal/SettleTest.h"

#include <fcntl.h>
#include <unistd.h>

#include "tests/support/ChildProcess.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

using KvSettle = SettleTest;

TEST_F(KvSettle, WithoutAJournalNothingHappens) {
    EXPECT_EQ(settle(), SettleResult::kNothing);
    EXPECT_THAT(listener.told, IsEmpty());
    const char* const odd[] = {nullptr, "", "/nowhere/at/all"};
    EXPECT_EQ(settleCutOffRuns(odd, 3, SettleMode::kSettle, listener), SettleResult::kNothing);
    EXPECT_EQ(settleCutOffRuns(nullptr, 0, SettleMode::kSettle, listener), SettleResult::kNothing);
    tree.write("f/VC_Backup", "a file");
    const std::string path = tree.path("f");
    const char* const destination = path.c_str();
    EXPECT_EQ(settleCutOffRuns(&destination, 1, SettleMode::kSettle, listener),
              SettleResult::kNothing);
}

TEST_F(KvSettle, AnOverwrittenFileGoesBack) {
    overwritten();
    ASSERT_EQ(chmod(tree.path("d/a").c_str(), 0750), 0);
    EXPECT_EQ(settle(), SettleResult::kSettled);
    EXPECT_EQ(tree.read("d/a"), "older");
    EXPECT_EQ(tree.time("d/a"), kOld);
    struct stat status {};
    ASSERT_EQ(stat(tree.path("d/a").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0750U);
    EXPECT_FALSE(hasCopy());
    EXPECT_FALSE(hasJournal());
    EXPECT_THAT(listener.told, ElementsAre("undo d/VC_Backup/VcJournal.1", "put back d/a"));
    EXPECT_EQ(settle(), SettleResult::kNothing);
}

TEST_F(KvSettle, OnlyLookedAtNothingChanges) {
    overwritten();
    const auto before = tree.snapshot();
    EXPECT_EQ(settle(SettleMode::kLookOnly), SettleResult::kSettled);
    EXPECT_EQ(tree.snapshot(), before);
    EXPECT_THAT(listener.told, ElementsAre("undo d/VC_Backup/VcJournal.1", "put back d/a"));
}

TEST_F(KvSettle, ALongerFileIsCutToItsFormerLength) {
    file("d/a", "much longer than before", kNew);
    file("d/VC_Backup/3/backup.000", "older", kOld);
    journal(
        "over\t1\t@/d/a\t@/d/VC_Backup/3/backup.000\t5 1500000000 644\t23 1600000000 644\n"
        "new\t2\t@/none\t\tmissing\t0 0 644\n");
    EXPECT_EQ(settle(), SettleResult::kSettled);
    EXPECT_EQ(tree.read("d/a"), "older");
}

TEST_F(KvSettle, AFileThatWasNeverWrittenIsNotTold) {
    overwritten();
    file("d/a", "older", kOld);
    EXPECT_EQ(settle(), SettleResult::kSettled);
    EXPECT_THAT(listener.told, ElementsAre("undo d/VC_Backup/VcJournal.1"));
    EXPECT_FALSE(hasCopy());
}

TEST_F(KvSettle, AnAddedFileGoesAndADeletedOneComesBackWithItsMode) {
    file("d/n", "12", kNew);
    file("d/VC_Backup/3/backup.000", "gone", kOld);
    journal(
        "new\t1\t@/d/n\t\tmissing\t2 1600000000 644\n"
        "del\t2\t@/d/x\t@/d/VC_Backup/3/backup.000\t4 1500000000 755\tmissing\n"
        "new\t3\t@/none\t\tmissing\t0 0 644\n");
    EXPECT_EQ(settle(), SettleResult::kSettled);
    EXPECT_FALSE(tree.exists("d/n"));
    EXPECT_EQ(tree.read("d/x"), "gone");
    EXPECT_EQ(tree.time("d/x"), kOld);
    struct stat status {};
    ASSERT_EQ(stat(tree.path("d/x").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0755U);
    EXPECT_THAT(listener.told,
                ElementsAre("undo d/VC_Backup/VcJournal.1", "put back d/x", "removed d/n"));
}

TEST_F(KvSettle, WhatSomebodyElseHasChangedIsLeftAlone) {
    const struct {
        const char* content;
        time_t time;
    } others[] = {{"their", kOther}, {"new", kOther}, {"news", kNew}, {"older!", kOld}};
    for (const auto& other : others) {
        listener.told.clear();
        overwritten();
        file("d/a", other.content, other.time);
        EXPECT_EQ(settle(), SettleResult::kSettled);
        EXPECT_EQ(tree.read("d/a"), other.content);
        EXPECT_EQ(tree.read("d/VC_Backup/3/backup.000"), "older");
        EXPECT_FALSE(hasJournal());
        EXPECT_THAT(listener.told, ElementsAre("undo d/VC_Backup/VcJournal.1",
                                               "left d/a: Changed by somebody else"));
    }
}

TEST_F(KvSettle, AnAddedFileThatSomebodyElseHasChangedIsLeftAlone) {
    file("d/n", "theirs", kOther);
    journal("new\t1\t@/d/n\t\tmissing\t2 1600000000 644\nnew\t2\t@/none\t\tmissing\t0 0 644\n");
    EXPECT_EQ(settle(), SettleResult::kSettled);
    EXPECT_EQ(tree.read("d/n"), "theirs");
    EXPECT_EQ(listener.told.back(), "left d/n: Changed by somebody else");
}

TEST_F(KvSettle, WhatIsGoneOrADirectoryNowIsLeftAlone) {
    overwritten();
    ASSERT_EQ(unlink(tree.path("d/a").c_str()), 0);
    EXPECT_EQ(settle(), SettleResult::kSettled);
    EXPECT_FALSE(tree.exists("d/a"));
    EXPECT_TRUE(hasCopy());
    EXPECT_EQ(listener.told.back(), "left d/a: Gone");

    overwritten();
    ASSERT_EQ(unlink(tree.path("d/a").c_str()), 0);
    tree.makeDir("d/a");
    EXPECT_EQ(settle(), SettleResult::kSettled);
    EXPECT_TRUE(hasCopy());
    EXPECT_EQ(listener.told.back(), "left d/a: Is a directory now");
}

TEST_F(KvSettle, ALinkInAFilesPlaceIsFollowedWhenItIsOursOrUnchanged) {
    overwritten();
    ASSERT_EQ(rename(tree.path("d/a").c_str(), tree.path("d/real").c_str()), 0);
    ASSERT_EQ(symlink("real", tree.path("d/a").c_str()), 0);
    EXPECT_EQ(settle(), SettleResult::kSettled);
    EXPECT_EQ(tree.read("d/real"), "older");
    EXPECT_EQ(listener.told.back(), "put back d/a");

    listener.told.clear();
    overwritten();  // through the link
    ASSERT_EQ(unlink(tree.path("d/real").c_str()), 0);
    EXPECT_EQ(settle(), SettleResult::kSettled);
    EXPECT_EQ(listener.told.back(), "left d/a: Not a regular file any more");
}

TEST_F(KvSettle, TheTornFileOfALinkOfAnotherUserIsLeftAlone) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "needs two users";
    }
    file("d/VC_Backup/3/backup.000", "older", kOld);
    journal(
        "over\t1\t@/d/a\t@/d/VC_Backup/3/backup.000\t5 1500000000 644\t3 1600000000 644\n"
        "void\t2\t9\n");
    tree.write("d/VC_Backup/VcJournal.1",
               tree.read("d/VC_Backup/VcJournal.1")
                   .substr(0, tree.read("d/VC_Backup/VcJournal.1").find("void")));
    file("secret", "x", kOther);
    ASSERT_EQ(symlink(tree.path("secret").c_str(), tree.path("d/a").c_str()), 0);
    ASSERT_EQ(lchown(tree.path("d/a").c_str(), 12345, 12345), 0);
    // Made after the line, so that it is the copy of the change in work.
    file("d/VC_Backup/3/backup.000", "older", kOld);
    EXPECT_EQ(settle(), SettleResult::kSettled);
    EXPECT_EQ(tree.read("secret"), "x");
    EXPECT_EQ(listener.told.back(), "left d/a: Link of another user");
}

TEST_F(KvSettle, AMissingOrShortCopyIsPassedOver) {
    overwritten();
    file("d/VC_Backup/3/backup.000", "old", kOld);
    EXPECT_EQ(settle(), SettleResult::kSettled);
    EXPECT_EQ(tree.read("d/a"), "new");
    EXPECT_EQ(listener.told.back(), "left d/a: Its saved copy is not whole");

    overwritten();
    ASSERT_EQ(unlink(tree.path("d/VC_Backup/3/backup.000").c_str()), 0);
    EXPECT_EQ(settle(), SettleResult::kSettled);
    EXPECT_EQ(listener.told.back(), "left d/a: Its saved copy is gone");
    EXPECT_FALSE(hasJournal());

    listener.told.clear();
    overwritten();
    file("d/a", "older", kOld);
    ASSERT_EQ(unlink(tree.path("d/VC_Backup/3/backup.000").c_str()), 0);
    EXPECT_EQ(settle(), SettleResult::kSettled);
    EXPECT_THAT(listener.told, ElementsAre("undo d/VC_Backup/VcJournal.1"));
}

TEST_F(KvSettle, TheChangeInWorkGoesBackWhateverItLooksLike) {
    overwritten("");
    file("d/a", "torn", kOther);
    file("d/VC_Backup/3/backup.000", "older", kOld);  // made after the line
    EXPECT_EQ(settle(), SettleResult::kSettled);
    EXPECT_EQ(tree.read("d/a"), "older");

    // The same when it seems to be there already: it may be torn within its former second.
    overwritten("");
    file("d/a", "wrong", kOld);
    file("d/VC_Backup/3/backup.000", "older", kOld);
    EXPECT_EQ(settle(), SettleResult::kSettled);
    EXPECT_EQ(tree.read("d/a"), "older");
}

TEST_F(KvSettle, WithoutAWholeCopyTheChangeInWorkHadNotBegun) {
    overwritten("");
    file("d/a", "theirs", kOther);
    file("d/VC_Backup/3/backup.000", "ol", kOther);
    EXPECT_EQ(settle(), SettleResult::kSettled);
    EXPECT_EQ(tree.read("d/a"), "theirs");
    EXPECT_FALSE(hasCopy());
    EXPECT_THAT(listener.told, ElementsAre("undo d/VC_Backup/VcJournal.1"));
}

TEST_F(KvSettle, ANameThatWasTakenIsNotOurs) {
    overwritten("");
    file("d/a", "older", kOld);
    // The journal was written long after the file of that name.
    const timespec later[2] = {{kOther + 400000000, 0}, {kOther + 400000000, 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, tree.path("d/VC_Backup/VcJournal.1").c_str(), later, 0), 0);
    EXPECT_EQ(settle(), SettleResult::kSettled);
    EXPECT_EQ(tree.read("d/VC_Backup/3/backup.000"), "older");
    EXPECT_FALSE(hasJournal());
}

TEST_F(KvSettle, ANameThatTheRunHasToldToBeTakenIsNotOurs) {
    file("d/a", "new", kNew);
    file("d/VC_Backup/3/backup.000", "their", kOld);
    file("d/VC_Backup/3/backup.001", "older", kOld);
    const std::string states = "\t5 1500000000 644\t3 1600000000 644\n";
    journal("over\t1\t@/d/a\t@/d/VC_Backup/3/backup.000" + states + "void\t2\t1\n" +
            "over\t3\t@/d/a\t@/d/VC_Backup/3/backup.001" + states +
            "new\t4\t@/none\t\tmissing\t0 0 644\n");
    EXPECT_EQ(settle(), SettleResult::kSettled);
    EXPECT_EQ(tree.read("d/a"), "older");
    EXPECT_EQ(tree.read("d/VC_Backup/3/backup.000"), "their");
    EXPECT_FALSE(tree.exists("d/VC_Backup/3/backup.001"));
}

TEST_F(KvSettle, AStateThatTheRunHasToldCountsAsItsOwn) {
    overwritten("gave\t2\t1\t3 1700000000 644\nnew\t3\t@/none\t\tmissing\t0 0 644\n");
    file("d/a", "new", kOther);  // its time could not be set
    EXPECT_EQ(settle(), SettleResult::kSettled);
    EXPECT_EQ(tree.read("d/a"), "older");
}

TEST_F(KvSettle, OfTwoCopiesTheFirstOneEndsUpInPlace) {
    file("d/a", "third", kOther);
    file("d/VC_Backup/3/backup.000", "older", kOld);
    file("d/VC_Backup/3/backup.001", "new", kNew);
    journal(
        "over\t1\t@/d/a\t@/d/VC_Backup/3/backup.000\t5 1500000000 644\t3 1600000000 644\n"
        "over\t2\t@/d/./a\t@/d/VC_Backup/3/backup.001\t3 1600000000 644\t5 1700000000 644\n"
        "new\t3\t@/none\t\tmissing\t0 0 644\n");
    EXPECT_EQ(settle(), SettleResult::kSettled);
    EXPECT_EQ(tree.read("d/a"), "older");
    EXPECT_THAT(listener.told, ElementsAre("undo d/VC_Backup/VcJournal.1", "put back d/a"));
    EXPECT_EQ(tree.snapshot("d/VC_Backup"), (std::map<std::string, std::string>{{"3/", ""}}));
}

TEST_F(KvSettle, TheRecordGoesBackWhateverItLooksLike) {
    file("d/VC_Backup/VcBackup.ini", "to", kOther);
    journal("merge\t1\t@/d/VC_Backup/VcBackup.ini\t9 1500000000 644\t[a]\\n\\xffb\\t \\x20\n");
    EXPECT_EQ(settle(), SettleResult::kSettled);
    EXPECT_EQ(tree.read("d/VC_Backup/VcBackup.ini"),
              "[a]\n\xff"
              "b\t  ");
    EXPECT_EQ(tree.time("d/VC_Backup/VcBackup.ini"), kOld);

    // Deleted by the repair of a torn one.
    ASSERT_EQ(unlink(tree.path("d/VC_Backup/VcBackup.ini").c_str()), 0);
    journal("merge\t1\t@/d/VC_Backup/VcBackup.ini\t2 1500000000 644\tab\n");
    EXPECT_EQ(settle(), SettleResult::kSettled);
    EXPECT_EQ(tree.read("d/VC_Backup/VcBackup.ini"), "ab");

    // There was none.
    journal("merge\t1\t@/d/VC_Backup/VcBackup.ini\tmissing\t\n");
    EXPECT_EQ(settle(), SettleResult::kSettled);
    EXPECT_FALSE(tree.exists("d/VC_Backup/VcBackup.ini"));
}

TEST_F(KvSettle, ACommittedRunIsFinished) {
    file("d/VC_Backup/3/backup.001", "superseded", kOld);
    overwritten("drop\t2\t@/d/VC_Backup/3/backup.001\ndrop\t3\t@/d/VC_Backup/3/none\ndone\t4\n");
    file("d/VC_Backup/3/backup.002", "another's", kOld);
    EXPECT_EQ(settle(), SettleResult::kSettled);
    EXPECT_EQ(tree.read("d/a"), "new");
    EXPECT_TRUE(hasCopy());
    EXPECT_FALSE(tree.exists("d/VC_Backup/3/backup.001"));
    EXPECT_TRUE(tree.exists("d/VC_Backup/3/backup.002"));
    EXPECT_FALSE(hasJournal());
    EXPECT_THAT(listener.told, ElementsAre("finish d/VC_Backup/VcJournal.1"));
}

TEST_F(KvSettle, ACopyThatCannotBeDeletedIsToldAndStopsNobody) {
    tree.makeDir("d/VC_Backup/3/backup.001");
    journal("drop\t1\t@/d/VC_Backup/3/backup.001\ndone\t2\n");
    EXPECT_EQ(settle(), SettleResult::kSettled);
    EXPECT_THAT(listener.told, ElementsAre("finish d/VC_Backup/VcJournal.1",
                                           HasSubstr("stays d/VC_Backup/3/backup.001: ")));
    EXPECT_FALSE(hasJournal());
}

TEST_F(KvSettle, WhatWasLeftAloneKeepsItsCopyWhenTheSettlingIsTakenUpAgain) {
    file("d/VC_Backup/3/backup.001", "x", kOld);
    overwritten(
        "new\t2\t@/d/n\t@/d/VC_Backup/3/backup.001\tmissing\t1 1500000000 644\n"
        "keep\t3\t1\nundone\t4\n");
    file("d/VC_Backup/3/backup.001", "", kOther);
    EXPECT_EQ(settle(), SettleResult::kSettled);
    EXPECT_EQ(tree.read("d/a"), "new");
    EXPECT_TRUE(hasCopy());
    EXPECT_FALSE(tree.exists("d/VC_Backup/3/backup.001"));
    EXPECT_FALSE(hasJournal());
}

TEST_F(KvSettle, AfterARunThatEndedByItselfOnlyWhatItCouldNotPutBackGoesBack) {
    file("d/b", "changed meanwhile", kOther);
    overwritten(
        "over\t2\t@/d/b\t@/d/VC_Backup/3/backup.001\t5 1500000000 644\t3 1600000000 644\n"
        "gave\t3\t2\t3 1700000000 644\nback\t4\t2\nback\t5\t1\n"
        "gave\t6\t1\t2 1700000000 644\nended\t7\n");
    file("d/a", "to", kOther);
    EXPECT_EQ(settle(), SettleResult::kSettled);
    EXPECT_EQ(tree.read("d/a"), "older");
    EXPECT_EQ(tree.read("d/b"), "changed meanwhile");
    EXPECT_FALSE(hasCopy());
    EXPECT_THAT(listener.told, ElementsAre("undo d/VC_Backup/VcJournal.1", "put back d/a"));
}

TEST_F(KvSettle, WhatCannotBePutBackStopsTheSettling) {
    overwritten("new\t2\t@/d/n\t\tmissing\t1 1600000000 644\nnew\t3\t@/none\t\tmissing\t0 0 644\n");
    file("d/n", "n", kNew);
    // A program that runs cannot be written to.
    ASSERT_EQ(unlink(tree.path("d/a").c_str()), 0);
    ASSERT_EQ(runChild({"/bin/cp", {"/bin/sleep", tree.path("d/a")}}).exitCode, 0);
    struct stat status {};
    ASSERT_EQ(stat(tree.path("d/a").c_str(), &status), 0);
    tree.setTime("d/a", kNew);
    const std::string before = tree.read("d/VC_Backup/VcJournal.1");
    const std::string state = "\t3 1600000000 644\n";
    std::string lines = before;
    lines.replace(lines.find(state), state.size(),
                  "\t" + std::to_string(status.st_size) + " 1600000000 644\n");
    tree.write("d/VC_Backup/VcJournal.1", lines);
    {
        const ChildProcess running({tree.path("d/a"), {"60"}});
        EXPECT_EQ(settle(), SettleResult::kFailed);
        EXPECT_EQ(settle(), SettleResult::kFailed);
        EXPECT_TRUE(hasJournal());
        EXPECT_TRUE(hasCopy());
        EXPECT_THAT(listener.told.back(), HasSubstr("failed d/a: "));
    }
    EXPECT_EQ(settle(), SettleResult::kSettled);
    EXPECT_EQ(tree.read("d/a"), "older");
    EXPECT_FALSE(hasJournal());
    EXPECT_FALSE(hasCopy());
}

TEST_F(KvSettle, DirectoriesOfTheRunGoWhenTheyAreEmpty) {
    tree.makeDir("d/x/y");
    tree.makeDir("d/full");
    tree.write("d/full/f", "");
    journal("dir\t1\t@/d/x/y\ndir\t2\t@/d/x\ndir\t3\t@/d/full\ndir\t4\t@/d/VC_Backup/3\n");
    EXPECT_EQ(settle(), SettleResult::kSettled);
    EXPECT_EQ(tree.snapshot("d"), (std::map<std::string, std::string>{
                                      {"VC_Backup/", ""}, {"full/", ""}, {"full/f", ""}}));
}

TEST_F(KvSettle, ATornLastLineCountsAsNotWritten) {
    overwritten("new\t2\t@/d/a b\t\tmis");
    EXPECT_EQ(settle(), SettleResult::kSettled);
    EXPECT_EQ(tree.read("d/a"), "older");
    EXPECT_FALSE(hasJournal());
}

}  // namespace
