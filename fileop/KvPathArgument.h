// How the file operations and queries take their path arguments.
#pragma once

#include "base/KvSimpleString.h"
#include "fileop/KvPath.h"

// Null and the empty path name nothing.
[[nodiscard]] inline bool isMissing(const char* path) {
    return path == nullptr || *path == '\0';
}

// A copy with '/' as the only separator.
[[nodiscard]] inline KvSimpleString normalized(const char* path) {
    KvSimpleString text(path);
    normalizeSeptor(text);
    return text;
}
