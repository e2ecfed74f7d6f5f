#include <gtest/gtest.h>

#include <string>

#include "fileop/KvPath.h"
#include "tests/support/CodePage.h"
#include "tests/support/GuardedBuffer.h"

namespace {

using Subtract = int (*)(char*, int, const char*, const char*);

std::string remainder(Subtract subtract, const char* full, const char* prefix) {
    char out[4 * kPathCapacity] = "<untouched>";
    const int result = subtract(out, sizeof out, full, prefix);
    return result == kPathDone ? out : "<" + std::to_string(result) + ">" + out;
}

std::string strict(const char* full, const char* prefix) {
    return remainder(SubtractURIStrict, full, prefix);
}

std::string lenient(const char* full, const char* prefix) {
    return remainder(SubtractURI, full, prefix);
}

class KvPathBothSubtractions : public testing::TestWithParam<Subtract> {};

INSTANTIATE_TEST_SUITE_P(StrictAndLenient, KvPathBothSubtractions,
                         testing::Values(SubtractURIStrict, SubtractURI));

}  // namespace

TEST_P(KvPathBothSubtractions, RemoveALeadingDirectory) {
    EXPECT_EQ(remainder(GetParam(), "/a/b", "/a"), "b");
    EXPECT_EQ(remainder(GetParam(), "/A/b", "/a"), "b");
    EXPECT_EQ(remainder(GetParam(), "/a/B", "/A"), "B");
    EXPECT_EQ(remainder(GetParam(), "/a/b/", "/a/"), "b/");
    EXPECT_EQ(remainder(GetParam(), "/a///b", "/a"), "b");
    EXPECT_EQ(remainder(GetParam(), "/a\\/b\\c", "/a"), "b\\c");
}

TEST_P(KvPathBothSubtractions, DoNotAskWhetherThePrefixEndsAtASeparator) {
    EXPECT_EQ(remainder(GetParam(), "/ab/c", "/a"), "b/c");
}

TEST_P(KvPathBothSubtractions, LeaveNothingOfThePrefixAlone) {
    EXPECT_EQ(remainder(GetParam(), "/a", "/a"), "");
    EXPECT_EQ(remainder(GetParam(), "/a/", "/a"), "");
    EXPECT_EQ(remainder(GetParam(), "/a//\\", "/a"), "");
}

TEST_P(KvPathBothSubtractions, CopyTheWholeWithoutAPrefix) {
    EXPECT_EQ(remainder(GetParam(), "/a\\b", ""), "/a\\b");
    EXPECT_EQ(remainder(GetParam(), "/a\\b", nullptr), "/a\\b");
    EXPECT_EQ(remainder(GetParam(), "", "/a"), "");
    EXPECT_EQ(remainder(GetParam(), nullptr, nullptr), "");
    const std::string longPath = "/" + std::string(2000, 'x');
    EXPECT_EQ(remainder(GetParam(), longPath.c_str(), ""), longPath);
}

TEST_P(KvPathBothSubtractions, RefuseWhatDoesNotBeginWithThePrefix) {
    EXPECT_EQ(remainder(GetParam(), "/b/a", "/a"), "<-1><untouched>");
    EXPECT_EQ(remainder(GetParam(), "x/a/b", "/a/"), "<-1><untouched>");
    EXPECT_EQ(remainder(GetParam(), "/a", "/a/b"), "<-1><untouched>");
    // Only ASCII letters match without regard to case.
    EXPECT_EQ(remainder(GetParam(), "/\xC4/b", "/\xE4"), "<-1><untouched>");
    EXPECT_EQ(remainder(GetParam(), "/[/b", "/{"), "<-1><untouched>");
}

TEST_P(KvPathBothSubtractions, GiveOneWithoutABuffer) {
    char out[] = "kept";
    EXPECT_EQ(GetParam()(nullptr, 10, "/a/b", "/a"), kPathMissingArgument);
    EXPECT_EQ(GetParam()(out, 0, "/a/b", "/a"), 1);
    EXPECT_EQ(GetParam()(out, -1, nullptr, nullptr), 1);
    EXPECT_STREQ(out, "kept");
}

TEST_P(KvPathBothSubtractions, CutToTheCapacity) {
    for (const char* prefix : {"/a", ""}) {
        const std::string whole = *prefix == '\0' ? "/a/bcd" : "bcd";
        for (size_t size = 1; size < 8; ++size) {
            GuardedBuffer out(size);
            EXPECT_EQ(GetParam()(out.data(), out.size(), "/a/bcd", prefix), 0);
            EXPECT_EQ(std::string(out.data()), whole.substr(0, size - 1));
            EXPECT_TRUE(out.isIntact());
        }
    }
}

TEST(SubtractURIStrict, TreatsTheSeparatorsOfThePrefixAsBytes) {
    EXPECT_EQ(strict("D:\\a\\b", "D:/a"), "<-1><untouched>");
    EXPECT_EQ(strict("D:\\a\\b", "d:\\A"), "b");
}

TEST(SubtractURIStrict, CutsTheRestBeforeItSkipsSeparators) {
    const std::string rest = "//" + std::string(2000, 'r');
    EXPECT_EQ(strict(("/a" + rest).c_str(), "/a"), std::string(1021, 'r'));
}

TEST(SubtractURIStrict, TakesAPrefixOfAnyLength) {
    const std::string prefix = "/" + std::string(5000, 'p');
    EXPECT_EQ(strict((prefix + "/x").c_str(), prefix.c_str()), "x");
    EXPECT_EQ(strict("/p", prefix.c_str()), "<-1><untouched>");
}

TEST(SubtractURI, TakesBothSeparatorsForOneAndKeepsTheCallersOwn) {
    EXPECT_EQ(lenient("D:\\a\\b\\c", "D:/a"), "b\\c");
    EXPECT_EQ(lenient("D:/a/b\\c/d", "d:\\A\\"), "b\\c/d");
    EXPECT_EQ(lenient("\\\\srv\\s\\f", "//SRV/s"), "f");
}

TEST(SubtractURI, SparesTrailingBytesOfDoubleByteCharacters) {
    const CodePage shiftJis(932);
    EXPECT_EQ(lenient("\\\x95\x5C\\b", "/\x95\x5C"), "b");
    EXPECT_EQ(lenient("/\x95\x5C/b", "/\x95/"), "<-1><untouched>");
}

TEST(SubtractURI, CountsFromTheEndOfAPathThatIsCut) {
    // 1023 bytes are looked at; 1020 of them stand behind "/a/".
    const std::string full = "/a/" + std::string(1500, 'x') + "end";
    EXPECT_EQ(lenient(full.c_str(), "/a"), std::string(1017, 'x') + "end");
}
