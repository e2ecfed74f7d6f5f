// Removing a leading directory part from a path.
#include <cstring>
#include <optional>

#include "base/KvText.h"
#include "fileop/KvPath.h"
#include "fileop/KvPathArgument.h"

namespace {

bool startsWithIgnoringCase(const char* full, const char* prefix) {
    const size_t length = strlen(prefix);
    if (strnlen(full, length) < length) {
        return false;
    }
    KvSimpleString head;
    head.assign(full, full + length);
    return Str_Equal(head.c_str(), prefix, false);
}

// The result, when no search is needed for it.
std::optional<int> subtractTrivially(char* out, int size, const char* full, const char* prefix) {
    if (out == nullptr || size <= 0) {
        return kPathMissingArgument;
    }
    if (isMissing(full) || isMissing(prefix)) {
        (void)Strncpy(out, full, static_cast<size_t>(size));  // never null: `out` is given
        return kPathDone;
    }
    return std::nullopt;
}

}  // namespace

int SubtractURIStrict(char* out, int size, const char* full, const char* prefix) {
    if (const auto result = subtractTrivially(out, size, full, prefix)) {
        return *result;
    }
    if (!startsWithIgnoringCase(full, prefix)) {
        return kPathNoPrefix;
    }
    char rest[kPathCapacity];
    (void)Strncpy(rest, full + strlen(prefix), sizeof rest);
    (void)Strncpy(out, rest + strspn(rest, "/\\"), static_cast<size_t>(size));
    return kPathDone;
}

int SubtractURI(char* out, int size, const char* full, const char* prefix) {
    if (const auto result = subtractTrivially(out, size, full, prefix)) {
        return *result;
    }
    char plainFull[kPathCapacity];
    char plainPrefix[kPathCapacity];
    char remainder[kPathCapacity];
    (void)Strncpy(plainFull, full, sizeof plainFull);
    (void)Strncpy(plainPrefix, prefix, sizeof plainPrefix);
    ReplaceBackSlash(plainFull);
    ReplaceBackSlash(plainPrefix);
    const int result = SubtractURIStrict(remainder, kPathCapacity, plainFull, plainPrefix);
    if (result == kPathDone) {
        // Kept: counted from the end of the caller's text, also when that was cut above.
        (void)Strncpy(out, full + strlen(full) - strlen(remainder), static_cast<size_t>(size));
    }
    return result;
}
