#include <gtest/gtest.h>

#include <string>

#include "fileop/KvPath.h"
#include "tests/support/CodePage.h"

namespace {

std::string slashed(const char* text) {
    KvSimpleString path(text);
    normalizeSeptor(path);
    std::string buffer(text);
    ReplaceBackSlash(buffer.data());
    EXPECT_STREQ(path.c_str(), buffer.c_str());
    return buffer;
}

}  // namespace

TEST(KvPathSeparator, IsOnlyTheSlash) {
    EXPECT_TRUE(isPathSeparator('/'));
    EXPECT_FALSE(isPathSeparator('\\'));
    EXPECT_FALSE(isPathSeparator('\0'));
    EXPECT_FALSE(isPathSeparator(':'));
}

TEST(KvPathSeparator, AtTheEndMakesADirectoryForm) {
    EXPECT_TRUE(EndsWithSeparator("a/"));
    EXPECT_TRUE(EndsWithSeparator("/"));
    EXPECT_FALSE(EndsWithSeparator("a"));
    EXPECT_FALSE(EndsWithSeparator("a\\"));
    EXPECT_FALSE(EndsWithSeparator(""));
    EXPECT_FALSE(EndsWithSeparator(nullptr));
    const CodePage shiftJis(932);
    EXPECT_TRUE(EndsWithSeparator("\x95/"));
    EXPECT_FALSE(EndsWithSeparator("\x95\x5C"));
}

TEST(KvPathSeparator, IsRemovedOnceFromTheEnd) {
    struct Case {
        const char* path;
        const char* rest;
        bool removed;
    };
    for (const Case& entry :
         {Case{"a/b/", "a/b", true}, Case{"a//", "a/", true}, Case{"/", "", true},
          Case{"a/b", "a/b", false}, Case{"a\\", "a\\", false}, Case{"", "", false}}) {
        KvSimpleString path(entry.path);
        EXPECT_EQ(RemoveTrailingSeparator(path), entry.removed) << entry.path;
        EXPECT_STREQ(path.c_str(), entry.rest);
    }
}

TEST(KvPathSeparator, ReplacesBackslashes) {
    EXPECT_EQ(slashed("D:\\a\\b/c\\"), "D:/a/b/c/");
    EXPECT_EQ(slashed("\\\\srv\\s"), "//srv/s");
    EXPECT_EQ(slashed("plain/path"), "plain/path");
    EXPECT_EQ(slashed(""), "");
    ReplaceBackSlash(nullptr);
}

TEST(KvPathSeparator, ReplacesNoTrailingByteOfADoubleByteCharacter) {
    for (const unsigned int codePage : {932U, 936U, 949U, 950U}) {
        const CodePage current(codePage);
        EXPECT_EQ(slashed("\\\x95\x5C\\x"), "/\x95\x5C/x");
        EXPECT_EQ(slashed("\x95\x95\\"), "\x95\x95/");
    }
    const CodePage singleByte(0);
    EXPECT_EQ(slashed("\\\x95\x5C"), "/\x95/");
}
