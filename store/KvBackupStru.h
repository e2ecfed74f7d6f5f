// backupStru: which files an update added and overwrote, item by item. It holds either the changes
// of the current run, which an automatic rollback undoes, or the contents of one `VcBackup.ini`,
// which a later rollback undoes.
//
// An item is identified by its class and type together; wherever an item is looked up, the first
// record in index order that matches both is taken.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/KvScoped.h"
#include "base/KvVersion.h"

struct updateStru;

// One item. All strings and arrays are owned, come from `malloc` and go with `freeBackupStru`.
// `addedList` and `writtenList` have room for the capacity beside them; slots from the count on are
// null, but that the first of them holds the file announced, if there is one. A list is null while
// its capacity is 0.
struct backupItem {
    uint32_t itemClass;  // 0 marks a record whose section was dropped as damaged
    uint32_t type;
    tag_Version originVersion;  // before the update
    tag_Version resultVersion;  // after it
    uint64_t addedCount;
    uint64_t addedCapacity;
    char** addedList;  // full paths of the files that the update created
    uint64_t writtenCount;
    uint64_t writtenCapacity;
    char** writtenList;  // `backupName, targetPath` of the files that it overwrote
    char* destination;   // directory the item lies in; null in a record read from a file
};

struct backupStru {
    int32_t patchAgentVersion;  // 0 old patch agent interface, anything else new
    backupItem* items;          // null exactly when `itemCount` is 0
    uint64_t itemCount;
    char* patchAgentFile;  // null when the update named no patch agent
};

// Makes `backup` an empty record with one zeroed item for each item of the patch description, with
// its patch agent. Whatever `backup` held is not released. When memory runs out `backup` stays
// valid, without items. Either argument may be null: then nothing happens, or `backup` is cleared.
void initBackupStru(const updateStru* update, backupStru* backup);

// Makes room in both lists: an empty list gets 16 slots, a full one twice what it has. Call it when
// a list's capacity is 0 or not above its count. When memory runs out the list keeps its capacity,
// and the written list is not touched when the added list could not grow.
void expandBackupItem(backupItem* item);

// Append `entry`, a heap string, to one of the lists, growing it when it is full. True: the item
// owns `entry` now. False: there is no memory, the item is unchanged and `entry` stays the
// caller's. False as well for null arguments.
[[nodiscard]] bool appendAddedFile(backupItem* item, char* entry);
[[nodiscard]] bool appendWrittenFile(backupItem* item, char* entry);

// A file that the run is about to create. It is remembered beside the list, for the undoing of a
// run that breaks off while it writes the file, and becomes an added file when it is confirmed.
// `announceAddedFile` is as `appendAddedFile`; a file announced before is forgotten.
// `confirmAddedFile` is false, and changes nothing, unless `path` was announced last.
[[nodiscard]] bool announceAddedFile(backupItem* item, char* entry);
[[nodiscard]] bool confirmAddedFile(backupItem* item, const char* path);

// The file announced and not confirmed; null when there is none.
[[nodiscard]] const char* announcedFile(const backupItem& item);

// The first item of this class and type, or null. A null `backup` has no items.
[[nodiscard]] backupItem* findBackupItem(const backupStru* backup, uint32_t itemClass,
                                         uint32_t type);

// Releases everything the record owns and leaves it empty: no items, count 0, no patch agent file.
// Null is allowed, and so is a record that was released before.
void freeBackupStru(backupStru* backup);

// A record that is released with its scope.
using OwnedBackupStru = Owned<backupStru, freeBackupStru>;

// Prints the record to standard output, for diagnosis. Null is allowed and prints nothing.
void printBackupStru(const backupStru* backup);
