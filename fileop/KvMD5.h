// KvMD5: the MD5 digest of bytes and of files (RFC 1321).
#pragma once

#include <cstdint>

class KvMD5 {
  public:
    static constexpr unsigned int kDigestSize = 16;
    static constexpr unsigned int kBlockSize = 64;

    // A digest under way. The caller owns it and need not look inside.
    struct MD5_CTX {
        uint32_t state[4];                 // the chained words A, B, C, D
        uint32_t count[2];                 // bits taken so far, low word first, modulo 2^64
        unsigned char buffer[kBlockSize];  // the bytes that do not fill a block yet
    };

    // One digest is one MD5Init, any number of MD5Update and one MD5Final, which wipes the context.
    // How the input is cut into updates makes no difference. A null context does nothing, a null
    // `input` adds nothing, and a null `digest` gets nothing.
    static void MD5Init(MD5_CTX* context);
    static void MD5Update(MD5_CTX* context, const unsigned char* input, unsigned int inputLength);
    static void MD5Final(unsigned char digest[kDigestSize], MD5_CTX* context);

    // The digest of a file's content, in one static buffer that every call overwrites; null when
    // the file cannot be opened for reading (only a regular file can), or a read fails. A directory
    // counts as a file without content.
    [[nodiscard]] static const unsigned char* MD5File(const char* path);

    // Prints the digest as 32 lower-case hexadecimal digits, without a line end, to standard
    // output. A null `digest` prints nothing.
    static void MD5Print(const unsigned char* digest);
};

// Turns the 32 hexadecimal digits of a digest into 16 bytes. False, with `out` untouched, for null
// arguments, an `outSize` below 16 and a text that is too short or not hexadecimal.
[[nodiscard]] bool calcMD5Bin(const char* hex, unsigned char* out, unsigned long outSize);
