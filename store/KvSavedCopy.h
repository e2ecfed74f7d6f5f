// Saved copies: a file's content in the store, whole or not at all, and put back from there.
#pragma once

#include <cstddef>

#include "store/KvBackupName.h"

enum class SavedCopy {
    kDone,    // whole; empty where the file is gone already, or null
    kOdd,     // what stands there is no regular file: nothing was saved
    kFailed,  // not whole: what was made of it is gone again
};

// Saves what `file` holds under a fresh name in `dir` and stores that path in `out`. The copy is
// readable for nobody who may not read the file, before a byte is in it, and has its times in whole
// seconds. The room for it is looked up first. What went wrong is noted as a cause
// (base/KvFailure.h), but not a path that does not fit.
//
// A path with '*', '?' or a backslash is one that the tree copy reads in its own way: such a file
// is saved as far as that copy finds it, which may be nothing at all.
[[nodiscard]] SavedCopy saveCopy(BackupNames& names, const char* dir, const char* file, char* out,
                                 size_t size);

enum class PutBack {
    kDone,
    kCopyGone,  // there is nothing to put back
    kFailed,
};

// Copies the saved copy over `file`, which is made where it is missing. The copy stays. What went
// wrong is noted as a cause.
[[nodiscard]] PutBack putCopyBack(const char* copy, const char* file);
