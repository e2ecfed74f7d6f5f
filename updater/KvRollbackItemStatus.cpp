#include "updater/KvRollbackItemStatus.h"

#include "log/KvReport.h"
#include "updater/KvRollbackItem.h"
#include "updater/KvRunStatus.h"

namespace {

constexpr char kModule[] = "KvVcUpdater";

// No item ends this low; the range is the one that the tree operations have.
constexpr int kLowestAccessFailure = -6;

}  // namespace

unsigned statusOfItem(int result) {
    if (result >= kLowestAccessFailure && result <= kItemNoRecord) {
        KV_ERROR(kLevelProgress, "rollbackWithPatchAgent: access failed.");
        return kStatusDiskAccess;
    }
    switch (result) {
        case kItemBadPath:
            KV_ERROR(kLevelProgress, "rollbackWithPatchAgent: bad arguments.");
            return kStatusBadDescription;
        case kItemCancelled:
            KV_ERROR(kLevelProgress, "rollbackWithPatchAgent: user cancel.");
            return kStatusAgentFailed;
        default:
            // Results outside the ranges count as success on purpose.
            return kStatusSuccess;
    }
}
