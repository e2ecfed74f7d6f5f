// Undoing the last update of one item from the backup store.
//
// Before a file is touched its present content is copied to a fresh backup name and recorded in the
// context's own backup item, so that a rollback that fails can be undone itself.
#pragma once

#include "updater/KvItemContext.h"

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
};

// Deletes the files that the last update of the item added and moves the saved copies of those it
// overwrote back into place, asking the agent about each. `context->backup` receives one written
// entry for each file. Files handled before a failure stay handled and recorded.
// A null `context->destination` is the working directory, as "" is.
// A null context, or one without an agent, a backup item or names, gives kItemBadPath.
[[nodiscard]] int rollbackItem(ItemContext* context);
