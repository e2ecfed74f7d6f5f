// Digests of bytes, of files and as texts.
#include "fileop/KvMD5.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "fileop/KvFileOpUtil.h"
#include "tests/fileop/HexDigest.h"
#include "tests/support/TempTree.h"

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

// No period that a block or buffer size is a multiple of.
std::string patternOf(size_t length) {
    std::string text(length, '\0');
    for (size_t i = 0; i < length; ++i) {
        text[i] = static_cast<char>(i * 31 + i / 251);
    }
    return text;
}

std::string digestOfFile(const std::string& path) {
    const unsigned char* const digest = KvMD5::MD5File(path.c_str());
    return digest != nullptr ? hexDigest(digest) : "<none>";
}

// The sizes around the block of the digest, the piece that is read and the stream's buffer.
std::vector<size_t> boundarySizes() {
    std::vector<size_t> sizes{0, 1, 55, 56, 57, 119, 120, 121};
    for (const size_t boundary : {64U, 128U, 1024U, 2048U, 4096U, 65536U, 66560U, 131072U}) {
        sizes.insert(sizes.end(), {boundary - 1, boundary, boundary + 1});
    }
    return sizes;
}

// What the system's own tool says of a list of files, in their order; empty when there is none.
std::vector<std::string> digestsBySystem(const std::string& directory) {
    const std::string command = "cd '" + directory + "' && md5sum * 2>/dev/null";
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
    std::vector<std::string> digests;
    char line[256];
    while (pipe && fgets(line, sizeof line, pipe.get()) != nullptr) {
        digests.push_back(std::string(line).substr(0, 32));
    }
    return digests;
}

TEST(KvMD5File, DigestsFilesOfAllSizesAroundTheBoundaries) {
    const TempTree tree;
    for (const size_t size : boundarySizes()) {
        const std::string content = patternOf(size);
        EXPECT_EQ(digestOfFile(tree.write("file", content)), md5(content)) << size;
    }
}

TEST(KvMD5File, AgreesWithTheSystemsOwnTool) {
    const TempTree tree;
    std::vector<std::string> ours;
    for (const size_t size : boundarySizes()) {
        const std::string name = "f" + std::to_string(100000000 + ours.size());  // in order by name
        ours.push_back(digestOfFile(tree.write(name, patternOf(size))));
    }
    const std::vector<std::string> theirs = digestsBySystem(tree.path());
    if (theirs.empty()) {
        GTEST_SKIP() << "this system has no md5sum to compare with";
    }
    EXPECT_EQ(ours, theirs);
}

TEST(KvMD5File, AnswersInOneBufferThatEveryCallOverwrites) {
    const TempTree tree;
    const unsigned char* const first = KvMD5::MD5File(tree.write("a", "a").c_str());
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(hexDigest(first), "0cc175b9c0f1b6a831c399e269772661");
    EXPECT_EQ(KvMD5::MD5File(tree.write("abc", "abc").c_str()), first);
    EXPECT_EQ(hexDigest(first), "900150983cd24fb0d6963f7d28e17f72");
    // A failure leaves the last digest where it was.
    EXPECT_EQ(KvMD5::MD5File(tree.path("missing").c_str()), nullptr);
    EXPECT_EQ(hexDigest(first), "900150983cd24fb0d6963f7d28e17f72");
}

TEST(KvMD5File, GivesNullForWhatCannotBeOpened) {
    const TempTree tree;
    EXPECT_EQ(KvMD5::MD5File(nullptr), nullptr);
    EXPECT_EQ(KvMD5::MD5File(""), nullptr);
    EXPECT_EQ(KvMD5::MD5File(tree.path("missing").c_str()), nullptr);
    EXPECT_EQ(KvMD5::MD5File(std::string(100000, 'x').c_str()), nullptr);
}

TEST(KvMD5File, EndsWhereAReadYieldsNothing) {
    const TempTree tree;
    // A directory opens but cannot be read.
    EXPECT_EQ(digestOfFile(tree.makeDir("dir")), "d41d8cd98f00b204e9800998ecf8427e");
}

TEST(KvMD5File, LeavesNoDescriptorOpen) {
    const TempTree tree;
    const std::string file = tree.write("a", "a");
    const auto lowestFree = [] {
        const std::unique_ptr<FILE, int (*)(FILE*)> probe(fopen("/dev/null", "r"), fclose);
        return fileno(probe.get());
    };
    const int before = lowestFree();
    for (int i = 0; i < 20; ++i) {
        EXPECT_NE(KvMD5::MD5File(file.c_str()), nullptr);
    }
    EXPECT_EQ(lowestFree(), before);
}

TEST(KvMD5Print, PrintsTheDigitsWithoutALineEnd) {
    unsigned char digest[KvMD5::kDigestSize];
    for (unsigned int i = 0; i < KvMD5::kDigestSize; ++i) {
        digest[i] = static_cast<unsigned char>(i * 17);
    }
    testing::internal::CaptureStdout();
    KvMD5::MD5Print(digest);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "00112233445566778899aabbccddeeff");
}

TEST(KvMD5Print, PrintsNothingOfNothing) {
    testing::internal::CaptureStdout();
    KvMD5::MD5Print(nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

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

TEST(KvMD5Bin, ReadsDigitsOfEitherCase) {
    EXPECT_EQ(readBack(kText), expectedWith("01"));
}

TEST(KvMD5Bin, LooksAtNothingBehindThirtyTwoCharacters) {
    EXPECT_EQ(readBack(std::string(kText) + "zz"), expectedWith("01"));
}

TEST(KvMD5Bin, RefusesATextThatEndsTooSoon) {
    for (size_t length = 0; length < 32; ++length) {
        EXPECT_EQ(readBack(std::string(kText).substr(0, length)), "<refused>") << length;
    }
}

TEST(KvMD5Bin, RefusesAPairWithoutANumber) {
    for (const char* pair : {"g1", "zz", "  ", " g", "--", "+-", "..", "\xFF\xFF"}) {
        EXPECT_EQ(withFirstPair(pair), "<refused>") << pair;
    }
    EXPECT_EQ(readBack(std::string(kText).substr(0, 30) + "xy"), "<refused>");
}

TEST(KvMD5Bin, TakesWhateverTheConversionCanReadOfAPair) {
    EXPECT_EQ(withFirstPair("1g"), expectedWith("01"));
    EXPECT_EQ(withFirstPair(" a"), expectedWith("0a"));
    EXPECT_EQ(withFirstPair("+b"), expectedWith("0b"));
    EXPECT_EQ(withFirstPair("-1"), expectedWith("ff"));
}

TEST(KvMD5Bin, RefusesMissingArgumentsAndASmallOutput) {
    unsigned char out[KvMD5::kDigestSize] = {42};
    EXPECT_FALSE(calcMD5Bin(nullptr, out, sizeof out));
    EXPECT_FALSE(calcMD5Bin(kText, nullptr, sizeof out));
    EXPECT_FALSE(calcMD5Bin(kText, out, 15));
    EXPECT_FALSE(calcMD5Bin(kText, out, 0));
    EXPECT_EQ(out[0], 42);
}

TEST(KvMD5Bin, WritesSixteenBytesAndNothingOnFailure) {
    unsigned char out[KvMD5::kDigestSize + 2] = {};
    out[KvMD5::kDigestSize] = 42;
    EXPECT_TRUE(calcMD5Bin(kText, out, sizeof out));
    EXPECT_EQ(out[KvMD5::kDigestSize], 42);
    EXPECT_EQ(out[15], 0x10);

    out[0] = 42;
    EXPECT_FALSE(calcMD5Bin("00112233", out, sizeof out));
    EXPECT_EQ(out[0], 42);
}

}  // namespace
