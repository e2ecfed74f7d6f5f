#include "fileop/KvItemPath.h"

#include <algorithm>
#include <climits>

#include "base/KvText.h"
#include "fileop/KvFileOpUtil.h"

namespace {

int joinNumber(char* out, int size, const char* base, uint32_t number) {
    char digits[sizeof "4294967295"];
    (void)Snprintf(digits, sizeof digits, "%u", number);  // its length is of no interest
    return CatURIWithPath(out, size, base, digits);
}

}  // namespace

int MakeItemPath(char* out, unsigned int size, const char* base, const tag_ItemInfo* item,
                 bool create) {
    if (item == nullptr) {
        (void)Strncpy(out, "", size);  // null only for a missing buffer, which stays missing
        return kPathMissingArgument;
    }
    if (KvSimpleString::isFailed(base)) {
        (void)Strncpy(out, "", size);
        return create ? static_cast<int>(KvFileOpUtil::kDestinationNotWritable)
                      : static_cast<int>(kPathMissingArgument);
    }
    if (size == 0) {
        out = nullptr;  // the second join must not read what the first could not write
    }
    const int capacity = static_cast<int>(std::min<unsigned int>(size, INT_MAX));
    // Kept: a first join that does not fit leaves the cut base, and the second goes on from there.
    // Its result alone is reported; with `create` that of making the directory.
    (void)joinNumber(out, capacity, base, item->itemClass);
    const int joined = joinNumber(out, capacity, out, item->type);
    return create ? KvFileOpUtil::createDir(out) : joined;
}

int MakePathNameByThreadId(char* out, unsigned int size, const char* dir) {
    if (dir == nullptr) {
        return kPathMissingArgument;
    }
    if (out == nullptr || size == 0) {
        return 0;
    }
    if (KvSimpleString::isFailed(dir)) {
        out[0] = '\0';
        return kPathMissingArgument;
    }
    char directory[kPathCapacity];
    (void)Strncpy(directory, dir, sizeof directory);
    if (!KvFileOpUtil::isDirName(directory)) {
        // Null when there is no room left: the name then goes without its separator.
        (void)Strncat(directory, "/", sizeof directory);
    }
    return Snprintf(out, size, "%s%u_%u", directory, VcGetProcessID(), VcGetThreadId());
}
