// Directory part, file name and extension of a path.
#include <cstring>

#include "base/KvText.h"
#include "fileop/KvPath.h"
#include "fileop/KvPathArgument.h"

namespace {

bool isNameWithExtension(const char* name, const char* extension, const char* candidate) {
    char replaced[kPathCapacity];
    return ReplaceExtName(replaced, kPathCapacity, name, extension) == kPathDone &&
           Str_Equal(replaced, candidate, false);
}

}  // namespace

KvSimpleString DirNameOf(const char* path) {
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
    if (isMissing(path)) {
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
    if (isMissing(name)) {
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

bool IsDefaultDscFilename(const char* name, const char* candidate) {
    return isNameWithExtension(name, ".dsc", candidate);
}

bool IsDefaultSigFilename(const char* name, const char* candidate) {
    return isNameWithExtension(name, ".sig", candidate);
}
