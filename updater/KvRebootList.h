// The reboot list: copies that wait for the next restart of the machine.
#pragma once

#include <cstddef>

#include "base/DList.h"

constexpr size_t kRebootPathCapacity = 1024;

// What an entry asks for at the restart. A deferred copy and a deferred deletion bear the same
// number: the entry's source tells them apart.
enum RebootMarker : char {
    kRebootReplace = 0,  // an update's new file, at `source`
    kRebootDelete = 0,   // a rollback's deletion of an added file, without a source
    kRebootPutBack = 1,  // a rollback's saved file, at `source`
};

struct RebootEntry {
    char source[kRebootPathCapacity];       // "" when there is no source
    char destination[kRebootPathCapacity];  // cut to the capacity, like the source
    RebootMarker flag;
};

// The entries of this run (RebootEntry, each a heap block), in the order in which they were added.
extern DList g_rebootCopyList;

// Says that a file which the update added takes effect only after a restart. Nothing sets it today:
// new files are always written at once.
extern bool g_RebootForNewFile;

// Appends an entry; a null `source` is stored as "". False when there is no memory.
[[nodiscard]] bool addRebootEntry(const char* source, const char* destination, RebootMarker flag);

// Would register one entry with the operating system. There is no register of deferred copies on
// this platform: always 0, nothing is written. A null or empty `source` stands for a deletion of
// `target`.
int writeReboot(const char* source, const char* target, char marker);

// Hands every entry to `writeReboot`, logs and frees it. False when there are no entries. The list
// keeps its (then dangling) pointers: it is called once, at the end of a run.
[[nodiscard]] bool WriteRebootList();

// Frees all entries and empties the list: the deferred copies of a run that failed are forgotten.
void DropRebootList();
