// Folding the backup of a run into the records of its destinations, and taking items out again.
//
// In both functions every item's destination must be set. The backup file of a written entry is
// found in the item's backup directory (see store/KvBackupEntry.h).
//
// The record is rewritten in place. Within one item's step the backup files of the older generation
// are deleted first and the record is written afterwards.
#pragma once

#include <cstdint>

#include "store/KvBackupStru.h"

// After a successful update. `backupFlag` is the patch description's "backup".
// Not 0: each item of `run` replaces the former generation of the same class and type in the record
// of its destination, or is added to it. A record that is damaged is repaired on the way; one that
// cannot be repaired ends the merge: the item's backup files are deleted, earlier items stay
// merged, later ones are neither merged nor cleaned.
// 0: the run's backup files are thrown away, and the items leave the records with the backup files
// of the former generation.
// A null `run`, or one without items, does nothing.
void mergeBackupIni(const backupStru* run, uint32_t backupFlag);

// After a successful rollback; `rollback` is what that rollback itself had saved. Each item leaves
// the record of its destination; the copies made by the rollback and the copies that it has put
// back are deleted.
void updateBackupIni(const backupStru* rollback);
