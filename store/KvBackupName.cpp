#include "store/KvBackupName.h"

#include <cstring>

#include "base/KvSimpleString.h"
#include "base/KvText.h"
#include "fileop/KvDiskNames.h"
#include "fileop/KvPath.h"

namespace {

constexpr char kSeparator[] = "/";

bool isWritable(const char* out, size_t size) {
    return out != nullptr && size > 0;
}

const char* orEmpty(const char* text) {
    return text != nullptr ? text : "";
}

}  // namespace

int constructVcPath(const char* base, uint32_t first, uint32_t second, char* out, size_t size) {
    if (!isWritable(out, size)) {
        return 0;
    }
    base = orEmpty(base);
    if (EndsWithSeparator(base)) {
        return Snprintf(out, size, "%s%u%s%u%s", base, first, kSeparator, second, kSeparator);
    }
    return Snprintf(out, size, "%s%s%u%s%u%s", base, kSeparator, first, kSeparator, second,
                    kSeparator);
}

int constructUpdatePath(const char* base, uint32_t itemClass, uint32_t type, char* out,
                        size_t size) {
    return constructVcPath(base, itemClass, type, out, size);
}

int constructBackupPath(const char* dest, uint32_t itemClass, uint32_t type, char* out,
                        size_t size) {
    char store[kLongPathCapacity];
    Strncpy(store, orEmpty(dest), sizeof store);
    // Where the store's name does not fit it is cut, as every path is.
    if (store[0] != '\0' && !EndsWithSeparator(store)) {
        (void)Strncat(store, kSeparator, sizeof store);
    }
    (void)Strncat(store, kBackupStoreName, sizeof store);
    (void)Strncat(store, kSeparator, sizeof store);
    return constructVcPath(store, itemClass, type, out, size);
}

bool makeBackupPath(const char* dest, uint32_t itemClass, uint32_t type, char* out, size_t size) {
    const char* const base = orEmpty(dest);
    const bool isBare = *base == '\0' || EndsWithSeparator(base);
    char below[kPathCapacity];
    const int length = constructBackupPath("", itemClass, type, below, sizeof below);
    const size_t whole = strlen(base) + (isBare ? 0 : 1) + static_cast<size_t>(length);
    return !KvSimpleString::isFailed(dest) && whole < size && whole < kLongPathCapacity &&
           constructBackupPath(base, itemClass, type, out, size) > 0;
}

bool constructRecordPath(const char* dest, char* out, size_t size) {
    if (!isWritable(out, size)) {
        return false;
    }
    const int capacity = static_cast<int>(size);
    if (CatURIWithPath(out, capacity, orEmpty(dest), kBackupStoreName) == 0 &&
        CatURIWithPath(out, capacity, out, kBackupRecordName) == 0) {
        return true;
    }
    out[0] = '\0';
    return false;
}
