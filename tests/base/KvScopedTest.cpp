#include "base/KvScoped.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/support/TempTree.h"

namespace {

bool isOpen(int fd) {
    return fcntl(fd, F_GETFD) != -1;
}

TEST(KvScoped, ADescriptorIsClosedAtTheEndOfItsScope) {
    const TempTree tree;
    const std::string path = tree.write("file", "x");
    int fd = -1;
    {
        const ScopedFd scoped(open(path.c_str(), O_RDONLY));
        fd = scoped.get();
        EXPECT_TRUE(scoped.isOpen());
        EXPECT_TRUE(isOpen(fd));
    }
    EXPECT_FALSE(isOpen(fd));
    EXPECT_FALSE(ScopedFd().isOpen());
}

TEST(KvScoped, AReleasedDescriptorStaysOpen) {
    const TempTree tree;
    const std::string path = tree.write("file", "x");
    ScopedFd scoped(open(path.c_str(), O_RDONLY));
    const int fd = scoped.release();
    EXPECT_FALSE(scoped.isOpen());
    EXPECT_TRUE(isOpen(fd));
    scoped.reset(fd);
    scoped.reset();
    EXPECT_FALSE(isOpen(fd));
}

struct PlainRecord {
    int* releases;
};

void releaseRecord(PlainRecord* record) {
    ++*record->releases;
}

TEST(KvScoped, AnOwnedRecordStartsZeroedAndIsReleasedOnce) {
    int releases = 0;
    {
        Owned<PlainRecord, releaseRecord> record;
        EXPECT_EQ(record.releases, nullptr);
        record.releases = &releases;
    }
    EXPECT_EQ(releases, 1);
}

TEST(KvScoped, FilesAndDirectoriesAreClosed) {
    const TempTree tree;
    int fileFd = -1;
    int dirFd = -1;
    {
        const ScopedFile file(fopen(tree.write("file", "x").c_str(), "r"));
        const ScopedDir dir(opendir(tree.path().c_str()));
        fileFd = fileno(file.get());
        dirFd = dirfd(dir.get());
        EXPECT_TRUE(isOpen(fileFd));
        EXPECT_TRUE(isOpen(dirFd));
    }
    EXPECT_FALSE(isOpen(fileFd));
    EXPECT_FALSE(isOpen(dirFd));
}

TEST(KvScopedHeap, ArraysAreZeroed) {
    const ScopedHeap<uint64_t> array(allocZeroed<uint64_t>(100));
    ASSERT_TRUE(array);
    EXPECT_TRUE(std::all_of(array.get(), array.get() + 100, [](uint64_t x) { return x == 0; }));
}

TEST(KvScopedHeap, ArraysAboveTheLimitAreRefused) {
    EXPECT_EQ(nullptr, allocZeroed<uint64_t>(536870912));
    EXPECT_EQ(nullptr, allocZeroed<uint64_t>(~uint64_t{0}));
    EXPECT_EQ(nullptr, allocZeroed<char>(kHeapArrayLimit + 1));
}

TEST(KvScopedHeap, TextsAreCopiedWhole) {
    for (const char* text : {"", "a", "a longer text with blanks"}) {
        char* copy = nullptr;
        ASSERT_EQ(HeapCopy::kDone, copyToHeap(text, copy));
        EXPECT_STREQ(text, copy);
        EXPECT_NE(text, copy);
        free(copy);
    }
}

TEST(KvScopedHeap, NullTextIsNotCopied) {
    char untouched = 'x';
    char* copy = &untouched;
    EXPECT_EQ(HeapCopy::kCopyFailed, copyToHeap(nullptr, copy));
    EXPECT_EQ(nullptr, copy);
}

}  // namespace
