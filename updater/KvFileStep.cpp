#include "updater/KvFileStep.h"

#include "agent/KvFileCheck.h"
#include "base/KvScoped.h"
#include "base/KvText.h"
#include "log/KvReport.h"
#include "store/KvBackupEntry.h"
#include "store/KvBackupName.h"
#include "updater/KvItemContext.h"
#include "updater/KvRebootList.h"
#include "updater/KvRunPaths.h"

namespace {

constexpr char kModule[] = "KvVcUpdater";

using Entry = KvFileOpUtil::CallbackEntry;

int fail(const char* message) {
    KV_ERROR(kLevelProgress, "%s", message);
    return KvFileOpUtil::kDestinationNotWritable;
}

int outOfMemory() {
    return fail("callBackForUpdate: malloc failed.");
}

int recordNewFile(const Entry& entry, const ItemContext& context) {
    char* copy = nullptr;
    const HeapCopy copied = copyToHeap(entry.destination, copy);
    ScopedHeap<char> added(copy);
    if (copied == HeapCopy::kCopyFailed) {
        return fail("callBackForUpdate: Strncpy failed.");
    }
    if (copied != HeapCopy::kDone || !appendAddedFile(context.backup, added.get())) {
        return outOfMemory();
    }
    (void)added.release();  // the record's from here on
    KV_INFO(kLevelProgress, "callBackForUpdate: Create file (%s) done.", entry.destination);
    return KvFileOpUtil::kGoOn;
}

// An old file that could not be recorded must not leave its backup file behind.
int dropBackupFile(const char* backupFile) {
    const int result = outOfMemory();
    if (KvFileOpUtil::unlink(backupFile) != KvFileOpUtil::kDone) {
        KV_ERROR(kLevelProgress, "callBackForUpdate: unlink %s failed.", backupFile);
    }
    return result;
}

// Looks for the bare name in the working directory, on purpose: the backup file stays.
int dropBareName(const char* backupName) {
    const int result = fail("callBackForUpdate: Snprintf failed.");
    if (KvFileOpUtil::unlink(backupName) != KvFileOpUtil::kDone) {
        KV_ERROR(kLevelProgress, "callBackForUpdate: unlink failed.");
    }
    return result;
}

// kGoOn when the backup file is in the record; `recorded` is then the record's entry.
int recordOldFile(const Entry& entry, const ItemContext& context, const char* backupFile,
                  const char*& recorded) {
    const KvSimpleString name = KvFileOpUtil::getFileName(backupFile);
    char* text = nullptr;
    const HeapCopy made = makeBackupEntry(name.c_str(), entry.destination, text);
    ScopedHeap<char> written(text);
    if (made == HeapCopy::kCopyFailed) {
        return dropBareName(name.c_str());
    }
    if (made != HeapCopy::kDone || !appendWrittenFile(context.backup, written.get())) {
        return dropBackupFile(backupFile);
    }
    recorded = written.release();  // the record's from here on
    return KvFileOpUtil::kGoOn;
}

int saveOldFile(const Entry& entry, const ItemContext& context, FileDecision decision) {
    char directory[kLongPathCapacity];
    char backupFile[kLongPathCapacity];
    constructBackupPath(context.backup->destination, context.itemClass, context.type, directory,
                        sizeof directory);
    if (!context.names->make(directory, backupFile, sizeof backupFile)) {
        return fail("callBackForUpdate: crtUniFile failed.");
    }
    // A copy that fails leaves the backup file short; the update goes on all the same.
    (void)KvFileOpUtil::copy(entry.destination, backupFile, true);
    const char* recorded = nullptr;
    const int result = recordOldFile(entry, context, backupFile, recorded);
    if (result != KvFileOpUtil::kGoOn) {
        return result;
    }
    const bool deferred = decision == FileDecision::kReboot;
    if (deferred && !addRebootEntry(entry.path, entry.destination, kRebootReplace)) {
        return outOfMemory();
    }
    KV_INFO(kLevelProgress, "callBackForUpdate: Overwrite file(%s) done.", recorded);
    return deferred ? KvFileOpUtil::kSkip : KvFileOpUtil::kGoOn;
}

bool isFileToAskAbout(const Entry& entry) {
    return entry.phase == KvFileOpUtil::kBefore && entry.destination != nullptr &&
           !KvFileOpUtil::isDir(entry.destination);
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
    const FileDecision decision = isFileToAskAbout(*entry)
                                      ? decideFile(context.agent, entry->destination)
                                      : FileDecision::kWrite;
    if (decision == FileDecision::kStop) {
        return kUserCancel;
    }
    if (decision == FileDecision::kSkip) {
        return KvFileOpUtil::kSkip;
    }
    // New files are always written at once: there is nothing that a deferred copy would spare.
    if (entry->action == KvFileOpUtil::kNewFile && entry->phase == KvFileOpUtil::kAfter) {
        return recordNewFile(*entry, context);
    }
    if (entry->action == KvFileOpUtil::kOverwrite && entry->phase == KvFileOpUtil::kBefore) {
        return saveOldFile(*entry, context, decision);
    }
    return KvFileOpUtil::kGoOn;
}
