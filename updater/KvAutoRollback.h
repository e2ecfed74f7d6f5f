// The automatic rollback: puts every destination that a failed run has touched back as it was when
// the run began.
#pragma once

#include "agent/KvPatchAgent.h"
#include "store/KvBackupStru.h"

// What is undone; from 2 on only the agent is called.
enum AutoRollbackMode : unsigned {
    kUndoUpdate = 0,    // delete the files added, move the saved ones back
    kUndoRollback = 1,  // move the saved ones back; added files stay
};

enum AutoRollbackResult : int {
    kAutoRollbackStopped = 0,  // a written entry could not be used; items of lower index untouched
    kAutoRollbackDone = 1,
};

// Undoes what `run` has recorded, last item first; items without a destination were never reached
// and are passed over. The agent is told of each item as if it went from its result version back to
// its origin version, with action code 2. What the agent answers, and failing file operations, do
// not stop the rollback. Without an agent table, a record or its items there is nothing to do.
[[nodiscard]] int autoRollback(_PatchAgent* agent, backupStru* run, unsigned mode);
