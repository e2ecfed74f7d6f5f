#include "updater/KvUpdateAction.h"

#include "base/KvText.h"
#include "fileop/KvFileOpUtil.h"
#include "log/KvReport.h"
#include "updater/KvActionScope.h"
#include "updater/KvAgentPaths.h"
#include "updater/KvAutoRollback.h"
#include "updater/KvBackupMerge.h"
#include "updater/KvBackupName.h"
#include "updater/KvFileStep.h"
#include "updater/KvItemContext.h"
#include "updater/KvItemStep.h"
#include "updater/KvRebootList.h"
#include "updater/KvRunPaths.h"
#include "updater/KvRunStatus.h"

namespace {

constexpr char kModule[] = "KvVcUpdater";

// Only some of the questions begin with "Call ".
constexpr AgentPathWords kPathWords = {
    {"Call PatchAgent GetPatternPath with", "Call PatchAgent GetPatternPath result"},
    {"PatchAgent GetEnginePath with", "Call PatchAgent GetEnginePath result"},
    {"PatchAgent GetProductPath with", "PatchAgent GetProductPath result"},
};

class UpdateRun {
  public:
    UpdateRun(_PatchAgent& agent, updateStru& description)
        : agent_(agent), description_(description), backup_(description) {}

    unsigned run();

  private:
    [[nodiscard]] bool hasNewAgent() const { return agent_.version == PATCHAGENT_NEW; }

    unsigned startAgent();
    unsigned startOldAgent();
    unsigned startNewAgent();
    unsigned updateItems();
    unsigned updateItem(tag_ItemInfo& item, backupItem& backup);
    unsigned copyItem(const tag_ItemInfo& item, backupItem& backup, const char* source);
    const char* destinationOf(const tag_ItemInfo& item);
    void endAgent();

    _PatchAgent& agent_;
    updateStru& description_;
    BackupScope backup_;
    AgentPaths paths_;
    const char* destination_ = "";  // where the last item went
    unsigned flags_ = 0;
    unsigned endAnswer_ = 0;  // of the last item
};

unsigned UpdateRun::run() {
    unsigned status = startAgent();
    if (status == kStatusSuccess) {
        status = updateItems();
        if (status != kStatusSuccess) {
            KV_INFO(kLevelProgress, "updateWithPatchAgent: auto rollback.");
            // What could not be undone has been logged; the status stays that of the failure.
            (void)autoRollback(&agent_, &backup_.record, kUndoUpdate);
            KV_INFO(kLevelProgress, "updateWithPatchAgent: auto rollback done.");
        }
    }
    if (status != kStatusSuccess) {
        KV_INFO(kLevelProgress, "updateWithPatchAgent: error quit.");
        return status;
    }
    endAgent();
    mergeBackupIni(&backup_.record, description_.backup);
    return kStatusSuccess;
}

unsigned UpdateRun::startAgent() {
    if (backup_.record.itemCount != description_.itemCount) {
        return kStatusOutOfMemory;
    }
    return hasNewAgent() ? startNewAgent() : startOldAgent();
}

unsigned UpdateRun::startOldAgent() {
    askAgentPaths(agent_, description_, kPathWords, paths_);
    KV_INFO(kLevelProgress, "Call PatchAgent IsRollback with: void");
    if (agent_.IsRollback() == 0) {
        KV_INFO(kLevelProgress, "updateWithPatchAgent: patch agent want not to rollback.");
    }
    flags_ = classMaskOf(description_);
    KV_INFO(kLevelProgress, "Call PatchAgent StartPatch with: 0x%x", flags_);
    switch (agent_.StartPatch(flags_)) {
        case PATCH_ERROR:
            KV_ERROR(kLevelProgress,
                     "updateWithPatchAgent: PatchAgent StartPatch return PATCH_ERROR.");
            return kStatusAgentFailed;
        case PATCH_CLOSEPROGRAM:
            KV_ERROR(kLevelProgress,
                     "updateWithPatchAgent: PatchAgent StartPatch return PATCH_CLOSEPROGRAM.");
            return kStatusAgentFailed;
        default:
            return kStatusSuccess;
    }
}

unsigned UpdateRun::startNewAgent() {
    KV_INFO(kLevelProgress, "Call PatchAgent StartAction with: void.");
    switch (agent_.StartAction()) {
        case PATCH_ERROR:
            KV_ERROR(kLevelProgress,
                     "updateWithPatchAgent: PatchAgent StartAction return PATCH_ERROR.");
            return kStatusAgentFailed;
        case PATCH_CLOSEPROGRAM:
            KV_ERROR(kLevelProgress,
                     "updateWithPatchAgent: PatchAgent StartAction return PATCH_CLOSEPROGRAM.");
            return kStatusAgentFailed;
        default:
            return kStatusSuccess;
    }
}

unsigned UpdateRun::updateItems() {
    for (uint64_t i = 0; i < description_.itemCount; ++i) {
        const unsigned status = updateItem(description_.items[i], backup_.record.items[i]);
        if (status != kStatusSuccess) {
            return status;
        }
    }
    return kStatusSuccess;
}

unsigned UpdateRun::updateItem(tag_ItemInfo& item, backupItem& backup) {
    char source[kLongPathCapacity];
    constructUpdatePath(g_VCTempPath, item.itemClass, item.type, source, sizeof source);
    if (hasNewAgent() && item.forceUpdate != 0) {
        // Stays set for all later items, on purpose.
        flags_ |= PATCHITEM_FORCEUPDATE;
    }
    if (startEachItem(&agent_, item.zipFile, item.itemClass, item.type, &item.originVersion,
                      &item.resultVersion, flags_) == 0) {
        KV_ERROR(kLevelProgress, "updateWithPatchAgent: start item failed.");
        return kStatusAgentFailed;
    }
    if (backup.destination == nullptr) {
        backup.destination = Str_Dup(item.destination);
    }
    if (backup.destination == nullptr) {
        KV_ERROR(kLevelProgress, "updateWithPatchAgent: malloc for blist dest failed.");
        return kStatusOutOfMemory;
    }
    const unsigned status = copyItem(item, backup, source);
    endAnswer_ = endEachItem(status == kStatusSuccess ? 1 : 0, &agent_, item.itemClass, item.type,
                             &item.originVersion, &item.resultVersion);
    if (endAnswer_ == 0) {
        KV_ERROR(kLevelProgress, "updateWithPatchAgent: end item failed.");
        return kStatusAgentFailed;
    }
    return status;
}

unsigned statusOfCopy(int result) {
    if (result >= KvFileOpUtil::kDestinationExists && result <= KvFileOpUtil::kCannotOpenSource) {
        KV_ERROR(kLevelProgress, "updateWithPatchAgent: xcopy failed, disk access.");
        return kStatusDiskAccess;
    }
    switch (result) {
        case KvFileOpUtil::kBadParameters:
            KV_ERROR(kLevelProgress, "updateWithPatchAgent: xcopy failed, bad parameters.");
            return kStatusBadDescription;
        case KvFileOpUtil::kDone:
            return kStatusSuccess;
        case kUserCancel:
            KV_ERROR(kLevelProgress, "updateWithPatchAgent: user cancel this");
            return kStatusAgentFailed;
        default:
            return kStatusAgentFailed;
    }
}

unsigned UpdateRun::copyItem(const tag_ItemInfo& item, backupItem& backup, const char* source) {
    ItemContext context{&backup, &agent_, item.destination, 0, item.itemClass, item.type};
    backup.itemClass = item.itemClass;
    backup.type = item.type;
    backup.originVersion = item.originVersion;
    backup.resultVersion = item.resultVersion;

    char pattern[kLongPathCapacity];
    Strncpy(pattern, source, sizeof pattern);
    // A source that fills the buffer keeps its end; the copy then reports what it makes of it.
    (void)Strncat(pattern, "*", sizeof pattern);
    const char* destination = destinationOf(item);
    KvFileOpUtil::CallbackEntry entry{};
    entry.cbSize = sizeof entry;
    entry.userData = &context;
    KV_INFO(kLevelProgress, "xcopy from: %s to: %s", pattern, destination);
    return statusOfCopy(KvFileOpUtil::xcopy(pattern, destination, true, callBackForUpdate, &entry));
}

// An agent of the old interface has been asked once a class: all items of the class go there.
const char* UpdateRun::destinationOf(const tag_ItemInfo& item) {
    if (hasNewAgent()) {
        destination_ = item.destination;
    } else if (item.itemClass == kClassEngine) {
        destination_ = paths_.engine;
    } else if (item.itemClass == kClassPattern) {
        destination_ = paths_.pattern;
    } else if (item.itemClass == kClassProduct) {
        destination_ = paths_.product;
    }
    return destination_;
}

void UpdateRun::endAgent() {
    if (hasNewAgent()) {
        KV_INFO(kLevelProgress, "Call PatchAgent EndAction with: void");
        (void)agent_.EndAction();  // the update is done whatever the agent says
        return;
    }
    const bool accepted = endAnswer_ != 0;
    KV_INFO(kLevelProgress, "Call PatchAgent EndPatch with: %s", accepted ? "TRUE" : "FALSE");
    (void)agent_.EndPatch(accepted ? 1 : 0);  // as above
}

bool loadAgent(ActionScope& scope) {
    switch (scope.description.patchAgentVersion) {
        case PATCHAGENT_OLD:
            KV_INFO(kLevelProgress, "update: update with old patch agent.");
            loadOldPatchAgent(scope.description.patchAgentFile, &scope.agent);
            return true;
        case PATCHAGENT_NEW:
            KV_INFO(kLevelProgress, "update: update with new patch agent.");
            loadNewPatchAgent(scope.description.patchAgentFile, &scope.agent);
            return true;
        default:
            KV_ERROR(kLevelProgress, "update: unknown patch agent version number.");
            return false;
    }
}

}  // namespace

unsigned update(KvIniUtil* document) {
    ActionScope scope;
    const int parsed = phaseIniForUpdate(document, &scope.description);
    if (parsed < 0) {
        KV_ERROR(kLevelProgress, "update: phaseIniForUpdate failed.");
        return kStatusBadDescription;
    }
    if (parsed > 0) {
        KV_INFO(kLevelProgress, "update: vcpatch ini contains no items.");
        return kStatusNothingToUpdate;
    }
    if (!loadAgent(scope)) {
        return kStatusBadDescription;
    }
    const unsigned status = UpdateRun(scope.agent, scope.description).run();
    if (status != kStatusSuccess) {
        KV_ERROR(kLevelProgress, "update: updateWithPatchAgent failed.");
        DropRebootList();
        return status;
    }
    return WriteRebootList() || g_RebootForNewFile ? kStatusRebootRequired : kStatusSuccess;
}
