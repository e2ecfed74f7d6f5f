// The step of each single file of an update: saved, recorded, deferred or refused.
#include "updater/KvFileStep.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "tests/support/LogCapture.h"
#include "tests/support/MemoryLimit.h"
#include "tests/support/TempTree.h"
#include "tests/updater/FakeAgent.h"
#include "tests/updater/RebootEntries.h"
#include "updater/KvItemContext.h"
#include "updater/KvRebootList.h"

namespace fs = std::filesystem;

namespace {

using testing::ElementsAre;
using testing::ExitedWithCode;
using testing::IsEmpty;

using Ops = KvFileOpUtil;

constexpr int kNotSaved = -5;

// An item 3/5 of "app", of an agent of the new interface.
class FileStep : public testing::Test {
  protected:
    FileStep() : destination_(tree.makeDir("app")) {
        item.destination = strdup(destination_.c_str());
        item.itemClass = 3;
        item.type = 5;
        g_RebootForNewFile = false;
    }
    ~FileStep() override {
        backupStru owner{0, static_cast<backupItem*>(malloc(sizeof item)), 1, nullptr};
        *owner.items = item;
        freeBackupStru(&owner);
    }

    // The step of "app/<name>" from "stage/<name>".
    int step(const std::string& name, uint32_t action, uint32_t phase) {
        const std::string source = tree.path("stage/" + name);
        const std::string target = tree.path("app/" + name);
        return stepTo(source.c_str(), target.c_str(), action, phase);
    }

    int stepTo(const char* source, const char* target, uint32_t action, uint32_t phase) {
        ItemContext context{&item, agent.table(), destination_.c_str(), 0, 3, 5};
        Ops::CallbackEntry entry{};
        entry.cbSize = sizeof entry;
        entry.userData = &context;
        entry.path = source;
        entry.destination = target;
        entry.action = action;
        entry.phase = phase;
        return callBackForUpdate(&entry);
    }

    [[nodiscard]] std::vector<std::string> added() const {
        return {item.addedList, item.addedList + item.addedCount};
    }
    [[nodiscard]] std::vector<std::string> written() const {
        return {item.writtenList, item.writtenList + item.writtenCount};
    }

    TempTree tree;
    FakeAgent agent{PATCHAGENT_NEW};
    backupItem item{};

    RebootEntries reboots;

  private:
    std::string destination_;
};

TEST_F(FileStep, AsksBeforeANewFileAndRecordsItAfterwards) {
    LogCapture log;

    EXPECT_EQ(step("a.dat", Ops::kNewFile, Ops::kBefore), 0);
    EXPECT_THAT(added(), IsEmpty());
    EXPECT_EQ(step("a.dat", Ops::kNewFile, Ops::kAfter), 0);

    EXPECT_THAT(added(), ElementsAre(tree.path("app/a.dat")));
    EXPECT_THAT(agent.calls, ElementsAre("CheckFileEx(" + tree.path("app/a.dat") + ")"));
    EXPECT_THAT(log.records(),
                ElementsAre(infoAt(9, "Call PatchAgent CheckFileEx( " + tree.path("app/a.dat") +
                                          " ) return 1,(OK)"),
                            infoAt(6, "callBackForUpdate: Create file (" + tree.path("app/a.dat") +
                                          ") done.")));
}

TEST_F(FileStep, SavesAnExistingFileBeforeItIsOverwritten) {
    tree.write("app/a.dat", "old");
    tree.setTime("app/a.dat", 1000000000);
    LogCapture log;

    EXPECT_EQ(step("a.dat", Ops::kOverwrite, Ops::kBefore), 0);

    const std::string entry = "backup.000, " + tree.path("app/a.dat");
    EXPECT_THAT(written(), ElementsAre(entry));
    EXPECT_EQ(tree.read("app/VC_Backup/3/5/backup.000"), "old");
    EXPECT_EQ(tree.time("app/VC_Backup/3/5/backup.000"), 1000000000);
    EXPECT_THAT(log.records(),
                ElementsAre(infoAt(9, "Call PatchAgent CheckFileEx( " + tree.path("app/a.dat") +
                                          " ) return 1,(OK)"),
                            infoAt(6, "callBackForUpdate: Overwrite file(" + entry + ") done.")));
}

TEST_F(FileStep, DoesNothingAfterAnOverwriteAndForOtherActions) {
    tree.write("app/a.dat", "old");
    LogCapture log;

    EXPECT_EQ(step("a.dat", Ops::kOverwrite, Ops::kAfter), 0);
    EXPECT_EQ(stepTo(tree.path("app").c_str(), nullptr, Ops::kCreateDir, Ops::kBefore), 0);
    EXPECT_EQ(stepTo(tree.path("app").c_str(), nullptr, Ops::kCreateDir, Ops::kAfter), 0);

    EXPECT_THAT(written(), IsEmpty());
    EXPECT_THAT(added(), IsEmpty());
    EXPECT_THAT(agent.calls, IsEmpty());
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(FileStep, DoesNotAskAboutADirectory) {
    agent.answers["CheckFileEx"] = 0;
    EXPECT_EQ(stepTo("x", tree.makeDir("app/dir").c_str(), Ops::kNewFile, Ops::kBefore), 0);
    EXPECT_THAT(agent.calls, IsEmpty());
}

TEST_F(FileStep, WithoutAnAgentOrABackupItemIsABadCall) {
    tree.write("app/a.dat", "old");
    const std::string target = tree.path("app/a.dat");
    ItemContext noAgent{&item, nullptr, "", 0, 3, 5};
    ItemContext noBackup{nullptr, agent.table(), "", 0, 3, 5};
    for (ItemContext* context : {&noAgent, &noBackup}) {
        Ops::CallbackEntry entry{};
        entry.userData = context;
        entry.destination = target.c_str();
        entry.action = Ops::kOverwrite;
        EXPECT_EQ(callBackForUpdate(&entry), -1);
    }
    EXPECT_THAT(agent.calls, IsEmpty());
    EXPECT_FALSE(tree.exists("app/VC_Backup"));
}

TEST_F(FileStep, CannotRecordANewFileWithoutADestination) {
    LogCapture log;

    EXPECT_EQ(stepTo("x", nullptr, Ops::kNewFile, Ops::kBefore), 0);
    EXPECT_EQ(stepTo("x", nullptr, Ops::kNewFile, Ops::kAfter), kNotSaved);

    EXPECT_THAT(agent.calls, IsEmpty());
    EXPECT_THAT(added(), IsEmpty());
    EXPECT_THAT(log.records(), ElementsAre(errorAt(6, "callBackForUpdate: Strncpy failed.")));
}

TEST_F(FileStep, SkipsWhatTheAgentSkips) {
    tree.write("app/a.dat", "old");
    agent.answers["CheckFileEx"] = 0;

    EXPECT_EQ(step("a.dat", Ops::kOverwrite, Ops::kBefore), 2);
    EXPECT_EQ(step("b.dat", Ops::kNewFile, Ops::kBefore), 2);

    EXPECT_THAT(written(), IsEmpty());
    EXPECT_FALSE(tree.exists("app/VC_Backup"));
}

TEST_F(FileStep, StopsWhenTheAgentFails) {
    tree.write("app/a.dat", "old");
    agent.answers["CheckFileEx"] = -1;

    EXPECT_EQ(step("a.dat", Ops::kOverwrite, Ops::kBefore), 1);

    EXPECT_THAT(written(), IsEmpty());
    EXPECT_FALSE(tree.exists("app/VC_Backup"));
}

TEST_F(FileStep, SkipsEverythingForAnUnknownInterface) {
    tree.write("app/a.dat", "old");
    agent.table()->version = 2;
    EXPECT_EQ(step("a.dat", Ops::kOverwrite, Ops::kBefore), 2);
    EXPECT_FALSE(tree.exists("app/VC_Backup"));
}

TEST_F(FileStep, DefersAnExistingFileWithItsSource) {
    tree.write("app/a.dat", "old");
    agent.answers["CheckFileEx"] = -2;

    EXPECT_EQ(step("a.dat", Ops::kOverwrite, Ops::kBefore), 2);

    EXPECT_THAT(written(), ElementsAre("backup.000, " + tree.path("app/a.dat")));
    EXPECT_THAT(reboots.texts(),
                ElementsAre(tree.path("stage/a.dat") + " -> " + tree.path("app/a.dat") + ", 0"));
}

TEST_F(FileStep, WritesANewFileAtOnceWhateverTheAgentDefers) {
    agent.answers["CheckFileEx"] = -2;

    EXPECT_EQ(step("a.dat", Ops::kNewFile, Ops::kBefore), 0);
    EXPECT_EQ(step("a.dat", Ops::kNewFile, Ops::kAfter), 0);

    EXPECT_THAT(added(), ElementsAre(tree.path("app/a.dat")));
    EXPECT_THAT(reboots.texts(), IsEmpty());
    EXPECT_FALSE(g_RebootForNewFile);
}

TEST_F(FileStep, FailsWhenTheStoreCannotBeMade) {
    tree.write("app/a.dat", "old");
    tree.write("app/VC_Backup", "in the way");
    LogCapture log;

    EXPECT_EQ(step("a.dat", Ops::kOverwrite, Ops::kBefore), kNotSaved);

    EXPECT_THAT(written(), IsEmpty());
    EXPECT_EQ(log.records().back(), errorAt(6, "callBackForUpdate: crtUniFile failed."));
}

TEST_F(FileStep, GoesOnWhenTheOldFileCannotBeCopied) {
    EXPECT_EQ(step("gone.dat", Ops::kOverwrite, Ops::kBefore), 0);
    EXPECT_THAT(written(), ElementsAre("backup.000, " + tree.path("app/gone.dat")));
    EXPECT_EQ(tree.read("app/VC_Backup/3/5/backup.000"), "");
}

TEST_F(FileStep, KeepsTheOrderOfMoreFilesThanTheListsBeginWith) {
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

TEST_F(FileStep, WithoutAnEntryOrAContextIsABadCall) {
    EXPECT_EQ(callBackForUpdate(nullptr), -1);
    Ops::CallbackEntry entry{};
    EXPECT_EQ(callBackForUpdate(&entry), -1);
}

#ifdef __linux__

constexpr long kSlack = 32 * kMegabyte;

TEST_F(FileStep, FailsWhenANewFileCannotBeRecorded) {
    const std::string huge(100 * kMegabyte, 'x');
    const auto body = [&]() {
        LogCapture log(6);
        limitMemory(kSlack);
        const int result = stepTo("x", huge.c_str(), Ops::kNewFile, Ops::kAfter);
        const bool isTold = log.records().size() == 1 &&
                            log.records()[0] == errorAt(6, "callBackForUpdate: malloc failed.");
        _exit(result == kNotSaved && isTold && item.addedCount == 0 ? 0 : 1);
    };
    EXPECT_EXIT(body(), ExitedWithCode(0), "");
}

// The list is full and far too long to be doubled.
TEST_F(FileStep, LeavesNoBackupFileOfAnOldFileThatCannotBeRecorded) {
    tree.write("app/a.dat", "old");
    const auto body = [&]() {
        item.writtenCapacity = 8 * kMegabyte;
        item.writtenCount = item.writtenCapacity;
        item.writtenList = static_cast<char**>(calloc(item.writtenCapacity, sizeof(char*)));
        LogCapture log(6);
        limitMemory(kSlack);
        const int result = step("a.dat", Ops::kOverwrite, Ops::kBefore);
        const bool isTold = log.records().back() == errorAt(6, "callBackForUpdate: malloc failed.");
        const bool isGone = access(tree.path("app/VC_Backup/3/5/backup.000").c_str(), F_OK) != 0;
        _exit(result == kNotSaved && isTold && isGone ? 0 : 1);
    };
    EXPECT_EXIT(body(), ExitedWithCode(0), "");
}

#endif

}  // namespace
