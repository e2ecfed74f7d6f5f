// The backup structure in memory: made empty, grown, searched, released, printed.
#include "store/KvBackupStru.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "patch/KvUpdateStru.h"
#include "tests/support/LogCapture.h"

namespace {

backupItem emptyItem() {
    return backupItem{};
}

void freeItemLists(backupItem& item) {
    backupStru owner{};
    owner.items = static_cast<backupItem*>(calloc(1, sizeof(backupItem)));
    owner.itemCount = 1;
    owner.items[0] = item;
    freeBackupStru(&owner);
    item = {};
}

TEST(KvBackupStru, EmptyRecordHasOneItemForEachOfTheDescription) {
    tag_ItemInfo items[3] = {};
    char agent[] = "agent.so";
    updateStru update{};
    update.patchAgentVersion = 1;
    update.patchAgentFile = agent;
    update.items = items;
    update.itemCount = 3;

    backupStru backup;
    memset(static_cast<void*>(&backup), 0xEE, sizeof backup);
    initBackupStru(&update, &backup);

    EXPECT_EQ(1, backup.patchAgentVersion);
    EXPECT_STREQ("agent.so", backup.patchAgentFile);
    EXPECT_NE(agent, backup.patchAgentFile);
    ASSERT_EQ(3U, backup.itemCount);
    const backupItem zero{};
    for (uint64_t i = 0; i < backup.itemCount; ++i) {
        EXPECT_EQ(0, memcmp(&zero, &backup.items[i], sizeof zero));
    }
    freeBackupStru(&backup);
}

TEST(KvBackupStru, DescriptionWithoutAgentAndItemsGivesAnEmptyRecord) {
    const updateStru update{};
    backupStru backup;
    memset(static_cast<void*>(&backup), 0xEE, sizeof backup);
    initBackupStru(&update, &backup);
    EXPECT_EQ(0, backup.patchAgentVersion);
    EXPECT_EQ(nullptr, backup.patchAgentFile);
    EXPECT_EQ(nullptr, backup.items);
    EXPECT_EQ(0U, backup.itemCount);
}

TEST(KvBackupStru, ItemsThatCannotBeAllocatedLeaveARecordWithoutItems) {
    LogCapture log;
    char agent[] = "agent.so";
    updateStru update{};
    update.patchAgentFile = agent;
    update.itemCount = 48806447;  // one more than fits into an array
    backupStru backup{};
    initBackupStru(&update, &backup);
    EXPECT_THAT(log.lines(), testing::ElementsAre("Err 6 initBackupStru: malloc failed."));
    EXPECT_EQ(nullptr, backup.items);
    EXPECT_EQ(0U, backup.itemCount);
    EXPECT_STREQ("agent.so", backup.patchAgentFile);
    freeBackupStru(&backup);
}

TEST(KvBackupStru, InitTakesNull) {
    const updateStru update{};
    initBackupStru(&update, nullptr);
    backupStru backup;
    memset(static_cast<void*>(&backup), 0xEE, sizeof backup);
    initBackupStru(nullptr, &backup);
    EXPECT_EQ(nullptr, backup.items);
    EXPECT_EQ(0U, backup.itemCount);
    EXPECT_EQ(nullptr, backup.patchAgentFile);
}

TEST(KvBackupStru, ListsStartWithSixteenSlotsAndDouble) {
    backupItem item = emptyItem();
    expandBackupItem(&item);
    EXPECT_EQ(16U, item.addedCapacity);
    EXPECT_EQ(16U, item.writtenCapacity);
    for (const uint64_t expected : {32U, 64U}) {
        while (item.addedCount < item.addedCapacity) {
            item.addedList[item.addedCount++] = strdup("a");
        }
        expandBackupItem(&item);
        EXPECT_EQ(expected, item.addedCapacity);
    }
    EXPECT_EQ(16U, item.writtenCapacity) << "the lists grow independently";
    for (uint64_t i = 0; i < item.addedCapacity; ++i) {
        EXPECT_EQ(i >= item.addedCount, item.addedList[i] == nullptr);
    }
    for (uint64_t i = 0; i < item.writtenCapacity; ++i) {
        EXPECT_EQ(nullptr, item.writtenList[i]);
    }
    freeItemLists(item);
}

TEST(KvBackupStru, ListThatIsNotFullIsLeftAlone) {
    backupItem item = emptyItem();
    expandBackupItem(&item);
    item.addedList[item.addedCount++] = strdup("a");
    char** const added = item.addedList;
    expandBackupItem(&item);
    EXPECT_EQ(added, item.addedList);
    EXPECT_EQ(1U, item.addedCount);
    EXPECT_EQ(16U, item.addedCapacity);
    freeItemLists(item);
    expandBackupItem(nullptr);
}

TEST(KvBackupStru, ListThatCannotGrowStopsTheOtherToo) {
    backupItem item = emptyItem();
    // A full list of an impossible size: twice as much cannot be allocated.
    item.addedCapacity = item.addedCount = uint64_t{1} << 40;
    expandBackupItem(&item);
    EXPECT_EQ(uint64_t{1} << 40, item.addedCapacity);
    EXPECT_EQ(nullptr, item.writtenList);
    EXPECT_EQ(0U, item.writtenCapacity);
    char entry[] = "kept by the caller";
    EXPECT_FALSE(appendAddedFile(&item, entry));
    EXPECT_FALSE(appendWrittenFile(&item, entry));
}

TEST(KvBackupStru, AppendingGrowsTheList) {
    backupItem item = emptyItem();
    for (int i = 0; i < 40; ++i) {
        ASSERT_TRUE(appendAddedFile(&item, strdup(("a" + std::to_string(i)).c_str())));
        ASSERT_TRUE(appendWrittenFile(&item, strdup(("w" + std::to_string(i)).c_str())));
    }
    EXPECT_EQ(40U, item.addedCount);
    EXPECT_EQ(64U, item.addedCapacity);
    EXPECT_STREQ("a0", item.addedList[0]);
    EXPECT_STREQ("a39", item.addedList[39]);
    EXPECT_EQ(40U, item.writtenCount);
    EXPECT_STREQ("w39", item.writtenList[39]);
    freeItemLists(item);
    char entry[] = "x";
    EXPECT_FALSE(appendAddedFile(nullptr, entry));
    EXPECT_FALSE(appendWrittenFile(nullptr, entry));
    EXPECT_FALSE(appendAddedFile(&item, nullptr));
    EXPECT_FALSE(appendWrittenFile(&item, nullptr));
}

TEST(KvBackupStru, FirstItemOfClassAndTypeIsFound) {
    backupItem items[4] = {};
    items[0].itemClass = 3;
    items[1].itemClass = 2;
    items[1].type = 5;
    items[2].itemClass = 3;
    items[2].type = 5;
    items[3].itemClass = 3;
    items[3].type = 5;
    const backupStru backup{0, items, 4, nullptr};
    EXPECT_EQ(items + 2, findBackupItem(&backup, 3, 5));
    EXPECT_EQ(items + 1, findBackupItem(&backup, 2, 5));
    EXPECT_EQ(nullptr, findBackupItem(&backup, 2, 6));
    EXPECT_EQ(nullptr, findBackupItem(nullptr, 3, 5));
    const backupStru broken{0, nullptr, 4, nullptr};
    EXPECT_EQ(nullptr, findBackupItem(&broken, 3, 5));
}

TEST(KvBackupStru, ReleasedRecordIsEmptyAndMayBeReleasedAgain) {
    backupStru backup{1, static_cast<backupItem*>(calloc(2, sizeof(backupItem))), 2,
                      strdup("agent.so")};
    backup.items[0].destination = strdup("/opt");
    ASSERT_TRUE(appendAddedFile(&backup.items[0], strdup("/opt/a")));
    // A list that could not be allocated leaves its count behind.
    backup.items[1].addedCount = backup.items[1].addedCapacity = 7;
    freeBackupStru(&backup);
    EXPECT_EQ(nullptr, backup.items);
    EXPECT_EQ(0U, backup.itemCount);
    EXPECT_EQ(nullptr, backup.patchAgentFile);
    freeBackupStru(&backup);
    freeBackupStru(nullptr);
}

std::string printed(const backupStru* backup) {
    testing::internal::CaptureStdout();
    printBackupStru(backup);
    return testing::internal::GetCapturedStdout();
}

TEST(KvBackupStru, EmptyRecordIsPrinted) {
    const backupStru backup{};
    EXPECT_EQ(
        "Start of backup structure =========================\n\n"
        "\tPatch Agent version: old\n"
        "\tPatch Agent library: NULL\n"
        "\nEnd of backup structure =========================\n\n",
        printed(&backup));
    EXPECT_EQ("", printed(nullptr));
}

TEST(KvBackupStru, CountWithoutItemsIsPrintedAsAnError) {
    char agent[] = "agent.so";
    const backupStru backup{7, nullptr, 2, agent};
    EXPECT_EQ(
        "Start of backup structure =========================\n\n"
        "\tPatch Agent version: new\n"
        "\tPatch Agent library: agent.so\n"
        "\tItem number: 2\n"
        "\tFatal error: item count is not zero but null items\n"
        "\nEnd of backup structure =========================\n\n",
        printed(&backup));
}

TEST(KvBackupStru, ItemsArePrinted) {
    char added[] = "/opt/new.dat";
    char written[] = "backup.00a, /opt/old.dat";
    char destination[] = "/opt";
    char* addedList[] = {added, nullptr};
    char* writtenList[] = {nullptr, written};
    backupItem items[2] = {};
    items[0].itemClass = 3;
    items[0].type = 4294967295U;
    items[0].originVersion = {100, 0, 0};
    items[0].resultVersion = {101, 0, 0};
    items[0].addedCount = items[0].addedCapacity = 2;
    items[0].addedList = addedList;
    items[0].writtenCount = items[0].writtenCapacity = 2;
    items[0].writtenList = writtenList;
    items[0].destination = destination;
    items[1].itemClass = 1;
    items[1].resultVersion = {0x00052000, 1234, 0};
    const backupStru backup{1, items, 2, nullptr};
    EXPECT_EQ(
        "Start of backup structure =========================\n\n"
        "\tPatch Agent version: new\n"
        "\tPatch Agent library: NULL\n"
        "\tItem number: 2\n"
        "\tItem 0\n"
        "\t  class: 3\n"
        "\t  type: 4294967295\n"
        "\t  Original version: 100\n"
        "\t  Result version: 101\n"
        "\t  Destination: /opt\n"
        "\t  Added file count: 2\n"
        "\t    0: /opt/new.dat\n"
        "\t    1: NULL\n"
        "\t  Written file count: 2\n"
        "\t    0: NULL\n"
        "\t    1: backup.00a, /opt/old.dat\n"
        "\tItem 1\n"
        "\t  class: 1\n"
        "\t  type: 0\n"
        "\t  Original version: 0.0\n"
        "\t  Result version: 5.2.1234\n"
        "\t  Destination: NULL\n"
        "\t  Added file count: 0\n"
        "\t  Written file count: 0\n"
        "\nEnd of backup structure =========================\n\n",
        printed(&backup));
}

}  // namespace
