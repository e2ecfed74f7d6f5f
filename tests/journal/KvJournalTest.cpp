// The run's side of the journal: what is written when, and that no trace stays of a run that ended.
#include "journal/KvJournal.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <optional>

#include "base/KvFailure.h"
#include "fileop/KvPath.h"
#include "tests/support/ForkedProcess.h"
#include "tests/support/TempTree.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class KvJournalTest : public testing::Test {
  protected:
    KvJournalTest() {
        tree.write("d/a", "old");
        tree.setTime("d/a", 1500000000);
        journal.emplace();
    }

    bool change(const std::string& name, const std::string& saved = "") {
        const std::string target = tree.path(name);
        const std::string copy = tree.path(saved);
        struct stat status {};
        FileState before;
        if (stat(target.c_str(), &status) == 0) {
            before = stateOf(status);
        }
        FileState after;
        after.isThere = true;
        after.size = 7;
        after.seconds = 1600000000;
        after.mode = 0644;
        return journal->willChange(
            {target.c_str(), saved.empty() ? nullptr : copy.c_str(), before, after});
    }

    void enter(const std::string& name) { journal->enter(tree.path(name).c_str()); }

    // The kinds of a journal's lines.
    [[nodiscard]] std::vector<std::string> kinds(const std::string& destination = "d",
                                                 int number = 1) const {
        std::vector<std::string> found;
        const std::string bytes = lines(destination, number);
        for (size_t at = 0; at < bytes.size(); at = bytes.find('\n', at) + 1) {
            found.push_back(bytes.substr(at, bytes.find('\t', at) - at));
        }
        return found;
    }

    [[nodiscard]] std::string lines(const std::string& destination = "d", int number = 1) const {
        return tree.read(destination + "/VC_Backup/VcJournal." + std::to_string(number));
    }

    [[nodiscard]] std::string line(const std::string& kind) const {
        const std::string bytes = "\n" + lines();
        const size_t at = bytes.find("\n" + kind + "\t") + 1;
        return bytes.substr(at, bytes.find('\n', at) - at);
    }

    TempTree tree;
    std::optional<KvJournal> journal;
};

TEST_F(KvJournalTest, NothingIsMadeBeforeTheFirstChange) {
    const auto before = tree.snapshot();
    enter("d");
    EXPECT_EQ(tree.snapshot(), before);
    EXPECT_THAT(journal->commit(), IsEmpty());
    EXPECT_EQ(tree.snapshot(), before);
}

TEST_F(KvJournalTest, AChangeIsWrittenBeforeItIsMade) {
    enter("d");
    EXPECT_TRUE(change("d/a", "d/VC_Backup/3/2/backup.000"));
    EXPECT_THAT(kinds(), ElementsAre("begin", "own", "over"));
    EXPECT_EQ(line("over"), "over\t2\t" + tree.path("d/a") + "\t" +
                                tree.path("d/VC_Backup/3/2/backup.000") +
                                "\t3 1500000000 644\t7 1600000000 644");
    EXPECT_EQ(line("own"), "own\t1\t" + tree.path("d/VC_Backup"));
    EXPECT_TRUE(change("d/n"));
    EXPECT_THAT(line("new"), HasSubstr("\t\tmissing\t7 "));
    EXPECT_TRUE(journal->savedNameWasTaken());
    EXPECT_EQ(line("void"), "void\t4\t3");
}

TEST_F(KvJournalTest, NoTraceStaysOfARunThatEnds) {
    const auto before = tree.snapshot();
    enter("d");
    EXPECT_TRUE(change("d/a"));
    journal->endUndone();
    EXPECT_EQ(tree.snapshot(), before);

    journal.emplace();
    enter("not/yet/there");
    EXPECT_TRUE(change("not/yet/there/x"));
    EXPECT_TRUE(tree.exists("not/yet/there/VC_Backup/VcJournal.1"));
    EXPECT_THAT(journal->commit(), IsEmpty());
    EXPECT_EQ(tree.snapshot(), before);
}

TEST_F(KvJournalTest, AStoreThatTheRunHasFilledStaysWithoutItsMark) {
    enter("d");
    EXPECT_TRUE(change("d/a"));
    EXPECT_TRUE(isMarkedStore(tree.path("d/VC_Backup")));
    tree.write("d/VC_Backup/VcBackup.ini", "");
    EXPECT_THAT(journal->commit(), IsEmpty());
    EXPECT_FALSE(isMarkedStore(tree.path("d/VC_Backup")));
    EXPECT_EQ(tree.snapshot("d/VC_Backup").size(), 1U);
}

TEST_F(KvJournalTest, ARunThatEndsWithoutAWordLeavesItsJournal) {
    enter("d");
    EXPECT_TRUE(change("d/a"));
    journal.reset();
    EXPECT_THAT(kinds(), ElementsAre("begin", "own", "over"));
}

TEST_F(KvJournalTest, OneStoreHasOneJournalHoweverItIsSpelled) {
    ASSERT_EQ(symlink("d", tree.path("link").c_str()), 0);
    for (const char* name : {"d", "d/", "d//", "link", "d/../d", "d"}) {
        enter(name);
        EXPECT_TRUE(change("d/a"));
    }
    EXPECT_EQ(kinds().size(), 8U);
    EXPECT_FALSE(tree.exists("d/VC_Backup/VcJournal.2"));
}

TEST_F(KvJournalTest, ALaterStoreIsAnnouncedInTheMaster) {
    tree.makeDir("e");
    enter("d");
    EXPECT_TRUE(change("d/a"));
    enter("e");
    EXPECT_TRUE(change("e/n"));
    enter("d");
    EXPECT_TRUE(change("d/n"));
    EXPECT_THAT(kinds("d"), ElementsAre("begin", "own", "over", "join", "own", "new"));
    EXPECT_THAT(kinds("e"), ElementsAre("begin", "new"));
    EXPECT_THAT(lines("e"), HasSubstr(tree.path("d/VC_Backup/VcJournal.1")));
    EXPECT_EQ(line("new"), "new\t7\t" + tree.path("d/n") + "\t\tmissing\t7 1600000000 644");
}

TEST_F(KvJournalTest, TwoRunsOnOneDestinationKeepOneEach) {
    KvJournal other;
    other.enter(tree.path("d").c_str());
    enter("d");
    EXPECT_TRUE(change("d/a"));
    const std::string target = tree.path("d/b");
    EXPECT_TRUE(other.willChange({target.c_str(), nullptr, {}, {}}));
    EXPECT_TRUE(tree.exists("d/VC_Backup/VcJournal.2"));
    journal->endUndone();
    EXPECT_TRUE(tree.exists("d/VC_Backup/VcJournal.2"));
    other.endUndone();
    EXPECT_FALSE(tree.exists("d/VC_Backup"));
}

TEST_F(KvJournalTest, DirectoriesThatTheRunMakesAreWritten) {
    enter("d");
    journal->willMakeDir(tree.path("d/sub").c_str());
    EXPECT_EQ(line("dir"), "dir\t2\t" + tree.path("d/sub"));
    journal->endUndone();

    // Not before the destination is there: it is not made for the journal's sake alone.
    journal.emplace();
    enter("f");
    journal->willMakeDir(tree.path("f").c_str());
    EXPECT_FALSE(tree.exists("f"));
    tree.makeDir("f");
    EXPECT_TRUE(change("f/n"));
    EXPECT_THAT(kinds("f"), ElementsAre("begin", "own", "dir", "new"));
}

TEST_F(KvJournalTest, WhereNoneCanBeMadeTheRunGoesOnWithoutOne) {
    tree.write("f/VC_Backup", "a file");
    tree.write("f/a", "");
    const auto before = tree.snapshot();
    enter("f");
    EXPECT_TRUE(change("f/a"));
    EXPECT_TRUE(journal->savedNameWasTaken());
    EXPECT_TRUE(journal->willMerge(tree.path("f/r").c_str()));
    journal->willPutBack(tree.path("f/a").c_str());
    journal->changedOtherwise(tree.path("f/a").c_str());
    journal->willMakeDir(tree.path("f/sub").c_str());
    journal->endUndone();
    EXPECT_FALSE(isFailureNoted());
    EXPECT_EQ(tree.snapshot(), before);
}

TEST_F(KvJournalTest, ALineThatCannotBeWrittenForbidsTheChange) {
    ForkedProcess child([&](const Talk&) {
        enter("d");
        if (!change("d/a")) {
            return 1;
        }
        (void)signal(SIGXFSZ, SIG_IGN);
        const rlimit full{lines().size() + 10, RLIM_INFINITY};
        if (setrlimit(RLIMIT_FSIZE, &full) != 0 || change("d/b")) {
            return 2;
        }
        KvFailure failure;
        if (!takeFailure(failure) || failure.error != EFBIG) {
            return 3;
        }
        // What is only told for the next run stops nobody.
        journal->willPutBack(tree.path("d/a").c_str());
        return isFailureNoted() ? 4 : 0;
    });
    EXPECT_EQ(child.finish(), 0);
    // The torn line is no line.
    JournalText text;
    EXPECT_EQ(parseJournal(lines(), text), JournalVerdict::kGood);
    EXPECT_EQ(text.records.back().path, tree.path("d/a"));
}

TEST_F(KvJournalTest, APathThatDoesNotFitForbidsTheChange) {
    enter("d");
    EXPECT_FALSE(change(std::string(kLongPathCapacity, 'x')));
    EXPECT_FALSE(change("d/a", "d/outside/backup.000"));
    EXPECT_FALSE(journal->willChange({"", nullptr, {}, {}}));
    EXPECT_FALSE(journal->willChange({nullptr, nullptr, {}, {}}));
    clearFailure();
    EXPECT_THAT(kinds(), ElementsAre("begin", "own"));
}

TEST_F(KvJournalTest, TheFormerRecordIsWrittenOnce) {
    tree.write("d/VC_Backup/VcBackup.ini", "[common]\n");
    tree.setTime("d/VC_Backup/VcBackup.ini", 1500000001);
    const std::string record = tree.path("d/VC_Backup/VcBackup.ini");
    enter("d");
    EXPECT_TRUE(journal->willMerge(record.c_str()));
    tree.write("d/VC_Backup/VcBackup.ini", "rewritten");
    EXPECT_TRUE(journal->willMerge(record.c_str()));
    EXPECT_THAT(kinds(), ElementsAre("begin", "merge"));
    EXPECT_EQ(line("merge"), "merge\t1\t" + record + "\t9 1500000001 644\t[common]\\n");
}

TEST_F(KvJournalTest, ARecordThatCannotBeReadIsNotMerged) {
    const std::string record = tree.makeDir("d/VC_Backup/VcBackup.ini");
    enter("d");
    EXPECT_FALSE(journal->willMerge(record.c_str()));
    KvFailure failure;
    EXPECT_TRUE(takeFailure(failure));
    EXPECT_EQ(failure.error, EISDIR);
}

TEST_F(KvJournalTest, TheCommitDeletesWhatIsSupersededAndTellsWhatStays) {
    tree.write("d/VC_Backup/3/2/backup.000", "");
    tree.write("d/VC_Backup/3/2/backup.001", "");
    tree.makeDir("d/VC_Backup/3/2/backup.002");
    tree.write("d/outside", "");
    enter("d");
    EXPECT_TRUE(change("d/a"));
    for (const char* name : {"d/VC_Backup/3/2/backup.000", "d/VC_Backup/3/2/none",
                             "d/VC_Backup/3/2/backup.002", "d/outside"}) {
        journal->willDrop(tree.path(name).c_str());
    }
    journal->willDrop(nullptr);
    const auto failures = journal->commit();
    ASSERT_EQ(failures.size(), 1U);
    EXPECT_EQ(failures[0].path, tree.path("d/VC_Backup/3/2/backup.002"));
    EXPECT_FALSE(tree.exists("d/VC_Backup/3/2/backup.000"));
    EXPECT_TRUE(tree.exists("d/VC_Backup/3/2/backup.001"));
    EXPECT_TRUE(tree.exists("d/outside"));
    EXPECT_FALSE(tree.exists("d/VC_Backup/VcJournal.1"));
}

TEST_F(KvJournalTest, WithoutAJournalTheCommitDeletesAllTheSame) {
    tree.write("d/VC_Backup/backup.000", "");
    journal->willDrop(tree.path("d/VC_Backup/backup.000").c_str());
    EXPECT_THAT(journal->commit(), IsEmpty());
    EXPECT_FALSE(tree.exists("d/VC_Backup/backup.000"));
}

TEST_F(KvJournalTest, AFileThatCouldNotBePutBackLeavesTheJournal) {
    enter("d");
    EXPECT_TRUE(change("d/a", "d/VC_Backup/backup.000"));
    journal->willPutBack(tree.path("d/a").c_str());
    journal->couldNotPutBack(tree.path("d/a").c_str());
    journal->endUndone();
    journal.reset();
    EXPECT_THAT(kinds(), ElementsAre("begin", "own", "over", "back", "gave", "ended"));
    EXPECT_EQ(line("back"), "back\t3\t2");
    EXPECT_EQ(line("gave"), "gave\t4\t2\t3 1500000000 644");
}

TEST_F(KvJournalTest, RelativePathsCountFromTheWorkingDirectory) {
    ForkedProcess child([&](const Talk&) {
        if (chdir(tree.path("d").c_str()) != 0) {
            return 1;
        }
        journal->enter("");
        return journal->willChange({"a", "VC_Backup/3/backup.000", {}, {}}) ? 0 : 2;
    });
    EXPECT_EQ(child.finish(), 0);
    EXPECT_THAT(line("new"), HasSubstr(tree.path("d/a") + "\t" + tree.path("d/VC_Backup/3")));
}

}  // namespace
