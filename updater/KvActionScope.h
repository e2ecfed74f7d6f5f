// What an action holds while it runs; everything is released when the scope ends.
#pragma once

#include "agent/KvPatchAgent.h"
#include "patch/KvUpdateStru.h"
#include "store/KvBackupStru.h"

// The parsed patch description and the loaded patch agent, released in this order.
struct ActionScope {
    ActionScope() = default;
    ~ActionScope() {
        freeUpdateStru(&description);
        unloadPatchAgent(&agent);
    }
    ActionScope(const ActionScope&) = delete;
    ActionScope& operator=(const ActionScope&) = delete;

    updateStru description{};
    _PatchAgent agent{};
};

// The record of one run, with one item for each item of the description.
struct BackupScope {
    explicit BackupScope(const updateStru& description) { initBackupStru(&description, &record); }
    ~BackupScope() { freeBackupStru(&record); }
    BackupScope(const BackupScope&) = delete;
    BackupScope& operator=(const BackupScope&) = delete;

    // False when there was no memory for all items.
    [[nodiscard]] bool isComplete(const updateStru& description) const {
        return record.itemCount == description.itemCount;
    }

    backupStru record{};
};
