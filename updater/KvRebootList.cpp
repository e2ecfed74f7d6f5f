#include "updater/KvRebootList.h"

#include <cstdlib>

#include "base/KvScoped.h"
#include "base/KvText.h"
#include "log/KvReport.h"

namespace {

constexpr char kModule[] = "KvVcUpdater";

}  // namespace

DList g_rebootCopyList;
bool g_RebootForNewFile = false;

bool addRebootEntry(const char* source, const char* destination, RebootMarker flag) {
    ScopedHeap<RebootEntry> entry(static_cast<RebootEntry*>(malloc(sizeof(RebootEntry))));
    if (!entry) {
        return false;
    }
    Strncpy(entry->source, source, sizeof entry->source);
    Strncpy(entry->destination, destination, sizeof entry->destination);
    entry->flag = flag;
    if (g_rebootCopyList.Add(entry.get()) < 0) {
        return false;
    }
    (void)entry.release();  // the list's from here on
    return true;
}

int writeReboot(const char* /*source*/, const char* /*target*/, char /*marker*/) {
    return 0;
}

bool WriteRebootList() {
    if (g_rebootCopyList.count == 0) {
        return false;
    }
    KV_INFO(kLevelProgress, "adding reboot list into system registry/ini...");
    for (int i = 0; i < g_rebootCopyList.count; ++i) {
        const ScopedHeap<RebootEntry> entry(static_cast<RebootEntry*>(g_rebootCopyList.items[i]));
        // Always 0 on this platform.
        (void)writeReboot(entry->source, entry->destination, entry->flag);
        KV_INFO(kLevelProgress, "src[%s] -> dst[%s]", entry->source, entry->destination);
    }
    return true;
}

void DropRebootList() {
    for (int i = 0; i < g_rebootCopyList.count; ++i) {
        free(g_rebootCopyList.items[i]);
    }
    g_rebootCopyList.Clear();
}
