#include "updater/KvActionRun.h"

#include <cerrno>

#include "base/KvFailure.h"
#include "base/KvText.h"
#include "log/KvReport.h"
#include "updater/KvSignals.h"

namespace {

constexpr char kModule[] = "KvVcUpdater";

void recordItem(const tag_ItemInfo& item, backupItem& backup) {
    backup.itemClass = item.itemClass;
    backup.type = item.type;
    backup.originVersion = item.originVersion;
    backup.resultVersion = item.resultVersion;
}

}  // namespace

ActionRun::ActionRun(_PatchAgent& table, updateStru& description, const ActionPlan& plan)
    : table_(table), talk_(table), description_(description), plan_(plan) {
    initBackupStru(&description, &record_);
}

VcRunStatus ActionRun::run() {
    // What could not be undone is not begun: without memory for the record not even the agent is
    // asked.
    VcRunStatus status =
        record_.itemCount == description_.itemCount ? startAgent() : kStatusOutOfMemory;
    if (status == kStatusSuccess) {
        status = runItems();
        if (status != kStatusSuccess) {
            undo();
        }
    }
    if (status != kStatusSuccess) {
        KV_INFO(kLevelProgress, "%s: error quit.", plan_.name);
        return status;
    }
    finish(static_cast<int>(endAnswer_), record_);
    return kStatusSuccess;
}

VcRunStatus ActionRun::startAgent() {
    listenForCancel();
    switch (talk_->start(description_, plan_.start, paths_)) {
        case PATCH_ERROR:
            return kStatusAgentFailed;
        case PATCH_CLOSEPROGRAM:
            return plan_.whenProgramIsOpen;
        default:
            return kStatusSuccess;
    }
}

VcRunStatus ActionRun::runItems() {
    const uint64_t count = description_.itemCount;
    for (uint64_t i = 0; i < count; ++i) {
        const uint64_t index = plan_.isLastItemFirst ? count - 1 - i : i;
        const VcRunStatus status = runItem(description_.items[index], record_.items[index]);
        if (status != kStatusSuccess) {
            return status;
        }
    }
    return kStatusSuccess;
}

VcRunStatus ActionRun::runItem(tag_ItemInfo& item, backupItem& backup) {
    VcRunStatus status = plan_.isDestinationFirst ? keepDestination(item, backup) : startItem(item);
    if (status == kStatusSuccess) {
        status = plan_.isDestinationFirst ? startItem(item) : keepDestination(item, backup);
    }
    if (status != kStatusSuccess) {
        return status;
    }
    recordItem(item, backup);
    ItemContext context{&backup, &table_, item.destination, 0, item.itemClass, item.type, &names_};
    return endItem(process(item, context), item);
}

VcRunStatus ActionRun::startItem(tag_ItemInfo& item) {
    flags_ |= flagsOf(item);
    if (startEachItem(&table_, item.zipFile, item.itemClass, item.type, &item.originVersion,
                      &item.resultVersion, flags_) == 0) {
        KV_ERROR(kLevelProgress, "%s: start item failed.", plan_.name);
        return kStatusAgentFailed;
    }
    return kStatusSuccess;
}

// The undoing passes over an item without a destination: one whose destination is lost must not be
// processed.
VcRunStatus ActionRun::keepDestination(const tag_ItemInfo& item, backupItem& backup) {
    if (backup.destination == nullptr) {
        backup.destination = Str_Dup(item.destination);
    }
    if (backup.destination == nullptr && item.destination != nullptr) {
        const KvFailureScope failure;
        noteFailure(item.destination, ENOMEM);  // cut: a destination may be longer than a message
        (void)reportNotedCause();
        KV_ERROR(kLevelProgress, "%s", plan_.destinationLost);
        return kStatusOutOfMemory;
    }
    return kStatusSuccess;
}

VcRunStatus ActionRun::endItem(VcRunStatus status, tag_ItemInfo& item) {
    endAnswer_ = endEachItem(status == kStatusSuccess ? 1 : 0, &table_, item.itemClass, item.type,
                             &item.originVersion, &item.resultVersion);
    if (endAnswer_ == 0) {
        KV_ERROR(kLevelProgress, "%s: end item failed.", plan_.name);
        status = kStatusAgentFailed;
    }
    if (status != kStatusSuccess && plan_.itemFailed != nullptr) {
        KV_ERROR(kLevelProgress, "%s", plan_.itemFailed);
    }
    return status;
}

void ActionRun::undo() {
    KV_INFO(kLevelProgress, "%s: auto rollback.", plan_.name);
    // What could not be undone has been logged; the status stays that of the failure.
    (void)autoRollback(&table_, &record_, plan_.undoing);
    KV_INFO(kLevelProgress, "%s: auto rollback done.", plan_.name);
}
