// The time stamp of the log.
#pragma once

#include <cstddef>
#include <ctime>

// "YYYYMMDD HH:MM:SS", "\n" and the NUL.
constexpr size_t kStampCapacity = 19;
constexpr int kStampLength = 17;  // without the "\n"

// Writes the stamp of a local time; the fall-back stamp when `local` is null.
void formatStamp(char (&stamp)[kStampCapacity], const tm* local);
