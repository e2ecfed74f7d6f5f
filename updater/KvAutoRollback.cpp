#include "updater/KvAutoRollback.h"

#include "fileop/KvFileOpUtil.h"
#include "log/KvReport.h"
#include "updater/KvBackupEntry.h"
#include "updater/KvBackupName.h"
#include "updater/KvItemStep.h"
#include "updater/KvRunPaths.h"

namespace {

constexpr char kModule[] = "KvVcUpdater";
constexpr char kNoName[] = "";
constexpr int kTrue = 1;
constexpr size_t kVersionTextCapacity = 256;

// The agent's side of the rollback. One answer is kept across all items: an item for which no call
// is made is judged by the answer of the item before it.
class AgentBracket {
  public:
    explicit AgentBracket(_PatchAgent* agent) : agent_(agent) {}

    void start(backupItem& item) {
        if (agent_->version == PATCHAGENT_OLD) {
            startOld(item);
        } else if (agent_->version == PATCHAGENT_NEW) {
            startNew(item);
        }
    }

    void end(backupItem& item) {
        if (agent_->version == PATCHAGENT_OLD) {
            endOld(item);
        } else if (agent_->version == PATCHAGENT_NEW) {
            endNew(item);
        } else {
            return;
        }
        if (answer_ == 0) {
            KV_ERROR(kLevelProgress, "End Class[%d] error but in auto rollback so ignore it",
                     static_cast<int>(item.itemClass));
        }
    }

  private:
    void startOld(const backupItem& item) {
        switch (item.itemClass) {
            case kClassEngine:
                KV_INFO(kLevelProgress, "Call PatchAgent StartEngine with: empty string");
                answer_ = agent_->StartEngine(kNoName);
                break;
            case kClassPattern:
                KV_INFO(kLevelProgress, "Call PatchAgent StartPattern with: empty string");
                answer_ = agent_->StartPattern(kNoName);
                break;
            case kClassProduct:
                KV_INFO(kLevelProgress, "Call PatchAgent StartProduct with: empty string");
                answer_ = agent_->StartProduct(kNoName);
                break;
            default:
                break;
        }
        if (answer_ == 0) {
            KV_ERROR(kLevelProgress, "Start Class[%d] error but in auto rollback so ignore it",
                     static_cast<int>(item.itemClass));
        }
    }

    void startNew(backupItem& item) {
        printVersions(item);
        if (item.itemClass == kClassProduct) {
            KV_INFO(kLevelProgress,
                    "Call PatchAgent StartItem with: empty string, %u, %u, 0x%x, %s, %s",
                    item.itemClass, item.type, PATCHITEM_ROLLBACK, resultText_, originText_);
        } else {
            KV_INFO(kLevelProgress,
                    "Call PatchAgent StartItem with: empty string, %u, 0x%x, 0x%x, %s, %s",
                    item.itemClass, item.type, PATCHITEM_ROLLBACK, resultText_, originText_);
        }
        answer_ = agent_->StartItem(kNoName, item.itemClass, item.type, PATCHITEM_ROLLBACK,
                                    &item.resultVersion, &item.originVersion);
        if (answer_ == 0) {
            KV_ERROR(kLevelProgress, "Start Class[%d] error but in auto rollback ignore it",
                     static_cast<int>(item.itemClass));
        }
    }

    void endOld(const backupItem& item) {
        const unsigned from = item.resultVersion.version;
        const unsigned to = item.originVersion.version;
        switch (item.itemClass) {
            case kClassEngine:
                KV_INFO(kLevelProgress, "Call PatchAgent EndEngine with: TRUE, 0x%x, 0x%x", from,
                        to);
                answer_ = agent_->EndEngine(kTrue, from, to);
                break;
            case kClassPattern:
                KV_INFO(kLevelProgress, "Call PatchAgent EndPattern with: TRUE, %u, %u", from << 16,
                        to << 16);
                answer_ = agent_->EndPattern(kTrue, patternNumberForAgent(item.type, from),
                                             patternNumberForAgent(item.type, to));
                break;
            case kClassProduct:
                KV_INFO(kLevelProgress, "Call PatchAgent EndProduct with: TRUE, 0x%x, 0x%x", from,
                        to);
                answer_ = agent_->EndProduct(kTrue, from, to);
                break;
            default:
                break;
        }
    }

    // Shows the versions as they were before the agent saw them.
    void endNew(backupItem& item) {
        KV_INFO(kLevelProgress, "Call PatchAgent EndItem with: TRUE, %s, %s", resultText_,
                originText_);
        answer_ = agent_->EndItem(kTrue, &item.resultVersion, &item.originVersion);
    }

    void printVersions(const backupItem& item) {
        MakeVersionStringByClass(item.itemClass, item.resultVersion, resultText_,
                                 sizeof resultText_);
        MakeVersionStringByClass(item.itemClass, item.originVersion, originText_,
                                 sizeof originText_);
    }

    _PatchAgent* agent_;
    int answer_ = 0;
    char resultText_[kVersionTextCapacity] = "";
    char originText_[kVersionTextCapacity] = "";
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
    if (parts.pieceCount != kBackupEntryPieces) {
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
    AgentBracket bracket(agent);
    for (uint64_t i = run->itemCount; i > 0; --i) {
        backupItem& item = run->items[i - 1];
        if (item.destination == nullptr) {
            continue;
        }
        bracket.start(item);
        if (mode == kUndoUpdate) {
            deleteAddedFiles(item);
        }
        if ((mode == kUndoUpdate || mode == kUndoRollback) && !moveWrittenFilesBack(item)) {
            return kAutoRollbackStopped;
        }
        bracket.end(item);
    }
    return kAutoRollbackDone;
}
