#include "patch/KvUpdateStru.h"

#include <cstdio>
#include <cstdlib>

#include "base/KvVersion.h"

namespace {

constexpr size_t kPrintedVersionCapacity = 1024;
constexpr uint32_t kBackupOn = 1;

void freeText(char*& text) {
    free(text);
    text = nullptr;
}

// A line with a value, or the same line with a fixed text where there is none.
void printText(const char* label, const char* text) {
    (void)printf("%s: %s\n", label, text != nullptr ? text : "NULL");
}

void printVersion(const char* label, uint32_t itemClass, const tag_Version& version) {
    char text[kPrintedVersionCapacity];
    MakeVersionStringByClass(itemClass, version, text, sizeof(text));
    printText(label, text);
}

void printItem(uint64_t index, const tag_ItemInfo& item) {
    (void)printf("\tItem %d\n", static_cast<int>(index));
    (void)printf("\t\tclass: %d\n", static_cast<int>(item.itemClass));
    (void)printf("\t\ttype: %u\n", item.type);
    printVersion("\t\tOriginal version", item.itemClass, item.originVersion);
    printVersion("\t\tResult version", item.itemClass, item.resultVersion);
    printText("\t\tForce update", item.forceUpdate != 0 ? "Yes" : "No");
    printText("\t\tDestination", item.destination);
    printText("\t\tZip File", item.zipFile);
}

void printHead(const updateStru& description) {
    (void)puts("Start of update structure====================\n");
    printText("\tVelocore path", description.velocorePath);
    printText("\tPatch Agent library", description.patchAgentFile);
    printText("\tPatch Agent version", description.patchAgentVersion != 0 ? "new" : "old");
    printText("\tAction", description.action != kActionUpdate ? "rollback" : "update");
    printText("\tBackup", description.backup == kBackupOn ? "Yes" : "No");
}

}  // namespace

void freeUpdateStru(updateStru* description) {
    if (description == nullptr) {
        return;
    }
    freeText(description->patchAgentFile);
    freeText(description->velocorePath);
    if (description->items == nullptr) {
        return;
    }
    for (uint64_t i = 0; i < description->itemCount; ++i) {
        freeText(description->items[i].destination);
        freeText(description->items[i].zipFile);
    }
    free(description->items);
    description->items = nullptr;
}

void printUpdateStru(const updateStru* description) {
    if (description == nullptr) {
        return;
    }
    printHead(*description);
    if (description->itemCount != 0) {
        (void)printf("\tItem number: %d\n", static_cast<int>(description->itemCount));
        if (description->items == nullptr) {
            (void)puts("\tFatal error: Item number is not zero, but no items here");
            return;
        }
        for (uint64_t i = 0; i < description->itemCount; ++i) {
            printItem(i, description->items[i]);
        }
    }
    (void)puts("\nEnd of update structure====================\n");
}
