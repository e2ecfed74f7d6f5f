#include "updater/KvUpdateAgent.h"

#include "log/KvReport.h"
#include "updater/KvRunStatus.h"

namespace {

constexpr char kModule[] = "KvVcUpdater";

// Only some of the questions begin with "Call ".
constexpr AgentPathWords kPathWords = {
    {"Call PatchAgent GetPatternPath with", "Call PatchAgent GetPatternPath result"},
    {"PatchAgent GetEnginePath with", "Call PatchAgent GetEnginePath result"},
    {"PatchAgent GetProductPath with", "PatchAgent GetProductPath result"},
};

}  // namespace

unsigned OldUpdateAgent::start() {
    askAgentPaths(agent_, description_, kPathWords, paths_);
    KV_INFO(kLevelProgress, "Call PatchAgent IsRollback with: void");
    if (agent_.IsRollback() == 0) {
        KV_INFO(kLevelProgress, "updateWithPatchAgent: patch agent want not to rollback.");
    }
    mask_ = classMaskOf(description_);
    KV_INFO(kLevelProgress, "Call PatchAgent StartPatch with: 0x%x", mask_);
    switch (agent_.StartPatch(mask_)) {
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

unsigned OldUpdateAgent::flagsFor(const tag_ItemInfo& /*item*/) {
    return mask_;
}

// All items of a class go where the agent has put the first one.
const char* OldUpdateAgent::destinationOf(const tag_ItemInfo& item) {
    switch (item.itemClass) {
        case kClassEngine:
            destination_ = paths_.engine;
            break;
        case kClassPattern:
            destination_ = paths_.pattern;
            break;
        case kClassProduct:
            destination_ = paths_.product;
            break;
        default:
            break;  // stays where the item before went
    }
    return destination_;
}

void OldUpdateAgent::end(bool accepted) {
    KV_INFO(kLevelProgress, "Call PatchAgent EndPatch with: %s", accepted ? "TRUE" : "FALSE");
    (void)agent_.EndPatch(accepted ? 1 : 0);  // the update is done whatever the agent says
}

unsigned NewUpdateAgent::start() {
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

unsigned NewUpdateAgent::flagsFor(const tag_ItemInfo& item) {
    if (item.forceUpdate != 0) {
        // Stays set for all later items, on purpose.
        flags_ |= PATCHITEM_FORCEUPDATE;
    }
    return flags_;
}

const char* NewUpdateAgent::destinationOf(const tag_ItemInfo& item) {
    return item.destination;
}

void NewUpdateAgent::end(bool /*accepted*/) {
    KV_INFO(kLevelProgress, "Call PatchAgent EndAction with: void");
    (void)agent_.EndAction();  // as above
}
