// Splitting, prefixes, separators, names and patterns.
#include "fileop/KvPath.h"

#include <cstring>
#include <optional>

#include "base/KvText.h"

namespace {

bool isNameWithExtension(const char* name, const char* extension, const char* candidate) {
    char replaced[kPathCapacity];
    return ReplaceExtName(replaced, kPathCapacity, name, extension) == kPathDone &&
           Str_Equal(replaced, candidate, false);
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

// The result, when no search is needed for it.
std::optional<int> subtractTrivially(char* out, int size, const char* full, const char* prefix) {
    if (out == nullptr || size <= 0) {
        return kPathMissingArgument;
    }
    if (KvSimpleString::isFailed(full) || KvSimpleString::isFailed(prefix)) {
        out[0] = '\0';
        return kPathMissingArgument;
    }
    if (isMissingPath(full) || isMissingPath(prefix)) {
        (void)Strncpy(out, full, static_cast<size_t>(size));  // never null: `out` is given
        return kPathDone;
    }
    return std::nullopt;
}

}  // namespace

KvSimpleString DirNameOf(const char* path) {
    if (KvSimpleString::isFailed(path)) {
        return {path};
    }
    const char* const last = path != nullptr ? strrchr(path, '/') : nullptr;
    // Kept: what stands directly under the root has no directory part.
    if (last == nullptr || last == path) {
        return {};
    }
    KvSimpleString directory;
    directory.assign(path, last + 1);
    return directory;
}

KvSimpleString FileNameOf(const char* path) {
    if (KvSimpleString::isFailed(path)) {
        return {path};
    }
    if (isMissingPath(path)) {
        return {};
    }
    const char* const last = strrchr(path, '/');
    return {last != nullptr ? last + 1 : path};
}

const char* GetFileExtName(const char* name) {
    const char* const dot = name != nullptr ? strrchr(name, '.') : nullptr;
    return dot != nullptr ? dot + 1 : "";
}

int ReplaceExtName(char* out, int size, const char* name, const char* newExt) {
    if (out == nullptr || size <= 0) {
        return kPathMissingArgument;
    }
    if (KvSimpleString::isFailed(name) || KvSimpleString::isFailed(newExt)) {
        out[0] = '\0';
        return kPathMissingArgument;
    }
    if (isMissingPath(name)) {
        out[0] = '\0';
        return kPathDone;
    }
    const char* const extension = newExt != nullptr ? newExt : "";
    const char* const dot = strrchr(name, '.');
    const size_t cut = dot != nullptr ? static_cast<size_t>(dot - name) : strlen(name);
    const size_t added = strlen(extension);
    const size_t needed = cut + added + 1;
    if (static_cast<size_t>(size) < needed) {
        return static_cast<int>(needed);
    }
    memmove(out, name, cut);
    memmove(out + cut, extension, added);
    out[cut + added] = '\0';
    return kPathDone;
}

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

bool isPathSeparator(char c) {
    return c == '/';
}

bool EndsWithSeparator(const char* path) {
    return path != nullptr && *path != '\0' && isPathSeparator(path[strlen(path) - 1]);
}

bool RemoveTrailingSeparator(KvSimpleString& path) {
    if (!EndsWithSeparator(path.c_str())) {
        return false;
    }
    path = path.substr(0, path.length() - 1);
    return true;
}

void ReplaceBackSlash(char* text) {
    (void)strrepchr(text, '\\', '/');  // how many it were makes no difference
}

void normalizeSeptor(KvSimpleString& path) {
    if (path.find('\\') != KvSimpleString::npos) {
        ReplaceBackSlash(&path[0]);
    }
}

KvSimpleString normalizedPath(const char* path) {
    KvSimpleString text(path);
    normalizeSeptor(text);
    return text;
}

bool isMissingPath(const char* path) {
    return path == nullptr || *path == '\0';
}

bool isWildcardName(const char* name) {
    return name != nullptr && strpbrk(name, "*?") != nullptr;
}

bool _fnmatch(const char* pattern, const char* name) {
    if (pattern == nullptr || name == nullptr) {
        return false;
    }
    // Only the latest '*' ever needs another try: whatever an earlier one could take more, the
    // latest can take as well.
    const char* behindStar = nullptr;
    const char* retryFrom = nullptr;
    while (*name != '\0') {
        if (*pattern == '*') {
            behindStar = ++pattern;
            retryFrom = name;
        } else if (*pattern == '?' || *pattern == *name) {
            ++pattern;
            ++name;
        } else if (behindStar != nullptr) {
            pattern = behindStar;
            name = ++retryFrom;
        } else {
            return false;
        }
    }
    return pattern[strspn(pattern, "*")] == '\0';
}

bool IsDefaultDscFilename(const char* name, const char* candidate) {
    return isNameWithExtension(name, ".dsc", candidate);
}

bool IsDefaultSigFilename(const char* name, const char* candidate) {
    return isNameWithExtension(name, ".sig", candidate);
}

int CompareFullPath(const char* a, const char* b) {
    return strcmp(a != nullptr ? a : "", b != nullptr ? b : "");
}
