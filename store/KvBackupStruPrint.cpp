#include <cstdio>

#include "store/KvBackupStru.h"

namespace {

constexpr unsigned kVersionTextCapacity = 1024;

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
