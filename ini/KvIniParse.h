// What the loading of an INI document works with: the line at hand, inside the loaded bytes, and
// the text that waits for the next key or header. Both are changed in place: a trimmed line never
// needs more room than it had.
#pragma once

#include <cstddef>

#include "ini/KvIniText.h"

struct KvIniLine {
    char* text = nullptr;  // the byte behind the line is the line's own to overwrite
    size_t length = 0;
    size_t separator = 0;  // where the first separator stands, once the line is known as a key

    // Drops the white space at both ends and puts a NUL behind the rest.
    void trim();

    // The trimmed part from `begin` up to `end`, with a NUL behind it: overwrites the byte at
    // `end`, or one before it.
    [[nodiscard]] KvIniText part(size_t begin, size_t end) const;
};

struct KvIniPending {
    char* begin = nullptr;
    char* end = nullptr;

    void append(const KvIniLine& line, bool withNewline);
    // Hands the text over and starts anew.
    [[nodiscard]] KvIniText take();
};
