// Deleting backup copies by the names that a record gives them.
#pragma once

#include "store/KvBackupStru.h"

enum class DeletionReport {
    kSilent,
    kLogged,  // each deletion with its result
};

// Deletes the backup files that the written entries of `named` stand for, in the backup directory
// of `place`, which gives destination, class and type.
void deleteWrittenBackups(const backupItem& named, const backupItem& place, DeletionReport report);

// The same for the files that bear the names of the added entries; never logged.
void deleteAddedBackups(const backupItem& named, const backupItem& place);
