#include "ini/KvIniText.h"

#include <cstdlib>
#include <cstring>
#include <utility>

KvIniText KvIniText::borrowed(const char* bytes, size_t length) {
    KvIniText text;
    text.bytes_ = bytes;
    text.tagged_ = length << 1U;
    return text;
}

bool KvIniText::copy(const char* text) {
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
    std::swap(bytes_, fresh.bytes_);
    std::swap(tagged_, fresh.tagged_);
    return true;
}

KvIniText::KvIniText(KvIniText&& other) noexcept
    : bytes_(std::exchange(other.bytes_, "")), tagged_(std::exchange(other.tagged_, 0)) {}

KvIniText& KvIniText::operator=(KvIniText&& other) noexcept {
    std::swap(bytes_, other.bytes_);
    std::swap(tagged_, other.tagged_);
    return *this;
}

KvIniText::~KvIniText() {
    if (isOwned()) {
        free(const_cast<char*>(bytes_));
    }
}

void KvIniText::appendTo(KvSimpleString& out) const {
    if (!empty()) {
        out.append(bytes_, length());
    }
}
