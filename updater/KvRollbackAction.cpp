#include "updater/KvRollbackAction.h"

#include "log/KvReport.h"
#include "store/KvBackupRemoval.h"
#include "updater/KvActionRun.h"
#include "updater/KvRebootList.h"
#include "updater/KvRollbackItem.h"
#include "updater/KvSignals.h"

namespace {

constexpr char kModule[] = "KvVcUpdater";

// Kept: "unkown"; whoever searches the logs searches for it.
constexpr AgentLoadWords kLoadWords = {
    {"rollback: rollback with old patch agent.", "rollback: rollback with new patch agent."},
    "rollback: unkown patch agent version number."};

constexpr ActionPlan kPlan = {
    "rollbackWithPatchAgent",
    {
        {{"Call PatchAgent GetPatternPath with", "PatchAgent GetPatternPath result"},
         {"Call PatchAgent GetEnginePath with", "PatchAgent GetEnginePath result"},
         {"Call PatchAgent GetProductPath with", "PatchAgent GetProductPath result"}},
        {nullptr, "rollbackWithPatchAgent: patch agent want not to rollback.", true},
        // No "0x" here, unlike the update.
        {"rollbackWithPatchAgent: start patch.",
         "Call PatchAgent StartPatch with: ", "rollbackWithPatchAgent: start patch failed.",
         "rollbackWithPatchAgent: start patch close program needed."},
        {"rollbackWithPatchAgent: start action.", "PatchAgent StartAction with: void",
         "rollbackWithPatchAgent: start action failed.",
         "rollbackWithPatchAgent: start action close program needed."},
        "rollbackWithPatchAgent: unknown patch agent version.",
    },
    kStatusCloseProgram,                     // when the program is open
    true,                                    // the last item first
    true,                                    // an item's destination is recorded before its start
    "rollbackWithPatchAgent: item failed.",  // no memory for the destination
    "rollbackWithPatchAgent: item failed.",  // behind the reason of every failure
    kUndoRollback,
};

class RollbackRun final : public ActionRun {
  public:
    RollbackRun(_PatchAgent& agent, updateStru& description)
        : ActionRun(agent, description, kPlan) {}

  protected:
    unsigned flagsOf(const tag_ItemInfo& /*item*/) const override { return PATCHITEM_ROLLBACK; }
    VcRunStatus process(const tag_ItemInfo& /*item*/, ItemContext& context) override {
        return statusOfItem(rollbackItem(&context));
    }
    void finish(int endAnswer, const backupStru& record) override;
};

void RollbackRun::finish(int endAnswer, const backupStru& record) {
    // The agent's own answer, unlike the update, which passes 1.
    agent().end(endAnswer, "rollbackWithPatchAgent: patch agent version unknown.");
    updateBackupIni(&record);
    KV_INFO(kLevelProgress, "rollbackWithPatchAgent: action done.");
    KV_INFO(kLevelProgress, "rollbackWithPatchAgent: done.");
}

VcRunStatus runRollback(_PatchAgent* agent, updateStru* description) {
    if (agent == nullptr || description == nullptr || description->itemCount == 0 ||
        description->items == nullptr) {
        KV_ERROR(kLevelProgress, "rollbackWithPatchAgent: parameters failed.");
        return kStatusNothingToRollBack;
    }
    KV_INFO(kLevelProgress, "rollbackWithPatchAgent: init auto-rollback backup structure.");
    RollbackRun run(*agent, *description);
    KV_INFO(kLevelProgress, "rollbackWithPatchAgent: init auto rollback backup info done.");
    return run.run();
}

}  // namespace

unsigned rollbackWithPatchAgent(_PatchAgent* agent, updateStru* description) {
    return runRollback(agent, description);
}

VcRunStatus rollback(KvIniUtil* document) {
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
    scope.agent.version = scope.description.patchAgentVersion;
    Conversation talk(scope.agent);
    if (!talk->load(scope.description.patchAgentFile, kLoadWords)) {
        // Reported as success on purpose: the caller is told in the log only.
        return kStatusSuccess;
    }
    listenForCancel();  // here the new interface hears its first word
    if (!talk->agreesToRollback()) {
        KV_ERROR(kLevelAlways, "rollback: patch agent refused to rollback.");
        return kStatusAgentFailed;
    }
    const VcRunStatus status = runRollback(&scope.agent, &scope.description);
    if (status != kStatusSuccess) {
        KV_ERROR(kLevelProgress, "rollback: rollbackWithPatchAgent failed.");
        DropRebootList();
        return status;
    }
    return WriteRebootList() ? kStatusRebootRequired : kStatusSuccess;
}
