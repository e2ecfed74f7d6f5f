#include "store/KvBackupRemoval.h"

#include <cerrno>
#include <functional>

#include "base/KvFailure.h"
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
        isPlaced_ =
            makeBackupPath(place.destination, place.itemClass, place.type, path_, sizeof path_);
    }

    void deleteFile(const BackupEntryParts& parts, DeletionReport report) const {
        const char* const name = parts.backupName.c_str();
        // A damaged entry must not empty the directory as a pattern, nor stand for all of it.
        char file[kLongPathCapacity];
        if (!isPlaced_ || isWildcardName(name) ||
            !backupFileOfEntry(parts, path_, file, sizeof file)) {
            return;
        }
        const int result = report == DeletionReport::kAnnounced ? 0 : deleteOne(file);
        if (report != DeletionReport::kSilent) {
            KV_INFO(kLevelCallbackOnly, "Unlink %s returned with %d.", file, result);
        }
    }

  private:
    static int deleteOne(const char* file) {
        KvFailureScope causes;
        errno = 0;
        const int result = KvFileOpUtil::unlink(file);
        if (result != KvFileOpUtil::kDone && !reportNotedCause()) {
            reportCauseErrno(file, errno != 0 ? errno : EIO);
        }
        return result;
    }

    bool isPlaced_;
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

// Tells why a record could not be read or written: there is no other message about it.
void reportRecord(const char* path) {
    if (!reportNotedCause()) {
        reportCauseErrno(path, ENOMEM);
    }
}

// Writes `old` anew to `path` with the items that `isKept` accepts. False, told, when it keeps its
// former contents.
bool writeRemaining(const backupStru& old, const char* agentFile, const char* path,
                    const std::function<bool(const backupItem&)>& isKept) {
    const RecordDocument record = openRecord(nullptr);
    if (record) {
        writeRecord(*record, old, agentFile, isKept);
        if (record->flushTo(path)) {
            return true;
        }
    }
    reportRecord(path);
    return false;
}

// Reads the record at `path`; what it is missing was told.
bool readRecord(const char* path, backupStru& old) {
    const RecordDocument record = openRecord(path);
    if (!record) {
        reportRecord(path);
        return false;
    }
    return parseRecord(record, old);
}

// Takes every item of the class and type of `item` out of the record of its destination.
void forgetItem(const backupItem& item) {
    char path[kPathCapacity];
    if (!constructRecordPath(item.destination, path, sizeof path) || !KvFileOpUtil::isExist(path)) {
        return;
    }
    OwnedBackupStru old;
    KvFailureScope causes;
    KV_INFO(kLevelProgress, "Start Parsing the original backup ini(%s).", path);
    if (!readRecord(path, old)) {
        return;
    }
    const backupItem* const former = findBackupItem(&old, item.itemClass, item.type);
    if (former == nullptr) {
        return;
    }
    // Kept: without an agent file the key is there all the same, with an empty value.
    const char* const agentFile = old.patchAgentFile;
    if (!writeRemaining(old, agentFile != nullptr ? agentFile : "", path,
                        [&](const backupItem& other) { return !isSameItem(other, item); })) {
        return;
    }
    // Kept: added files have no copies, but a copy that bears the name of one goes with it.
    deleteAddedBackups(*former, item);
    deleteWrittenBackups(*former, item, DeletionReport::kSilent);
}

// Deletes the copies that the rollback made and those that it has put back, and takes the item out
// of the record. Nothing for an item without a destination, and when the record has no such item.
void forgetRolledBackItem(const backupItem& item) {
    char path[kPathCapacity];
    if (item.destination == nullptr || !constructRecordPath(item.destination, path, sizeof path)) {
        return;
    }
    KvFailureScope causes;
    OwnedBackupStru old;
    // A record that cannot be parsed has no items, so there is nothing to take out.
    (void)readRecord(path, old);
    const backupItem* const former = findBackupItem(&old, item.itemClass, item.type);
    if (former == nullptr) {
        return;
    }
    if (!writeRemaining(old, old.patchAgentFile, path,
                        [=](const backupItem& other) { return &other != former; })) {
        return;
    }
    deleteWrittenBackups(item, item, DeletionReport::kSilent);
    deleteWrittenBackups(*former, item, DeletionReport::kSilent);
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
