// Taking saved copies away, and items out of the records of their destinations.
//
// In all three functions the backup file of a written entry is found in the item's backup directory
// (store/KvBackupEntry.h); an entry that names no single file deletes nothing. Items without a
// destination were never reached by the run and are passed over. Where saved copies are superseded
// they go once the record is rewritten, and stay when it is not: a record that could not be read to
// its end, or not be written, keeps all that it names. What fails is told by its cause.
#pragma once

#include "store/KvBackupStru.h"

enum class DeletionReport {
    kSilent,
    kLogged,     // each deletion with its result
    kAnnounced,  // nothing is deleted yet, but logged as done
};

// Deletes the backup files that the written entries of `named` stand for, in the backup directory
// of `place`, which gives destination, class and type.
void deleteWrittenBackups(const backupItem& named, const backupItem& place, DeletionReport report);

// After an update that asked for no backup: throws the run's backup files away, and takes its items
// out of the records with the files of their former generation.
void discardRunBackup(const backupStru& run);

// After a successful rollback; `rollback` is what that rollback itself had saved. Each item leaves
// the record of its destination; the copies made by the rollback and the copies that it has put
// back are deleted. An item that its record does not have keeps all. Null has no items.
void updateBackupIni(const backupStru* rollback);
