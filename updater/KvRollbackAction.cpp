#include "updater/KvRollbackAction.h"

#include "agent/KvAgentPaths.h"
#include "base/KvText.h"
#include "log/KvReport.h"
#include "store/KvBackupName.h"
#include "store/KvBackupRemoval.h"
#include "store/KvBackupStru.h"
#include "updater/KvActionScope.h"
#include "updater/KvAutoRollback.h"
#include "updater/KvItemStep.h"
#include "updater/KvRebootList.h"
#include "updater/KvRollbackItem.h"
#include "updater/KvRollbackItemStatus.h"
#include "updater/KvRunStatus.h"

namespace {

constexpr char kModule[] = "KvVcUpdater";

constexpr AgentPathWords kPathWords = {
    {"Call PatchAgent GetPatternPath with", "PatchAgent GetPatternPath result"},
    {"Call PatchAgent GetEnginePath with", "PatchAgent GetEnginePath result"},
    {"Call PatchAgent GetProductPath with", "PatchAgent GetProductPath result"},
};

class RollbackRun {
  public:
    RollbackRun(_PatchAgent& agent, updateStru& description)
        : agent_(agent), description_(description) {
        initBackupStru(&description_, &backup_);
    }

    unsigned run();

  private:
    unsigned startAgent();
    unsigned startOldAgent();
    unsigned startNewAgent();
    unsigned rollbackItems();
    unsigned rollbackOne(tag_ItemInfo& item, backupItem& backup);
    unsigned endItem(unsigned status, tag_ItemInfo& item);
    void endAgent();

    _PatchAgent& agent_;
    updateStru& description_;
    OwnedBackupStru backup_;  // of this run
    BackupNames names_;
    unsigned flags_ = 0;
    unsigned endAnswer_ = 0;  // of the last item
};

unsigned RollbackRun::run() {
    KV_INFO(kLevelProgress, "rollbackWithPatchAgent: init auto rollback backup info done.");
    // What could not be undone is not begun: without memory for the record not even the agent is
    // asked.
    unsigned status =
        backup_.itemCount == description_.itemCount ? startAgent() : kStatusOutOfMemory;
    if (status == kStatusSuccess) {
        status = rollbackItems();
        if (status != kStatusSuccess) {
            KV_INFO(kLevelProgress, "rollbackWithPatchAgent: auto rollback.");
            // What could not be undone has been logged; the status stays that of the failure.
            (void)autoRollback(&agent_, &backup_, kUndoRollback);
            KV_INFO(kLevelProgress, "rollbackWithPatchAgent: auto rollback done.");
        }
    }
    if (status != kStatusSuccess) {
        KV_INFO(kLevelProgress, "rollbackWithPatchAgent: error quit.");
        return status;
    }
    endAgent();
    updateBackupIni(&backup_);
    KV_INFO(kLevelProgress, "rollbackWithPatchAgent: action done.");
    KV_INFO(kLevelProgress, "rollbackWithPatchAgent: done.");
    return kStatusSuccess;
}

unsigned RollbackRun::startAgent() {
    switch (agent_.version) {
        case PATCHAGENT_OLD:
            return startOldAgent();
        case PATCHAGENT_NEW:
            return startNewAgent();
        default:
            KV_ERROR(kLevelAlways, "rollbackWithPatchAgent: unknown patch agent version.");
            return kStatusSuccess;
    }
}

unsigned RollbackRun::startOldAgent() {
    AgentPaths paths;  // only logged: the restore uses the destinations of the description
    askAgentPaths(agent_, description_, kPathWords, paths);
    if (agent_.IsRollback() == 0) {
        KV_ERROR(kLevelProgress, "rollbackWithPatchAgent: patch agent want not to rollback.");
        return kStatusAgentFailed;
    }
    flags_ = classMaskOf(description_);
    KV_INFO(kLevelProgress, "rollbackWithPatchAgent: start patch.");
    // No "0x" here, unlike the update.
    KV_INFO(kLevelProgress, "Call PatchAgent StartPatch with: %x", flags_);
    switch (agent_.StartPatch(flags_)) {
        case PATCH_ERROR:
            KV_ERROR(kLevelProgress, "rollbackWithPatchAgent: start patch failed.");
            return kStatusAgentFailed;
        case PATCH_CLOSEPROGRAM:
            KV_ERROR(kLevelProgress, "rollbackWithPatchAgent: start patch close program needed.");
            return kStatusCloseProgram;
        default:
            return kStatusSuccess;
    }
}

unsigned RollbackRun::startNewAgent() {
    KV_INFO(kLevelProgress, "rollbackWithPatchAgent: start action.");
    KV_INFO(kLevelProgress, "PatchAgent StartAction with: void");
    switch (agent_.StartAction()) {
        case PATCH_ERROR:
            KV_ERROR(kLevelProgress, "rollbackWithPatchAgent: start action failed.");
            return kStatusAgentFailed;
        case PATCH_CLOSEPROGRAM:
            KV_ERROR(kLevelProgress, "rollbackWithPatchAgent: start action close program needed.");
            return kStatusCloseProgram;
        default:
            return kStatusSuccess;
    }
}

unsigned RollbackRun::rollbackItems() {
    for (uint64_t i = description_.itemCount; i > 0; --i) {
        const unsigned status = rollbackOne(description_.items[i - 1], backup_.items[i - 1]);
        if (status != kStatusSuccess) {
            return status;
        }
    }
    return kStatusSuccess;
}

unsigned RollbackRun::rollbackOne(tag_ItemInfo& item, backupItem& backup) {
    ItemContext context{&backup, &agent_, item.destination, 0, item.itemClass, item.type, &names_};
    if (backup.destination == nullptr) {
        backup.destination = Str_Dup(item.destination);
    }
    if (backup.destination == nullptr && item.destination != nullptr) {
        // The automatic rollback would pass over the item.
        KV_ERROR(kLevelProgress, "rollbackWithPatchAgent: item failed.");
        return kStatusOutOfMemory;
    }
    flags_ |= PATCHITEM_ROLLBACK;
    if (startEachItem(&agent_, item.zipFile, item.itemClass, item.type, &item.originVersion,
                      &item.resultVersion, flags_) == 0) {
        KV_ERROR(kLevelProgress, "rollbackWithPatchAgent: start item failed.");
        return kStatusAgentFailed;
    }
    backup.itemClass = item.itemClass;
    backup.type = item.type;
    backup.originVersion = item.originVersion;
    backup.resultVersion = item.resultVersion;
    return endItem(statusOfItem(rollbackItem(&context)), item);
}

unsigned RollbackRun::endItem(unsigned status, tag_ItemInfo& item) {
    endAnswer_ = endEachItem(status == kStatusSuccess ? 1 : 0, &agent_, item.itemClass, item.type,
                             &item.originVersion, &item.resultVersion);
    if (endAnswer_ == 0) {
        KV_ERROR(kLevelProgress, "rollbackWithPatchAgent: end item failed.");
        status = kStatusAgentFailed;
    }
    if (status != kStatusSuccess) {
        KV_ERROR(kLevelProgress, "rollbackWithPatchAgent: item failed.");
    }
    return status;
}

void RollbackRun::endAgent() {
    // What the agent answers changes nothing any more.
    if (agent_.version == PATCHAGENT_OLD) {
        KV_INFO(kLevelProgress, "Call PatchAgent EndPatch with: %s",
                endAnswer_ != 0 ? "TRUE" : "FALSE");
        (void)agent_.EndPatch(static_cast<int>(endAnswer_));
    } else if (agent_.version == PATCHAGENT_NEW) {
        KV_INFO(kLevelProgress, "Call PatchAgent EndAction with: void");
        (void)agent_.EndAction();
    } else {
        KV_ERROR(kLevelAlways, "rollbackWithPatchAgent: patch agent version unknown.");
    }
}

unsigned rollBackItemsOf(ActionScope& scope) {
    const unsigned status = rollbackWithPatchAgent(&scope.agent, &scope.description);
    if (status != kStatusSuccess) {
        KV_ERROR(kLevelProgress, "rollback: rollbackWithPatchAgent failed.");
        DropRebootList();
        return status;
    }
    return WriteRebootList() ? kStatusRebootRequired : kStatusSuccess;
}

unsigned rollBackWithNewAgent(ActionScope& scope) {
    KV_INFO(kLevelProgress, "rollback: rollback with new patch agent.");
    loadNewPatchAgent(scope.description.patchAgentFile, &scope.agent);
    KV_INFO(kLevelProgress, "Call PatchAgent IsRollbackEx with: void");
    if (scope.agent.IsRollbackEx() == 0) {
        KV_ERROR(kLevelAlways, "rollback: patch agent refused to rollback.");
        return kStatusAgentFailed;
    }
    return rollBackItemsOf(scope);
}

}  // namespace

unsigned rollbackWithPatchAgent(_PatchAgent* agent, updateStru* description) {
    if (agent == nullptr || description == nullptr || description->itemCount == 0 ||
        description->items == nullptr) {
        KV_ERROR(kLevelProgress, "rollbackWithPatchAgent: parameters failed.");
        return kStatusNothingToRollBack;
    }
    KV_INFO(kLevelProgress, "rollbackWithPatchAgent: init auto-rollback backup structure.");
    return RollbackRun(*agent, *description).run();
}

unsigned rollback(KvIniUtil* document) {
    ActionScope scope;
    const int parsed = phaseIniForUpdate(document, &scope.description);
    if (parsed < 0) {
        KV_ERROR(kLevelProgress, "rollback: phaseIniForUpdate failed.");
        return kStatusBadDescription;
    }
    if (parsed > 0) {
        KV_ERROR(kLevelProgress, "rollback: vcpatch contains no items.");
        return kStatusNothingToRollBack;
    }
    switch (scope.description.patchAgentVersion) {
        case PATCHAGENT_OLD:
            KV_INFO(kLevelProgress, "rollback: rollback with old patch agent.");
            loadOldPatchAgent(scope.description.patchAgentFile, &scope.agent);
            return rollBackItemsOf(scope);
        case PATCHAGENT_NEW:
            return rollBackWithNewAgent(scope);
        default:
            // Reported as success on purpose: the caller is told in the log only.
            // Kept: "unkown"; whoever searches the logs searches for it.
            KV_ERROR(kLevelProgress, "rollback: unkown patch agent version number.");
            return kStatusSuccess;
    }
}
