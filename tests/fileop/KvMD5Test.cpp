#include "fileop/KvMD5.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>

#include "tests/fileop/HexDigest.h"

namespace {

void update(KvMD5::MD5_CTX& context, const std::string& text) {
    KvMD5::MD5Update(&context, reinterpret_cast<const unsigned char*>(text.data()),
                     static_cast<unsigned int>(text.size()));
}

std::string finish(KvMD5::MD5_CTX& context) {
    unsigned char digest[KvMD5::kDigestSize];
    KvMD5::MD5Final(digest, &context);
    return hexDigest(digest);
}

std::string md5(const std::string& text) {
    KvMD5::MD5_CTX context;
    KvMD5::MD5Init(&context);
    update(context, text);
    return finish(context);
}

}  // namespace

TEST(KvMD5, PassesTheSuiteOfTheRfc) {
    EXPECT_EQ(md5(""), "d41d8cd98f00b204e9800998ecf8427e");
    EXPECT_EQ(md5("a"), "0cc175b9c0f1b6a831c399e269772661");
    EXPECT_EQ(md5("abc"), "900150983cd24fb0d6963f7d28e17f72");
    EXPECT_EQ(md5("message digest"), "f96b697d7cb7938d525a2f31aaf161d0");
    EXPECT_EQ(md5("abcdefghijklmnopqrstuvwxyz"), "c3fcd3d76192e4007dfb496cca67e13b");
    EXPECT_EQ(md5("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789"),
              "d174ab98d277d9f5a5611c2c9f419d9f");
    EXPECT_EQ(md5("1234567890123456789012345678901234567890"
                  "1234567890123456789012345678901234567890"),
              "57edf4a22be3c955ac49da2e2107b67a");
}

TEST(KvMD5, DoesNotCareHowTheInputIsCut) {
    std::mt19937 random(1321);
    for (size_t length = 0; length <= 3 * KvMD5::kBlockSize + 1; ++length) {
        std::string text(length, '\0');
        for (char& byte : text) {
            byte = static_cast<char>(random());
        }
        KvMD5::MD5_CTX context;
        KvMD5::MD5Init(&context);
        for (size_t at = 0; at < length;) {
            const size_t piece = std::min<size_t>(random() % 90, length - at);
            update(context, text.substr(at, piece));
            at += piece;
        }
        ASSERT_EQ(finish(context), md5(text)) << length;
    }
}

TEST(KvMD5, KeepsItsStateAsTheRfcNamesIt) {
    KvMD5::MD5_CTX context;
    memset(&context, 0xAA, sizeof context);
    KvMD5::MD5Init(&context);
    EXPECT_EQ(context.state[0], 0x67452301U);
    EXPECT_EQ(context.state[3], 0x10325476U);
    update(context, "abc");
    EXPECT_EQ(context.count[0], 24U);
    EXPECT_EQ(context.count[1], 0U);
    EXPECT_EQ(memcmp(context.buffer, "abc", 3), 0);
}

TEST(KvMD5, CarriesTheBitCountIntoItsHighWord) {
    KvMD5::MD5_CTX context;
    KvMD5::MD5Init(&context);
    context.count[0] = 0xFFFFFE00;  // a whole number of blocks, 64 bytes below 2^32 bits
    update(context, std::string(65, 'x'));
    EXPECT_EQ(context.count[0], 8U);
    EXPECT_EQ(context.count[1], 1U);
}

TEST(KvMD5, WipesTheContextAtTheEnd) {
    KvMD5::MD5_CTX context;
    KvMD5::MD5Init(&context);
    update(context, "secret");
    (void)finish(context);
    const KvMD5::MD5_CTX wiped{};
    EXPECT_EQ(memcmp(&context, &wiped, sizeof wiped), 0);
}

TEST(KvMD5, TakesMissingArguments) {
    const unsigned char byte = 'a';
    KvMD5::MD5Init(nullptr);
    KvMD5::MD5Update(nullptr, &byte, 1);
    unsigned char digest[KvMD5::kDigestSize] = {7};
    KvMD5::MD5Final(digest, nullptr);
    EXPECT_EQ(digest[0], 7);

    KvMD5::MD5_CTX context;
    KvMD5::MD5Init(&context);
    KvMD5::MD5Update(&context, nullptr, 5);
    KvMD5::MD5Update(&context, &byte, 0);
    EXPECT_EQ(finish(context), md5(""));
    KvMD5::MD5Final(nullptr, &context);
}
