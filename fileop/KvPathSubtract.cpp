// Removing a leading directory part from a path.
#include <algorithm>
#include <cstring>

#include "base/KvText.h"
#include "fileop/KvPath.h"

namespace {

bool isEmpty(const char* text) {
    return text == nullptr || *text == '\0';
}

bool startsWithIgnoringCase(const char* full, const char* prefix) {
    const size_t length = strlen(prefix);
    if (strnlen(full, length) < length) {
        return false;
    }
    KvSimpleString head;
    head.assign(full, full + length);
    return Str_Equal(head.c_str(), prefix, false);
}

// The cases that need no search; true when `result` is the answer.
bool subtractTrivially(char* out, int size, const char* full, const char* prefix, int& result) {
    result = kSubtractDone;
    if (out == nullptr || size <= 0) {
        result = kSubtractNoBuffer;
        return true;
    }
    if (isEmpty(full) || isEmpty(prefix)) {
        (void)Strncpy(out, full, static_cast<size_t>(size));  // never null: `out` is given
        return true;
    }
    return false;
}

}  // namespace

int SubtractURIStrict(char* out, int size, const char* full, const char* prefix) {
    int result = kSubtractDone;
    if (subtractTrivially(out, size, full, prefix, result)) {
        return result;
    }
    if (!startsWithIgnoringCase(full, prefix)) {
        return kSubtractNoPrefix;
    }
    char rest[kPathCapacity];
    (void)Strncpy(rest, full + strlen(prefix), sizeof rest);
    (void)Strncpy(out, rest + strspn(rest, "/\\"), static_cast<size_t>(size));
    return kSubtractDone;
}

int SubtractURI(char* out, int size, const char* full, const char* prefix) {
    int result = kSubtractDone;
    if (subtractTrivially(out, size, full, prefix, result)) {
        return result;
    }
    char plainFull[kPathCapacity];
    char plainPrefix[kPathCapacity];
    char remainder[kPathCapacity];
    (void)Strncpy(plainFull, full, sizeof plainFull);
    (void)Strncpy(plainPrefix, prefix, sizeof plainPrefix);
    ReplaceBackSlash(plainFull);
    ReplaceBackSlash(plainPrefix);
    result = SubtractURIStrict(remainder, kPathCapacity, plainFull, plainPrefix);
    if (result == kSubtractDone) {
        // Kept: counted from the end of the caller's text, also when that was cut above.
        (void)Strncpy(out, full + strlen(full) - strlen(remainder), static_cast<size_t>(size));
    }
    return result;
}
