#include "store/KvBackupRemoval.h"

#include <functional>

#include "fileop/KvFileOpUtil.h"
#include "fileop/KvPath.h"
#include "log/KvReport.h"
#include "store/KvBackupEntry.h"
#include "store/KvBackupName.h"
#include "store/KvBackupRecord.h"
#include "store/KvBackupSection.h"

namespace {

constexpr char kModule[] = "KvUpdaterStru";

class BackupDirectory {
  public:
    explicit BackupDirectory(const backupItem& place) {
        constructBackupPath(place.destination, place.itemClass, place.type, path_, sizeof path_);
    }

    void deleteFile(const BackupEntryParts& parts, DeletionReport report) const {
        const char* const name = parts.backupName.c_str();
        // A damaged entry must not empty the directory as a pattern, nor stand for all of it.
        char file[kLongPathCapacity];
        if (*name == '\0' || isWildcardName(name) ||
            !backupFileOfEntry(parts, path_, file, sizeof file)) {
            return;
        }
        const int result = KvFileOpUtil::unlink(file);
        if (report == DeletionReport::kLogged) {
            KV_INFO(kLevelCallbackOnly, "Unlink %s returned with %d.", file, result);
        }
    }

  private:
    char path_[kLongPathCapacity];
};

// Deletes the files in the backup directory of `place` that bear the names of the added entries of
// `named`.
void deleteAddedBackups(const backupItem& named, const backupItem& place) {
    const BackupDirectory directory(place);
    for (uint64_t i = 0; named.addedList != nullptr && i < named.addedCount; ++i) {
        BackupEntryParts parts;
        parts.backupName = FileNameOf(named.addedList[i]);
        directory.deleteFile(parts, DeletionReport::kSilent);
    }
}

bool isSameItem(const backupItem& a, const backupItem& b) {
    return a.itemClass == b.itemClass && a.type == b.type;
}

// Writes `old` anew to `path` with the items that `isKept` accepts.
void writeRemaining(const backupStru& old, const char* agentFile, const char* path,
                    const std::function<bool(const backupItem&)>& isKept) {
    const RecordDocument record = openRecord(nullptr);
    if (!record) {
        return;
    }
    writeRecord(*record, old, agentFile, isKept);
    // Nothing is said about a record that cannot be written; it keeps its former contents.
    (void)record->flushTo(path);
}

// Takes every item of the class and type of `item` out of the record of its destination.
void forgetItem(const backupItem& item) {
    char path[kPathCapacity];
    if (!constructRecordPath(item.destination, path, sizeof path) || !KvFileOpUtil::isExist(path)) {
        return;
    }
    OwnedBackupStru old;
    {
        // Released before the record is written anew.
        RecordDocument record = openRecord(path);
        KV_INFO(kLevelProgress, "Start Parsing the original backup ini(%s).", path);
        if (!parseRecord(record, old)) {
            return;
        }
    }
    const backupItem* const former = findBackupItem(&old, item.itemClass, item.type);
    if (former == nullptr) {
        return;
    }
    // Kept: added files have no copies, but a copy that bears the name of one goes with it.
    deleteAddedBackups(*former, item);
    deleteWrittenBackups(*former, item, DeletionReport::kSilent);
    // Kept: without an agent file the key is there all the same, with an empty value.
    const char* const agentFile = old.patchAgentFile;
    writeRemaining(old, agentFile != nullptr ? agentFile : "", path,
                   [&](const backupItem& other) { return !isSameItem(other, item); });
}

// Deletes the copies that the rollback made and those that it has put back, and takes the item out
// of the record. Nothing for an item without a destination, and when the record has no such item.
void forgetRolledBackItem(const backupItem& item) {
    char path[kPathCapacity];
    if (item.destination == nullptr || !constructRecordPath(item.destination, path, sizeof path)) {
        return;
    }
    RecordDocument record = openRecord(path);
    OwnedBackupStru old;
    // A record that cannot be parsed has no items, so there is nothing to take out.
    (void)parseRecord(record, old);
    const backupItem* const former = findBackupItem(&old, item.itemClass, item.type);
    if (former == nullptr) {
        return;
    }
    deleteWrittenBackups(item, item, DeletionReport::kSilent);
    deleteWrittenBackups(*former, item, DeletionReport::kSilent);
    writeRemaining(old, old.patchAgentFile, path,
                   [=](const backupItem& other) { return &other != former; });
}

}  // namespace

void deleteWrittenBackups(const backupItem& named, const backupItem& place, DeletionReport report) {
    const BackupDirectory directory(place);
    for (uint64_t i = 0; named.writtenList != nullptr && i < named.writtenCount; ++i) {
        directory.deleteFile(splitBackupEntry(named.writtenList[i]), report);
    }
}

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

void updateBackupIni(const backupStru* rollback) {
    const uint64_t count =
        rollback != nullptr && rollback->items != nullptr ? rollback->itemCount : 0;
    for (uint64_t i = 0; i < count; ++i) {
        forgetRolledBackItem(rollback->items[i]);
    }
    KV_INFO(kLevelProgress, "updateBackupIni: done.");
}
