// A digest from its hexadecimal text.
#include <cstdio>
#include <cstring>

#include "fileop/KvFileOpUtil.h"
#include "fileop/KvMD5.h"

bool calcMD5Bin(const char* hex, unsigned char* out, unsigned long outSize) {
    if (hex == nullptr || out == nullptr || outSize < KvMD5::kDigestSize) {
        return false;
    }
    unsigned char digest[KvMD5::kDigestSize];
    for (unsigned char& byte : digest) {
        if (hex[0] == '\0' || hex[1] == '\0') {
            return false;
        }
        const char pair[] = {hex[0], hex[1], '\0'};
        unsigned int value = 0;
        // Kept: a blank, a sign or a stray second character passes wherever "%x" lets it pass.
        if (sscanf(pair, "%x", &value) != 1) {
            return false;
        }
        byte = static_cast<unsigned char>(value);
        hex += 2;
    }
    memcpy(out, digest, sizeof digest);
    return true;
}
