// The file that the log is written to.
#pragma once

#include <cstddef>

enum class LogAppend {
    kDone,
    kNotOpened,
    kCutShort,  // the file did not take the whole text
};

// Appends the text with one open, one write and one close; makes the file when it is missing.
LogAppend appendToLog(const char* path, const char* text, size_t length);
