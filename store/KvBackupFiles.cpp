#include "store/KvBackupFiles.h"

#include "fileop/KvFileOpUtil.h"
#include "fileop/KvPath.h"
#include "log/KvReport.h"
#include "store/KvBackupEntry.h"
#include "store/KvBackupName.h"

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

}  // namespace

void deleteWrittenBackups(const backupItem& named, const backupItem& place, DeletionReport report) {
    const BackupDirectory directory(place);
    for (uint64_t i = 0; named.writtenList != nullptr && i < named.writtenCount; ++i) {
        directory.deleteFile(splitBackupEntry(named.writtenList[i]), report);
    }
}

void deleteAddedBackups(const backupItem& named, const backupItem& place) {
    const BackupDirectory directory(place);
    for (uint64_t i = 0; named.addedList != nullptr && i < named.addedCount; ++i) {
        BackupEntryParts parts;
        parts.backupName = FileNameOf(named.addedList[i]);
        directory.deleteFile(parts, DeletionReport::kSilent);
    }
}
