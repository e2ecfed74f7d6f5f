// The file that the log is written to.
#pragma once

#include <cstddef>

// Appends the text with one open, one write and one close; makes the file when it is missing. False
// when the file cannot be opened or does not take the whole text.
bool appendToLog(const char* path, const char* text, size_t length);
