#include "updater/KvRollbackItem.h"

#include <sys/stat.h>

#include <cerrno>

#include "agent/KvAgent.h"
#include "base/KvFailure.h"
#include "base/KvScoped.h"
#include "fileop/KvDiskNames.h"
#include "fileop/KvFileOpUtil.h"
#include "fileop/KvPath.h"
#include "log/KvReport.h"
#include "store/KvBackupEntry.h"
#include "store/KvBackupRecord.h"
#include "store/KvSavedCopy.h"
#include "updater/KvRebootList.h"
#include "updater/KvSignals.h"

namespace {

constexpr char kModule[] = "KvVcUpdater";

// No item ends this low; the range is the one that the tree operations have.
constexpr int kLowestAccessFailure = -6;

// The four questions differ on purpose: "CheckFilie", and a colon that is missing once. No blank
// stands behind "rollbackItem:" in the last text but one. Searches of the log rely on all of it.
constexpr AgentFileWords wordsFor(const char* oldAgent, const char* newAgent) {
    return {{oldAgent, newAgent},
            false,    // the answer is not told
            nullptr,  // nor is a stop: the item says it
            "rollbackItem:unknown action for checkfile.",
            "rollbackItem: unknown patch agent version."};
}
constexpr AgentFileWords kAddedWords =
    wordsFor("Call PatchAgent CheckFile with: ", "Call PatchAgent CheckFileEx with ");
constexpr AgentFileWords kWrittenWords =
    wordsFor("Call PatchAgent CheckFilie with: ", "Call PatchAgent CheckFileEx with: ");

// One file on its way back. `source` is the saved copy to put in place; "" for an added file, which
// is deleted.
struct RollbackFile {
    const char* path;
    const char* source;
    RebootMarker marker;
    const AgentFileWords& words;
};

bool isDone(RollbackItemResult result) {
    return result == kItemRolledBack || result == kItemLeftFiles;
}

RollbackItemResult notSaved(const char* message) {
    KV_ERROR(kLevelProgress, "%s", message);
    return kItemNotSaved;
}

RollbackItemResult notSavedWithoutMemory(const char* path) {
    reportCauseErrno(path, ENOMEM);
    return notSaved("rollbackItem: malloc failed.");
}

// What an answer without a meaning decides: the same as for the file before, whose result is
// `last`. One that was deferred makes this one stay, too, but outside of the reboot list.
FileDecision decisionAfter(RollbackItemResult last) {
    return last == kItemLeftFiles ? FileDecision::kSkip : FileDecision::kWrite;
}

bool recordCopy(const char* copy, const char* path, backupItem* record) {
    char* text = nullptr;
    const HeapCopy made = makeBackupEntry(KvFileOpUtil::getFileName(copy).c_str(), path, text);
    ScopedHeap<char> entry(text);
    if (made == HeapCopy::kDone && appendWrittenFile(record, entry.get())) {
        (void)entry.release();  // the record's from here on
        return true;
    }
    // The name and the path are never null and always fit: the first text stands for the day when
    // an entry can fail otherwise than for lack of memory.
    reportCauseErrno(path, ENOMEM);
    KV_ERROR(kLevelProgress, "%s",
             made == HeapCopy::kCopyFailed ? "rollbackItem: Snprintf failed."
                                           : "rollbackItem: malloc failed.");
    return false;
}

bool deleteFile(const char* path) {
    errno = 0;
    // A null or empty path names no file.
    if (path == nullptr || *path == '\0' || KvFileOpUtil::unlink(path) == KvFileOpUtil::kDone) {
        return true;
    }
    noteFailure(path, errno != 0 ? errno : EIO);
    return false;
}

// The files of one item. Each gets the result of the one before and gives its own; the last one's
// is the item's.
class ItemRollback {
  public:
    ItemRollback(ItemContext& context, const backupItem& recorded)
        : context_(context), talk_(*context.agent), recorded_(recorded) {
        isPlaced_ = makeBackupPath(context.destination, context.itemClass, context.type, backupDir_,
                                   sizeof backupDir_);
    }

    RollbackItemResult run();

  private:
    RollbackItemResult undoWritten(const char* entry, RollbackItemResult last);
    RollbackItemResult undoFile(const RollbackFile& file, RollbackItemResult last);
    RollbackItemResult undoOddFile(const RollbackFile& file, RollbackItemResult last);
    SavedCopy save(const char* path, char (&copy)[kLongPathCapacity]);
    RollbackItemResult putBack(const RollbackFile& file);

    ItemContext& context_;
    Conversation talk_;
    const backupItem& recorded_;
    bool isPlaced_;
    char backupDir_[kLongPathCapacity];
};

RollbackItemResult ItemRollback::run() {
    RollbackItemResult result = kItemRolledBack;
    for (uint64_t i = 0; i < recorded_.addedCount && isDone(result); ++i) {
        result = undoFile({recorded_.addedList[i], "", kRebootDelete, kAddedWords}, result);
    }
    if (isDone(result)) {
        KV_INFO(kLevelProgress, "rollbackItem: rollback added file done.");
        for (uint64_t i = 0; i < recorded_.writtenCount && isDone(result); ++i) {
            result = undoWritten(recorded_.writtenList[i], result);
        }
    }
    if (!isDone(result)) {
        // The same words for both kinds of files.
        KV_ERROR(kLevelProgress, "rollbackItem: rollback added file failed.");
    }
    return result;
}

RollbackItemResult ItemRollback::undoWritten(const char* entry, RollbackItemResult last) {
    const BackupEntryParts parts = splitBackupEntry(entry);
    if (parts.pieceCount == 0 && entry != nullptr && *entry != '\0') {
        // There was no memory for its pieces. Gone on with, the item would count as rolled back and
        // lose the copy.
        return notSavedWithoutMemory(backupDir_);
    }
    char source[kLongPathCapacity];
    if (!isPlaced_ || !backupFileOfEntry(parts, backupDir_, source, sizeof source)) {
        return notSaved("rollbackItem: CatURIWithFile failed.");
    }
    return undoFile({parts.target.c_str(), source, kRebootPutBack, kWrittenWords}, last);
}

RollbackItemResult ItemRollback::undoFile(const RollbackFile& file, RollbackItemResult last) {
    if (isCancelled()) {
        return kItemCancelled;
    }
    char copy[kLongPathCapacity];
    KvFailureScope causes;
    switch (save(file.path, copy)) {
        case SavedCopy::kFailed:
            reportNotedCause();
            return notSaved("rollbackItem: crtUniFile failed.");
        case SavedCopy::kOdd:
            return undoOddFile(file, last);
        case SavedCopy::kDone:
            break;
    }
    const FileDecision decision = talk_->decideFile(file.path, file.words, decisionAfter(last));
    if (decision == FileDecision::kStop) {
        // The file was not touched, so its copy has no use.
        (void)KvFileOpUtil::unlink(copy);
        return kItemCancelled;
    }
    if (decision == FileDecision::kReboot && !addRebootEntry(file.source, file.path, file.marker)) {
        return notSavedWithoutMemory(file.path);
    }
    if (!recordCopy(copy, file.path, context_.backup)) {
        return kItemNotSaved;
    }
    return decision == FileDecision::kWrite ? putBack(file) : kItemLeftFiles;
}

// What is no regular file was not saved. The agent is asked all the same, and may leave it.
RollbackItemResult ItemRollback::undoOddFile(const RollbackFile& file, RollbackItemResult last) {
    FileDecision decision = FileDecision::kStop;
    {
        KvFailureScope causesOfAgent;
        decision = talk_->decideFile(file.path, file.words, decisionAfter(last));
    }
    if (decision == FileDecision::kStop) {
        return kItemCancelled;
    }
    if (decision == FileDecision::kSkip) {
        return kItemLeftFiles;
    }
    reportNotedCause();
    return kItemNotSaved;
}

SavedCopy ItemRollback::save(const char* path, char (&copy)[kLongPathCapacity]) {
    return isPlaced_ ? saveCopy(*context_.names, backupDir_, path, copy, sizeof copy)
                     : SavedCopy::kFailed;
}

RollbackItemResult ItemRollback::putBack(const RollbackFile& file) {
    if (*file.source == '\0') {
        if (deleteFile(file.path)) {
            return kItemRolledBack;
        }
    } else if (*file.path == '\0' || context_.names->isPutBack(file.source)) {
        return kItemRolledBack;  // nowhere to put it, or it is where it belongs
    } else {
        // Marked first: what could not be marked afterwards would be put back twice.
        if (!context_.names->markPutBack(file.source)) {
            noteFailure(file.path, ENOMEM);
        } else if (putCopyBack(file.source, file.path) != PutBack::kFailed) {
            return kItemRolledBack;
        }
    }
    reportNotedCause();
    return kItemNotPutBack;
}

RollbackItemResult readRecord(const char* path, backupStru& contents) {
    KvFailureScope causes;
    const RecordDocument document = openRecord(path);
    if (!document) {
        if (!reportNotedCause()) {
            reportCauseErrno(path, ENOMEM);
        }
        KV_ERROR(kLevelProgress, "rollbackItem: create KvIniUtil object failed.");
        return kItemNoRecord;
    }
    if (!parseRecord(document, contents)) {
        KV_ERROR(kLevelProgress, "rollbackItem: phaseIniForBackup failed.");
        return kItemNoRecord;
    }
    return kItemRolledBack;
}

RollbackItemResult findRecord(const char* destination, char (&path)[kLongPathCapacity]) {
    if (CatURIWithPath(path, sizeof path, destination, kBackupStoreName) != 0) {
        KV_ERROR(kLevelProgress, "rollbackItem: CatURIWithFile failed.");
        return kItemBadPath;
    }
    struct stat status {};
    const bool isPath = CatURIWithPath(path, sizeof path, path, kBackupRecordName) == 0;
    if (!isPath || stat(path, &status) != 0) {
        if (isPath && errno != ENOENT && errno != ENOTDIR) {
            reportCauseErrno(path, errno);
        }
        // Kept: "doesnot", which searches of the log rely on.
        KV_ERROR(kLevelProgress, "rollbackItem: %s doesnot exist.", path);
        return kItemNoRecord;
    }
    return kItemRolledBack;
}

}  // namespace

RollbackItemResult rollbackItem(ItemContext* context) {
    if (context == nullptr || context->agent == nullptr || context->backup == nullptr ||
        context->names == nullptr) {
        return kItemBadPath;
    }
    char path[kLongPathCapacity];
    OwnedBackupStru contents;
    RollbackItemResult result = findRecord(context->destination, path);
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

VcRunStatus statusOfItem(RollbackItemResult result) {
    if (result >= kLowestAccessFailure && result <= kItemNoRecord) {
        KV_ERROR(kLevelProgress, "rollbackWithPatchAgent: access failed.");
        return kStatusDiskAccess;
    }
    switch (result) {
        case kItemBadPath:
            KV_ERROR(kLevelProgress, "rollbackWithPatchAgent: bad arguments.");
            return kStatusBadDescription;
        case kItemCancelled:
            KV_ERROR(kLevelProgress, "rollbackWithPatchAgent: user cancel.");
            return kStatusAgentFailed;
        default:
            // Results outside the ranges count as success on purpose.
            return kStatusSuccess;
    }
}
