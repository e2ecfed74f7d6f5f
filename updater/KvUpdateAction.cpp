#include "updater/KvUpdateAction.h"

#include "base/KvText.h"
#include "fileop/KvFileOpUtil.h"
#include "log/KvReport.h"
#include "store/KvBackupMerge.h"
#include "store/KvBackupName.h"
#include "store/KvBackupStru.h"
#include "updater/KvActionScope.h"
#include "updater/KvAutoRollback.h"
#include "updater/KvFileStep.h"
#include "updater/KvItemContext.h"
#include "updater/KvItemStep.h"
#include "updater/KvRebootList.h"
#include "updater/KvRunPaths.h"
#include "updater/KvRunStatus.h"
#include "updater/KvUpdateAgent.h"

namespace {

constexpr char kModule[] = "KvVcUpdater";

class UpdateRun {
  public:
    UpdateRun(ActionScope& scope, UpdateAgent& talk)
        : agent_(scope.agent), description_(scope.description), talk_(talk) {
        initBackupStru(&description_, &backup_);
    }

    unsigned run();

  private:
    unsigned updateItems();
    unsigned updateItem(tag_ItemInfo& item, backupItem& backup);
    unsigned copyItem(const tag_ItemInfo& item, backupItem& backup, const char* pattern);

    _PatchAgent& agent_;
    updateStru& description_;
    UpdateAgent& talk_;
    OwnedBackupStru backup_;  // of this run
    BackupNames names_;
    unsigned endAnswer_ = 0;  // of the last item
};

unsigned UpdateRun::run() {
    unsigned status =
        backup_.itemCount == description_.itemCount ? talk_.start() : kStatusOutOfMemory;
    if (status == kStatusSuccess) {
        status = updateItems();
        if (status != kStatusSuccess) {
            KV_INFO(kLevelProgress, "updateWithPatchAgent: auto rollback.");
            // What could not be undone has been logged; the status stays that of the failure.
            (void)autoRollback(&agent_, &backup_, kUndoUpdate);
            KV_INFO(kLevelProgress, "updateWithPatchAgent: auto rollback done.");
        }
    }
    if (status != kStatusSuccess) {
        KV_INFO(kLevelProgress, "updateWithPatchAgent: error quit.");
        return status;
    }
    talk_.end(endAnswer_ != 0);
    mergeBackupIni(&backup_, description_.backup);
    return kStatusSuccess;
}

unsigned UpdateRun::updateItems() {
    for (uint64_t i = 0; i < description_.itemCount; ++i) {
        const unsigned status = updateItem(description_.items[i], backup_.items[i]);
        if (status != kStatusSuccess) {
            return status;
        }
    }
    return kStatusSuccess;
}

unsigned UpdateRun::updateItem(tag_ItemInfo& item, backupItem& backup) {
    char source[kLongPathCapacity];
    constructUpdatePath(g_VCTempPath, item.itemClass, item.type, source, sizeof source);
    if (startEachItem(&agent_, item.zipFile, item.itemClass, item.type, &item.originVersion,
                      &item.resultVersion, talk_.flagsFor(item)) == 0) {
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
    // Always fits: the staging directory's path is far shorter than the buffer.
    (void)Strncat(source, "*", sizeof source);
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

unsigned UpdateRun::copyItem(const tag_ItemInfo& item, backupItem& backup, const char* pattern) {
    ItemContext context{&backup, &agent_, item.destination, 0, item.itemClass, item.type, &names_};
    backup.itemClass = item.itemClass;
    backup.type = item.type;
    backup.originVersion = item.originVersion;
    backup.resultVersion = item.resultVersion;

    const char* destination = talk_.destinationOf(item);
    KvFileOpUtil::CallbackEntry entry{};
    entry.cbSize = sizeof entry;
    entry.userData = &context;
    KV_INFO(kLevelProgress, "xcopy from: %s to: %s", pattern, destination);
    return statusOfCopy(KvFileOpUtil::xcopy(pattern, destination, true, callBackForUpdate, &entry));
}

template <typename Talk>
unsigned updateWith(ActionScope& scope) {
    Talk talk(scope.agent, scope.description);
    return UpdateRun(scope, talk).run();
}

// Loads the agent and carries out the update; the interface is chosen here and nowhere else.
unsigned updateByInterface(ActionScope& scope) {
    switch (scope.description.patchAgentVersion) {
        case PATCHAGENT_OLD:
            KV_INFO(kLevelProgress, "update: update with old patch agent.");
            loadOldPatchAgent(scope.description.patchAgentFile, &scope.agent);
            return updateWith<OldUpdateAgent>(scope);
        default:
            KV_INFO(kLevelProgress, "update: update with new patch agent.");
            loadNewPatchAgent(scope.description.patchAgentFile, &scope.agent);
            return updateWith<NewUpdateAgent>(scope);
    }
}

bool isKnownInterface(unsigned version) {
    return version == PATCHAGENT_OLD || version == PATCHAGENT_NEW;
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
    if (!isKnownInterface(scope.description.patchAgentVersion)) {
        KV_ERROR(kLevelProgress, "update: unknown patch agent version number.");
        return kStatusBadDescription;
    }
    const unsigned status = updateByInterface(scope);
    if (status != kStatusSuccess) {
        KV_ERROR(kLevelProgress, "update: updateWithPatchAgent failed.");
        DropRebootList();
        return status;
    }
    const bool isRebootListed = WriteRebootList();
    return isRebootListed || g_RebootForNewFile ? kStatusRebootRequired : kStatusSuccess;
}
