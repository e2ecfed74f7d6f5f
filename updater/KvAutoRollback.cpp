#include "updater/KvAutoRollback.h"

#include "agent/KvAgent.h"
#include "fileop/KvFileOpUtil.h"
#include "log/KvReport.h"
#include "store/KvBackupEntry.h"
#include "store/KvBackupName.h"

namespace {

constexpr char kModule[] = "KvVcUpdater";
constexpr AgentItemName kNoName = {"", "empty string"};
constexpr int kTrue = 1;

// Kept: one of them lacks the "so".
constexpr AgentWords kStartIgnored = {"so ignore it", "ignore it"};

// File operations that fail are passed over here: the rest of the item is still worth undoing.
void deleteAddedFiles(const backupItem& item) {
    for (uint64_t i = 0; item.addedList != nullptr && i < item.addedCount; ++i) {
        const char* added = item.addedList[i];
        KV_INFO(kLevelProgress, "Auto Rollback in Update: Unlinking %s .",
                added != nullptr ? added : "Empty File");
        (void)KvFileOpUtil::xunlink(added);
    }
}

AutoRollbackResult moveBack(const char* entry, const char* backupDir) {
    const BackupEntryParts parts = splitBackupEntry(entry);
    // An entry without a name would stand for all of the directory.
    if (parts.pieceCount != kBackupEntryPieces || parts.backupName.empty()) {
        KV_ERROR(kLevelProgress, "autoRollback: written file name failed.");
        return kAutoRollbackStopped;
    }
    char source[kLongPathCapacity];
    if (!backupFileOfEntry(parts, backupDir, source, sizeof source)) {
        KV_ERROR(kLevelProgress, "autoRollback: CatURIWithFile failed.");
        return kAutoRollbackStopped;
    }
    const char* target = parts.target.c_str();
    KV_INFO(kLevelProgress, "autoRollback moving files, from:%s, to:%s", source, target);
    (void)KvFileOpUtil::xmove(source, target, true);
    (void)KvFileOpUtil::xunlink(source);
    return kAutoRollbackDone;
}

AutoRollbackResult moveWrittenFilesBack(const backupItem& item) {
    char backupDir[kLongPathCapacity];
    constructBackupPath(item.destination, item.itemClass, item.type, backupDir, sizeof backupDir);
    for (uint64_t i = 0; item.writtenList != nullptr && i < item.writtenCount; ++i) {
        if (moveBack(item.writtenList[i], backupDir) == kAutoRollbackStopped) {
            return kAutoRollbackStopped;
        }
    }
    return kAutoRollbackDone;
}

AutoRollbackResult undoFiles(const backupItem& item, AutoRollbackMode mode) {
    if (mode == kUndoUpdate) {
        deleteAddedFiles(item);
    }
    return mode < kUndoNothing ? moveWrittenFilesBack(item) : kAutoRollbackDone;
}

// `answer` is kept across all items: the old interface makes no call for a class that it does not
// know, and such an item is judged by what the agent said last, of whatever item.
AutoRollbackResult undoItem(Agent& agent, backupItem& item, AutoRollbackMode mode, int& answer) {
    const int shownClass = static_cast<int>(item.itemClass);
    const AgentItem back(kNoName, item.itemClass, item.type, PATCHITEM_ROLLBACK,
                         &item.resultVersion, &item.originVersion);
    if (agent.startItem(back, answer) != ItemCall::kUnknownInterface && answer == PATCHAGENT_NO) {
        KV_ERROR(kLevelProgress, "Start Class[%d] error but in auto rollback %s", shownClass,
                 agent.wordOf(kStartIgnored));
    }
    if (undoFiles(item, mode) == kAutoRollbackStopped) {
        return kAutoRollbackStopped;
    }
    if (agent.endItem(kTrue, back, answer) != ItemCall::kUnknownInterface &&
        answer == PATCHAGENT_NO) {
        KV_ERROR(kLevelProgress, "End Class[%d] error but in auto rollback so ignore it",
                 shownClass);
    }
    return kAutoRollbackDone;
}

}  // namespace

int autoRollback(_PatchAgent* agent, backupStru* run, unsigned mode) {
    if (agent == nullptr || run == nullptr || run->items == nullptr) {
        return kAutoRollbackDone;
    }
    Conversation talk(*agent);
    int answer = PATCHAGENT_NO;
    for (uint64_t i = run->itemCount; i > 0; --i) {
        backupItem& item = run->items[i - 1];
        if (item.destination != nullptr &&
            undoItem(*talk, item, static_cast<AutoRollbackMode>(mode), answer) ==
                kAutoRollbackStopped) {
            return kAutoRollbackStopped;
        }
    }
    return kAutoRollbackDone;
}
