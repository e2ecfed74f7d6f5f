#include <gtest/gtest.h>

#include <string>

#include "fileop/KvFileOpUtil.h"
#include "fileop/KvMD5.h"
#include "tests/fileop/HexDigest.h"

namespace {

constexpr char kText[] = "0123456789abcdefFEDCBA9876543210";

std::string readBack(const std::string& hex) {
    unsigned char digest[KvMD5::kDigestSize];
    return calcMD5Bin(hex.c_str(), digest, sizeof digest) ? hexDigest(digest) : "<refused>";
}

std::string withFirstPair(const std::string& pair) {
    return readBack(pair + std::string(kText).substr(2));
}

std::string expectedWith(const std::string& byte) {
    return byte + "23456789abcdeffedcba9876543210";
}

}  // namespace

TEST(calcMD5Bin, ReadsDigitsOfEitherCase) {
    EXPECT_EQ(readBack(kText), expectedWith("01"));
}

TEST(calcMD5Bin, LooksAtNothingBehindThirtyTwoCharacters) {
    EXPECT_EQ(readBack(std::string(kText) + "zz"), expectedWith("01"));
}

TEST(calcMD5Bin, RefusesATextThatEndsTooSoon) {
    for (size_t length = 0; length < 32; ++length) {
        EXPECT_EQ(readBack(std::string(kText).substr(0, length)), "<refused>") << length;
    }
}

TEST(calcMD5Bin, RefusesAPairWithoutANumber) {
    for (const char* pair : {"g1", "zz", "  ", " g", "--", "+-", "..", "\xFF\xFF"}) {
        EXPECT_EQ(withFirstPair(pair), "<refused>") << pair;
    }
    EXPECT_EQ(readBack(std::string(kText).substr(0, 30) + "xy"), "<refused>");
}

TEST(calcMD5Bin, TakesWhateverTheConversionCanReadOfAPair) {
    EXPECT_EQ(withFirstPair("1g"), expectedWith("01"));
    EXPECT_EQ(withFirstPair(" a"), expectedWith("0a"));
    EXPECT_EQ(withFirstPair("+b"), expectedWith("0b"));
    EXPECT_EQ(withFirstPair("-1"), expectedWith("ff"));
}

TEST(calcMD5Bin, RefusesMissingArgumentsAndASmallOutput) {
    unsigned char out[KvMD5::kDigestSize] = {42};
    EXPECT_FALSE(calcMD5Bin(nullptr, out, sizeof out));
    EXPECT_FALSE(calcMD5Bin(kText, nullptr, sizeof out));
    EXPECT_FALSE(calcMD5Bin(kText, out, 15));
    EXPECT_FALSE(calcMD5Bin(kText, out, 0));
    EXPECT_EQ(out[0], 42);
}

TEST(calcMD5Bin, WritesSixteenBytesAndNothingOnFailure) {
    unsigned char out[KvMD5::kDigestSize + 2] = {};
    out[KvMD5::kDigestSize] = 42;
    EXPECT_TRUE(calcMD5Bin(kText, out, sizeof out));
    EXPECT_EQ(out[KvMD5::kDigestSize], 42);
    EXPECT_EQ(out[15], 0x10);

    out[0] = 42;
    EXPECT_FALSE(calcMD5Bin("00112233", out, sizeof out));
    EXPECT_EQ(out[0], 42);
}
