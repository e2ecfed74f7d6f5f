// A digest as lower-case hexadecimal text, for comparisons in tests.
#pragma once

#include <string>

#include "fileop/KvMD5.h"

inline std::string hexDigest(const unsigned char* digest) {
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (unsigned int i = 0; i < KvMD5::kDigestSize; ++i) {
        text += kDigits[digest[i] >> 4U];
        text += kDigits[digest[i] & 15U];
    }
    return text;
}
