// What the parser of the patch description shows of it in the log.
#pragma once

#include "base/KvSimpleString.h"
#include "patch/KvUpdateStru.h"

// Each line is cut at 1023 characters, its line feed included. A null `noWaiting` is an absent key;
// the flag reads as set when its first character is '1'.
[[nodiscard]] KvSimpleString dumpCommon(const updateStru& description, const char* noWaiting);
[[nodiscard]] KvSimpleString dumpItem(uint64_t index, const tag_ItemInfo& item);
