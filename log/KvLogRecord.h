// The records of the log, byte for byte.
#pragma once

#include <cstddef>

#include "base/KvSimpleString.h"

// The fields that stand before the message.
struct KvLogFields {
    bool isError;
    const char* stamp;  // "YYYYMMDD HH:MM:SS"; only its first 17 characters are used
    unsigned int process;
    unsigned int thread;
    const char* fileAndLine;  // always empty today
};

// Whether the message is a separator line: not empty, and only '-'.
[[nodiscard]] bool isSeparatorLine(const char* message);

// "\n", the fields and the wrapped message. No line feed ends the record: the next one begins with
// it.
[[nodiscard]] KvSimpleString makeTextRecord(const KvLogFields& fields, const char* message);

[[nodiscard]] KvSimpleString makeHtmlRecord(const KvLogFields& fields, const char* message);

// What a new HTML log begins with. Nothing closes it at its end: records are appended for ever.
extern const char kHtmlLogHeader[];
