#include "ini/KvIniText.h"

#include <algorithm>
#include <cstring>

#include "base/KvText.h"

namespace {

// Names are compared and hashed on every look-up, so they are taken eight bytes at a time.
constexpr size_t kWord = sizeof(uint64_t);
constexpr size_t kHalf = sizeof(uint32_t);

constexpr uint64_t everyByte(uint64_t byte) {
    return byte * 0x0101010101010101U;
}

uint64_t load(const char* bytes) {
    uint64_t word = 0;
    memcpy(&word, bytes, kWord);
    return word;
}

uint64_t loadHalf(const char* bytes) {
    uint32_t half = 0;
    memcpy(&half, bytes, kHalf);
    return half;
}

uint64_t loadByte(const char* bytes) {
    return static_cast<unsigned char>(*bytes);
}

// Less than eight bytes as one word; what is read twice does no harm.
uint64_t loadShort(const char* bytes, size_t length) {
    if (length >= kHalf) {
        return loadHalf(bytes) | loadHalf(bytes + length - kHalf) << 32U;
    }
    return length == 0 ? 0
                       : loadByte(bytes) | loadByte(bytes + length / 2) << 8U |
                             loadByte(bytes + length - 1) << 16U;
}

size_t wordCount(size_t length) {
    return length < kWord ? 1 : (length + kWord - 1) / kWord;
}

// The last word of a long text overlaps the one before.
uint64_t wordAt(const char* bytes, size_t length, size_t index) {
    return length < kWord ? loadShort(bytes, length)
                          : load(bytes + std::min(index * kWord, length - kWord));
}

// Turns the bytes 'A' to 'Z' into 'a' to 'z' and leaves all others, those above 0x7F included.
uint64_t folded(uint64_t word) {
    const uint64_t low = word & everyByte(0x7F);
    const uint64_t fromA = low + everyByte(0x80 - 'A');
    const uint64_t beyondZ = low + everyByte(0x80 - 'Z' - 1);
    const uint64_t isCapital = fromA & ~beyondZ & ~word & everyByte(0x80);
    return word | (isCapital >> 2U);
}

constexpr uint64_t kMultiplier = 0x9E3779B97F4A7C15U;

uint64_t mixed(uint64_t hash, uint64_t word) {
    hash = (hash ^ word) * kMultiplier;
    return hash ^ (hash >> 32U);
}

uint32_t hashBytes(const char* bytes, size_t length, bool caseSensitive) {
    uint64_t hash = length;
    for (size_t i = 0; i < wordCount(length); ++i) {
        const uint64_t word = wordAt(bytes, length, i);
        hash = mixed(hash, caseSensitive ? word : folded(word));
    }
    // Numbered names differ in few bits; the high half of a product depends on all of them.
    return static_cast<uint32_t>((hash * kMultiplier) >> 32U);
}

size_t visibleLength(const KvIniText& stored) {
    return strnlen(stored.c_str(), stored.length());
}

}  // namespace

bool KvIniText::copy(const char* text) {
    // Copied before the old block goes: the text may be a part of it.
    KvIniText fresh;
    const size_t length = text != nullptr ? strlen(text) : 0;
    if (length > 0) {
        auto* block = static_cast<char*>(malloc(length + 1));
        if (block == nullptr) {
            return false;
        }
        memcpy(block, text, length + 1);
        fresh.bytes_ = block;
        fresh.tagged_ = (length << 1U) | 1U;
    }
    swap(fresh);
    return true;
}

void KvIniText::appendTo(KvSimpleString& out) const {
    if (!empty()) {
        out.append(bytes_, length());
    }
}

KvIniName::KvIniName(const char* text) : text_(text != nullptr ? text : ""), length_(0) {
    const TextSpan kept = Str_TrimmedSpan(text_, strlen(text_));
    text_ += kept.begin;
    length_ = kept.end - kept.begin;
}

bool KvIniName::sameBytes(const char* a, const char* b, size_t length, bool caseSensitive) {
    for (size_t i = 0; i < wordCount(length); ++i) {
        const uint64_t left = wordAt(a, length, i);
        const uint64_t right = wordAt(b, length, i);
        if (left != right && (caseSensitive || folded(left) != folded(right))) {
            return false;
        }
    }
    return true;
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
