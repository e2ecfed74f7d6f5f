// Separators: recognising, removing and normalising them.
#include <cstring>

#include "base/KvText.h"
#include "fileop/KvPath.h"

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
    (void)strrepchr(text, '\\', '/');  // how many were there is nobody's concern
}

void normalizeSeptor(KvSimpleString& path) {
    if (path.find('\\') != KvSimpleString::npos) {
        ReplaceBackSlash(&path[0]);
    }
}
