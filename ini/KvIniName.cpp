#include "ini/KvIniName.h"

#include <cstring>

#include "base/KvText.h"

namespace {

constexpr size_t kWord = sizeof(uint64_t);

constexpr uint64_t everyByte(uint64_t byte) {
    return byte * 0x0101010101010101U;
}

// Eight bytes at once: names are compared and hashed on every look-up.
uint64_t load(const char* bytes, size_t count) {
    uint64_t word = 0;
    memcpy(&word, bytes, count);
    return word;
}

// Turns the bytes 'A' to 'Z' into 'a' to 'z' and leaves all others, those above 0x7F included.
uint64_t folded(uint64_t word) {
    const uint64_t low = word & everyByte(0x7F);
    const uint64_t fromA = low + everyByte(0x80 - 'A');
    const uint64_t beyondZ = low + everyByte(0x80 - 'Z' - 1);
    const uint64_t isCapital = fromA & ~beyondZ & ~word & everyByte(0x80);
    return word | (isCapital >> 2U);
}

uint64_t loadName(const char* bytes, size_t count, bool caseSensitive) {
    const uint64_t word = load(bytes, count);
    return caseSensitive ? word : folded(word);
}

bool sameBytes(const char* a, const char* b, size_t length, bool caseSensitive) {
    for (; length >= kWord; a += kWord, b += kWord, length -= kWord) {
        if (loadName(a, kWord, caseSensitive) != loadName(b, kWord, caseSensitive)) {
            return false;
        }
    }
    return loadName(a, length, caseSensitive) == loadName(b, length, caseSensitive);
}

uint64_t mixed(uint64_t hash, uint64_t word) {
    hash = (hash ^ word) * 0x9E3779B97F4A7C15U;
    return hash ^ (hash >> 32U);
}

uint32_t hashBytes(const char* bytes, size_t length, bool caseSensitive) {
    uint64_t hash = length;
    for (; length >= kWord; bytes += kWord, length -= kWord) {
        hash = mixed(hash, loadName(bytes, kWord, caseSensitive));
    }
    return static_cast<uint32_t>(mixed(hash, loadName(bytes, length, caseSensitive)));
}

size_t visibleLength(const KvIniText& stored) {
    return strnlen(stored.c_str(), stored.length());
}

}  // namespace

KvIniName::KvIniName(const char* text) : text_(text != nullptr ? text : ""), length_(0) {
    const TextSpan kept = Str_TrimmedSpan(text_, strlen(text_));
    text_ += kept.begin;
    length_ = kept.end - kept.begin;
}

bool KvIniName::matches(const KvIniText& stored, bool caseSensitive) const {
    return stored.length() >= length_ && stored.c_str()[length_] == '\0' &&
           sameBytes(stored.c_str(), text_, length_, caseSensitive);
}

uint32_t KvIniName::hash(bool caseSensitive) const {
    return hashBytes(text_, length_, caseSensitive);
}

uint32_t KvIniName::hash(const KvIniText& stored, bool caseSensitive) {
    return hashBytes(stored.c_str(), visibleLength(stored), caseSensitive);
}

bool KvIniName::equal(const KvIniText& a, const KvIniText& b, bool caseSensitive) {
    return KvIniName(a.c_str(), visibleLength(a)).matches(b, caseSensitive);
}
