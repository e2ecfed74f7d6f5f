// How the rollback of one item fails: records that cannot be used, files that cannot be saved.
#include <gmock/gmock.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <functional>

#include "tests/support/LogCapture.h"
#include "tests/support/MemoryLimit.h"
#include "tests/updater/OnMessage.h"
#include "tests/updater/RefusedDocuments.h"
#include "tests/updater/RollbackItemTest.h"
#include "tests/updater/Story.h"

namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::ExitedWithCode;
using testing::IsEmpty;

const std::string kFound = "rollbackItem: item found.";
const std::string kFailed = "Err 6 rollbackItem: rollback added file failed.";
const std::string kRecord = "app/VC_Backup/VcBackup.ini";

class KvRollbackItemFailure : public RollbackItemTest {};

// --- Records that cannot be used

TEST_F(KvRollbackItemFailure, NeedsARecord) {
    Story story(agent());

    EXPECT_EQ(run(), -2);

    EXPECT_THAT(story.lines(),
                ElementsAre("Err 6 rollbackItem: " + tree.path(kRecord) + " doesnot exist."));
    EXPECT_FALSE(app.has("VC_Backup"));
}

TEST_F(KvRollbackItemFailure, NeedsARecordThatIsAFile) {
    tree.makeDir(kRecord);
    Story story(agent());

    EXPECT_EQ(run(), -2);

    EXPECT_THAT(
        story.lines(),
        ElementsAre("Err 6 Cause: " + app.path("VC_Backup/VcBackup.ini") + ": Is a directory",
                    "Err 6 phaseIniForBackup: there is no item count available,ignore it.",
                    "Inf 6 phaseIniForBackup: error quit.",
                    "Err 6 rollbackItem: phaseIniForBackup failed."));
}

TEST_F(KvRollbackItemFailure, NeedsMemoryForTheRecord) {
    app.item(3, 5).added("x.dat").written("a.dat");
    const auto before = tree.snapshot();
    Story story(agent());
    const RefusedDocuments none;

    EXPECT_EQ(run(), -2);

    EXPECT_THAT(story.lines(), ElementsAre("Err 6 Cause: " + app.path("VC_Backup/VcBackup.ini") +
                                               ": Cannot allocate memory",
                                           "Err 6 rollbackItem: create KvIniUtil object failed."));
    EXPECT_EQ(tree.snapshot(), before);
}

TEST_F(KvRollbackItemFailure, DoesNotRepairADamagedRecord) {
    const std::string damaged =
        "[common]\nitemcount=2\npatchagent.version=1\n[item_0]\nclass=3\ntype=5\n"
        "origin.version=100\nresult.version=101\n[item_1]\ntype=5\n";
    tree.write(kRecord, damaged);
    Story story(agent());

    EXPECT_EQ(run(), -2);

    EXPECT_EQ(tree.read(kRecord), damaged);
    const std::vector<std::string>& lines = story.lines();
    ASSERT_GE(lines.size(), 3U);
    EXPECT_THAT((std::vector<std::string>(lines.end() - 3, lines.end())),
                ElementsAre("Err 6 phaseIniForBackup: fetch section item_1 class failed.",
                            "Inf 6 phaseIniForBackup: error quit.",
                            "Err 6 rollbackItem: phaseIniForBackup failed."));
}

TEST_F(KvRollbackItemFailure, ChangesNothingWhenTheRecordDoesNotKnowTheItem) {
    app.item(3, 6).added("x.dat").item(2, 5).written("a.dat");
    const auto before = tree.snapshot();
    Story story(agent());

    EXPECT_EQ(run(), -3);

    EXPECT_EQ(tree.snapshot(), before);
    EXPECT_THAT(story.linesAfter("find out the item with same class/type."),
                ElementsAre("Inf 6 rollbackItem: item not found."));
}

TEST_F(KvRollbackItemFailure, DoesNotFindItsItemInAnEmptyRecord) {
    tree.write(kRecord, "[common]\nitemcount=0\npatchagent.version=1\n");
    Story story(agent());

    EXPECT_EQ(run(), -3);

    EXPECT_THAT(story.lines(),
                ElementsAre("Inf 6 Dump backup ini common section:Item Count: 0\n"
                            "PatchAgent Ver: 1 (New)\nPatchAgent File: Null",
                            "Inf 6 phaseIniForBackup: done, item number is zero.",
                            "Inf 6 rollbackItem: find out the item with same class/type.",
                            "Inf 6 rollbackItem: item not found."));
}

// "VC_Backup" with its separator and its end takes eleven of 4096 bytes.
TEST_F(KvRollbackItemFailure, NeedsADestinationThatLeavesRoomForTheStore) {
    Story story(agent());

    EXPECT_EQ(runAt(std::string(4086, 'd').c_str()), -1);
    EXPECT_THAT(story.lines(), ElementsAre("Err 6 rollbackItem: CatURIWithFile failed."));
    EXPECT_EQ(runAt(std::string(4085, 'd').c_str()), -2);
    EXPECT_THAT(story.lines().back(), EndsWith(" doesnot exist."));
}

TEST_F(KvRollbackItemFailure, WithoutAnArgumentIsABadCall) {
    const char* const destination = app.path().c_str();
    BackupNames names;
    ItemContext withoutAgent{&own(), nullptr, destination, 0, 3, 5, &names};
    ItemContext withoutRecord{nullptr, agent().table(), destination, 0, 3, 5, &names};
    ItemContext withoutNames{&own(), agent().table(), destination, 0, 3, 5, nullptr};

    EXPECT_EQ(rollbackItem(nullptr), -1);
    EXPECT_EQ(rollbackItem(&withoutAgent), -1);
    EXPECT_EQ(rollbackItem(&withoutRecord), -1);
    EXPECT_EQ(rollbackItem(&withoutNames), -1);
}

TEST_F(KvRollbackItemFailure, TakesNoDestinationAsTheWorkingDirectory) {
    Story story(agent());
    EXPECT_EQ(runAt(nullptr), -2);
    EXPECT_THAT(story.lines(),
                ElementsAre("Err 6 rollbackItem: VC_Backup/VcBackup.ini doesnot exist."));
}

// --- Files that cannot be saved

TEST_F(KvRollbackItemFailure, StopsAtAnAddedFileWhenTheStoreCannotBeMade) {
    app.item(3, 5).added("x.dat").added("y.dat").entry("backup.000, " + app.path("a.dat"));
    tree.write("app/VC_Backup/3", "in the way");
    Story story(agent());

    EXPECT_EQ(run(), -5);

    EXPECT_THAT(story.linesAfter(kFound),
                ElementsAre("Err 6 Cause: " + tree.path("app/VC_Backup/3") + ": File exists",
                            "Err 6 rollbackItem: crtUniFile failed.", kFailed));
    EXPECT_THAT(app.files(), ElementsAre("x.dat=added x.dat", "y.dat=added y.dat"));
    EXPECT_THAT(recorded(), IsEmpty());
}

TEST_F(KvRollbackItemFailure, StopsAtAWrittenFileWhenTheStoreCannotBeMade) {
    app.item(3, 5).entry("backup.000, " + app.path("a.dat")).entry("backup.001, /b.dat");
    tree.write("app/a.dat", "new a.dat");
    tree.write("app/VC_Backup/3", "in the way");
    Story story(agent());

    EXPECT_EQ(run(), -5);

    EXPECT_THAT(story.linesAfter(kFound),
                ElementsAre("Inf 6 rollbackItem: rollback added file done.",
                            "Err 6 Cause: " + tree.path("app/VC_Backup/3") + ": File exists",
                            "Err 6 rollbackItem: crtUniFile failed.", kFailed));
    EXPECT_THAT(app.files(), ElementsAre("a.dat=new a.dat"));
    EXPECT_THAT(recorded(), IsEmpty());
}

// The store goes while the first file is asked about.
TEST_F(KvRollbackItemFailure, LeavesWhatWasDoneBeforeDoneAndRecorded) {
    app.item(3, 5).added("x.dat").added("y.dat");
    agent().heard = [&](const std::string&) {
        std::filesystem::remove_all(app.path("VC_Backup/3"));
        tree.write("app/VC_Backup/3", "in the way");
    };

    EXPECT_EQ(run(), -5);

    EXPECT_THAT(app.files(), ElementsAre("y.dat=added y.dat"));
    EXPECT_THAT(recorded(), ElementsAre("backup.000, " + app.path("x.dat")));
}

// A store of more than 3100 bytes and a name of 1000 do not go into one path.
TEST_F(KvRollbackItemFailure, StopsAtASavedCopyWhosePathDoesNotFit) {
    std::string deep = "app";
    while (deep.size() < 3100) {
        deep += "/" + std::string(200, 'd');
    }
    UpdatedApp below(tree, deep);
    below.item(3, 5).entry(std::string(1000, 'b') + ", /a.dat").entry("backup.000, /b.dat");
    Story story(agent());

    EXPECT_EQ(runAt(below.path().c_str()), -5);

    EXPECT_THAT(story.linesAfter(kFound),
                ElementsAre("Inf 6 rollbackItem: rollback added file done.",
                            "Err 6 rollbackItem: CatURIWithFile failed.", kFailed));
}

// --- Without memory

TEST_F(KvRollbackItemFailure, StopsWhenTheRestartListTakesNoMore) {
    app.item(3, 5).added("x.dat");
    answer("x.dat", CHECKFILE_REBOOT);
    Story story(agent());

    g_rebootCopyList.capacity = g_rebootCopyList.count = INT32_MAX;
    EXPECT_EQ(run(), -5);
    g_rebootCopyList.capacity = g_rebootCopyList.count = 0;

    EXPECT_THAT(story.linesAfter("call CheckFileEx(" + app.path("x.dat") + ")"),
                ElementsAre("Err 6 Cause: " + app.path("x.dat") + ": Cannot allocate memory",
                            "Err 6 rollbackItem: malloc failed.", kFailed));
    EXPECT_THAT(app.files(), ElementsAre("x.dat=added x.dat"));
    EXPECT_THAT(recorded(), IsEmpty());
}

// Rolls back in a process that gets no memory from the first question on, and ends that process:
// with 0 when it stopped for this reason and the file is still there.
[[noreturn]] void stopsForLackOfMemory(const std::function<int()>& run, FakeAgent& agent,
                                       const std::function<bool()>& isLeft) {
    LogCapture log;
    agent.table()->CheckFileEx = [](const char*) {
        limitMemory(4 * kMegabyte);
        return 1;
    };
    const int result = run();
    const std::vector<std::string> lines = log.lines();
    const bool isTold = lines.size() >= 2 && lines.rbegin()[0] == kFailed &&
                        lines.rbegin()[1] == "Err 6 rollbackItem: malloc failed.";
    _exit(result == -5 && isTold && isLeft() ? 0 : 1);
}

TEST_F(KvRollbackItemFailure, StopsWhenTheEntryOfACopyGetsNoMemory) {
    if (!kCanLimitMemory) {
        GTEST_SKIP() << "this platform does not limit the memory of a process";
    }
    app.item(3, 5).entry("backup.000, " + std::string(kMoreThanTheHeapKeeps, 'x'));
    tree.write("app/VC_Backup/3/5/backup.000", "old");
    const auto isLeft = [&]() { return app.has("VC_Backup/3/5/backup.000"); };

    EXPECT_EXIT(stopsForLackOfMemory([&]() { return run(); }, agent(), isLeft), ExitedWithCode(0),
                "");
}

// The target would be taken for an empty one, and its copy deleted at the end.
TEST_F(KvRollbackItemFailure, StopsWhenThePiecesOfAnEntryGetNoMemory) {
    if (!kCanLimitMemory) {
        GTEST_SKIP() << "this platform does not limit the memory of a process";
    }
    app.item(3, 5).entry("backup.000, " + std::string(kMoreThanTheHeapKeeps, 'x'));
    const auto body = [&]() {
        const OnMessage cut("rollbackItem: rollback added file done.",
                            []() { limitMemory(4 * kMegabyte); });
        Story story(agent());
        const int result = run();
        const std::vector<std::string> told = {
            "Err 6 Cause: " + inStore("") + ": Cannot allocate memory",
            "Err 6 rollbackItem: malloc failed.", kFailed};
        _exit(result == -5 && story.linesAfter("added file done.") == told ? 0 : 1);
    };

    EXPECT_EXIT(body(), ExitedWithCode(0), "");
}

// The list is full and far too long to be doubled.
TEST_F(KvRollbackItemFailure, StopsWhenTheListOfCopiesGetsNoMemory) {
    if (!kCanLimitMemory) {
        GTEST_SKIP() << "this platform does not limit the memory of a process";
    }
    app.item(3, 5).added("x.dat");
    const auto isLeft = [&]() { return app.has("x.dat"); };
    const auto runWithAFullList = [&]() {
        own().writtenCapacity = 8 * kMegabyte;
        own().writtenCount = own().writtenCapacity;
        own().writtenList = static_cast<char**>(calloc(own().writtenCapacity, sizeof(char*)));
        return run();
    };

    EXPECT_EXIT(stopsForLackOfMemory(runWithAFullList, agent(), isLeft), ExitedWithCode(0), "");
}

}  // namespace
