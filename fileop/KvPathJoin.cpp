// The two joins of a base path and a relative one.
#include <algorithm>
#include <climits>
#include <cstring>

#include "base/KvText.h"
#include "fileop/KvPath.h"

namespace {

constexpr char kSlash = '/';
constexpr char kBackslash = '\\';
constexpr char kNoSeparator = '\0';

struct Join {
    const char* base;
    size_t baseLength;
    const char* rel;
    size_t relLength;
    char separator;  // kNoSeparator when none is inserted
};

const char* orEmpty(const char* text) {
    return text != nullptr ? text : "";
}

bool isAnySeparator(char ch) {
    return ch == kSlash || ch == kBackslash;
}

bool isWritable(const char* out, int size) {
    return out != nullptr && size > 0;
}

const char* skipOneSeparator(const char* rel) {
    return isAnySeparator(*rel) ? rel + 1 : rel;
}

void writeCutBase(char* out, int size, const Join& join) {
    const size_t kept = std::min(join.baseLength, static_cast<size_t>(size) - 1);
    memmove(out, join.base, kept);
    out[kept] = '\0';
}

// A side for which there was no memory: nothing of the other one is left in `out`, where it would
// look like a path.
int refuse(char* out, int size) {
    if (isWritable(out, size)) {
        out[0] = '\0';
    }
    return kPathMissingArgument;
}

bool isAnyFailed(const char* base, const char* rel) {
    return KvSimpleString::isFailed(base) || KvSimpleString::isFailed(rel);
}

// The result of a join: kPathDone, or the capacity needed.
int writeJoin(char* out, int size, const Join& join) {
    const size_t inserted = join.separator != kNoSeparator ? 1 : 0;
    const size_t needed = join.baseLength + inserted + join.relLength + 1;
    if (!isWritable(out, size) || static_cast<size_t>(size) < needed) {
        if (isWritable(out, size)) {
            writeCutBase(out, size, join);
        }
        return static_cast<int>(std::min<size_t>(needed, INT_MAX));
    }
    // The tail first, so that either text may stand in `out` already.
    char* const tail = out + join.baseLength + inserted;
    memmove(tail, join.rel, join.relLength);
    tail[join.relLength] = '\0';
    memmove(out, join.base, join.baseLength);
    if (inserted != 0) {
        out[join.baseLength] = join.separator;
    }
    return kPathDone;
}

bool isNetworkShare(const char* base) {
    return base[0] == kBackslash && base[1] == kBackslash;
}

bool endsWithAnySeparator(const char* base, size_t length) {
    const char* const last = base + length - 1;
    return isAnySeparator(*last) && !IsTrailingByteOfDBC(base, last);
}

}  // namespace

int CatPathWithPath(char* out, int size, const char* base, const char* rel) {
    if (isAnyFailed(base, rel)) {
        return refuse(out, size);
    }
    base = orEmpty(base);
    rel = skipOneSeparator(orEmpty(rel));
    if (isWritable(out, size)) {
        out[size - 1] = '\0';  // a base that is joined in place ends there at the latest
    }
    Join join{base, strlen(base), rel, strlen(rel), kNoSeparator};
    // Kept: unlike its neighbour this join takes a trailing byte of 0x5C for a separator.
    const bool separated = join.baseLength > 0 && isAnySeparator(base[join.baseLength - 1]);
    if (join.baseLength > 0 && !separated) {
        join.separator = kSlash;
    }
    const int result = writeJoin(out, size, join);
    if (result == kPathDone && separated) {
        out[join.baseLength - 1] = kSlash;
    }
    return result;
}

int CatURIWithPath(char* out, int size, const char* base, const char* rel) {
    if (isAnyFailed(base, rel)) {
        return refuse(out, size);
    }
    base = orEmpty(base);
    if (isWritable(out, size)) {
        out[size - 1] = '\0';
    }
    // A copy, because `rel` may lie in `out`.
    char scratch[kPathCapacity];
    const char* const kept = skipOneSeparator(orEmpty(rel));
    const size_t keptLength = strnlen(kept, sizeof scratch - 1);
    memcpy(scratch, kept, keptLength);

    const bool share = isNetworkShare(base);
    const char separator = share ? kBackslash : kSlash;
    Join join{base, strlen(base), scratch, keptLength, kNoSeparator};
    if (join.baseLength > 0 && !endsWithAnySeparator(base, join.baseLength)) {
        join.separator = separator;
    }
    const int result = writeJoin(out, size, join);
    if (result == kPathDone) {
        (void)strrepchr(out, share ? kSlash : kBackslash, separator);  // the count means nothing
    }
    return result;
}
