#include "store/KvBackupRemoval.h"

#include "fileop/KvFileOpUtil.h"
#include "fileop/KvPath.h"
#include "log/KvReport.h"
#include "store/KvBackupFiles.h"
#include "store/KvBackupName.h"
#include "store/KvBackupSection.h"
#include "store/KvRecordContents.h"

namespace {

constexpr char kModule[] = "KvUpdaterStru";

bool isSameItem(const backupItem& a, const backupItem& b) {
    return a.itemClass == b.itemClass && a.type == b.type;
}

// Writes `old` anew to `path` with the items that `isKept` accepts, numbered from 0.
template <typename Keep>
void writeRemaining(const backupStru& old, const char* agentFile, const char* path, Keep isKept) {
    const RecordDocument record = openRecord(nullptr);
    if (!record) {
        return;
    }
    writeRecordCommon(*record, old.itemCount - 1, old.patchAgentVersion, agentFile);
    uint64_t kept = 0;
    for (uint64_t i = 0; i < old.itemCount; ++i) {
        if (isKept(old.items[i])) {
            writeItemSection(*record, kept++, old.items[i], nullptr);
        }
    }
    setRecordItemCount(*record, kept);
    // Nothing is said about a record that cannot be written; it keeps its former contents.
    (void)record->flushTo(path);
}

// Takes every item of the class and type of `item` out of the record of its destination.
void forgetItem(const backupItem& item) {
    char path[kPathCapacity];
    if (!constructRecordPath(item.destination, path, sizeof path) || !KvFileOpUtil::isExist(path)) {
        return;
    }
    RecordContents old;
    {
        // Released before the record is written anew.
        RecordDocument record = openRecord(path);
        KV_INFO(kLevelProgress, "Start Parsing the original backup ini(%s).", path);
        if (!old.parse(record)) {
            return;
        }
    }
    const backupItem* const former = findBackupItem(&old.get(), item.itemClass, item.type);
    if (former == nullptr) {
        return;
    }
    // Kept: added files have no copies, but a copy that bears the name of one goes with it.
    deleteAddedBackups(*former, item);
    deleteWrittenBackups(*former, item, DeletionReport::kSilent);
    // Kept: without an agent file the key is there all the same, with an empty value.
    const char* const agentFile = old.get().patchAgentFile;
    writeRemaining(old.get(), agentFile != nullptr ? agentFile : "", path,
                   [&](const backupItem& other) { return !isSameItem(other, item); });
}

}  // namespace

void discardRunBackup(const backupStru& run) {
    for (uint64_t i = 0; i < run.itemCount; ++i) {
        const backupItem& item = run.items[i];
        if (item.destination == nullptr) {
            continue;  // never reached by the run
        }
        KV_INFO(kLevelDetail, "Remove auto-rollback files");
        deleteWrittenBackups(item, item, DeletionReport::kLogged);
        forgetItem(item);
    }
}

void forgetRolledBackItem(const backupItem& item) {
    char path[kPathCapacity];
    if (item.destination == nullptr || !constructRecordPath(item.destination, path, sizeof path)) {
        return;
    }
    RecordDocument record = openRecord(path);
    RecordContents old;
    // A record that cannot be parsed has no items, so there is nothing to take out.
    (void)old.parse(record);
    const backupItem* const former = findBackupItem(&old.get(), item.itemClass, item.type);
    if (former == nullptr) {
        return;
    }
    deleteWrittenBackups(item, item, DeletionReport::kSilent);
    deleteWrittenBackups(*former, item, DeletionReport::kSilent);
    writeRemaining(old.get(), old.get().patchAgentFile, path,
                   [=](const backupItem& other) { return &other != former; });
}
