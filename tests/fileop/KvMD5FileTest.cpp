#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "fileop/KvFileOpUtil.h"
#include "fileop/KvMD5.h"
#include "tests/fileop/HexDigest.h"
#include "tests/support/TempTree.h"

namespace {

// No period that a block or buffer size is a multiple of.
std::string patternOf(size_t length) {
    std::string text(length, '\0');
    for (size_t i = 0; i < length; ++i) {
        text[i] = static_cast<char>(i * 31 + i / 251);
    }
    return text;
}

std::string digestOf(const std::string& text) {
    KvMD5::MD5_CTX context;
    KvMD5::MD5Init(&context);
    KvMD5::MD5Update(&context, reinterpret_cast<const unsigned char*>(text.data()),
                     static_cast<unsigned int>(text.size()));
    unsigned char digest[KvMD5::kDigestSize];
    KvMD5::MD5Final(digest, &context);
    return hexDigest(digest);
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

}  // namespace

TEST(KvMD5File, DigestsFilesOfAllSizesAroundTheBoundaries) {
    const TempTree tree;
    for (const size_t size : boundarySizes()) {
        const std::string content = patternOf(size);
        EXPECT_EQ(digestOfFile(tree.write("file", content)), digestOf(content)) << size;
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
