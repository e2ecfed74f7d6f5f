#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "fileop/KvPath.h"
#include "tests/support/CodePage.h"
#include "tests/support/GuardedBuffer.h"

namespace {

using Join = int (*)(char*, int, const char*, const char*);

constexpr unsigned int kDoubleByteCodePages[] = {932, 936, 949, 950};

std::string joined(Join join, const char* base, const char* rel) {
    char out[4 * kPathCapacity];
    return join(out, sizeof out, base, rel) == 0 ? out : "<refused>";
}

std::string cat(const char* base, const char* rel) {
    return joined(CatPathWithPath, base, rel);
}

std::string catUri(const char* base, const char* rel) {
    return joined(CatURIWithPath, base, rel);
}

// Joins at `needed` - 1 and at `needed` and checks both results against the contract.
void expectNeeds(Join join, const std::string& base, const char* rel, int needed,
                 const std::string& path) {
    SCOPED_TRACE(base + " + " + rel);
    GuardedBuffer tight(static_cast<size_t>(needed) - 1);
    EXPECT_EQ(join(tight.data(), tight.size(), base.c_str(), rel), needed);
    EXPECT_EQ(std::string(tight.data()), base.substr(0, tight.capacity() - 1));
    EXPECT_TRUE(tight.isIntact());

    GuardedBuffer exact(static_cast<size_t>(needed));
    EXPECT_EQ(join(exact.data(), exact.size(), base.c_str(), rel), 0);
    EXPECT_EQ(std::string(exact.data()), path);
    EXPECT_TRUE(exact.isIntact());
}

class KvPathBothJoins : public testing::TestWithParam<Join> {};

INSTANTIATE_TEST_SUITE_P(CatPathAndCatURI, KvPathBothJoins,
                         testing::Values(CatPathWithPath, CatURIWithPath));

}  // namespace

TEST_P(KvPathBothJoins, PutsOneSeparatorBetweenBaseAndName) {
    EXPECT_EQ(joined(GetParam(), "/a/b", "c"), "/a/b/c");
    EXPECT_EQ(joined(GetParam(), "/a/b/", "/c"), "/a/b/c");
    EXPECT_EQ(joined(GetParam(), "/a/b", "/c"), "/a/b/c");
    EXPECT_EQ(joined(GetParam(), "/a/b", "\\c"), "/a/b/c");
    EXPECT_EQ(joined(GetParam(), "/a", "//c"), "/a//c");
    EXPECT_EQ(joined(GetParam(), "/a/b", ""), "/a/b/");
    EXPECT_EQ(joined(GetParam(), "/a/b/", "/"), "/a/b/");
}

TEST_P(KvPathBothJoins, TakesABaseOfOneByte) {
    EXPECT_EQ(joined(GetParam(), "/", "c"), "/c");
    EXPECT_EQ(joined(GetParam(), "/", "/c"), "/c");
    EXPECT_EQ(joined(GetParam(), "\\", "c"), "/c");
    EXPECT_EQ(joined(GetParam(), "a", "c"), "a/c");
}

TEST_P(KvPathBothJoins, LeavesTheNameAloneWhenThereIsNoBase) {
    EXPECT_EQ(joined(GetParam(), "", "c/d"), "c/d");
    EXPECT_EQ(joined(GetParam(), "", "/c"), "c");
    EXPECT_EQ(joined(GetParam(), nullptr, "/c"), "c");
    EXPECT_EQ(joined(GetParam(), "/a", nullptr), "/a/");
    EXPECT_EQ(joined(GetParam(), nullptr, nullptr), "");
}

TEST_P(KvPathBothJoins, TellTheCapacityTheyNeed) {
    // L = 4 and R = 2: one more with a separator to insert.
    expectNeeds(GetParam(), "/abc", "de", 4 + 2 + 2, "/abc/de");
    expectNeeds(GetParam(), "/ab/", "de", 4 + 2 + 1, "/ab/de");
    expectNeeds(GetParam(), "", "de", 0 + 2 + 1, "de");
    // The skipped separator does not count.
    expectNeeds(GetParam(), "/abc", "/de", 4 + 2 + 2, "/abc/de");
    expectNeeds(GetParam(), "/ab/", "\\de", 4 + 2 + 1, "/ab/de");
}

TEST_P(KvPathBothJoins, LeaveOnlyTheCutBaseAtEveryCapacityBelow) {
    const std::string base = "/abc";
    for (int size = 1; size < 8; ++size) {
        GuardedBuffer out(static_cast<size_t>(size));
        EXPECT_EQ(GetParam()(out.data(), size, base.c_str(), "de"), 8);
        EXPECT_EQ(std::string(out.data()), base.substr(0, static_cast<size_t>(size) - 1));
        EXPECT_TRUE(out.isIntact());
    }
}

TEST_P(KvPathBothJoins, WriteNothingWithoutABuffer) {
    char out[] = "kept";
    EXPECT_EQ(GetParam()(nullptr, 100, "/abc", "de"), 8);
    EXPECT_EQ(GetParam()(out, 0, "/abc", "de"), 8);
    EXPECT_EQ(GetParam()(out, -5, "/abc", "de"), 8);
    EXPECT_EQ(GetParam()(nullptr, 0, nullptr, nullptr), 1);
    EXPECT_STREQ(out, "kept");
}

TEST_P(KvPathBothJoins, JoinInPlace) {
    GuardedBuffer path(12);
    strcpy(path.data(), "/opt/app");
    EXPECT_EQ(GetParam()(path.data(), path.size(), path.data(), "x"), 0);
    EXPECT_STREQ(path.data(), "/opt/app/x");
    EXPECT_EQ(GetParam()(path.data(), path.size(), path.data(), "yz"), 10 + 2 + 2);
    EXPECT_STREQ(path.data(), "/opt/app/x");
    EXPECT_TRUE(path.isIntact());
}

TEST_P(KvPathBothJoins, CutABaseInPlaceThatHasNoEnd) {
    GuardedBuffer path(4);
    memcpy(path.data(), "abcd", 4);
    EXPECT_EQ(GetParam()(path.data(), path.size(), path.data(), "x"), 3 + 1 + 2);
    EXPECT_STREQ(path.data(), "abc");
    EXPECT_TRUE(path.isIntact());
}

TEST_P(KvPathBothJoins, TakeANameThatStandsInTheOutput) {
    char path[32] = "name";
    EXPECT_EQ(GetParam()(path, sizeof path, "/a", path), 0);
    EXPECT_STREQ(path, "/a/name");
}

TEST_P(KvPathBothJoins, AreLinear) {
    const std::string base(1U << 20U, '\\');
    std::vector<char> out(base.size() + 16);
    CodePage shiftJis(932);
    ASSERT_EQ(GetParam()(out.data(), static_cast<int>(out.size()), base.c_str(), "x"), 0);
    EXPECT_EQ(out[base.size()], 'x');
}

TEST(CatPathWithPath, RewritesOnlyTheSeparatorAtTheSeam) {
    EXPECT_EQ(cat("D:\\x\\", "y\\z"), "D:\\x/y\\z");
    EXPECT_EQ(cat("\\\\srv\\s", "d/f"), "\\\\srv\\s/d/f");
    EXPECT_EQ(cat("\\\\srv\\s\\", "d/f"), "\\\\srv\\s/d/f");
}

TEST(CatPathWithPath, KeepsTheBaseUnwrittenWhenItDoesNotFit) {
    char out[4];
    EXPECT_EQ(CatPathWithPath(out, sizeof out, "ab\\", "x"), 3 + 1 + 1);
    EXPECT_STREQ(out, "ab\\");
}

TEST(CatPathWithPath, DoesNotCutALongName) {
    const std::string name(3000, 'n');
    EXPECT_EQ(cat("/a", name.c_str()), "/a/" + name);
}

TEST(CatPathWithPath, KnowsNoDoubleByteCharacters) {
    const CodePage shiftJis(932);
    EXPECT_EQ(cat("/\x95\x5C", "x"), "/\x95/x");
}

TEST(CatURIWithPath, MakesAllSeparatorsAlike) {
    EXPECT_EQ(catUri("D:\\x\\", "y\\z"), "D:/x/y/z");
    EXPECT_EQ(catUri("\\a\\b", "c\\"), "/a/b/c/");
    EXPECT_EQ(catUri("/a\\/b", "\\\\c"), "/a//b//c");
}

TEST(CatURIWithPath, JoinsANetworkShareWithBackslashes) {
    EXPECT_EQ(catUri("\\\\srv\\s", "d/f"), "\\\\srv\\s\\d\\f");
    EXPECT_EQ(catUri("\\\\srv/s/", "/d/f"), "\\\\srv\\s\\d\\f");
    EXPECT_EQ(catUri("\\\\", "d"), "\\\\d");
    EXPECT_EQ(catUri("//srv/s", "d\\f"), "//srv/s/d/f");
    EXPECT_EQ(catUri("\\/srv", "d"), "//srv/d");
}

TEST(CatURIWithPath, JoinsAUriWithASchemeLikeAnyPath) {
    for (const char* scheme : {"http://h", "https://h", "ftp://h", "HTTP://h", "file://h"}) {
        EXPECT_EQ(catUri(scheme, "a\\b"), std::string(scheme) + "/a/b");
    }
}

TEST(CatURIWithPath, LeavesSeparatorsThatAreNotRewrittenWhenItDoesNotFit) {
    char out[8];
    EXPECT_EQ(CatURIWithPath(out, sizeof out, "D:\\x\\", "y\\z"), 5 + 3 + 1);
    EXPECT_STREQ(out, "D:\\x\\");
}

TEST(CatURIWithPath, CutsTheNameAfterSkippingItsSeparator) {
    const std::string name = std::string(1023, 'n') + "rest";
    EXPECT_EQ(catUri("/a", name.c_str()), "/a/" + name.substr(0, 1023));
    EXPECT_EQ(catUri("/a", ("/" + name).c_str()), "/a/" + name.substr(0, 1023));
    char small[8];
    EXPECT_EQ(CatURIWithPath(small, sizeof small, "/a", name.c_str()), 2 + 1023 + 2);
}

TEST(CatURIWithPath, SparesTrailingBytesOfDoubleByteCharacters) {
    for (const unsigned int codePage : kDoubleByteCodePages) {
        SCOPED_TRACE(codePage);
        const CodePage current(codePage);
        EXPECT_EQ(catUri("/\x95\x5C", "\x95\x5C\\x"), "/\x95\x5C/\x95\x5C/x");
        EXPECT_EQ(catUri("\x95\x5C", "x"), "\x95\x5C/x");
        // Two characters, then a real backslash.
        EXPECT_EQ(catUri("\x95\x5C\\", "x"), "\x95\x5C/x");
        // A slash is no trailing byte, whatever stands before it.
        EXPECT_EQ(catUri("\\\\s\\\x95/", "\x95/x"), "\\\\s\\\x95\\\x95\\x");
    }
}

TEST(CatURIWithPath, RewritesTheSameBytesUnderASingleByteCodePage) {
    for (const unsigned int codePage : {0U, 1252U}) {
        const CodePage current(codePage);
        EXPECT_EQ(catUri("/\x95\x5C", "\x95\x5Cx"), "/\x95/\x95/x");
    }
}

TEST(CatURIWithPath, TakesALoneLeadByteOrBackslashAsTheWholeBase) {
    const CodePage shiftJis(932);
    EXPECT_EQ(catUri("\\", "x"), "/x");
    EXPECT_EQ(catUri("\x95", "x"), "\x95/x");
}
