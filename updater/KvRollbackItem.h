// Undoing the last update of one item from the backup store.
//
// What is on the disk after each step of one file, which the update added, or which it overwrote
// and saved in the store:
//   1. saved: a fresh name in the store holds the file's present content (nothing, when the file is
//      gone already); then the agent is asked
//   2. recorded: the copy of step 1 stands in the context's backup item, so that a rollback that
//      fails can be undone itself
//   3. undone: an added file is deleted, the saved one of the update is copied over an overwritten
//      one; a file that the agent skips or defers stays as it is
// A file that the agent stops at is not recorded, and its copy of step 1 is deleted again. A file
// that cannot be saved, recorded, deleted or put back ends the item as well: the files before it
// stay undone and recorded, those behind it untouched. No saved copy of the update goes, so that a
// rollback that is undone can be repeated; in the same run a copy is put back once.
#pragma once

#include "updater/KvItemStep.h"
#include "updater/KvRunStatus.h"

enum RollbackItemResult : int {
    kItemRolledBack = 0,
    kItemLeftFiles = 2,     // done; at least the last file was left to the agent or the reboot list
    kItemCancelled = 1,     // the agent answered with an error
    kItemBadPath = -1,      // the path of the record does not fit
    kItemNoRecord = -2,     // the record is missing or cannot be read
    kItemNotRecorded = -3,  // the record has no item of this class and type
    // No backup name, no memory for the entry, a saved copy whose path does not fit, or a restart
    // list that takes no more.
    kItemNotSaved = -5,
    kItemNotPutBack = -5,  // or not deleted
};

// Deletes the files that the last update of the item added and puts the saved copies of those it
// overwrote back into place, asking the agent about each. `context->backup` receives one written
// entry for each file.
// A null `context->destination` is the working directory, as "" is.
// A null context, or one without an agent, a backup item or names, gives kItemBadPath.
[[nodiscard]] RollbackItemResult rollbackItem(ItemContext* context);

// The run status for what `rollbackItem` returned, any number; one that is not kStatusSuccess is
// logged with its reason.
[[nodiscard]] VcRunStatus statusOfItem(RollbackItemResult result);
