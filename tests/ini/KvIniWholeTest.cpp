// Documents whose file could not be read, and what is opened through links: nothing is written that
// would take away what was there.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "base/KvFailure.h"
#include "tests/ini/IniDocument.h"
#include "tests/support/TempTree.h"

namespace {

// Edits the document of that path and lets it go.
void edit(const std::string& path, KvLastLink link = KvLastLink::kFollow) {
    KvIniUtil document = openDocument(path.c_str(), link);
    document.set("s", "k", "new");
}

int notedError() {
    KvFailure failure{};
    return takeFailure(failure) ? failure.error : 0;
}

TEST(KvIniWhole, AFileThatIsMissingIsMadeByTheFirstFlush) {
    const TempTree tree;
    const KvFailureScope scope;
    const std::string path = tree.path("it.ini");
    EXPECT_TRUE(openDocument(path.c_str()).isWhole());
    edit(path);
    EXPECT_EQ(tree.read("it.ini"), "[s]\nk=new\n");
    EXPECT_FALSE(isFailureNoted());
}

TEST(KvIniWhole, AFileThatMayNotBeReadIsNotWritten) {
    if (geteuid() == 0) {
        GTEST_SKIP() << "root may read everything";
    }
    const TempTree tree;
    const std::string path = tree.write("it.ini", "k=v\n");
    ASSERT_EQ(chmod(path.c_str(), 0200), 0);
    const KvFailureScope scope;
    EXPECT_FALSE(openDocument(path.c_str()).isWhole());
    EXPECT_EQ(notedError(), EACCES);
    edit(path);
    ASSERT_EQ(chmod(path.c_str(), 0600), 0);
    EXPECT_EQ(tree.read("it.ini"), "k=v\n");
}

TEST(KvIniWhole, ADirectoryIsNoDocument) {
    const TempTree tree;
    const std::string path = tree.makeDir("it.ini");
    const KvFailureScope scope;
    KvIniUtil document = openDocument(path.c_str());
    EXPECT_TRUE(document.isMade());
    EXPECT_FALSE(document.isWhole());
    EXPECT_EQ(notedError(), EISDIR);
    document.set("s", "k", "new");
    EXPECT_FALSE(document.flush(true));
    EXPECT_FALSE(document.flushTo(tree.path("other.ini").c_str()));
    EXPECT_FALSE(tree.exists("other.ini"));
    EXPECT_NE(newDocument(path.c_str()), nullptr);
}

TEST(KvIniWhole, APipeIsNoDocumentAndNobodyWaits) {
    const TempTree tree;
    const std::string path = tree.path("it.ini");
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    const KvFailureScope scope;
    EXPECT_FALSE(openDocument(path.c_str()).isWhole());
    EXPECT_EQ(notedError(), kErrorNotRegularFile);
    edit(path);
    EXPECT_FALSE(openDocument(nullptr).flushTo(path.c_str()));
}

TEST(KvIniWhole, AFileThatBreaksOffIsEmptyAndNotWritten) {
    // Reading a process's own memory from its start fails, and the file is a regular one.
    const char path[] = "/proc/self/mem";
    const int fd = open(path, O_RDONLY | O_CLOEXEC);
    char byte = '\0';
    if (fd < 0 || read(fd, &byte, 1) >= 0) {
        GTEST_SKIP() << "no regular file that cannot be read is at hand";
    }
    (void)close(fd);
    const KvFailureScope scope;
    const KvIniUtil document = openDocument(path);
    EXPECT_TRUE(document.isMade());
    EXPECT_FALSE(document.isWhole());
    EXPECT_EQ(dumpOf(document), "");
    EXPECT_EQ(notedError(), EIO);
    EXPECT_FALSE(document.flushTo("/dev/null"));
}

TEST(KvIniWhole, AFailedPathIsNoDocument) {
    KvSimpleString path("it.ini");
    path.fail();
    const KvFailureScope scope;
    EXPECT_FALSE(openDocument(path.c_str()).isMade());
    EXPECT_EQ(notedError(), ENOMEM);
    EXPECT_EQ(newDocument(path.c_str()), nullptr);
    EXPECT_FALSE(openDocument(nullptr).flushTo(path.c_str()));
}

TEST(KvIniWhole, AFailedWriteIsNoted) {
    const TempTree tree;
    const KvFailureScope scope;
    EXPECT_FALSE(openDocument(nullptr).flushTo(tree.path("missing/it.ini").c_str()));
    EXPECT_EQ(notedError(), ENOENT);
}

TEST(KvIniWhole, OwnLinksAreFollowed) {
    const TempTree tree;
    const std::string path = tree.path("link.ini");
    (void)tree.write("it.ini", "k=v\n");
    ASSERT_EQ(symlink("it.ini", path.c_str()), 0);
    edit(path, KvLastLink::kFollowOwn);
    EXPECT_EQ(tree.read("it.ini"), "k=v\n[s]\nk=new\n");
}

TEST(KvIniWhole, ForeignLinksAreFollowedOnlyWhereThatIsAskedFor) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root makes other users' links";
    }
    const TempTree tree;
    const std::string path = tree.path("link.ini");
    (void)tree.write("it.ini", "k=v\n");
    ASSERT_EQ(symlink("it.ini", path.c_str()), 0);
    ASSERT_EQ(lchown(path.c_str(), 4711, 4711), 0);
    const KvFailureScope scope;
    EXPECT_FALSE(openDocument(path.c_str(), KvLastLink::kFollowOwn).isWhole());
    EXPECT_EQ(notedError(), kErrorForeignLink);
    edit(path, KvLastLink::kFollowOwn);
    EXPECT_FALSE(openDocument(nullptr, KvLastLink::kFollowOwn).flushTo(path.c_str()));
    EXPECT_EQ(tree.read("it.ini"), "k=v\n");
    EXPECT_EQ(valueOf(openDocument(path.c_str()), nullptr, "k"), "v");
}

}  // namespace
