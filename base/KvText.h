// Text helpers on byte strings: the double-byte rule of the current code page, numbers, comparison
// and search with optional ASCII case folding, trimming, pieces between separators, and bounded
// copy, append and formatting that always terminate.
#pragma once

#include <cstdarg>
#include <cstddef>

#include "base/KvSimpleString.h"

// The code page is one process-wide number, 0 at start. 932, 936, 949 and 950 have double-byte
// characters; 0 and every other value mean single-byte text.
void SetCurrentCharType(unsigned int codePage);
[[nodiscard]] unsigned int GetCurrentCharType();

// Whether `p` points at the second byte of a double-byte character of `str`, judged by a walk from
// the start of `str`. False for null pointers, for `p` outside the text and for bytes below 0x40.
[[nodiscard]] bool IsTrailingByteOfDBC(const char* str, const char* p);

// The same answer for one byte after another: walks a text from its start in linear time, where
// asking IsTrailingByteOfDBC for every byte would cost the square of the length. Walks by the code
// page of the moment.
class TrailingByteWalk {
  public:
    // Takes the next byte of the text; whether it is a trailing byte.
    bool isTrailing(char byte);

  private:
    bool afterLead_ = false;
};

// Replaces every `from` that is not a trailing byte by `to`; returns how many. Linear in the length
// of the text. A null `text` gives 0.
int strrepchr(char* text, char from, char to);

[[nodiscard]] bool IsDigit(char ch);

// What `atoi` gives, but defined for every text: null is 0, and a number too large for an int keeps
// its low bits, as the platforms' own `atoi` does.
[[nodiscard]] int leadingNumber(const char* text);

// Three-way comparison: the difference of the first bytes that differ, as signed chars (bytes above
// 0x7F sort before ASCII). Without `caseSensitive` the letters A-Z count as a-z. Null sorts first.
[[nodiscard]] int Str_Comp(const char* a, const char* b, bool caseSensitive);
[[nodiscard]] bool Str_Equal(const char* a, const char* b, bool caseSensitive);

// Index of the first occurrence of `pattern`, or -1 (also for null). An empty pattern gives 0.
[[nodiscard]] int Str_Find(const char* text, const char* pattern, bool caseSensitive);

// Whether the first occurrence of `suffix` is the end of `text`. A suffix that also occurs earlier
// gives false: "abab" does not end with "ab" by this test, and callers rely on it.
[[nodiscard]] bool Str_EndWith(const char* text, const char* suffix, bool caseSensitive);

// A copy that the caller releases with `free`; null for null, for a failed text and when there is
// no memory.
[[nodiscard]] char* Str_Dup(const char* text);

// Removes line feeds, spaces, carriage returns, tabs and form feeds at both ends. The vertical tab
// is not white space here. In the second form the bytes behind the kept text become NULs.
void Str_TrimAll(KvSimpleString& text);
void Str_TrimAll(char* text);

// What Str_TrimAll keeps of the first `length` bytes of `text`, for callers that need no copy; of
// nothing but white space it keeps nothing, at the end.
struct TextSpan {
    size_t begin;
    size_t end;  // behind the last byte kept
};
[[nodiscard]] TextSpan Str_TrimmedSpan(const char* text, size_t length);

// Stores piece number `index`, counted from 0, of `text` split at every `separator`. Pieces may be
// empty, but nothing behind the last separator is no piece: "a,,b," has three. False, with `piece`
// untouched, when there is no such piece; a null `text` has none.
[[nodiscard]] bool Str_Piece(const char* text, char separator, int index, KvSimpleString& piece);

// Each byte through `toupper`; null is allowed.
void Str_ToUpper(char* text);

// In the four below `size` is the capacity of the buffer in bytes, counting the NUL.

// Copies what fits, fills the rest of the buffer with NULs and returns `dst`, never null for a
// valid buffer. A null buffer or a size of 0 writes nothing and gives null; a null `src` is "". A
// failed text (base/KvSimpleString.h) empties the buffer and gives null, here and in Strncat.
char* Strncpy(char* dst, const char* src, size_t size);

// Appends what fits and returns where the appended text begins. The last byte of the buffer becomes
// a NUL, too; what stands between stays. Null, with nothing changed, when the buffer is already
// full, null or of size 0.
char* Strncat(char* dst, const char* src, size_t size);

// Format into the buffer; both return the length of what is stored, not of what was wanted. A null
// buffer or a size of 0 writes nothing and gives 0.
int Snprintf(char* buf, size_t size, const char* format, ...) __attribute__((format(printf, 3, 4)));
int Vsnprintf(char* buf, size_t size, const char* format, va_list args)
    __attribute__((format(printf, 3, 0)));

// Appends the formatted text, cut at 1023 bytes; for what is put together line by line.
void Str_AppendFormat(KvSimpleString& text, const char* format, ...)
    __attribute__((format(printf, 2, 3)));
