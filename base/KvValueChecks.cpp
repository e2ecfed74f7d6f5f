// The small checks of settings, and the comparison of paths.
#include <algorithm>
#include <cstring>

#include "base/KvScoped.h"
#include "base/KvText.h"
#include "base/KvVersion.h"

namespace {

constexpr unsigned kHighestHttpsLevel = 2;
constexpr int kNoHexDigit = -1;

int hexDigit(char ch) {
    if (IsDigit(ch)) {
        return ch - '0';
    }
    if (ch >= 'a' && ch <= 'f') {
        return ch - 'a' + 10;
    }
    return ch >= 'A' && ch <= 'F' ? ch - 'A' + 10 : kNoHexDigit;
}

// Every backslash, also one that is half of a character: both sides are changed alike, so equal
// paths stay equal.
ScopedHeap<char> withSlashes(const char* text) {
    ScopedHeap<char> copy(Str_Dup(text));
    if (copy != nullptr) {
        std::replace(copy.get(), copy.get() + strlen(copy.get()), '\\', '/');
    }
    return copy;
}

}  // namespace

bool isValidVersion(const char* s) {
    const char* dot = s != nullptr ? strchr(s, '.') : nullptr;
    // A second dot is no digit of the number that follows the first.
    return dot != nullptr && dot != s && isValidNumber(dot + 1) && std::all_of(s, dot, IsDigit);
}

bool isValidNumber(const char* s) {
    return s != nullptr && *s != '\0' && std::all_of(s, s + strlen(s), IsDigit);
}

unsigned xa2ui(const char* s) {
    unsigned value = 0;
    for (; s != nullptr && hexDigit(*s) != kNoHexDigit; ++s) {
        // Unsigned, so that too many digits wrap around instead of overflowing.
        value = value * 16 + static_cast<unsigned>(hexDigit(*s));
    }
    return value;
}

bool IsValidHttpsLevel(unsigned level) {
    return level <= kHighestHttpsLevel;
}

int Str_Comp_Ex(const char* a, const char* b, bool ignoreSeparatorKind, bool ignoreCase) {
    if (!ignoreSeparatorKind || a == nullptr || b == nullptr) {
        return Str_Comp(a, b, !ignoreCase);
    }
    const ScopedHeap<char> left = withSlashes(a);
    const ScopedHeap<char> right = withSlashes(b);
    if (left == nullptr || right == nullptr) {
        // Without memory for the copies an answer that minds the separators is the best one left.
        return Str_Comp(a, b, !ignoreCase);
    }
    return Str_Comp(left.get(), right.get(), !ignoreCase);
}
