#include "updater/KvRollbackItem.h"

#include <sys/stat.h>

#include "base/KvScoped.h"
#include "fileop/KvDiskNames.h"
#include "fileop/KvFileOpUtil.h"
#include "fileop/KvPath.h"
#include "log/KvReport.h"
#include "store/KvBackupEntry.h"
#include "store/KvBackupName.h"
#include "store/KvBackupRecord.h"
#include "updater/KvRebootList.h"

namespace {

constexpr char kModule[] = "KvVcUpdater";

// How the question about a file is logged for each interface; the four differ on purpose.
struct CheckWords {
    const char* oldAgent;
    const char* newAgent;
};
constexpr CheckWords kAddedWords = {"Call PatchAgent CheckFile with: ",
                                    "Call PatchAgent CheckFileEx with "};
constexpr CheckWords kWrittenWords = {"Call PatchAgent CheckFilie with: ",
                                      "Call PatchAgent CheckFileEx with: "};

// One file on its way back. `source` is the saved copy to put in place; "" for an added file,
// which is deleted.
struct RollbackFile {
    const char* path;
    const char* source;
    RebootMarker marker;
    CheckWords words;
};

class ItemRollback {
  public:
    ItemRollback(ItemContext& context, const backupItem& recorded)
        : context_(context), recorded_(recorded) {
        constructBackupPath(context.destination, context.itemClass, context.type, backupDir_,
                            sizeof backupDir_);
    }

    int run();

  private:
    [[nodiscard]] bool isDone() const {
        return status_ == kItemRolledBack || status_ == kItemLeftFiles;
    }

    void undoAdded(const char* path);
    void undoWritten(const char* entry);
    bool prepareFile(const RollbackFile& file);
    bool takeAnswer(const RollbackFile& file, const char* copy);
    void askAgent(const RollbackFile& file);
    bool recordCopy(const char* copy, const char* path);

    ItemContext& context_;
    const backupItem& recorded_;
    char backupDir_[kLongPathCapacity];
    int answer_ = 0;  // an unknown interface keeps the last one
    // Carried from the added files into the written ones: an answer without meaning keeps it.
    int status_ = kItemRolledBack;
};

int ItemRollback::run() {
    for (uint64_t i = 0; i < recorded_.addedCount && isDone(); ++i) {
        undoAdded(recorded_.addedList[i]);
    }
    if (isDone()) {
        KV_INFO(kLevelProgress, "rollbackItem: rollback added file done.");
        for (uint64_t i = 0; i < recorded_.writtenCount && isDone(); ++i) {
            undoWritten(recorded_.writtenList[i]);
        }
    }
    if (!isDone()) {
        // The same words for both kinds of files.
        KV_ERROR(kLevelProgress, "rollbackItem: rollback added file failed.");
    }
    return status_;
}

void ItemRollback::undoAdded(const char* path) {
    const RollbackFile file{path, "", kRebootDelete, kAddedWords};
    if (prepareFile(file) && status_ != kItemLeftFiles) {
        // A file that cannot be deleted stays; the rollback goes on.
        (void)KvFileOpUtil::unlink(path);
    }
}

void ItemRollback::undoWritten(const char* entry) {
    const BackupEntryParts parts = splitBackupEntry(entry);
    if (parts.pieceCount == 0 && entry != nullptr && *entry != '\0') {
        // There was no memory for its pieces. Gone on with, the item would count as rolled back
        // and lose the copy.
        KV_ERROR(kLevelProgress, "rollbackItem: malloc failed.");
        status_ = kItemNotSaved;
        return;
    }
    char source[kLongPathCapacity];
    if (!backupFileOfEntry(parts, backupDir_, source, sizeof source)) {
        KV_ERROR(kLevelProgress, "rollbackItem: CatURIWithFile failed.");
        status_ = kItemNotSaved;
        return;
    }
    const RollbackFile file{parts.target.c_str(), source, kRebootPutBack, kWrittenWords};
    if (prepareFile(file) && status_ != kItemLeftFiles) {
        // A file that cannot be put back stays in the store; the rollback goes on.
        (void)KvFileOpUtil::move(source, file.path, true);
    }
}

// Saves the file's present content, asks the agent and records the copy. False when the item
// ends here; the status then says why.
bool ItemRollback::prepareFile(const RollbackFile& file) {
    char copy[kLongPathCapacity];
    if (!context_.names->make(backupDir_, copy, sizeof copy)) {
        KV_ERROR(kLevelProgress, "rollbackItem: crtUniFile failed.");
        status_ = kItemNotSaved;
        return false;
    }
    // A file that is gone already leaves an empty copy.
    (void)KvFileOpUtil::copy(file.path, copy, true);
    askAgent(file);
    return takeAnswer(file, copy) && recordCopy(copy, file.path);
}

void ItemRollback::askAgent(const RollbackFile& file) {
    if (context_.agent->version == PATCHAGENT_OLD) {
        KV_INFO(kLevelProgress, "%s%s", file.words.oldAgent, file.path);
        answer_ = context_.agent->CheckFile(file.path);
    } else if (context_.agent->version == PATCHAGENT_NEW) {
        KV_INFO(kLevelProgress, "%s%s", file.words.newAgent, file.path);
        answer_ = context_.agent->CheckFileEx(file.path);
    } else {
        KV_ERROR(kLevelProgress, "rollbackItem: unknown patch agent version.");
    }
}

bool ItemRollback::takeAnswer(const RollbackFile& file, const char* copy) {
    switch (answer_) {
        case CHECKFILE_ERROR:
            // Nothing was touched yet, so the copy has no use.
            (void)KvFileOpUtil::unlink(copy);
            status_ = kItemCancelled;
            return false;
        case CHECKFILE_SKIP:
            status_ = kItemLeftFiles;
            return true;
        case CHECKFILE_REPLACE:
            status_ = kItemRolledBack;
            return true;
        case CHECKFILE_REBOOT:
            status_ = kItemLeftFiles;
            if (!addRebootEntry(file.source, file.path, file.marker)) {
                KV_ERROR(kLevelProgress, "rollbackItem: malloc failed.");
                status_ = kItemNotSaved;
            }
            return status_ == kItemLeftFiles;
        default:
            // Kept: no blank behind the colon, which searches of the log rely on.
            KV_ERROR(kLevelProgress, "rollbackItem:unknown action for checkfile.");
            return true;
    }
}

bool ItemRollback::recordCopy(const char* copy, const char* path) {
    char* text = nullptr;
    const HeapCopy made = makeBackupEntry(KvFileOpUtil::getFileName(copy).c_str(), path, text);
    ScopedHeap<char> entry(text);
    if (made == HeapCopy::kDone && appendWrittenFile(context_.backup, entry.get())) {
        (void)entry.release();  // the record's from here on
        return true;
    }
    // The name and the path are never null and always fit: the first text stands for the day
    // when an entry can fail otherwise than for lack of memory.
    KV_ERROR(kLevelProgress, "%s",
             made == HeapCopy::kCopyFailed ? "rollbackItem: Snprintf failed."
                                           : "rollbackItem: malloc failed.");
    status_ = kItemNotSaved;
    return false;
}

int readRecord(const char* path, backupStru& contents) {
    const RecordDocument document = openRecord(path);
    if (!document) {
        KV_ERROR(kLevelProgress, "rollbackItem: create KvIniUtil object failed.");
        return kItemNoRecord;
    }
    if (!parseRecord(document, contents)) {
        KV_ERROR(kLevelProgress, "rollbackItem: phaseIniForBackup failed.");
        return kItemNoRecord;
    }
    return kItemRolledBack;
}

int findRecord(const char* destination, char (&path)[kLongPathCapacity]) {
    if (CatURIWithPath(path, sizeof path, destination, kBackupStoreName) != 0) {
        KV_ERROR(kLevelProgress, "rollbackItem: CatURIWithFile failed.");
        return kItemBadPath;
    }
    struct stat status {};
    if (CatURIWithPath(path, sizeof path, path, kBackupRecordName) != 0 ||
        stat(path, &status) != 0) {
        // Kept: "doesnot", which searches of the log rely on.
        KV_ERROR(kLevelProgress, "rollbackItem: %s doesnot exist.", path);
        return kItemNoRecord;
    }
    return kItemRolledBack;
}

}  // namespace

int rollbackItem(ItemContext* context) {
    if (context == nullptr || context->agent == nullptr || context->backup == nullptr ||
        context->names == nullptr) {
        return kItemBadPath;
    }
    char path[kLongPathCapacity];
    OwnedBackupStru contents;
    int result = findRecord(context->destination, path);
    if (result == kItemRolledBack) {
        result = readRecord(path, contents);
    }
    if (result != kItemRolledBack) {
        return result;
    }
    KV_INFO(kLevelProgress, "rollbackItem: find out the item with same class/type.");
    const backupItem* recorded = findBackupItem(&contents, context->itemClass, context->type);
    if (recorded == nullptr) {
        KV_INFO(kLevelProgress, "rollbackItem: item not found.");
        return kItemNotRecorded;
    }
    KV_INFO(kLevelProgress, "rollbackItem: item found.");
    return ItemRollback(*context, *recorded).run();
}
