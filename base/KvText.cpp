#include "base/KvText.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

// The whole run works with one code page: the one of the configuration until the description names
// another.
unsigned int s_chartype = 0;

constexpr unsigned char kLowestTrailingByte = 0x40;

bool isLeadByte(char ch) {
    const auto byte = static_cast<unsigned char>(ch);
    switch (s_chartype) {
        case 932:
            return (byte >= 0x81 && byte <= 0x9F) || (byte >= 0xE0 && byte <= 0xFC);
        case 936:
        case 949:
        case 950:
            return byte >= 0x81 && byte <= 0xFE;
        default:
            return false;
    }
}

// Not isspace(): that would take the vertical tab, and would follow the locale.
bool isTrimmedSpace(char ch) {
    return ch == '\n' || ch == ' ' || ch == '\r' || ch == '\t' || ch == '\f';
}

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

void SetCurrentCharType(unsigned int codePage) {
    s_chartype = codePage;
}

unsigned int GetCurrentCharType() {
    return s_chartype;
}

bool IsTrailingByteOfDBC(const char* str, const char* p) {
    if (str == nullptr || p == nullptr || p <= str || s_chartype == 0) {
        return false;
    }
    // The walk stops at the terminator before it looks at `p`, so a `p` behind the text is never
    // read.
    const char* q = str;
    while (q < p && *q != '\0') {
        if (!isLeadByte(*q)) {
            ++q;
        } else if (q == p - 1) {
            return static_cast<unsigned char>(*p) >= kLowestTrailingByte;
        } else if (q[1] == '\0') {
            return false;
        } else {
            q += 2;
        }
    }
    return false;
}

bool TrailingByteWalk::isTrailing(char byte) {
    const bool second = afterLead_;
    // The byte after a lead byte is passed over even when it is too low to be a trailing byte.
    afterLead_ = !second && isLeadByte(byte);
    return second && static_cast<unsigned char>(byte) >= kLowestTrailingByte;
}

int strrepchr(char* text, char from, char to) {
    // Most texts hold none, and the library's search tells so faster than the walk.
    if (text == nullptr || from == '\0' || strchr(text, from) == nullptr) {
        return 0;
    }
    int replaced = 0;
    TrailingByteWalk walk;
    for (char* p = text; *p != '\0'; ++p) {
        TrailingByteWalk before = walk;
        if (walk.isTrailing(*p) || *p != from) {
            continue;
        }
        *p = to;
        ++replaced;
        if (to == '\0') {
            break;
        }
        // The bytes that follow are judged against the text as it is now.
        (void)before.isTrailing(to);
        walk = before;
    }
    return replaced;
}

bool IsDigit(char ch) {
    return ch >= '0' && ch <= '9';
}

int leadingNumber(const char* text) {
    return text != nullptr ? static_cast<int>(strtol(text, nullptr, 10)) : 0;
}

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

// Not `strdup`: a sanitizer's writes into the null that a failed allocation gives it.
char* Str_Dup(const char* text) {
    if (text == nullptr || KvSimpleString::isFailed(text)) {
        return nullptr;
    }
    const size_t size = strlen(text) + 1;
    void* copy = malloc(size);
    return copy != nullptr ? static_cast<char*>(memcpy(copy, text, size)) : nullptr;
}

TextSpan Str_TrimmedSpan(const char* text, size_t length) {
    TextSpan kept{0, length};
    while (kept.begin < kept.end && isTrimmedSpace(text[kept.begin])) {
        ++kept.begin;
    }
    while (kept.end > kept.begin && isTrimmedSpace(text[kept.end - 1])) {
        --kept.end;
    }
    return kept;
}

void Str_TrimAll(KvSimpleString& text) {
    const TextSpan kept = Str_TrimmedSpan(text.c_str(), text.length());
    // A text without space at its ends is not written to at all.
    if (kept.end - kept.begin < text.length()) {
        text.assign(text.c_str() + kept.begin, text.c_str() + kept.end);
    }
}

void Str_TrimAll(char* text) {
    if (text == nullptr) {
        return;
    }
    const size_t length = strlen(text);
    const TextSpan kept = Str_TrimmedSpan(text, length);
    const size_t size = kept.end - kept.begin;
    // Nothing of what was trimmed off stays behind the terminator.
    memmove(text, text + kept.begin, size);
    memset(text + size, 0, length - size);
}

bool Str_Piece(const char* text, char separator, int index, KvSimpleString& piece) {
    const char* begin = text;
    for (int i = 0; begin != nullptr && *begin != '\0'; ++i) {
        // The terminator ends a text and is never between two pieces.
        const char* end = separator != '\0' ? strchr(begin, separator) : nullptr;
        if (i == index) {
            piece.assign(begin, end != nullptr ? end : begin + strlen(begin));
            return true;
        }
        begin = end != nullptr ? end + 1 : nullptr;
    }
    return false;
}

void Str_ToUpper(char* text) {
    for (char* p = text; p != nullptr && *p != '\0'; ++p) {
        *p = static_cast<char>(toupper(static_cast<unsigned char>(*p)));
    }
}

// memmove in what follows: a source that lies in the buffer itself is harmless then.
char* Strncpy(char* dst, const char* src, size_t size) {
    if (dst == nullptr || size == 0) {
        return nullptr;
    }
    if (KvSimpleString::isFailed(src)) {
        dst[0] = '\0';
        return nullptr;
    }
    const size_t length = src != nullptr ? strnlen(src, size - 1) : 0;
    memmove(dst, src != nullptr ? src : "", length);
    // The whole rest of the buffer, as strncpy does.
    memset(dst + length, 0, size - length);
    return dst;
}

char* Strncat(char* dst, const char* src, size_t size) {
    if (dst == nullptr || size == 0) {
        return nullptr;
    }
    if (KvSimpleString::isFailed(src)) {
        dst[0] = '\0';
        return nullptr;
    }
    // A buffer without a terminator counts as full.
    const size_t length = strnlen(dst, size);
    if (length + 1 >= size) {
        return nullptr;
    }
    const size_t added = src != nullptr ? strnlen(src, size - length - 1) : 0;
    memmove(dst + length, src != nullptr ? src : "", added);
    dst[length + added] = '\0';
    dst[size - 1] = '\0';
    return dst + length;
}

int Snprintf(char* buf, size_t size, const char* format, ...) {
    va_list args;
    va_start(args, format);
    const int stored = Vsnprintf(buf, size, format, args);
    va_end(args);
    return stored;
}

int Vsnprintf(char* buf, size_t size, const char* format, va_list args) {
    if (buf == nullptr || size == 0 || format == nullptr) {
        return 0;
    }
    // The caller has started the list; the analyzer loses sight of that.
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized)
    const int wanted = vsnprintf(buf, size, format, args);
    // What a failed conversion has left in the buffer is undefined; an empty text is not.
    if (wanted < 0) {
        buf[0] = '\0';
    }
    buf[size - 1] = '\0';
    return static_cast<int>(std::min<size_t>(static_cast<size_t>(std::max(wanted, 0)), size - 1));
}

void Str_AppendFormat(KvSimpleString& text, const char* format, ...) {
    char piece[1024];
    va_list args;
    va_start(args, format);
    (void)Vsnprintf(piece, sizeof piece, format, args);  // its length is of no interest
    va_end(args);
    text.append(piece);
}
