#include "updater/KvFileStep.h"

#include "base/KvScoped.h"
#include "base/KvText.h"
#include "log/KvReport.h"
#include "updater/KvBackupEntry.h"
#include "updater/KvBackupName.h"
#include "updater/KvFileCheck.h"
#include "updater/KvItemContext.h"
#include "updater/KvRebootList.h"
#include "updater/KvRunPaths.h"

namespace {

constexpr char kModule[] = "KvVcUpdater";

using Entry = KvFileOpUtil::CallbackEntry;

int outOfMemory() {
    KV_ERROR(kLevelProgress, "callBackForUpdate: malloc failed.");
    return KvFileOpUtil::kDestinationNotWritable;
}

int recordNewFile(const Entry& entry, const ItemContext& context) {
    ScopedHeap<char> added(Str_Dup(entry.destination));
    if (!added || !appendAddedFile(context.backup, added.get())) {
        return outOfMemory();
    }
    (void)added.release();  // the record's from here on
    KV_INFO(kLevelProgress, "callBackForUpdate: Create file (%s) done.", entry.destination);
    return KvFileOpUtil::kGoOn;
}

// An entry that could not be recorded must not leave its backup file behind.
int dropBackupFile(const char* backupFile) {
    const int result = outOfMemory();
    if (KvFileOpUtil::unlink(backupFile) != KvFileOpUtil::kDone) {
        KV_ERROR(kLevelProgress, "callBackForUpdate: unlink %s failed.", backupFile);
    }
    return result;
}

int saveOldFile(const Entry& entry, const ItemContext& context, FileDecision decision) {
    char directory[kLongPathCapacity];
    char backupFile[kLongPathCapacity];
    constructBackupPath(context.backup->destination, context.itemClass, context.type, directory,
                        sizeof directory);
    if (!crtUniFile(directory, backupFile, sizeof backupFile)) {
        KV_ERROR(kLevelProgress, "callBackForUpdate: crtUniFile failed.");
        return KvFileOpUtil::kDestinationNotWritable;
    }
    // A copy that fails leaves the backup file short; the update goes on all the same.
    (void)KvFileOpUtil::copy(entry.destination, backupFile, true);
    ScopedHeap<char> written(
        makeBackupEntry(KvFileOpUtil::getFileName(backupFile).c_str(), entry.destination));
    if (!written || !appendWrittenFile(context.backup, written.get())) {
        return dropBackupFile(backupFile);
    }
    const char* recorded = written.release();  // the record's from here on
    const bool deferred = decision == FileDecision::kReboot;
    if (deferred && !addRebootEntry(entry.path, entry.destination, kRebootDelete)) {
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
    const auto& context = *static_cast<const ItemContext*>(entry->userData);
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
