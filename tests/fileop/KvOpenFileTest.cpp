#include "fileop/KvOpenFile.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "base/KvFailure.h"
#include "base/KvScoped.h"
#include "tests/support/TempTree.h"

namespace {

constexpr KvLastLink kBoth[] = {KvLastLink::kFollow, KvLastLink::kFollowOwn};
constexpr int kAppend = O_WRONLY | O_APPEND | O_CREAT;

// The error of the open, 0 when it succeeds.
int errorOfOpen(const std::string& path, int flags, KvLastLink link) {
    const ScopedFd file(openRegularFile(path.c_str(), flags, link, 0644));
    return file.isOpen() ? 0 : errno;
}

// A path of each way to open a file, with both rules for links, is refused for the same reason.
void expectRefused(const std::string& path, int error) {
    for (const KvLastLink link : kBoth) {
        EXPECT_EQ(errorOfOpen(path, O_WRONLY, link), error);
        EXPECT_EQ(errorOfOpen(path, O_RDWR, link), error);
        EXPECT_EQ(errorOfOpen(path, kAppend, link), error);
        EXPECT_EQ(errorOfOpen(path, O_RDONLY, link), error);
    }
}

void makeLink(const TempTree& tree, const std::string& target, const std::string& name) {
    ASSERT_EQ(symlink(target.c_str(), tree.path(name).c_str()), 0);
}

// Puts the link into the hands of another user; false when the test's own user must not.
bool giveAway(const TempTree& tree, const std::string& name) {
    constexpr uid_t kStranger = 12345;
    return geteuid() == 0 && lchown(tree.path(name).c_str(), kStranger, kStranger) == 0;
}

}  // namespace

TEST(KvOpenFile, OpensARegularFile) {
    const TempTree tree;
    const std::string path = tree.write("file", "text");
    for (const KvLastLink link : kBoth) {
        const ScopedFd file(openRegularFile(path.c_str(), O_RDONLY, link));
        char bytes[8] = {};
        EXPECT_EQ(read(file.get(), bytes, sizeof bytes), 4);
        EXPECT_STREQ(bytes, "text");
    }
}

TEST(KvOpenFile, MakesAFileWithTheModeOnlyWhenAsked) {
    const TempTree tree;
    EXPECT_EQ(errorOfOpen(tree.path("new"), O_WRONLY, KvLastLink::kFollowOwn), ENOENT);
    const mode_t before = umask(027);
    const ScopedFd file(
        openRegularFile(tree.path("new").c_str(), kAppend, KvLastLink::kFollowOwn, 0666));
    (void)umask(before);
    struct stat status {};
    ASSERT_EQ(fstat(file.get(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0640U);
}

TEST(KvOpenFile, PassesTheFlagsOn) {
    const TempTree tree;
    const std::string path = tree.write("file", "old");
    EXPECT_EQ(errorOfOpen(path, O_WRONLY | O_CREAT | O_EXCL, KvLastLink::kFollow), EEXIST);
    EXPECT_EQ(errorOfOpen(path, O_WRONLY | O_TRUNC, KvLastLink::kFollowOwn), 0);
    EXPECT_EQ(tree.read("file"), "");
    EXPECT_EQ(errorOfOpen(tree.path("no/file"), kAppend, KvLastLink::kFollow), ENOENT);
}

TEST(KvOpenFile, StartedProgramsDoNotInheritTheDescriptor) {
    const TempTree tree;
    const std::string path = tree.write("file", "");
    const ScopedFd file(openRegularFile(path.c_str(), O_RDONLY, KvLastLink::kFollow));
    EXPECT_NE(fcntl(file.get(), F_GETFD) & FD_CLOEXEC, 0);
}

TEST(KvOpenFile, RefusesADirectory) {
    const TempTree tree;
    makeLink(tree, tree.makeDir("directory"), "link");
    expectRefused(tree.path("directory"), EISDIR);
    expectRefused(tree.path("directory/"), EISDIR);
    expectRefused(tree.path("link"), EISDIR);
}

// An open that waited for the other end would never return.
TEST(KvOpenFile, RefusesAPipeWithoutWaiting) {
    const TempTree tree;
    ASSERT_EQ(mkfifo(tree.path("pipe").c_str(), 0600), 0);
    makeLink(tree, "pipe", "link");
    expectRefused(tree.path("pipe"), kErrorNotRegularFile);
    expectRefused(tree.path("link"), kErrorNotRegularFile);
}

TEST(KvOpenFile, RefusesAPipeThatSomebodyReads) {
    const TempTree tree;
    ASSERT_EQ(mkfifo(tree.path("pipe").c_str(), 0600), 0);
    const ScopedFd reader(open(tree.path("pipe").c_str(), O_RDONLY | O_NONBLOCK));
    ASSERT_TRUE(reader.isOpen());
    expectRefused(tree.path("pipe"), kErrorNotRegularFile);
}

TEST(KvOpenFile, RefusesADevice) {
    const TempTree tree;
    makeLink(tree, "/dev/null", "link");
    expectRefused("/dev/null", kErrorNotRegularFile);
    expectRefused(tree.path("link"), kErrorNotRegularFile);
}

TEST(KvOpenFile, RefusesASocket) {
    const TempTree tree;
    const std::string path = tree.path("socket");
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) {
        GTEST_SKIP() << "the temporary directory's name is too long for a socket";
    }
    (void)memcpy(address.sun_path, path.c_str(), path.size() + 1);
    const ScopedFd socketEnd(socket(AF_UNIX, SOCK_STREAM, 0));
    ASSERT_EQ(bind(socketEnd.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    expectRefused(path, kErrorNotRegularFile);
}

TEST(KvOpenFile, GoesThroughAnOwnLink) {
    const TempTree tree;
    (void)tree.write("file", "");
    makeLink(tree, "file", "link");
    makeLink(tree, "link", "link to the link");
    for (const KvLastLink link : kBoth) {
        EXPECT_EQ(errorOfOpen(tree.path("link"), kAppend, link), 0);
        EXPECT_EQ(errorOfOpen(tree.path("link to the link"), O_RDONLY, link), 0);
    }
}

TEST(KvOpenFile, MakesTheFileOfAnOwnDanglingLink) {
    const TempTree tree;
    makeLink(tree, "file", "link");
    EXPECT_EQ(errorOfOpen(tree.path("link"), O_RDONLY, KvLastLink::kFollowOwn), ENOENT);
    EXPECT_FALSE(tree.exists("file"));
    EXPECT_EQ(errorOfOpen(tree.path("link"), kAppend, KvLastLink::kFollowOwn), 0);
    EXPECT_TRUE(tree.exists("file"));
}

TEST(KvOpenFile, TellsLinksThatLeadInACircle) {
    const TempTree tree;
    makeLink(tree, "b", "a");
    makeLink(tree, "a", "b");
    expectRefused(tree.path("a"), ELOOP);
    expectRefused(tree.path("a/file"), ELOOP);
}

TEST(KvOpenFile, RefusesALinkOfAnotherUser) {
    const TempTree tree;
    (void)tree.write("file", "as it was");
    makeLink(tree, "file", "link");
    makeLink(tree, "new", "dangling");
    if (!giveAway(tree, "link") || !giveAway(tree, "dangling")) {
        GTEST_SKIP() << "only root can give a link away";
    }
    EXPECT_EQ(errorOfOpen(tree.path("link"), O_WRONLY | O_TRUNC, KvLastLink::kFollowOwn),
              kErrorForeignLink);
    EXPECT_EQ(errorOfOpen(tree.path("link"), O_RDONLY, KvLastLink::kFollowOwn), kErrorForeignLink);
    EXPECT_EQ(errorOfOpen(tree.path("dangling"), kAppend, KvLastLink::kFollowOwn),
              kErrorForeignLink);
    EXPECT_EQ(tree.read("file"), "as it was");
    EXPECT_FALSE(tree.exists("new"));
    EXPECT_EQ(errorOfOpen(tree.path("link"), O_RDONLY, KvLastLink::kFollow), 0);
}

TEST(KvOpenFile, FollowsForeignLinksAmongTheParents) {
    const TempTree tree;
    (void)tree.write("directory/file", "");
    makeLink(tree, "directory", "link");
    if (!giveAway(tree, "link")) {
        GTEST_SKIP() << "only root can give a link away";
    }
    EXPECT_EQ(errorOfOpen(tree.path("link/file"), kAppend, KvLastLink::kFollowOwn), 0);
}
