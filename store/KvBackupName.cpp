#include "store/KvBackupName.h"

#include <cstdlib>
#include <cstring>
#include <ctime>

#include "base/KvText.h"
#include "fileop/KvDiskNames.h"
#include "fileop/KvPath.h"

namespace {

constexpr char kSeparator[] = "/";

constexpr char kDigits[] = "0123456789abcdefghijklmnopqrstuvwxyz";
constexpr uint64_t kBase = sizeof kDigits - 1;
constexpr uint64_t kNames = kBase * kBase * kBase;
constexpr size_t kDigitCount = 3;

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

void r36tostr(uint64_t value, char* out, size_t /*size*/) {
    if (out == nullptr) {
        return;
    }
    value %= kNames;
    for (size_t position = kDigitCount; position-- > 0;) {
        out[position] = kDigits[value % kBase];
        value /= kBase;
    }
    out[kDigitCount] = '\0';
}

void extSeed(char* ext, size_t size) {
    // Nothing draws from the generator; the names are counted up, never random.
    srand(static_cast<unsigned>(time(nullptr)));
    if (ext == nullptr) {
        return;
    }
    ext[0] = '.';
    r36tostr(0, ext + 1, size - 1);
}

void extInc(char* ext, size_t size, int64_t inc) {
    if (ext == nullptr || ext[0] == '\0') {
        return;
    }
    const auto number = static_cast<uint32_t>(strtol(ext + 1, nullptr, static_cast<int>(kBase)));
    r36tostr(number + static_cast<uint64_t>(inc), ext + 1, size - 1);
}
