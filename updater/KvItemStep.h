// One item of an action: the agent is told that it starts and ends, and its files share a context.
//
// Versions: `origin` is what the item comes from, `result` what it goes to. The old interface gets
// their first words; for patterns these are turned into the agents' pattern numbering (types 0 to 4
// into the old three-digit one) and shifted into the high 16 bits. The new interface gets the
// pointers themselves and may write through them.
#pragma once

#include "agent/KvPatchAgent.h"
#include "base/KvVersion.h"
#include "store/KvBackupName.h"
#include "store/KvBackupStru.h"

// What the steps of the item's files share. It only points at its parts.
struct ItemContext {
    backupItem* backup;       // where the item's changes are recorded
    _PatchAgent* agent;       // asked about every file
    const char* destination;  // the item's destination in the patch description
    unsigned count;           // carried, always 0
    unsigned itemClass;
    unsigned type;
    BackupNames* names = nullptr;  // of the run; names what is saved
};

// Not 0: the item may be processed. 0: the agent refused it (its end call has then been made
// already, with success 0, and must not be made again), or class or interface are unknown,
// or something but the name is null.
// `name` is the item's archive name and may be null. Only the new interface receives `flags`.
[[nodiscard]] unsigned startEachItem(_PatchAgent* agent, const char* name, unsigned itemClass,
                                     unsigned type, tag_Version* origin, tag_Version* result,
                                     unsigned flags);

// The agent's answer: not 0 when it accepted the end. 0 as well for an unknown class or interface,
// or a null argument.
[[nodiscard]] unsigned endEachItem(int success, _PatchAgent* agent, unsigned itemClass,
                                   unsigned type, tag_Version* origin, tag_Version* result);
