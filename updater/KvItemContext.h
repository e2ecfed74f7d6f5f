// What the per-file steps of one item share. Owned by the action; it only points at its parts.
#pragma once

#include "agent/KvPatchAgent.h"
#include "store/KvBackupName.h"
#include "store/KvBackupStru.h"

struct ItemContext {
    backupItem* backup;       // where the item's changes are recorded
    _PatchAgent* agent;       // asked about every file
    const char* destination;  // the item's destination in the patch description
    unsigned count;           // carried, always 0
    unsigned itemClass;
    unsigned type;
    BackupNames* names = nullptr;  // of the run; names what is saved
};
