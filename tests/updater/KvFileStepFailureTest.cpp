// How the step of a single file fails: calls that make no sense, a store that takes nothing,
// entries that cannot be made or kept.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "tests/support/ForkedProcess.h"
#include "tests/support/LogCapture.h"
#include "tests/support/MemoryLimit.h"
#include "tests/updater/FileStepTest.h"
#include "tests/updater/OnMessage.h"

namespace {

using testing::ElementsAre;
using testing::ExitedWithCode;
using testing::IsEmpty;

using Ops = KvFileOpUtil;

constexpr int kNotSaved = -5;
constexpr uid_t kOrdinaryUser = 65534;

class KvFileStepFailure : public KvFileStep {
  protected:
    // The list of replaced files is full and far too long to be doubled.
    void fillTheList() {
        item.writtenCapacity = 8 * kMegabyte;
        item.writtenCount = item.writtenCapacity;
        item.writtenList = static_cast<char**>(calloc(item.writtenCapacity, sizeof(char*)));
    }

    // An old file without a name to record, in a child that works in "work"; 0 when exactly these
    // messages came, and the file itself was saved.
    int saveWithoutAName(const std::vector<std::string>& messages) {
        const std::string work = tree.path("work");
        LogCapture log;
        if (chdir(work.c_str()) != 0) {
            return 2;
        }
        const int result = stepTo("x", nullptr, Ops::kOverwrite, Ops::kBefore);
        const bool isSaved = tree.exists("app/VC_Backup/3/5/backup.000");
        return result == kNotSaved && isSaved && item.writtenCount == 0 && log.lines() == messages
                   ? 0
                   : 1;
    }
};

TEST_F(KvFileStepFailure, WithoutAnEntryOrAContextIsABadCall) {
    EXPECT_EQ(callBackForUpdate(nullptr), -1);
    Ops::CallbackEntry entry{};
    EXPECT_EQ(callBackForUpdate(&entry), -1);
}

TEST_F(KvFileStepFailure, WithoutAnAgentABackupItemOrNamesIsABadCall) {
    tree.write("app/a.dat", "old");
    const std::string target = tree.path("app/a.dat");
    BackupNames names;
    ItemContext noAgent{&item, nullptr, "", 0, 3, 5, &names};
    ItemContext noBackup{nullptr, agent.table(), "", 0, 3, 5, &names};
    ItemContext noNames{&item, agent.table(), "", 0, 3, 5, nullptr};
    for (ItemContext* context : {&noAgent, &noBackup, &noNames}) {
        Ops::CallbackEntry entry{};
        entry.userData = context;
        entry.destination = target.c_str();
        entry.action = Ops::kOverwrite;
        EXPECT_EQ(callBackForUpdate(&entry), -1);
    }
    EXPECT_THAT(agent.calls, IsEmpty());
    EXPECT_FALSE(tree.exists("app/VC_Backup"));
}

TEST_F(KvFileStepFailure, CannotRecordANewFileWithoutADestination) {
    LogCapture log;

    EXPECT_EQ(stepTo("x", nullptr, Ops::kNewFile, Ops::kBefore), 0);
    EXPECT_EQ(stepTo("x", nullptr, Ops::kNewFile, Ops::kAfter), kNotSaved);

    EXPECT_THAT(agent.calls, IsEmpty());
    EXPECT_THAT(added(), IsEmpty());
    EXPECT_THAT(log.lines(), ElementsAre("Err 6 callBackForUpdate: Strncpy failed."));
}

TEST_F(KvFileStepFailure, FailsWhenTheStoreCannotBeMade) {
    tree.write("app/a.dat", "old");
    tree.write("app/VC_Backup", "in the way");
    LogCapture log;

    EXPECT_EQ(step("a.dat", Ops::kOverwrite, Ops::kBefore), kNotSaved);

    EXPECT_THAT(written(), IsEmpty());
    EXPECT_EQ(log.lines().back(), "Err 6 callBackForUpdate: crtUniFile failed.");
}

// The file stays as it is; what was saved is in the record for the rollback.
TEST_F(KvFileStepFailure, CannotDeferAFileThatTheListHasNoRoomFor) {
    tree.write("app/a.dat", "old");
    agent.answers["CheckFileEx"] = CHECKFILE_REBOOT;
    LogCapture log(6);

    g_rebootCopyList.capacity = g_rebootCopyList.count = INT32_MAX;
    EXPECT_EQ(step("a.dat", Ops::kOverwrite, Ops::kBefore), kNotSaved);
    g_rebootCopyList.capacity = g_rebootCopyList.count = 0;

    EXPECT_EQ(log.lines().back(), "Err 6 callBackForUpdate: malloc failed.");
    EXPECT_THAT(written(), ElementsAre("backup.000, " + tree.path("app/a.dat")));
}

// Kept: what is deleted is the bare name in the working directory; the backup file stays.
TEST_F(KvFileStepFailure, DeletesTheBareNameOfAnEntryThatCannotBeMade) {
    tree.write("work/backup.000", "nobody's");
    tree.write("work/backup.001", "kept");
    ForkedProcess child([&](const Talk&) {
        return saveWithoutAName({"Err 6 callBackForUpdate: Snprintf failed."});
    });

    EXPECT_EQ(child.finish(), 0);

    EXPECT_FALSE(tree.exists("work/backup.000"));
    EXPECT_EQ(tree.read("work/backup.001"), "kept");
}

TEST_F(KvFileStepFailure, SaysSoWhenTheBareNameCannotBeDeleted) {
    tree.write("work/backup.000", "nobody's");
    const bool isRoot = geteuid() == 0;
    for (const char* name : {"", "app", "work"}) {
        const std::string path = tree.path(name);
        ASSERT_EQ(isRoot ? chown(path.c_str(), kOrdinaryUser, kOrdinaryUser) : 0, 0) << path;
    }
    ASSERT_EQ(chmod(tree.path("work").c_str(), 0500), 0);
    ForkedProcess child([&](const Talk&) {
        return isRoot && setuid(kOrdinaryUser) != 0
                   ? 3
                   : saveWithoutAName({"Err 6 callBackForUpdate: Snprintf failed.",
                                       "Err 6 callBackForUpdate: unlink failed."});
    });

    EXPECT_EQ(child.finish(), 0);

    EXPECT_TRUE(tree.exists("work/backup.000"));
}

#ifdef __linux__

constexpr long kSlack = 32 * kMegabyte;

TEST_F(KvFileStepFailure, FailsWhenANewFileCannotBeRecorded) {
    const std::string huge(100 * kMegabyte, 'x');
    const auto body = [&]() {
        LogCapture log(6);
        limitMemory(kSlack);
        const int result = stepTo("x", huge.c_str(), Ops::kNewFile, Ops::kAfter);
        const bool isTold =
            log.lines().size() == 2 && log.lines()[1] == "Err 6 callBackForUpdate: malloc failed.";
        _exit(result == kNotSaved && isTold && item.addedCount == 0 ? 0 : 1);
    };
    EXPECT_EXIT(body(), ExitedWithCode(0), "");
}

TEST_F(KvFileStepFailure, LeavesNoBackupFileOfAnOldFileThatCannotBeRecorded) {
    tree.write("app/a.dat", "old");
    const auto body = [&]() {
        fillTheList();
        LogCapture log(6);
        limitMemory(kSlack);
        const int result = step("a.dat", Ops::kOverwrite, Ops::kBefore);
        const bool isTold = log.lines().back() == "Err 6 callBackForUpdate: malloc failed.";
        const bool isGone = access(tree.path("app/VC_Backup/3/5/backup.000").c_str(), F_OK) != 0;
        _exit(result == kNotSaved && isTold && isGone ? 0 : 1);
    };
    EXPECT_EXIT(body(), ExitedWithCode(0), "");
}

// The same, and the backup directory becomes a link to itself before the backup file is deleted.
TEST_F(KvFileStepFailure, SaysSoWhenTheBackupFileCannotBeDeleted) {
    tree.write("app/a.dat", "old");
    const std::string dir = tree.path("app/VC_Backup/3/5");
    const std::string aside = tree.path("app/VC_Backup/3/aside");
    const auto body = [&]() {
        fillTheList();
        LogCapture log(6);
        const OnMessage close("callBackForUpdate: malloc failed.", [&]() {
            (void)rename(dir.c_str(), aside.c_str());
            (void)symlink("5", dir.c_str());
        });
        limitMemory(kSlack);
        const int result = step("a.dat", Ops::kOverwrite, Ops::kBefore);
        const auto& records = log.lines();
        const bool isTold =
            records.size() >= 3 &&
            records.rbegin()[2] == "Err 6 callBackForUpdate: malloc failed." &&
            records.rbegin()[0] == "Err 6 callBackForUpdate: unlink " + dir + "/backup.000 failed.";
        _exit(result == kNotSaved && isTold && item.writtenCount == item.writtenCapacity ? 0 : 1);
    };
    EXPECT_EXIT(body(), ExitedWithCode(0), "");
}

#endif

}  // namespace
