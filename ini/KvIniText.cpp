#include "ini/KvIniText.h"

#include <cstdlib>
#include <cstring>

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
