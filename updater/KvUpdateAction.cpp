#include "updater/KvUpdateAction.h"

#include "base/KvFailure.h"
#include "base/KvText.h"
#include "fileop/KvFileOpUtil.h"
#include "log/KvReport.h"
#include "store/KvBackupMerge.h"
#include "store/KvBackupName.h"
#include "updater/KvActionRun.h"
#include "updater/KvFileStep.h"
#include "updater/KvRebootList.h"
#include "updater/KvRunPaths.h"

namespace {

constexpr char kModule[] = "KvVcUpdater";

constexpr AgentLoadWords kLoadWords = {
    {"update: update with old patch agent.", "update: update with new patch agent."},
    "update: unknown patch agent version number."};

constexpr ActionPlan kPlan = {
    "updateWithPatchAgent",
    {
        // Only some of the questions begin with "Call ".
        {{"Call PatchAgent GetPatternPath with", "Call PatchAgent GetPatternPath result"},
         {"PatchAgent GetEnginePath with", "Call PatchAgent GetEnginePath result"},
         {"PatchAgent GetProductPath with", "PatchAgent GetProductPath result"}},
        {"Call PatchAgent IsRollback with: void",
         "updateWithPatchAgent: patch agent want not to rollback.", false},
        {nullptr, "Call PatchAgent StartPatch with: 0x",
         "updateWithPatchAgent: PatchAgent StartPatch return PATCH_ERROR.",
         "updateWithPatchAgent: PatchAgent StartPatch return PATCH_CLOSEPROGRAM."},
        {nullptr, "Call PatchAgent StartAction with: void.",
         "updateWithPatchAgent: PatchAgent StartAction return PATCH_ERROR.",
         "updateWithPatchAgent: PatchAgent StartAction return PATCH_CLOSEPROGRAM."},
        nullptr,  // such an update ends when it is to be loaded
    },
    kStatusAgentFailed,  // when the program is open
    false,               // items in their order
    false,               // an item's destination is recorded after its start
    "updateWithPatchAgent: malloc for blist dest failed.",
    nullptr,  // nothing more about an item that failed
    kUndoUpdate,
};

class UpdateRun final : public ActionRun {
  public:
    explicit UpdateRun(ActionScope& scope) : ActionRun(scope.agent, scope.description, kPlan) {}

  protected:
    unsigned flagsOf(const tag_ItemInfo& item) const override {
        return item.forceUpdate != 0 ? unsigned{PATCHITEM_FORCEUPDATE} : 0U;
    }
    VcRunStatus process(const tag_ItemInfo& item, ItemContext& context) override;
    void finish(int endAnswer, const backupStru& record) override;
};

VcRunStatus statusOfCopy(int result) {
    if (result >= KvFileOpUtil::kDestinationExists && result <= KvFileOpUtil::kCannotOpenSource) {
        (void)reportNotedCause();  // none where the file's own step has told it
        KV_ERROR(kLevelProgress, "updateWithPatchAgent: xcopy failed, disk access.");
        return kStatusDiskAccess;
    }
    switch (result) {
        case KvFileOpUtil::kBadParameters:
            (void)reportNotedCause();  // none where nothing but the parameters is wrong
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

VcRunStatus UpdateRun::process(const tag_ItemInfo& item, ItemContext& context) {
    char pattern[kLongPathCapacity];
    constructUpdatePath(g_VCTempPath, item.itemClass, item.type, pattern, sizeof pattern);
    // Always fits: the staging directory's path is far shorter than the buffer.
    (void)Strncat(pattern, "*", sizeof pattern);
    const char* destination = agent().destinationOf(item, paths());
    KvFileOpUtil::CallbackEntry entry{};
    entry.cbSize = sizeof entry;
    entry.userData = &context;
    const KvFailureScope failure;
    KV_INFO(kLevelProgress, "xcopy from: %s to: %s", pattern, destination);
    return statusOfCopy(KvFileOpUtil::xcopy(pattern, destination, true, callBackForUpdate, &entry));
}

void UpdateRun::finish(int endAnswer, const backupStru& record) {
    agent().end(endAnswer != PATCHAGENT_NO ? 1 : 0, nullptr);
    mergeBackupIni(&record, description().backup);
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
    scope.agent.version = scope.description.patchAgentVersion;
    if (!Conversation(scope.agent)->load(scope.description.patchAgentFile, kLoadWords)) {
        return kStatusBadDescription;
    }
    const VcRunStatus status = UpdateRun(scope).run();
    if (status != kStatusSuccess) {
        KV_ERROR(kLevelProgress, "update: updateWithPatchAgent failed.");
        DropRebootList();
        return status;
    }
    const bool isRebootListed = WriteRebootList();
    return isRebootListed || g_RebootForNewFile ? kStatusRebootRequired : kStatusSuccess;
}
