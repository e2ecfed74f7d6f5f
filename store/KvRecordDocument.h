// The document of a backup record, opened the way every file of the system is.
#pragma once

#include <memory>
#include <new>

#include "ini/KvIniUtil.h"

// Written back when it is released, if it was modified and has a path.
using RecordDocument = std::unique_ptr<KvIniUtil>;

// The record at `path`; a missing file, or a null path, gives an empty document. Null when there is
// no memory.
[[nodiscard]] inline RecordDocument openRecord(const char* path) {
    return newDocument(path);
}
