// Taking items out of the records of their destinations.
#pragma once

#include "store/KvBackupStru.h"

// The part of `mergeBackupIni` for an update that asked for no backup: throws the run's backup
// files away, and takes its items out of the records with the files of their former generation.
void discardRunBackup(const backupStru& run);

// The step of `updateBackupIni` for one item: deletes the copies that the rollback made and those
// that it has put back, and takes the item out of the record. Nothing for an item without a
// destination, and when the record has no such item.
void forgetRolledBackItem(const backupItem& item);
