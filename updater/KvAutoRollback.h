// The automatic rollback: puts every destination that a failed run has touched back as it was when
// the run began.
//
// What is on the disk after each step of one file that the run has recorded:
//   added    1. deleted
//   written  1. the saved copy put over the file; of several copies that the run made of it, the
//               first one made is what ends up there
//            2. the copy gone from the store
// A file that cannot be deleted or put back is told with its cause and keeps its copy; the rollback
// goes on with the next one. Whatever stands behind a
// written entry that cannot be used stays as the run left it: the rest of its item, and the items
// of lower index.
#pragma once

#include "agent/KvPatchAgent.h"
#include "store/KvBackupStru.h"

// What is undone.
enum AutoRollbackMode : unsigned {
    kUndoUpdate = 0,    // delete the files added, move the saved ones back
    kUndoRollback = 1,  // move the saved ones back; added files stay
    kUndoNothing = 2,   // this and all higher numbers: only the agent is called
};

enum AutoRollbackResult : int {
    kAutoRollbackStopped = 0,  // at a written entry that could not be used
    kAutoRollbackDone = 1,
};

// Undoes what `run` has recorded, last item first; items without a destination were never reached
// and are passed over. The agent is told of each item as if it went from its result version back to
// its origin version, with action code 2. What the agent answers, and failing file operations, do
// not stop the rollback. Without an agent table, a record or its items there is nothing to do.
// Takes an AutoRollbackMode and returns an AutoRollbackResult.
[[nodiscard]] int autoRollback(_PatchAgent* agent, backupStru* run, unsigned mode);
