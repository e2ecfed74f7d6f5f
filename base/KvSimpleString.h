// KvSimpleString: a growable, NUL-terminated byte string with value semantics.
//
// Text is bytes; no character set is interpreted. An object is one pointer wide: it points at its
// characters, or is null, which is the empty string. A header of two unsigned 64-bit fields
// (length, capacity) stands just before the characters in the same heap block. Every string owns
// its block; copies never share one.
//
// A block holds at least 255 characters and never shrinks except by replace.
//
// A string that finds no memory has failed: it is empty, and stays so whatever is appended. The
// failure travels with the text: what is copied or joined from a failed string, or from the pointer
// that its c_str() answers, has failed too. So nothing is ever made from half of a text. Assigning
// a good text, for which there is memory again, ends it.
#pragma once

#include <cstddef>
#include <cstdint>

class KvSimpleString {
  public:
    using size_type = size_t;

    // "Not found" as a result, "to the end" as a count.
    static constexpr size_type npos = static_cast<size_type>(-1);

    // The empty string, without a block.
    KvSimpleString() = default;

    // `count` -1 takes the whole NUL-terminated text, any other count exactly that many bytes.
    // A null `text` gives "" (with a block).
    // Not explicit: texts become strings wherever an interface takes one.
    KvSimpleString(const char* text, int count = -1);

    KvSimpleString(const KvSimpleString& other);

    // `other.substr(pos, count)`.
    KvSimpleString(const KvSimpleString& other, size_type pos, size_type count = npos);

    KvSimpleString(KvSimpleString&& other) noexcept;
    ~KvSimpleString();

    // Never null: a string without a block answers with a static empty text.
    [[nodiscard]] const char* c_str() const;
    [[nodiscard]] size_type length() const;
    [[nodiscard]] bool empty() const { return length() == 0; }

    // Whether there was no memory for this string, or for one that it was made from.
    [[nodiscard]] bool failed() const { return isFailed(chars_); }

    // Whether `text` is what c_str() of a failed string answers.
    [[nodiscard]] static bool isFailed(const char* text);

    // Gives the text up as if there had been no memory for it.
    void fail();

    // The character at `index`; at or past the end, one static NUL that all strings share.
    // Writing through that reference changes no string.
    char& operator[](size_type index);
    const char& operator[](size_type index) const;

    // Offset of the first `ch` at or after `pos`; npos when there is none or `pos` is past the end.
    // The search stops at an embedded NUL (and finds it when `ch` is NUL).
    [[nodiscard]] size_type find(char ch, size_type pos = 0) const;
    // The same for a text; a null `text` is never found.
    [[nodiscard]] size_type find(const char* text, size_type pos = 0) const;

    // Offset of the last `ch` among the characters 0 to `pos`; npos when there is none.
    [[nodiscard]] size_type rfind(char ch, size_type pos = npos) const;
    // Offset of the last `text` that ends before `pos` + its length; npos when there is none.
    // An empty `text` gives the length of the part that was searched.
    [[nodiscard]] size_type rfind(const char* text, size_type pos = npos) const;

    // At most `count` characters from `pos`; `pos` is clamped to the length.
    [[nodiscard]] KvSimpleString substr(size_type pos = 0, size_type count = npos) const;

    // Puts `text` in place of `count` characters at `pos`. Whatever follows an embedded NUL in one
    // of the three parts is lost.
    KvSimpleString& replace(size_type pos, size_type count, const char* text);

    // `strcmp` of the two texts; a null `text` counts as "".
    [[nodiscard]] int compare(const char* text) const;
    [[nodiscard]] int compare(const KvSimpleString& other) const;

    // Copies at most `count` characters from `pos` into `dest`, without a NUL, and returns how
    // many. `dest` must have room for them; null, or a `pos` past the end, copies nothing.
    size_type copy(char* dest, size_type count, size_type pos = 0) const;

    KvSimpleString& assign(const char* text);
    // The characters from `first` up to, not including, `last`.
    KvSimpleString& assign(const char* first, const char* last);

    KvSimpleString& append(const char* text);
    KvSimpleString& append(const KvSimpleString& other);
    // `count` copies of `ch`; a count below 1 appends nothing.
    KvSimpleString& append(int count, char ch);
    // Exactly `count` bytes of `bytes`, NULs included.
    KvSimpleString& append(const char* bytes, size_type count);

    KvSimpleString& operator=(const KvSimpleString& other);
    KvSimpleString& operator=(KvSimpleString&& other) noexcept;
    KvSimpleString& operator=(const char* text);

    KvSimpleString& operator+=(const KvSimpleString& other) { return append(other); }
    KvSimpleString& operator+=(const char* text) { return append(text); }
    KvSimpleString& operator+=(char ch) { return append(1, ch); }

  private:
    struct Header {
        uint64_t length;
        uint64_t capacity;  // without the terminating NUL
    };

    // What all failed strings point at: a block in form, so that they read as empty ones.
    struct FailedBlock {
        Header header;
        char text[1];
    };
    static FailedBlock s_failed;

    [[nodiscard]] Header* _getData() const;
    [[nodiscard]] static size_type _safeStrLen(const char* text);
    bool _allocBuffer(int64_t count);
    void _release();
    [[nodiscard]] bool _hasBlock() const { return chars_ != nullptr && !failed(); }
    static void _freeBuffer(char* chars);
    void _assignCopy(size_type count, const char* source);
    void _concatCopy(size_type count, const char* source);

    char* chars_ = nullptr;
};

KvSimpleString operator+(const KvSimpleString& left, const KvSimpleString& right);
KvSimpleString operator+(const KvSimpleString& left, const char* right);
KvSimpleString operator+(const char* left, const KvSimpleString& right);

bool operator==(const KvSimpleString& left, const KvSimpleString& right);
bool operator==(const KvSimpleString& left, const char* right);
bool operator==(const char* left, const KvSimpleString& right);
bool operator!=(const KvSimpleString& left, const KvSimpleString& right);
bool operator!=(const KvSimpleString& left, const char* right);
bool operator!=(const char* left, const KvSimpleString& right);
