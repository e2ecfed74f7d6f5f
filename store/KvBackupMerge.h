// Folding the backup of an update into the records of its destinations.
#pragma once

#include <cstdint>

#include "store/KvBackupStru.h"

// After a successful update. `backupFlag` is the patch description's "backup".
// Not 0: each item of `run` replaces the former generation of the same class and type in the record
// of its destination, or is added to it. Within one item's step the record is rewritten, in
// place, and the backup files of the former generation are deleted afterwards; their deletion is
// logged where it was decided. A record that cannot be read to its end or not be written keeps all
// that it names and the files of the run, and the merge goes on. A record that is
// damaged is repaired on the way; one that cannot be repaired ends the merge: the item's backup
// files are deleted, earlier items stay merged, later ones are neither merged nor cleaned.
// 0: the run's backup files are thrown away, and the items leave the records with the backup files
// of the former generation.
// Items without a destination were never reached and are passed over. A null `run`, or one without
// items, does nothing.
void mergeBackupIni(const backupStru* run, uint32_t backupFlag);
