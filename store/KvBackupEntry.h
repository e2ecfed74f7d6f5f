// A written entry of a backup record: `backupName, targetPath`.
//
// An entry is split at every ',' and blanks around the pieces are trimmed; a last piece counts only
// when something stands behind its comma. A target path with a comma can therefore not be
// represented.
#pragma once

#include <cstddef>

#include "base/KvScoped.h"
#include "base/KvSimpleString.h"

// How many pieces a well-formed entry has.
inline constexpr size_t kBackupEntryPieces = 2;

struct BackupEntryParts {
    size_t pieceCount = 0;      // 3 stands for three or more
    KvSimpleString backupName;  // piece 0, its file-name part only
    KvSimpleString target;      // piece 1, "" when missing
};

// Null gives no pieces, and so does an entry without memory for one of its pieces, which is ""
// then. Without memory for the name alone `backupName` is "", too.
[[nodiscard]] BackupEntryParts splitBackupEntry(const char* entry);

// Stores the entry text in `entry`, a heap string of exactly its size that the caller frees; null
// after a failure, which null arguments are, too (kCopyFailed). An empty `backupName` is one that
// found no memory (kNoMemory).
[[nodiscard]] HeapCopy makeBackupEntry(const char* backupName, const char* target, char*& entry);

// Stores the path of the entry's backup file: `backupDir` joined with the backup name. An empty
// `backupDir` gives the bare name. False when it does not fit, and for an entry without a
// backup name; `out` then holds no usable path.
[[nodiscard]] bool backupFileOfEntry(const BackupEntryParts& parts, const char* backupDir,
                                     char* out, size_t size);
