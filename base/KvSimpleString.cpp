#include "base/KvSimpleString.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace {

// Most texts of the tool are short: with room for 255 they are appended to without moving.
constexpr size_t kMinCapacity = 255;
// More than any allocation can give, and small enough for the growth rule not to wrap around.
constexpr size_t kHopelessCount = SIZE_MAX / 8;

// What `operator[]` refers to past the end of any string. Writable, so that a careless write there
// harms no string; it is the one state that strings have in common.
char s_nul = '\0';

}  // namespace

KvSimpleString::FailedBlock KvSimpleString::s_failed{{0, 0}, ""};

KvSimpleString::KvSimpleString(const char* text, int count) {
    if (text == nullptr) {
        _assignCopy(0, nullptr);
    } else {
        _assignCopy(count < 0 ? strlen(text) : static_cast<size_type>(count), text);
    }
}

KvSimpleString::KvSimpleString(const KvSimpleString& other) {
    _assignCopy(other.length(), other.c_str());
}

KvSimpleString::KvSimpleString(const KvSimpleString& other, size_type pos, size_type count) {
    const size_type start = std::min(pos, other.length());
    _assignCopy(std::min(count, other.length() - start), other.c_str() + start);
}

// Moving only spares a copy where a result is handed out; no two strings ever share a block.
KvSimpleString::KvSimpleString(KvSimpleString&& other) noexcept : chars_(other.chars_) {
    other.chars_ = nullptr;
}

KvSimpleString::~KvSimpleString() {
    _release();
}

bool KvSimpleString::isFailed(const char* text) {
    return text == s_failed.text;
}

void KvSimpleString::fail() {
    _release();
    chars_ = s_failed.text;
}

// A missing block is answered with a literal of its own rather than with the writable NUL, which a
// caller may have changed.
const char* KvSimpleString::c_str() const {
    return chars_ != nullptr ? chars_ : "";
}

KvSimpleString::size_type KvSimpleString::length() const {
    return chars_ != nullptr ? _getData()->length : 0;
}

char& KvSimpleString::operator[](size_type index) {
    return index < length() ? chars_[index] : s_nul;
}

const char& KvSimpleString::operator[](size_type index) const {
    return index < length() ? chars_[index] : s_nul;
}

KvSimpleString::size_type KvSimpleString::find(char ch, size_type pos) const {
    if (pos >= length()) {
        return npos;
    }
    const char* hit = strchr(chars_ + pos, ch);
    return hit != nullptr ? static_cast<size_type>(hit - chars_) : npos;
}

KvSimpleString::size_type KvSimpleString::find(const char* text, size_type pos) const {
    if (pos >= length() || text == nullptr) {
        return npos;
    }
    const char* hit = strstr(chars_ + pos, text);
    return hit != nullptr ? static_cast<size_type>(hit - chars_) : npos;
}

// The two searches below look only at a part of the characters. They count to the cut instead of
// putting a NUL there for a while, so that a string that is searched is never written to.
KvSimpleString::size_type KvSimpleString::rfind(char ch, size_type pos) const {
    if (chars_ == nullptr) {
        return npos;
    }
    const size_type end = strnlen(chars_, pos < length() ? pos + 1 : length());
    if (ch == '\0') {
        return end;
    }
    for (size_type i = end; i > 0; --i) {
        if (chars_[i - 1] == ch) {
            return i - 1;
        }
    }
    return npos;
}

KvSimpleString::size_type KvSimpleString::rfind(const char* text, size_type pos) const {
    if (chars_ == nullptr || text == nullptr) {
        return npos;
    }
    const size_type wanted = strlen(text);
    // A position near npos must not wrap around when the length is added to it: hence the
    // difference.
    const bool cut = pos < length() && wanted < length() - pos;
    const size_type end = strnlen(chars_, cut ? pos + wanted : length());
    if (wanted > end) {
        return npos;
    }
    // From the end of the text backwards, so that an empty one is found at the very end.
    for (size_type i = end - wanted + 1; i > 0; --i) {
        if (memcmp(chars_ + i - 1, text, wanted) == 0) {
            return i - 1;
        }
    }
    return npos;
}

KvSimpleString KvSimpleString::substr(size_type pos, size_type count) const {
    return KvSimpleString(*this, pos, count);
}

KvSimpleString& KvSimpleString::replace(size_type pos, size_type count, const char* text) {
    const size_type start = std::min(pos, length());
    const size_type after = start + std::min(count, length() - start);
    // The parts are taken as C texts: what follows an embedded NUL in one of them is lost.
    const size_type prefix = strnlen(c_str(), start);
    const size_type middle = _safeStrLen(text);
    const size_type suffix = strlen(c_str() + after);
    // Filled as a string of its own, because `text` may lie in this one.
    KvSimpleString result;
    if (failed() || isFailed(text) ||
        !result._allocBuffer(static_cast<int64_t>(start + middle + length() - after))) {
        fail();
        return *this;
    }
    memcpy(result.chars_, c_str(), prefix);
    memcpy(result.chars_ + prefix, text != nullptr ? text : "", middle);
    memcpy(result.chars_ + prefix + middle, c_str() + after, suffix + 1);
    result._getData()->length = prefix + middle + suffix;
    // Not by assignment: the new block is taken even where it is the smaller one.
    std::swap(chars_, result.chars_);
    return *this;
}

int KvSimpleString::compare(const char* text) const {
    return strcmp(c_str(), text != nullptr ? text : "");
}

int KvSimpleString::compare(const KvSimpleString& other) const {
    return compare(other.c_str());
}

KvSimpleString::size_type KvSimpleString::copy(char* dest, size_type count, size_type pos) const {
    if (count == 0 || dest == nullptr || chars_ == nullptr || pos > length()) {
        return 0;
    }
    const size_type taken = std::min(count, length() - pos);
    memcpy(dest, chars_ + pos, taken);
    return taken;
}

KvSimpleString& KvSimpleString::assign(const char* text) {
    _assignCopy(_safeStrLen(text), text);
    return *this;
}

KvSimpleString& KvSimpleString::assign(const char* first, const char* last) {
    // A range that stands the wrong way round is an empty one.
    const bool usable = first != nullptr && last > first;
    _assignCopy(usable ? static_cast<size_type>(last - first) : 0, first);
    return *this;
}

KvSimpleString& KvSimpleString::append(const char* text) {
    _concatCopy(_safeStrLen(text), text);
    return *this;
}

KvSimpleString& KvSimpleString::append(const KvSimpleString& other) {
    _concatCopy(other.length(), other.c_str());
    return *this;
}

KvSimpleString& KvSimpleString::append(int count, char ch) {
    if (count < 1) {
        return *this;
    }
    const size_type before = length();
    // Room first, characters after: one growth for all copies of `ch`.
    _concatCopy(static_cast<size_type>(count), nullptr);
    if (!failed()) {
        memset(chars_ + before, ch, static_cast<size_type>(count));
    }
    return *this;
}

KvSimpleString& KvSimpleString::append(const char* bytes, size_type count) {
    _concatCopy(bytes != nullptr ? count : 0, bytes);
    return *this;
}

KvSimpleString& KvSimpleString::operator=(const KvSimpleString& other) {
    if (this != &other) {
        _assignCopy(other.length(), other.c_str());
    }
    return *this;
}

KvSimpleString& KvSimpleString::operator=(KvSimpleString&& other) noexcept {
    // A smaller block is copied from and not taken over, because blocks never shrink.
    const uint64_t mine = chars_ != nullptr ? _getData()->capacity : 0;
    if (!other._hasBlock() || other._getData()->capacity < mine) {
        return *this = std::as_const(other);
    }
    // The block of this string dies with `other`.
    std::swap(chars_, other.chars_);
    return *this;
}

KvSimpleString& KvSimpleString::operator=(const char* text) {
    return assign(text);
}

KvSimpleString::Header* KvSimpleString::_getData() const {
    return chars_ != nullptr ? reinterpret_cast<Header*>(chars_) - 1 : nullptr;
}

KvSimpleString::size_type KvSimpleString::_safeStrLen(const char* text) {
    return text != nullptr ? strlen(text) : 0;
}

// Points the string at a new block for `count` characters and releases the old one; callers copy
// what they need first. A negative count does nothing. False when there is no new block. The count
// has 64 bits, because an int does not hold twice the capacity of a text of a gigabyte.
bool KvSimpleString::_allocBuffer(int64_t count) {
    if (count < 0 || static_cast<uint64_t>(count) >= kHopelessCount) {
        return false;
    }
    const size_t wanted = static_cast<size_t>(count);
    const size_t capacity = std::max(wanted, kMinCapacity);
    auto* header = static_cast<Header*>(malloc(sizeof(Header) + capacity + 1));
    if (header == nullptr) {
        return false;
    }
    // A caller who asks for one character more than the text has gets the right length with the
    // block.
    header->length = wanted > 0 ? wanted - 1 : 0;
    header->capacity = capacity;
    _release();
    chars_ = reinterpret_cast<char*>(header + 1);
    chars_[wanted] = '\0';
    return true;
}

void KvSimpleString::_release() {
    _freeBuffer(chars_);
    chars_ = nullptr;
}

void KvSimpleString::_freeBuffer(char* chars) {
    if (chars != nullptr && !isFailed(chars)) {
        free(reinterpret_cast<Header*>(chars) - 1);
    }
}

// Blocks never shrink: a string that is assigned again and again comes to rest in one block.
void KvSimpleString::_assignCopy(size_type count, const char* source) {
    const bool fits = _hasBlock() && count <= _getData()->capacity;
    if (isFailed(source) || (!fits && !_allocBuffer(static_cast<int64_t>(count)))) {
        fail();
        return;
    }
    if (source != nullptr && count > 0) {
        // The source may be a part of this very string.
        memmove(chars_, source, count);
    }
    _getData()->length = count;
    chars_[count] = '\0';
}

void KvSimpleString::_concatCopy(size_type count, const char* source) {
    if (failed() || isFailed(source) || count >= kHopelessCount) {
        fail();
        return;
    }
    if (chars_ == nullptr) {
        _assignCopy(count, source);
        return;
    }
    const size_type before = length();
    const size_type capacity = _getData()->capacity;
    // The old block lives until the source, which may be a part of it, has been copied.
    char* old = nullptr;
    // Strictly more room than is needed, else the block grows. That a block which would just
    // suffice grows, too, is kept: capacities are part of what callers can see.
    if (capacity - before <= count) {
        old = chars_;
        chars_ = nullptr;
        if (!_allocBuffer(static_cast<int64_t>(count + 2 * capacity))) {
            _freeBuffer(old);
            fail();
            return;
        }
        memcpy(chars_, old, before);
    }
    if (source != nullptr && count > 0) {
        memmove(chars_ + before, source, count);
    }
    _freeBuffer(old);
    _getData()->length = before + count;
    chars_[before + count] = '\0';
}

KvSimpleString operator+(const KvSimpleString& left, const KvSimpleString& right) {
    KvSimpleString sum(left);
    sum.append(right);
    return sum;
}

KvSimpleString operator+(const KvSimpleString& left, const char* right) {
    KvSimpleString sum(left);
    sum.append(right);
    return sum;
}

KvSimpleString operator+(const char* left, const KvSimpleString& right) {
    KvSimpleString sum(left);
    sum.append(right);
    return sum;
}

bool operator==(const KvSimpleString& left, const KvSimpleString& right) {
    return left.compare(right) == 0;
}
bool operator==(const KvSimpleString& left, const char* right) {
    return left.compare(right) == 0;
}
bool operator==(const char* left, const KvSimpleString& right) {
    return right.compare(left) == 0;
}
bool operator!=(const KvSimpleString& left, const KvSimpleString& right) {
    return left.compare(right) != 0;
}
bool operator!=(const KvSimpleString& left, const char* right) {
    return left.compare(right) != 0;
}
bool operator!=(const char* left, const KvSimpleString& right) {
    return right.compare(left) != 0;
}
