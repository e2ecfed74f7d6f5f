// Name patterns and the comparison of paths.
#include <cstring>

#include "fileop/KvPath.h"

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

int CompareFullPath(const char* a, const char* b) {
    return strcmp(a != nullptr ? a : "", b != nullptr ? b : "");
}
