#include "store/KvBackupStru.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "base/KvScoped.h"
#include "log/KvReport.h"
#include "patch/KvUpdateStru.h"

namespace {

constexpr char kModule[] = "KvUpdaterStru";

constexpr unsigned kVersionTextCapacity = 1024;

// What a list holds at first.
constexpr uint64_t COUNT = 16;

bool growList(char**& list, uint64_t& count, uint64_t& capacity) {
    if (capacity == 0) {
        // Without a capacity a count means nothing.
        list = allocZeroed<char*>(COUNT);
        if (list == nullptr) {
            return false;
        }
        capacity = COUNT;
        count = 0;
    }
    if (count < capacity) {
        return true;
    }
    ScopedHeap<char*> grown(allocZeroed<char*>(capacity * 2));
    if (!grown) {
        return false;
    }
    std::copy_n(list, count, grown.get());
    free(std::exchange(list, grown.release()));
    capacity *= 2;
    return true;
}

void freeList(char** list, uint64_t count) {
    for (uint64_t i = 0; list != nullptr && i < count; ++i) {
        free(list[i]);
    }
    free(list);
}

bool isFull(uint64_t count, uint64_t capacity) {
    return count >= capacity;
}

void printVersion(const char* label, uint32_t itemClass, const tag_Version& version) {
    char text[kVersionTextCapacity] = "";
    MakeVersionStringByClass(itemClass, version, text, kVersionTextCapacity);
    printf("\t  %s version: %s\n", label, text);
}

void printList(const char* label, char* const* list, uint64_t count) {
    printf("\t  %s file count: %d\n", label, static_cast<int>(count));
    for (uint64_t i = 0; list != nullptr && i < count; ++i) {
        printf("\t    %d: %s\n", static_cast<int>(i), list[i] != nullptr ? list[i] : "NULL");
    }
}

void printItem(uint64_t index, const backupItem& item) {
    printf("\tItem %d\n", static_cast<int>(index));
    printf("\t  class: %d\n", static_cast<int>(item.itemClass));
    printf("\t  type: %u\n", item.type);
    printVersion("Original", item.itemClass, item.originVersion);
    printVersion("Result", item.itemClass, item.resultVersion);
    printf("\t  Destination: %s\n", item.destination != nullptr ? item.destination : "NULL");
    printList("Added", item.addedList, item.addedCount);
    printList("Written", item.writtenList, item.writtenCount);
}

void printItems(const backupStru& backup) {
    printf("\tItem number: %d\n", static_cast<int>(backup.itemCount));
    if (backup.items == nullptr) {
        puts("\tFatal error: item count is not zero but null items");
        return;
    }
    for (uint64_t i = 0; i < backup.itemCount; ++i) {
        printItem(i, backup.items[i]);
    }
}

}  // namespace

void initBackupStru(const updateStru* update, backupStru* backup) {
    if (backup == nullptr) {
        return;
    }
    *backup = {};
    if (update == nullptr) {
        return;
    }
    backup->patchAgentVersion = static_cast<int32_t>(update->patchAgentVersion);
    if (update->patchAgentFile != nullptr) {
        switch (copyToHeap(update->patchAgentFile, backup->patchAgentFile)) {
            case HeapCopy::kNoMemory:
                KV_ERROR(kLevelProgress, "initBackupStru: malloc failed.");
                return;
            case HeapCopy::kCopyFailed:
                KV_ERROR(kLevelProgress, "initBackupStru: Strncpy failed.");
                return;
            case HeapCopy::kDone:
                break;
        }
    }
    if (update->itemCount == 0) {
        return;
    }
    backup->items = allocZeroed<backupItem>(update->itemCount);
    // The count follows the items, so that nobody looks for items that are not there.
    if (backup->items == nullptr) {
        KV_ERROR(kLevelProgress, "initBackupStru: malloc failed.");
        return;
    }
    backup->itemCount = update->itemCount;
}

void expandBackupItem(backupItem* item) {
    if (item == nullptr || !growList(item->addedList, item->addedCount, item->addedCapacity)) {
        return;
    }
    // A written list that cannot grow shows in its capacity, which every caller looks at.
    (void)growList(item->writtenList, item->writtenCount, item->writtenCapacity);
}

bool announceAddedFile(backupItem* item, char* entry) {
    if (item == nullptr || entry == nullptr) {
        return false;
    }
    if (isFull(item->addedCount, item->addedCapacity)) {
        expandBackupItem(item);
    }
    if (isFull(item->addedCount, item->addedCapacity)) {
        return false;
    }
    free(std::exchange(item->addedList[item->addedCount], entry));
    return true;
}

bool confirmAddedFile(backupItem* item, const char* path) {
    const char* const announced = item != nullptr ? announcedFile(*item) : nullptr;
    if (announced == nullptr || path == nullptr || strcmp(announced, path) != 0) {
        return false;
    }
    ++item->addedCount;
    return true;
}

const char* announcedFile(const backupItem& item) {
    const bool hasSlot = item.addedList != nullptr && !isFull(item.addedCount, item.addedCapacity);
    return hasSlot ? item.addedList[item.addedCount] : nullptr;
}

bool appendAddedFile(backupItem* item, char* entry) {
    if (!announceAddedFile(item, entry)) {
        return false;
    }
    ++item->addedCount;
    return true;
}

bool appendWrittenFile(backupItem* item, char* entry) {
    if (item == nullptr || entry == nullptr) {
        return false;
    }
    if (isFull(item->writtenCount, item->writtenCapacity)) {
        expandBackupItem(item);
    }
    if (isFull(item->writtenCount, item->writtenCapacity)) {
        return false;
    }
    item->writtenList[item->writtenCount++] = entry;
    return true;
}

backupItem* findBackupItem(const backupStru* backup, uint32_t itemClass, uint32_t type) {
    if (backup == nullptr || backup->items == nullptr) {
        return nullptr;
    }
    backupItem* const end = backup->items + backup->itemCount;
    backupItem* const found = std::find_if(backup->items, end, [=](const backupItem& item) {
        return item.itemClass == itemClass && item.type == type;
    });
    return found != end ? found : nullptr;
}

void freeBackupStru(backupStru* backup) {
    if (backup == nullptr) {
        return;
    }
    free(std::exchange(backup->patchAgentFile, nullptr));
    for (uint64_t i = 0; backup->items != nullptr && i < backup->itemCount; ++i) {
        backupItem& item = backup->items[i];
        free(item.destination);
        freeList(item.addedList, item.addedCount + (announcedFile(item) != nullptr ? 1 : 0));
        freeList(item.writtenList, item.writtenCount);
    }
    free(std::exchange(backup->items, nullptr));
    // Callers look at the count after a failed parse and must not find items there.
    backup->itemCount = 0;
}

void printBackupStru(const backupStru* backup) {
    if (backup == nullptr) {
        return;
    }
    // The first and the last line stand with an empty line behind them.
    puts("Start of backup structure =========================\n");
    printf("\tPatch Agent version: %s\n", backup->patchAgentVersion != 0 ? "new" : "old");
    printf("\tPatch Agent library: %s\n",
           backup->patchAgentFile != nullptr ? backup->patchAgentFile : "NULL");
    if (backup->itemCount != 0) {
        printItems(*backup);
    }
    puts("\nEnd of backup structure =========================\n");
}
