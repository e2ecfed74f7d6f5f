#include "ini/KvIniFile.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "tests/support/TempTree.h"

namespace {

// The content of what stands at a path, or a word on why there is none.
std::string fetched(const std::string& path) {
    KvIniFile file;
    if (!file.open(path.c_str())) {
        return "cannot be opened";
    }
    if (!file.fetch()) {
        return "no memory";
    }
    EXPECT_EQ(file.bytes()[file.size()], '\0');
    return {file.bytes(), file.size()};
}

TEST(KvIniFile, BringsTheWholeFileWithANulBehindIt) {
    const TempTree tree;
    for (const size_t size : std::initializer_list<size_t>{0, 1, 4094, 4095, 4096, 4097, 100000}) {
        const std::string content(size, 'x');
        EXPECT_EQ(fetched(tree.write("it", content)), content) << size;
    }
}

TEST(KvIniFile, ReadsOnWhereTheSizeIsNotKnown) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const ScopedFd reading(ends[0]);
    const std::string content(20000, 'p');
    ASSERT_EQ(write(ends[1], content.data(), content.size()), 20000);
    ASSERT_EQ(close(ends[1]), 0);
    EXPECT_EQ(fetched("/dev/fd/" + std::to_string(reading.get())), content);
}

TEST(KvIniFile, ADirectoryHasNoContent) {
    const TempTree tree;
    EXPECT_EQ(fetched(tree.path()), "");
    EXPECT_EQ(fetched(tree.path("missing")), "cannot be opened");
}

TEST(KvIniFile, HandsTheContentOver) {
    const TempTree tree;
    KvIniFile file;
    ASSERT_TRUE(file.open(tree.write("it", "content").c_str()));
    ASSERT_TRUE(file.fetch());
    const ScopedHeap<char> bytes = file.releaseBytes();
    EXPECT_STREQ(bytes.get(), "content");
    EXPECT_EQ(file.bytes(), nullptr);
}

TEST(KvIniRewriteFile, WritesAllAndNothingElse) {
    const TempTree tree;
    const std::string path = tree.write("it", "something longer");
    EXPECT_TRUE(KvIniRewriteFile(path.c_str(), "a\0b", 3));
    EXPECT_EQ(tree.read("it"), std::string("a\0b", 3));
    EXPECT_TRUE(KvIniRewriteFile(path.c_str(), "", 0));
    EXPECT_EQ(tree.read("it"), "");
    EXPECT_FALSE(KvIniRewriteFile(tree.path().c_str(), "x", 1));
}

}  // namespace
