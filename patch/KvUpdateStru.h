// updateStru: the patch description `VcPatch.ini`, read.
//
//     [common]                         [item_0] ... [item_<itemcount-1>]
//     itemcount=1                      class=3
//     patchagent.version=1             type=5
//     action=0                         origin.version=100
//     backup=1            (default 1)  result.version=101
//     patchagent=agent.so (optional)   forceupdate=0        (default 0)
//     velocore_path=/opt/velocore      destination=/opt/velocore/pattern
//                                      item.zip=pattern.zip (optional)
//
// A key without a note must stand there; one with an empty value does stand there. Numbers are read
// as `atoi` reads them: leading digits, 0 without any. Item sections from `itemcount` on are not
// looked at.
#pragma once

#include <cstdint>

#include "base/KvItemInfo.h"
#include "base/KvScoped.h"
#include "base/KvSimpleString.h"

class KvIniUtil;

// The values of "action" in `[common]`.
enum PatchAction : int32_t {
    kActionUpdate = 0,
    kActionRollback = 1,
    kActionNone = 2,
};

// What phaseIniForUpdate answers.
enum PatchDescriptionResult : int32_t {
    kDescriptionUnusable = -1,
    kDescriptionParsed = 0,
    kDescriptionWithoutItems = 1,
};

// All strings and the array come from `malloc` and go with freeUpdateStru.
struct updateStru {
    uint32_t patchAgentVersion;  // 0 old, 1 new interface; the actions reject other values
    uint32_t action;             // a PatchAction
    uint32_t backup;             // 1: the replaced files are backed up
    tag_ItemInfo* items;         // `itemCount` elements, in the order of the sections
    uint64_t itemCount;
    char* patchAgentFile;  // name or path of the agent's library; null: the built-in defaults
    char* velocorePath;    // installation root
};

// Reads the description into `out` (whatever `out` held is not released) and logs a dump of it.
// kDescriptionParsed: `out` holds at least one item and goes with freeUpdateStru.
// kDescriptionWithoutItems: "itemcount" is 0. Nothing else was read and `out` is empty.
// kDescriptionUnusable: a key is missing or there is no memory; the reason is logged. `out` has
// been released: its pointers are null, its item count is left and counts nothing.
//
// A count that promises more than there is costs no more than the sections that exist. A null
// `document` has no keys; a null `out` is kDescriptionUnusable.
[[nodiscard]] PatchDescriptionResult phaseIniForUpdate(const KvIniUtil* document, updateStru* out);

// Releases all that the structure owns and sets the freed pointers to null; the item count stays.
// Null is allowed, and so is a structure that was released before.
void freeUpdateStru(updateStru* description);

// A structure that is released with its scope.
using OwnedUpdateStru = Owned<updateStru, freeUpdateStru>;

// The text that the parser logs of the common section and of one item, each line cut at 1023 bytes,
// its line feed included. A null `noWaiting` is an absent key; the flag reads as set when its first
// character is '1'.
[[nodiscard]] KvSimpleString dumpCommon(const updateStru& description, const char* noWaiting);
[[nodiscard]] KvSimpleString dumpItem(uint64_t index, const tag_ItemInfo& item);

// Prints the structure to standard output, for diagnosis. Null prints nothing.
void printUpdateStru(const updateStru* description);
