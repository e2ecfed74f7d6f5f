// Paths that depend on more than text: the directory of an update item, and names that no other
// process or thread makes.
//
// A `size` is the capacity of `out` in bytes, counting the NUL. A null text counts as the empty
// one.
#pragma once

#include "base/KvItemInfo.h"
#include "fileop/KvPath.h"

// Joins `base` with the item's class and type, both in decimal: "base/3/1208090624". Without
// `create` the result is that of the second join: 0, or the capacity that it would have needed
// (`out` then holds as much of the path as was joined before). With `create` the directory that
// `out` names is made, with its parents, and the result is that of KvFileOpUtil::createDir,
// whatever the joins came to. `out` may be the same buffer as `base`. A null `item` leaves `out`
// empty and gives kPathMissingArgument.
[[nodiscard]] int MakeItemPath(char* out, unsigned int size, const char* base,
                               const tag_ItemInfo* item, bool create);

// Writes "<dir>/<process>_<thread>", with the numbers of the calling process and thread in decimal;
// no second '/' when `dir` ends with one, and an empty `dir` means the root. `dir` is cut to
// kPathCapacity - 1 bytes. The result is the length of what is stored. A null `dir` gives
// kPathMissingArgument; otherwise a null `out` or a size of 0 gives 0; neither writes anything.
[[nodiscard]] int MakePathNameByThreadId(char* out, unsigned int size, const char* dir);
