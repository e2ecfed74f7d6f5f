// The digest of a file, and digests as printed text.
#include <cstdio>

#include "base/KvScoped.h"
#include "fileop/KvMD5.h"

const unsigned char* KvMD5::MD5File(const char* path) {
    static constexpr size_t kReadSize = 1024;
    // The stream fetches in larger pieces than the digest takes: fewer calls into the system.
    static constexpr size_t kStreamBuffer = 64 * size_t{1024};
    static unsigned char digest[kDigestSize];

    const ScopedHeap<char> streamBuffer(static_cast<char*>(malloc(kStreamBuffer)));
    const ScopedFile file(path != nullptr ? fopen(path, "rb") : nullptr);
    if (!file) {
        return nullptr;
    }
    if (streamBuffer) {
        (void)setvbuf(file.get(), streamBuffer.get(), _IOFBF, kStreamBuffer);  // else its own one
    }
    MD5_CTX context;
    MD5Init(&context);
    unsigned char block[kReadSize];
    size_t got = 0;
    while ((got = fread(block, 1, sizeof block, file.get())) > 0) {
        MD5Update(&context, block, static_cast<unsigned int>(got));
    }
    MD5Final(digest, &context);
    return digest;
}

void KvMD5::MD5Print(const unsigned char* digest) {
    for (size_t i = 0; digest != nullptr && i < kDigestSize; ++i) {
        (void)printf("%02x", static_cast<unsigned int>(digest[i]));  // nothing to do if it fails
    }
}
