#include "updater/KvAutoRollback.h"

#include "agent/KvAgentItem.h"
#include "fileop/KvFileOpUtil.h"
#include "log/KvReport.h"
#include "store/KvBackupEntry.h"
#include "store/KvBackupName.h"
#include "updater/KvRunPaths.h"

namespace {

constexpr char kModule[] = "KvVcUpdater";
constexpr AgentItemName kNoName = {"", "empty string"};
constexpr int kTrue = 1;

// The agent's side of the undoing of one item: it goes back from its result to its origin. The
// answer is kept across all items: one for which no call is made is judged by the item before it.
class AgentBracket {
  public:
    AgentBracket(const _PatchAgent& agent, backupItem& item, int& answer)
        : agent_(agent),
          item_(item),
          versions_{&item.resultVersion, &item.originVersion},
          texts_(item.itemClass, versions_),
          answer_(answer) {}

    void start() {
        if (agent_.version == PATCHAGENT_OLD) {
            (void)startOldItem(agent_, kNoName, item_.itemClass, answer_);  // see the answer above
            if (answer_ == 0) {
                KV_ERROR(kLevelProgress, "Start Class[%d] error but in auto rollback so ignore it",
                         shownClass());
            }
        } else if (agent_.version == PATCHAGENT_NEW) {
            answer_ = startNewItem(agent_, kNoName, item_.itemClass, item_.type, PATCHITEM_ROLLBACK,
                                   versions_, texts_);
            if (answer_ == 0) {
                KV_ERROR(kLevelProgress, "Start Class[%d] error but in auto rollback ignore it",
                         shownClass());
            }
        }
    }

    void end() {
        if (agent_.version == PATCHAGENT_OLD) {
            (void)endOldItem(agent_, kTrue, item_.itemClass, item_.type, versions_, answer_);
        } else if (agent_.version == PATCHAGENT_NEW) {
            // Shows the versions as they were before the agent saw them.
            answer_ = endNewItem(agent_, kTrue, versions_, texts_);
        } else {
            return;
        }
        if (answer_ == 0) {
            KV_ERROR(kLevelProgress, "End Class[%d] error but in auto rollback so ignore it",
                     shownClass());
        }
    }

  private:
    [[nodiscard]] int shownClass() const { return static_cast<int>(item_.itemClass); }

    const _PatchAgent& agent_;
    backupItem& item_;
    AgentItemVersions versions_;
    AgentItemVersionTexts texts_;
    int& answer_;
};

// File operations that fail are passed over here: the rest of the item is still worth undoing.
void deleteAddedFiles(const backupItem& item) {
    for (uint64_t i = 0; item.addedList != nullptr && i < item.addedCount; ++i) {
        const char* added = item.addedList[i];
        KV_INFO(kLevelProgress, "Auto Rollback in Update: Unlinking %s .",
                added != nullptr ? added : "Empty File");
        (void)KvFileOpUtil::xunlink(added);
    }
}

bool moveBack(const char* entry, const char* backupDir) {
    const BackupEntryParts parts = splitBackupEntry(entry);
    // An entry without a name would stand for all of the directory.
    if (parts.pieceCount != kBackupEntryPieces || parts.backupName.empty()) {
        KV_ERROR(kLevelProgress, "autoRollback: written file name failed.");
        return false;
    }
    char source[kLongPathCapacity];
    if (!backupFileOfEntry(parts, backupDir, source, sizeof source)) {
        KV_ERROR(kLevelProgress, "autoRollback: CatURIWithFile failed.");
        return false;
    }
    const char* target = parts.target.c_str();
    KV_INFO(kLevelProgress, "autoRollback moving files, from:%s, to:%s", source, target);
    (void)KvFileOpUtil::xmove(source, target, true);
    (void)KvFileOpUtil::xunlink(source);
    return true;
}

bool moveWrittenFilesBack(const backupItem& item) {
    char backupDir[kLongPathCapacity];
    constructBackupPath(item.destination, item.itemClass, item.type, backupDir, sizeof backupDir);
    for (uint64_t i = 0; item.writtenList != nullptr && i < item.writtenCount; ++i) {
        if (!moveBack(item.writtenList[i], backupDir)) {
            return false;
        }
    }
    return true;
}

}  // namespace

int autoRollback(_PatchAgent* agent, backupStru* run, unsigned mode) {
    if (agent == nullptr || run == nullptr || run->items == nullptr) {
        return kAutoRollbackDone;
    }
    int answer = 0;
    for (uint64_t i = run->itemCount; i > 0; --i) {
        backupItem& item = run->items[i - 1];
        if (item.destination == nullptr) {
            continue;
        }
        AgentBracket bracket(*agent, item, answer);
        bracket.start();
        if (mode == kUndoUpdate) {
            deleteAddedFiles(item);
        }
        if ((mode == kUndoUpdate || mode == kUndoRollback) && !moveWrittenFilesBack(item)) {
            return kAutoRollbackStopped;
        }
        bracket.end();
    }
    return kAutoRollbackDone;
}
