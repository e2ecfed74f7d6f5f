#include "updater/KvFileStep.h"

#include <sys/stat.h>

#include <cerrno>

#include "agent/KvAgent.h"
#include "base/KvFailure.h"
#include "base/KvScoped.h"
#include "fileop/KvSystem.h"
#include "log/KvReport.h"
#include "store/KvBackupEntry.h"
#include "store/KvSavedCopy.h"
#include "updater/KvItemStep.h"
#include "updater/KvRebootList.h"
#include "updater/KvSignals.h"

namespace {

constexpr char kModule[] = "KvVcUpdater";

using Entry = KvFileOpUtil::CallbackEntry;

constexpr AgentFileWords kFileWords = {
    {nullptr, nullptr},
    true,  // the answer is told
    "callBackForUpdate: check file failed.",
    "callBackForUpdate: check file return unknown value.",
    nullptr,
};

// What stops the copy when an old file could not be saved, or a new one recorded.
KvFileOpUtil::Result fail(const char* message) {
    KV_ERROR(kLevelProgress, "%s", message);
    return KvFileOpUtil::kDestinationNotWritable;
}

KvFileOpUtil::Result failWithoutMemory(const char* path) {
    reportCauseErrno(path, ENOMEM);
    return fail("callBackForUpdate: malloc failed.");
}

using Recorder = bool (*)(backupItem* item, char* path);

int addNewFile(const Entry& entry, const ItemContext& context, Recorder record) {
    char* copy = nullptr;
    const HeapCopy copied = copyToHeap(entry.destination, copy);
    ScopedHeap<char> added(copy);
    if (copied == HeapCopy::kCopyFailed) {
        return fail("callBackForUpdate: Strncpy failed.");
    }
    if (copied != HeapCopy::kDone || !record(context.backup, added.get())) {
        return failWithoutMemory(entry.destination);
    }
    (void)added.release();  // the record's from here on
    return KvFileOpUtil::kGoOn;
}

// A file that breaks off while it is written must be known to the undoing. What is there already,
// though nobody may read it, is not for the undoing to delete before this run has written to it.
int announceNewFile(const Entry& entry, const ItemContext& context) {
    struct stat status {};
    const bool isMissing =
        entry.destination != nullptr && sysLstat(entry.destination, status) != 0 && errno == ENOENT;
    return isMissing ? addNewFile(entry, context, announceAddedFile) : int{KvFileOpUtil::kGoOn};
}

int recordNewFile(const Entry& entry, const ItemContext& context) {
    if (!confirmAddedFile(context.backup, entry.destination)) {
        const int added = addNewFile(entry, context, appendAddedFile);
        if (added != KvFileOpUtil::kGoOn) {
            return added;
        }
    }
    KV_INFO(kLevelProgress, "callBackForUpdate: Create file (%s) done.", entry.destination);
    return KvFileOpUtil::kGoOn;
}

// An old file that could not be recorded must not leave its backup file behind.
void dropBackupFile(const char* backupFile) {
    if (KvFileOpUtil::unlink(backupFile) != KvFileOpUtil::kDone) {
        reportNotedCause();
        KV_ERROR(kLevelProgress, "callBackForUpdate: unlink %s failed.", backupFile);
    }
}

// Looks for the bare name in the working directory, on purpose: the backup file stays.
void dropBareName(const char* backupName) {
    if (KvFileOpUtil::unlink(backupName) != KvFileOpUtil::kDone) {
        KV_ERROR(kLevelProgress, "callBackForUpdate: unlink failed.");
    }
}

// The record's entry for the file, or null when it could not be made, which is said.
const char* recordOldFile(const Entry& entry, const ItemContext& context, const char* backupFile) {
    const KvSimpleString name = KvFileOpUtil::getFileName(backupFile);
    char* text = nullptr;
    const HeapCopy made = makeBackupEntry(name.c_str(), entry.destination, text);
    ScopedHeap<char> written(text);
    if (made == HeapCopy::kCopyFailed) {
        (void)fail("callBackForUpdate: Snprintf failed.");
        dropBareName(name.c_str());
        return nullptr;
    }
    if (made != HeapCopy::kDone || !appendWrittenFile(context.backup, written.get())) {
        (void)failWithoutMemory(entry.destination);
        dropBackupFile(backupFile);
        return nullptr;
    }
    return written.release();  // the record's from here on
}

// What is no regular file is nothing to save, and nothing that the copy could write to.
SavedCopy saveOldContent(const Entry& entry, const ItemContext& context,
                         char (&backupFile)[kLongPathCapacity]) {
    char directory[kLongPathCapacity];
    KvFailureScope causes;
    const bool isPlaced = makeBackupPath(context.backup->destination, context.itemClass,
                                         context.type, directory, sizeof directory);
    const SavedCopy saved = isPlaced ? saveCopy(*context.names, directory, entry.destination,
                                                backupFile, sizeof backupFile)
                                     : SavedCopy::kFailed;
    if (saved != SavedCopy::kDone) {
        reportNotedCause();
    }
    if (saved == SavedCopy::kFailed) {
        (void)fail("callBackForUpdate: crtUniFile failed.");
    }
    return saved;
}

int saveOldFile(const Entry& entry, const ItemContext& context, FileDecision decision) {
    char backupFile[kLongPathCapacity];
    if (saveOldContent(entry, context, backupFile) != SavedCopy::kDone) {
        return KvFileOpUtil::kDestinationNotWritable;
    }
    const char* recorded = recordOldFile(entry, context, backupFile);
    if (recorded == nullptr) {
        return KvFileOpUtil::kDestinationNotWritable;
    }
    const bool isDeferred = decision == FileDecision::kReboot;
    if (isDeferred && !addRebootEntry(entry.path, entry.destination, kRebootReplace)) {
        return failWithoutMemory(entry.destination);
    }
    KV_INFO(kLevelProgress, "callBackForUpdate: Overwrite file(%s) done.", recorded);
    return isDeferred ? KvFileOpUtil::kSkip : KvFileOpUtil::kGoOn;
}

// The agent is asked once about each file, and not about directories.
FileDecision decide(const Entry& entry, _PatchAgent& agent) {
    if (entry.phase != KvFileOpUtil::kBefore || entry.destination == nullptr ||
        KvFileOpUtil::isDir(entry.destination)) {
        return FileDecision::kWrite;
    }
    if (isCancelled()) {
        return FileDecision::kStop;
    }
    return Conversation(agent)->decideFile(entry.destination, kFileWords, FileDecision::kWrite);
}

}  // namespace

int callBackForUpdate(Entry* entry) {
    if (entry == nullptr || entry->userData == nullptr) {
        return KvFileOpUtil::kBadParameters;
    }
    const auto& context = *static_cast<const ItemContext*>(entry->userData);
    if (context.agent == nullptr || context.backup == nullptr || context.names == nullptr) {
        return KvFileOpUtil::kBadParameters;
    }
    const FileDecision decision = decide(*entry, *context.agent);
    if (decision == FileDecision::kStop) {
        return kUserCancel;
    }
    if (decision == FileDecision::kSkip) {
        return KvFileOpUtil::kSkip;
    }
    // New files are always written at once: there is nothing that a deferred copy would spare.
    if (entry->action == KvFileOpUtil::kNewFile) {
        return entry->phase == KvFileOpUtil::kAfter ? recordNewFile(*entry, context)
                                                    : announceNewFile(*entry, context);
    }
    if (entry->action == KvFileOpUtil::kOverwrite && entry->phase == KvFileOpUtil::kBefore) {
        return saveOldFile(*entry, context, decision);
    }
    return KvFileOpUtil::kGoOn;
}
