#include "updater/KvAutoRollback.h"

#include <sys/stat.h>

#include <cerrno>
#include <new>
#include <string>
#include <unordered_set>

#include "agent/KvAgent.h"
#include "base/KvFailure.h"
#include "fileop/KvFileOpUtil.h"
#include "fileop/KvSystem.h"
#include "log/KvReport.h"
#include "store/KvBackupEntry.h"
#include "store/KvSavedCopy.h"

namespace {

constexpr char kModule[] = "KvVcUpdater";
constexpr AgentItemName kNoName = {"", "empty string"};
constexpr int kTrue = 1;

// Kept: one of them lacks the "so".
constexpr AgentWords kStartIgnored = {"so ignore it", "ignore it"};

// A file that cannot be undone is told and passed over: the rest is still worth undoing.
void reportNotUndone(const char* path, int error) {
    if (!reportNotedCause()) {
        reportCauseErrno(path, error != 0 ? error : EIO);
    }
}

void deleteAddedFile(const char* added) {
    KV_INFO(kLevelProgress, "Auto Rollback in Update: Unlinking %s .",
            added != nullptr ? added : "Empty File");
    KvFailureScope causes;
    errno = 0;
    if (KvFileOpUtil::xunlink(added) != KvFileOpUtil::kDone && added != nullptr) {
        reportNotUndone(added, errno);
    }
}

void deleteAddedFiles(const backupItem& item) {
    for (uint64_t i = 0; item.addedList != nullptr && i < item.addedCount; ++i) {
        deleteAddedFile(item.addedList[i]);
    }
    // The run broke off before this one was whole; perhaps before it was there.
    const char* const announced = announcedFile(item);
    struct stat status {};
    if (announced != nullptr && sysLstat(announced, status) == 0) {
        deleteAddedFile(announced);
    }
}

// Puts files back. Of several copies of one file the first one made holds what was there before the
// run. The items are undone from the last to the first: those of an update against the order in
// which they were made, so that the first copy comes last of its own accord but within an item;
// those of a rollback in that order.
class PuttingBack {
  public:
    explicit PuttingBack(AutoRollbackMode mode) : mode_(mode) {}

    [[nodiscard]] AutoRollbackResult undoItem(const backupItem& item);

  private:
    [[nodiscard]] AutoRollbackResult undoEntry(const char* entry, const char* backupDir);
    [[nodiscard]] bool isFirst(const char* target);

    AutoRollbackMode mode_;
    std::unordered_set<std::string> seen_;
};

// Without memory a file counts as the first: it is better put back twice than not at all.
bool PuttingBack::isFirst(const char* target) {
    try {
        return seen_.insert(target).second;
    } catch (const std::bad_alloc&) {
        return true;
    }
}

AutoRollbackResult PuttingBack::undoEntry(const char* entry, const char* backupDir) {
    const BackupEntryParts parts = splitBackupEntry(entry);
    // An entry without a name would stand for all of the directory.
    if (parts.pieceCount != kBackupEntryPieces || parts.backupName.empty()) {
        if (parts.pieceCount == 0 && entry != nullptr && *entry != '\0') {
            reportCauseErrno(backupDir, ENOMEM);
        }
        KV_ERROR(kLevelProgress, "autoRollback: written file name failed.");
        return kAutoRollbackStopped;
    }
    char source[kLongPathCapacity];
    if (backupDir == nullptr || !backupFileOfEntry(parts, backupDir, source, sizeof source)) {
        KV_ERROR(kLevelProgress, "autoRollback: CatURIWithFile failed.");
        return kAutoRollbackStopped;
    }
    const char* target = parts.target.c_str();
    KV_INFO(kLevelProgress, "autoRollback moving files, from:%s, to:%s", source, target);
    KvFailureScope causes;
    if (isFirst(target) && putCopyBack(source, target) != PutBack::kDone) {
        // Its copy is the only one there is.
        reportNotUndone(target, 0);
        return kAutoRollbackDone;
    }
    errno = 0;
    if (KvFileOpUtil::xunlink(source) != KvFileOpUtil::kDone) {
        reportNotUndone(source, errno);
    }
    return kAutoRollbackDone;
}

AutoRollbackResult PuttingBack::undoItem(const backupItem& item) {
    char backupDir[kLongPathCapacity];
    const bool isPlaced =
        makeBackupPath(item.destination, item.itemClass, item.type, backupDir, sizeof backupDir);
    if (mode_ == kUndoUpdate) {
        seen_.clear();
    }
    for (uint64_t i = 0; item.writtenList != nullptr && i < item.writtenCount; ++i) {
        if (undoEntry(item.writtenList[i], isPlaced ? backupDir : nullptr) ==
            kAutoRollbackStopped) {
            return kAutoRollbackStopped;
        }
    }
    return kAutoRollbackDone;
}

// One automatic rollback.
class Undoing {
  public:
    Undoing(Agent& agent, AutoRollbackMode mode) : agent_(agent), mode_(mode), files_(mode) {}

    [[nodiscard]] AutoRollbackResult undoItem(backupItem& item);

  private:
    [[nodiscard]] AutoRollbackResult undoFiles(const backupItem& item);

    Agent& agent_;
    AutoRollbackMode mode_;
    PuttingBack files_;
    // Kept across all items: the old interface makes no call for a class that it does not know, and
    // such an item is judged by what the agent said last, of whatever item.
    int answer_ = PATCHAGENT_NO;
};

AutoRollbackResult Undoing::undoFiles(const backupItem& item) {
    if (mode_ == kUndoUpdate) {
        deleteAddedFiles(item);
    }
    return mode_ < kUndoNothing ? files_.undoItem(item) : kAutoRollbackDone;
}

AutoRollbackResult Undoing::undoItem(backupItem& item) {
    const int shownClass = static_cast<int>(item.itemClass);
    const AgentItem back(kNoName, item.itemClass, item.type, PATCHITEM_ROLLBACK,
                         &item.resultVersion, &item.originVersion);
    if (agent_.startItem(back, answer_) != ItemCall::kUnknownInterface &&
        answer_ == PATCHAGENT_NO) {
        KV_ERROR(kLevelProgress, "Start Class[%d] error but in auto rollback %s", shownClass,
                 agent_.wordOf(kStartIgnored));
    }
    if (undoFiles(item) == kAutoRollbackStopped) {
        return kAutoRollbackStopped;
    }
    if (agent_.endItem(kTrue, back, answer_) != ItemCall::kUnknownInterface &&
        answer_ == PATCHAGENT_NO) {
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
    Undoing undoing(*talk, static_cast<AutoRollbackMode>(mode));
    for (uint64_t i = run->itemCount; i > 0; --i) {
        backupItem& item = run->items[i - 1];
        if (item.destination != nullptr && undoing.undoItem(item) == kAutoRollbackStopped) {
            return kAutoRollbackStopped;
        }
    }
    return kAutoRollbackDone;
}
