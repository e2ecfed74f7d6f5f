#include "base/KvScoped.h"

#include <fcntl.h>
#include <gtest/gtest.h>

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

}  // namespace
