// The letters and numbers of the digest are those of RFC 1321.
#include "fileop/KvMD5.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

#include "base/KvDescriptor.h"
#include "base/KvScoped.h"
#include "fileop/KvOpenFile.h"

namespace {

constexpr size_t kSteps = 64;

// The integer part of 2^32 times |sin(i + 1)|.
constexpr uint32_t kSine[kSteps] = {
    0xd76aa478, 0xe8c7b756, 0x242070db, 0xc1bdceee, 0xf57c0faf, 0x4787c62a, 0xa8304613, 0xfd469501,
    0x698098d8, 0x8b44f7af, 0xffff5bb1, 0x895cd7be, 0x6b901122, 0xfd987193, 0xa679438e, 0x49b40821,
    0xf61e2562, 0xc040b340, 0x265e5a51, 0xe9b6c7aa, 0xd62f105d, 0x02441453, 0xd8a1e681, 0xe7d3fbc8,
    0x21e1cde6, 0xc33707d6, 0xf4d50d87, 0x455a14ed, 0xa9e3e905, 0xfcefa3f8, 0x676f02d9, 0x8d2a4c8a,
    0xfffa3942, 0x8771f681, 0x6d9d6122, 0xfde5380c, 0xa4beea44, 0x4bdecfa9, 0xf6bb4b60, 0xbebfbc70,
    0x289b7ec6, 0xeaa127fa, 0xd4ef3085, 0x04881d05, 0xd9d4d039, 0xe6db99e5, 0x1fa27cf8, 0xc4ac5665,
    0xf4292244, 0x432aff97, 0xab9423a7, 0xfc93a039, 0x655b59c3, 0x8f0ccc92, 0xffeff47d, 0x85845dd1,
    0x6fa87e4f, 0xfe2ce6e0, 0xa3014314, 0x4e0811a1, 0xf7537e82, 0xbd3af235, 0x2ad7d2bb, 0xeb86d391};

// Each round takes the sixteen words in its own stride and turns by its own four distances.
struct Round {
    size_t firstWord;
    size_t stride;
    unsigned int turns[4];
};
constexpr Round kRounds[4] = {{0, 1, {7, 12, 17, 22}},
                              {1, 5, {5, 9, 14, 20}},
                              {5, 3, {4, 11, 16, 23}},
                              {0, 7, {6, 10, 15, 21}}};

uint32_t loadWord(const unsigned char* bytes) {
    return static_cast<uint32_t>(bytes[0]) | static_cast<uint32_t>(bytes[1]) << 8 |
           static_cast<uint32_t>(bytes[2]) << 16 | static_cast<uint32_t>(bytes[3]) << 24;
}

void storeWord(unsigned char* bytes, uint32_t word) {
    for (unsigned int i = 0; i < 4; ++i) {
        bytes[i] = static_cast<unsigned char>(word >> (8 * i));
    }
}

// `a` plus the round's function of b, c and d. `b` is always the step before's result, so what
// does not need it is added first and the processor need not wait.
template <size_t kRound>
inline uint32_t mix(uint32_t a, uint32_t b, uint32_t c, uint32_t d) {
    if constexpr (kRound == 0) {
        return a + (d ^ (b & (c ^ d)));
    } else if constexpr (kRound == 1) {
        return (a + (c & ~d)) + (b & d);
    } else if constexpr (kRound == 2) {
        return a + (b ^ (c ^ d));
    } else {
        return a + (c ^ (b | ~d));
    }
}

// One step. The four words change places after it; with the step number known to the compiler
// that is a renaming and costs nothing.
template <size_t kStep>
inline void step(uint32_t (&words)[4], const unsigned char* block) {
    constexpr Round kRound = kRounds[kStep / 16];
    constexpr size_t kWord = (kRound.firstWord + kRound.stride * kStep) % 16;
    constexpr unsigned int kTurn = kRound.turns[kStep % 4];
    uint32_t& a = words[(kSteps - kStep) % 4];
    const uint32_t b = words[(kSteps - kStep + 1) % 4];
    const uint32_t c = words[(kSteps - kStep + 2) % 4];
    const uint32_t d = words[(kSteps - kStep + 3) % 4];
    const uint32_t sum = mix<kStep / 16>(a + loadWord(block + 4 * kWord) + kSine[kStep], b, c, d);
    a = (sum << kTurn | sum >> (32 - kTurn)) + b;
}

template <size_t... kStep>
inline void allSteps(uint32_t (&words)[4], const unsigned char* block,
                     std::index_sequence<kStep...> /*steps*/) {
    (step<kStep>(words, block), ...);
}

void transform(uint32_t (&state)[4], const unsigned char* block) {
    uint32_t words[4] = {state[0], state[1], state[2], state[3]};
    allSteps(words, block, std::make_index_sequence<kSteps>{});
    for (size_t i = 0; i < 4; ++i) {
        state[i] += words[i];
    }
}

void countBits(KvMD5::MD5_CTX& context, unsigned int bytes) {
    const uint64_t before = static_cast<uint64_t>(context.count[1]) << 32 | context.count[0];
    const uint64_t bits = before + (static_cast<uint64_t>(bytes) << 3);
    context.count[0] = static_cast<uint32_t>(bits);
    context.count[1] = static_cast<uint32_t>(bits >> 32);
}

unsigned int bufferedBytes(const KvMD5::MD5_CTX& context) {
    return context.count[0] >> 3 & (KvMD5::kBlockSize - 1);
}

// A one bit, zeros up to eight bytes before a block's end, and the number of bits so far.
void addPadding(KvMD5::MD5_CTX* context) {
    static constexpr unsigned int kLengthSize = 8;
    static constexpr unsigned char kPadding[KvMD5::kBlockSize] = {0x80};
    unsigned char length[kLengthSize];
    storeWord(length, context->count[0]);
    storeWord(length + 4, context->count[1]);
    const unsigned int used = bufferedBytes(*context);
    const unsigned int target = KvMD5::kBlockSize - kLengthSize;
    KvMD5::MD5Update(context, kPadding,
                     used < target ? target - used : KvMD5::kBlockSize + target - used);
    KvMD5::MD5Update(context, length, kLengthSize);
}

}  // namespace

void KvMD5::MD5Init(MD5_CTX* context) {
    if (context != nullptr) {
        *context = {{0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476}, {0, 0}, {}};
    }
}

void KvMD5::MD5Update(MD5_CTX* context, const unsigned char* input, unsigned int inputLength) {
    if (context == nullptr || input == nullptr || inputLength == 0) {
        return;
    }
    const unsigned int used = bufferedBytes(*context);
    countBits(*context, inputLength);
    if (used > 0) {
        const unsigned int taken = std::min(inputLength, kBlockSize - used);
        memcpy(context->buffer + used, input, taken);
        if (used + taken < kBlockSize) {
            return;
        }
        transform(context->state, context->buffer);
        input += taken;
        inputLength -= taken;
    }
    for (; inputLength >= kBlockSize; input += kBlockSize, inputLength -= kBlockSize) {
        transform(context->state, input);
    }
    memcpy(context->buffer, input, inputLength);
}

void KvMD5::MD5Final(unsigned char digest[kDigestSize], MD5_CTX* context) {
    if (context == nullptr) {
        return;
    }
    addPadding(context);
    for (size_t i = 0; digest != nullptr && i < 4; ++i) {
        storeWord(digest + 4 * i, context->state[i]);
    }
    *context = {};
}

const unsigned char* KvMD5::MD5File(const char* path) {
    static constexpr size_t kReadSize = 16 * size_t{1024};
    static unsigned char digest[kDigestSize];

    const ScopedFd file(openRegularFile(path, O_RDONLY, KvLastLink::kFollow));
    // Kept: a directory can be opened, and reads yield nothing.
    if (!file.isOpen() && errno != EISDIR) {
        return nullptr;
    }
    MD5_CTX context;
    MD5Init(&context);
    unsigned char block[kReadSize];
    ssize_t got = 0;
    while (file.isOpen() &&
           (got = readSome(file.get(), reinterpret_cast<char*>(block), sizeof block)) > 0) {
        MD5Update(&context, block, static_cast<unsigned int>(got));
    }
    if (got < 0) {
        return nullptr;
    }
    MD5Final(digest, &context);
    return digest;
}

void KvMD5::MD5Print(const unsigned char* digest) {
    for (size_t i = 0; digest != nullptr && i < kDigestSize; ++i) {
        (void)printf("%02x", static_cast<unsigned int>(digest[i]));  // nothing to do if it fails
    }
}

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
