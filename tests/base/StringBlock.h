// The two fields that stand before the characters of a string.
#pragma once

#include <cstdint>
#include <cstring>

#include "base/KvSimpleString.h"

struct StringBlock {
    uint64_t length;
    uint64_t capacity;
};

// Of a string that has a block.
inline StringBlock blockOf(const KvSimpleString& text) {
    StringBlock block;
    memcpy(&block, text.c_str() - sizeof(block), sizeof(block));
    return block;
}
