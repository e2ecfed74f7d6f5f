// Comparison and search.
#include <cstring>

#include "base/KvText.h"

namespace {

// Only ASCII letters, whatever the locale and the code page: a byte above 0x7F may be half of a
// character.
char folded(char ch, bool caseSensitive) {
    return !caseSensitive && ch >= 'A' && ch <= 'Z' ? static_cast<char>(ch - 'A' + 'a') : ch;
}

int byteDifference(char a, char b, bool caseSensitive) {
    // Bytes above 0x7F count as negative whatever the platform's plain char is.
    return static_cast<signed char>(folded(a, caseSensitive)) -
           static_cast<signed char>(folded(b, caseSensitive));
}

bool startsWith(const char* text, const char* pattern, bool caseSensitive) {
    for (; *pattern != '\0'; ++text, ++pattern) {
        if (byteDifference(*text, *pattern, caseSensitive) != 0) {
            return false;
        }
    }
    return true;
}

}  // namespace

int Str_Comp(const char* a, const char* b, bool caseSensitive) {
    if (a == nullptr || b == nullptr) {
        return static_cast<int>(a != nullptr) - static_cast<int>(b != nullptr);
    }
    for (; *a != '\0' && *b != '\0'; ++a, ++b) {
        const int difference = byteDifference(*a, *b, caseSensitive);
        if (difference != 0) {
            return difference;
        }
    }
    // The terminator takes part like any byte, so a text sorts before its continuations.
    return byteDifference(*a, *b, caseSensitive);
}

bool Str_Equal(const char* a, const char* b, bool caseSensitive) {
    return Str_Comp(a, b, caseSensitive) == 0;
}

int Str_Find(const char* text, const char* pattern, bool caseSensitive) {
    if (text == nullptr || pattern == nullptr) {
        return -1;
    }
    // The same result as trying every index, by a route that does not try them one by one.
    if (caseSensitive) {
        const char* hit = strstr(text, pattern);
        return hit != nullptr ? static_cast<int>(hit - text) : -1;
    }
    const size_t length = strlen(text);
    const size_t wanted = strlen(pattern);
    for (size_t i = 0; i + wanted <= length; ++i) {
        if (startsWith(text + i, pattern, caseSensitive)) {
            return static_cast<int>(i);
        }
    }
    return -1;
}

bool Str_EndWith(const char* text, const char* suffix, bool caseSensitive) {
    if (text == nullptr || suffix == nullptr) {
        return false;
    }
    const size_t length = strlen(text);
    const size_t wanted = strlen(suffix);
    // The first occurrence decides, as the header says; -1 is no length and never equal.
    return wanted <= length &&
           static_cast<size_t>(Str_Find(text, suffix, caseSensitive)) == length - wanted;
}
