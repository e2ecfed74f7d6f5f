// Each verdict is passed on a made-up run that breaks just that rule, and on no other.
#include "tests/faults/Verdict.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

SavedFile file(const std::string& content) {
    return {false, content, {}};
}

// An update of one file of "site/app" that adds another, as it is judged after one call failed.
class VerdictOfUpdate : public testing::Test {
  protected:
    VerdictOfUpdate() {
        scenario.name = "update";
        scenario.before = {{"site/app/a.dat", "old"}, {"site/app/keep.dat", "keep"}};
        scenario.after = {
            {"site/app/a.dat", "new"}, {"site/app/b.dat", "added"}, {"site/app/keep.dat", "keep"}};
        scenario.older = scenario.before;
        before = {{"canary", file("canary")},
                  {"site/app/a.dat", file("old")},
                  {"site/app/keep.dat", file("keep")},
                  {"work/a.dat", file("canary")}};
        now = before;
        run.child.exitCode = 0;
        run.status = 58;
        run.log = "Err ... Cause: /site/app/a.dat: no space left";
    }

    // As a success leaves it.
    void succeed() {
        run.status = 0;
        run.log.clear();
        now["site/app/a.dat"] = file("new");
        now["site/app/b.dat"] = file("added");
        now["site/app/VC_Backup/3/5/backup.000"] = file("old");
        now["site/app/VC_Backup/VcBackup.ini"] = file(
            "[common]\nitemcount=1\npatchagent.version=1\n[item_0]\nclass=3\ntype=5\n"
            "origin.version=100\nresult.version=101\nwritten.filecount=1\n"
            "written.0=backup.000, /tmp/x/site/app/a.dat\n");
    }

    [[nodiscard]] std::vector<std::string> verdicts() const {
        std::vector<std::string> names;
        for (const Breach& breach : judgeRun(scenario, fault, run, before, now).breaches) {
            names.push_back(breach.verdict);
        }
        return names;
    }

    [[nodiscard]] std::string outcome() const {
        return nameOf(judgeRun(scenario, fault, run, before, now).outcome);
    }

    FaultScenario scenario;
    Fault fault = {"open", 1, "EACCES"};
    FaultRun run;
    TreeFiles before;
    TreeFiles now;
};

TEST_F(VerdictOfUpdate, AFailureThatIsUndoneIsRight) {
    EXPECT_THAT(verdicts(), IsEmpty());
    EXPECT_EQ(outcome(), "undone");
}

TEST_F(VerdictOfUpdate, ASuccessIsRight) {
    succeed();
    EXPECT_THAT(verdicts(), IsEmpty());
    EXPECT_EQ(outcome(), "done");
}

TEST_F(VerdictOfUpdate, ACrash) {
    run.child.exitCode = -1;
    run.child.signal = SIGSEGV;
    EXPECT_THAT(verdicts(), ElementsAre("crash"));
}

TEST_F(VerdictOfUpdate, AKillThatWasAskedForIsNoCrash) {
    fault = {"change", 1, "kill"};
    run.child.signal = SIGKILL;
    run.status.reset();
    run.log.clear();
    EXPECT_THAT(verdicts(), IsEmpty());
    EXPECT_EQ(outcome(), "killed");
}

TEST_F(VerdictOfUpdate, AHang) {
    run.child.timedOut = true;
    run.child.signal = SIGKILL;
    EXPECT_THAT(verdicts(), ElementsAre("hang"));
}

TEST_F(VerdictOfUpdate, AFileInTheWorkingDirectoryThatIsChanged) {
    now["work/a.dat"] = file("new");
    EXPECT_THAT(verdicts(), ElementsAre("outside"));
}

TEST_F(VerdictOfUpdate, ACanaryThatIsGone) {
    now.erase("canary");
    EXPECT_THAT(verdicts(), ElementsAre("outside"));
}

TEST_F(VerdictOfUpdate, AFileOfAnotherNameInTheDestination) {
    succeed();
    now["site/app/c.dat"] = file("new");
    EXPECT_THAT(verdicts(), ElementsAre("outside", "in place"));
}

TEST_F(VerdictOfUpdate, AStatusThatDoesNotExist) {
    run.status = 7;
    EXPECT_THAT(verdicts(), ElementsAre("status"));
}

TEST_F(VerdictOfUpdate, AShortReadThatIsTakenForAFailure) {
    fault = {"read", 1, "short"};
    EXPECT_THAT(verdicts(), ElementsAre("status"));
}

TEST_F(VerdictOfUpdate, ASuccessThatLeftAFileOut) {
    succeed();
    now.erase("site/app/b.dat");
    EXPECT_THAT(verdicts(), ElementsAre("in place"));
}

TEST_F(VerdictOfUpdate, ASuccessWithACopyThatIsNotWhole) {
    succeed();
    now["site/app/VC_Backup/3/5/backup.000"] = file("ol");
    EXPECT_THAT(verdicts(), ElementsAre("go back"));
}

TEST_F(VerdictOfUpdate, ASuccessWithACopyThatNobodyNames) {
    succeed();
    now.erase("site/app/VC_Backup/VcBackup.ini");
    EXPECT_THAT(verdicts(), ElementsAre("untold"));
    run.log = "Err ... Cause: /site/app/VC_Backup/VcBackup.ini: no space left";
    EXPECT_THAT(verdicts(), IsEmpty());
}

TEST_F(VerdictOfUpdate, ASuccessWithARecordThatLacksALine) {
    succeed();
    std::string& record = now["site/app/VC_Backup/VcBackup.ini"].content;
    record.erase(record.find("class=3\n"), 8);
    EXPECT_THAT(verdicts(), ElementsAre("untold"));
}

TEST_F(VerdictOfUpdate, AFileThatIsLost) {
    fault = {"open", 1, "EACCES+"};
    now["site/app/a.dat"] = file("ne");
    EXPECT_THAT(verdicts(), ElementsAre("kept"));
    now["site/app/VC_Backup/3/5/backup.000"] = file("old");
    EXPECT_THAT(verdicts(), IsEmpty());
    EXPECT_EQ(outcome(), "kept");
}

TEST_F(VerdictOfUpdate, AFormerCopyThatIsLostInAFailure) {
    succeed();
    before["site/app/VC_Backup/3/5/backup.000"] = file("older");
    before["site/app/VC_Backup/VcBackup.ini"] = now["site/app/VC_Backup/VcBackup.ini"];
    now = before;
    run.status = 58;
    run.log = " Cause: ";
    EXPECT_THAT(verdicts(), IsEmpty());
    now["site/app/VC_Backup/3/5/backup.000"] = file("");
    EXPECT_THAT(verdicts(), ElementsAre("kept"));
}

TEST_F(VerdictOfUpdate, AFailureOfOneCallThatIsNotUndone) {
    now["site/app/b.dat"] = file("added");
    EXPECT_THAT(verdicts(), ElementsAre("undone"));
}

TEST_F(VerdictOfUpdate, AFailureWithoutACause) {
    run.log = "Err ... updateWithPatchAgent: xcopy failed, disk access.";
    EXPECT_THAT(verdicts(), ElementsAre("untold"));
}

}  // namespace
