// The questions of KvFileOpUtil about one path.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstddef>
#include <string>

#include "fileop/KvFileOpUtil.h"
#include "tests/fileop/TestProcess.h"
#include "tests/support/TempTree.h"

namespace {

using Entry = KvFileOpUtil::CallbackEntry;

constexpr off_t kFourGiB = 4294967296;

// The layout and the numbers that callers and callbacks were built with.
TEST(KvFileOpUtil, RecordAndNumbersNeverChange) {
    if (sizeof(void*) == 8) {
        EXPECT_EQ(sizeof(Entry), 56U);
        EXPECT_EQ(offsetof(Entry, userData), 8U);
        EXPECT_EQ(offsetof(Entry, path), 16U);
        EXPECT_EQ(offsetof(Entry, destination), 24U);
        EXPECT_EQ(offsetof(Entry, modifyTime), 32U);
        EXPECT_EQ(offsetof(Entry, size), 40U);
        EXPECT_EQ(offsetof(Entry, action), 44U);
        EXPECT_EQ(offsetof(Entry, phase), 48U);
    }
    const int results[] = {KvFileOpUtil::kDone,
                           KvFileOpUtil::kBadParameters,
                           KvFileOpUtil::kCannotOpenSource,
                           KvFileOpUtil::kReadError,
                           KvFileOpUtil::kWriteError,
                           KvFileOpUtil::kDestinationNotWritable,
                           KvFileOpUtil::kDestinationExists};
    for (int i = 0; i < 7; ++i) {
        EXPECT_EQ(results[i], -i);
    }
    EXPECT_EQ(KvFileOpUtil::kNoSuchName, -3);
    const unsigned int actions[] = {KvFileOpUtil::kNewFile,    KvFileOpUtil::kOverwrite,
                                    KvFileOpUtil::kDeleteFile, KvFileOpUtil::kCreateDir,
                                    KvFileOpUtil::kRemoveDir,  KvFileOpUtil::kVisitDir,
                                    KvFileOpUtil::kVisitFile};
    for (unsigned int i = 0; i < 7; ++i) {
        EXPECT_EQ(actions[i], i);
    }
    EXPECT_EQ(KvFileOpUtil::kBefore, 0U);
    EXPECT_EQ(KvFileOpUtil::kAfter, 1U);
    EXPECT_EQ(KvFileOpUtil::kGoOn, 0);
    EXPECT_EQ(KvFileOpUtil::kSkip, 2);
}

TEST(KvFileOpUtil, NothingIsTrueOfNoPath) {
    for (const char* const path : {static_cast<const char*>(nullptr), ""}) {
        EXPECT_FALSE(KvFileOpUtil::isDirName(path));
        EXPECT_FALSE(KvFileOpUtil::isDir(path));
        EXPECT_FALSE(KvFileOpUtil::exist(path));
        EXPECT_FALSE(KvFileOpUtil::isExist(path));
        EXPECT_FALSE(KvFileOpUtil::isEmptyDir(path));
        EXPECT_FALSE(KvFileOpUtil::filesizeEqualTo(path, 0));
        EXPECT_FALSE(KvFileOpUtil::rename(path, "/tmp"));
        EXPECT_FALSE(KvFileOpUtil::rename("/tmp", path));
        EXPECT_FALSE(KvFileOpUtil::comp(path, "/dev/null"));
        EXPECT_FALSE(KvFileOpUtil::comp("/dev/null", path));
        EXPECT_EQ(KvFileOpUtil::getFileSize(path), 0U);
        EXPECT_EQ(KvFileOpUtil::getDirSize(path), 0xFFFFFFFFU);
        EXPECT_STREQ(KvFileOpUtil::getFileMD5(path).c_str(), "");
        EXPECT_STREQ(KvFileOpUtil::getDirName(path).c_str(), "");
        EXPECT_STREQ(KvFileOpUtil::getFileName(path).c_str(), "");
    }
}

TEST(KvFileOpUtil, OverlongPathsAreNothing) {
    const std::string path(100000, 'x');
    EXPECT_FALSE(KvFileOpUtil::isDir(path.c_str()));
    EXPECT_FALSE(KvFileOpUtil::isDir((path + "/").c_str()));
    EXPECT_FALSE(KvFileOpUtil::exist(path.c_str()));
    EXPECT_FALSE(KvFileOpUtil::isExist(path.c_str()));
    EXPECT_FALSE(KvFileOpUtil::filesizeEqualTo(path.c_str(), 0));
    EXPECT_FALSE(KvFileOpUtil::rename(path.c_str(), path.c_str()));
    EXPECT_FALSE(KvFileOpUtil::comp(path.c_str(), path.c_str()));
    EXPECT_EQ(KvFileOpUtil::getDirSize(path.c_str()), 0U);
    EXPECT_EQ(KvFileOpUtil::getFileName(path.c_str()).length(), path.size());
}

TEST(KvFileOpUtil, DirNamesEndWithASlash) {
    EXPECT_TRUE(KvFileOpUtil::isDirName("a/"));
    EXPECT_TRUE(KvFileOpUtil::isDirName("/"));
    EXPECT_FALSE(KvFileOpUtil::isDirName("a"));
    EXPECT_FALSE(KvFileOpUtil::isDirName("a\\"));
    EXPECT_STREQ(KvFileOpUtil::getDirName("a/b").c_str(), "a/");
    EXPECT_STREQ(KvFileOpUtil::getFileName("a/b").c_str(), "b");
}

TEST(KvFileOpUtil, ADirectoryIsToldWithAndWithoutItsSlash) {
    const TempTree tree;
    tree.makeDir("dir");
    tree.write("file", "");
    ASSERT_EQ(symlink("dir", tree.path("link").c_str()), 0);
    ASSERT_EQ(symlink("nowhere", tree.path("dangling").c_str()), 0);
    const std::pair<const char*, bool> cases[] = {
        {"dir", true},  {"dir/", true},  {"dir//", true},     {"file", false},    {"file/", false},
        {"link", true}, {"link/", true}, {"dangling", false}, {"missing", false}, {"./dir", true}};
    for (const auto& [name, expected] : cases) {
        EXPECT_EQ(KvFileOpUtil::isDir(tree.path(name).c_str()), expected) << name;
    }
    // What is left of the root without its '/' is no path.
    EXPECT_FALSE(KvFileOpUtil::isDir("/"));
}

TEST(KvFileOpUtil, ExistMeansReadableAndIsExistMeansThere) {
    const TempTree tree;
    const std::string file = tree.write("file", "");
    const std::string hidden = tree.write("hidden", "");
    ASSERT_EQ(chmod(tree.path().c_str(), 0755), 0);
    ASSERT_EQ(chmod(hidden.c_str(), 0), 0);
    EXPECT_TRUE(KvFileOpUtil::exist(file.c_str()));
    EXPECT_TRUE(KvFileOpUtil::exist(tree.path().c_str()));
    EXPECT_TRUE(KvFileOpUtil::isExist(file.c_str()));
    EXPECT_FALSE(KvFileOpUtil::exist(tree.path("missing").c_str()));
    EXPECT_FALSE(KvFileOpUtil::isExist(tree.path("missing").c_str()));
    EXPECT_EQ(resultInChild([&] { return KvFileOpUtil::exist(hidden.c_str()) ? 1 : 0; }), 0);
    EXPECT_EQ(resultInChild([&] { return KvFileOpUtil::isExist(hidden.c_str()) ? 1 : 0; }), 1);
}

TEST(KvFileOpUtil, FileSizes) {
    const TempTree tree;
    const std::string file = tree.write("d/file", "12345");
    EXPECT_EQ(KvFileOpUtil::getFileSize(file.c_str()), 5U);
    EXPECT_EQ(KvFileOpUtil::getFileSize(tree.path("missing").c_str()), 0U);
    EXPECT_TRUE(KvFileOpUtil::filesizeEqualTo(file.c_str(), 5));
    EXPECT_FALSE(KvFileOpUtil::filesizeEqualTo(file.c_str(), 4));
    EXPECT_FALSE(KvFileOpUtil::filesizeEqualTo(tree.path("missing").c_str(), 0));
    EXPECT_TRUE(KvFileOpUtil::filesizeEqualTo((tree.path() + "\\d\\file").c_str(), 5));
    EXPECT_EQ(KvFileOpUtil::getFileSize((tree.path() + "\\d\\file").c_str()), 0U);
}

TEST(KvFileOpUtil, SizesAboveFourGiBAreCutButEqualNothing) {
    const TempTree tree;
    const std::string file = tree.write("file", "");
    ASSERT_EQ(truncate(file.c_str(), kFourGiB + 5), 0);
    EXPECT_EQ(KvFileOpUtil::getFileSize(file.c_str()), 5U);
    EXPECT_FALSE(KvFileOpUtil::filesizeEqualTo(file.c_str(), 5));
}

TEST(KvFileOpUtil, AnEmptyDirectoryHasNoEntryAtAll) {
    const TempTree tree;
    tree.makeDir("empty");
    tree.makeDir("full/sub");
    tree.write("file", "");
    EXPECT_TRUE(KvFileOpUtil::isEmptyDir(tree.path("empty").c_str()));
    EXPECT_TRUE(KvFileOpUtil::isEmptyDir(tree.path("empty/").c_str()));
    EXPECT_FALSE(KvFileOpUtil::isEmptyDir(tree.path("full").c_str()));
    EXPECT_FALSE(KvFileOpUtil::isEmptyDir(tree.path("file").c_str()));
    EXPECT_FALSE(KvFileOpUtil::isEmptyDir(tree.path("missing").c_str()));
}

TEST(KvFileOpUtil, ADirectoryThatCannotBeReadIsNotKnownToBeEmpty) {
    const TempTree tree;
    tree.write("d/f", "");
    ASSERT_EQ(chmod(tree.path().c_str(), 0755), 0);
    ASSERT_EQ(chmod(tree.path("d").c_str(), 0111), 0);
    const std::string dir = tree.path("d");
    EXPECT_EQ(resultInChild([&] { return KvFileOpUtil::isEmptyDir(dir.c_str()) ? 1 : 0; }), 0);
}

TEST(KvFileOpUtil, ATreeWithoutBytesHoldsNeitherBytesNorLinks) {
    const TempTree tree;
    tree.makeDir("d/sub/deep");
    tree.write("d/sub/empty", "");
    const auto isWithout = [&](const char* name) {
        return KvFileOpUtil::isTreeWithoutBytes(tree.path(name).c_str());
    };
    EXPECT_TRUE(isWithout("d"));
    EXPECT_TRUE(isWithout("d/"));
    EXPECT_FALSE(isWithout("d/sub/empty")) << "no directory";
    EXPECT_FALSE(isWithout("missing"));
    ASSERT_EQ(symlink("d", tree.path("link").c_str()), 0);
    EXPECT_FALSE(isWithout("link"));
    EXPECT_FALSE(isWithout("link/"));
    ASSERT_EQ(symlink("nowhere", tree.path("d/sub/dangling").c_str()), 0);
    EXPECT_FALSE(isWithout("d"));
    ASSERT_EQ(::unlink(tree.path("d/sub/dangling").c_str()), 0);
    ASSERT_EQ(truncate(tree.write("d/sub/empty", "").c_str(), kFourGiB), 0);
    EXPECT_FALSE(isWithout("d")) << "a size that no 32 bits hold";
    ASSERT_EQ(truncate(tree.write("d/sub/empty", "").c_str(), 0), 0);
    EXPECT_TRUE(isWithout("d"));
    ASSERT_EQ(chmod(tree.path().c_str(), 0755), 0);
    ASSERT_EQ(chmod(tree.path("d/sub").c_str(), 0111), 0);
    EXPECT_EQ(resultInChild([&] { return isWithout("d") ? 1 : 0; }), 0);
}

TEST(KvFileOpUtil, NoQuestionWaitsForAPipe) {
    const TempTree tree;
    const std::string pipe = tree.path("pipe");
    const std::string file = tree.write("file", "");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_TRUE(KvFileOpUtil::exist(pipe.c_str()));
    EXPECT_EQ(KvFileOpUtil::getFileSize(pipe.c_str()), 0U);
    EXPECT_FALSE(KvFileOpUtil::filesizeEqualTo(pipe.c_str(), 0));
    EXPECT_FALSE(KvFileOpUtil::comp(pipe.c_str(), file.c_str()));
    EXPECT_FALSE(KvFileOpUtil::comp(file.c_str(), pipe.c_str()));
    EXPECT_STREQ(KvFileOpUtil::getFileMD5(pipe.c_str()).c_str(), "");
}

TEST(KvFileOpUtil, ADirectorySizeIsTheSumOfItsFiles) {
    const TempTree tree;
    tree.write("d/a", "123");
    tree.write("d/sub/deep/b", "4567");
    tree.makeDir("empty/sub");
    EXPECT_EQ(KvFileOpUtil::getDirSize(tree.path("d").c_str()), 7U);
    EXPECT_EQ(KvFileOpUtil::getDirSize(tree.path("d/").c_str()), 7U);
    EXPECT_EQ(KvFileOpUtil::getDirSize(tree.path("d/a").c_str()), 3U);
    EXPECT_EQ(KvFileOpUtil::getDirSize(tree.path("empty").c_str()), 0U);
    EXPECT_EQ(KvFileOpUtil::getDirSize(tree.path("missing").c_str()), 0U);
}

TEST(KvFileOpUtil, ADirectorySizeWrapsAboveFourGiB) {
    const TempTree tree;
    ASSERT_EQ(truncate(tree.write("d/a", "").c_str(), kFourGiB - 1), 0);
    tree.write("d/b", "12345678");
    EXPECT_EQ(KvFileOpUtil::getDirSize(tree.path("d").c_str()), 7U);
}

TEST(KvFileOpUtil, ADirectoryThatCannotBeWalkedHasSizeZero) {
    const TempTree tree;
    tree.write("d/a", "123");
    ASSERT_EQ(symlink("nowhere", tree.path("d/dangling").c_str()), 0);
    EXPECT_EQ(KvFileOpUtil::getDirSize(tree.path("d").c_str()), 0U);
}

TEST(KvFileOpUtil, SizeCallbackAddsAndGoesOn) {
    uint32_t total = 5;
    Entry entry{};
    entry.userData = &total;
    entry.size = 7;
    EXPECT_EQ(CB_GetDirSize(&entry), KvFileOpUtil::kGoOn);
    EXPECT_EQ(total, 12U);
    entry.userData = nullptr;
    EXPECT_EQ(CB_GetDirSize(&entry), KvFileOpUtil::kGoOn);
    EXPECT_EQ(CB_GetDirSize(nullptr), KvFileOpUtil::kGoOn);
}

TEST(KvFileOpUtil, RenameMovesAndReplaces) {
    const TempTree tree;
    tree.write("d/a", "new");
    tree.write("d/b", "old");
    const auto rename = [&](const std::string& from, const std::string& to) {
        return KvFileOpUtil::rename(tree.path(from).c_str(), tree.path(to).c_str());
    };
    EXPECT_TRUE(rename("d/a", "d/b"));
    EXPECT_EQ(tree.read("d/b"), "new");
    EXPECT_FALSE(tree.exists("d/a"));
    EXPECT_TRUE(rename("d/", "e/"));
    EXPECT_TRUE(rename("e\\b", "e\\c"));
    EXPECT_EQ(tree.read("e/c"), "new");
    // One '/' is removed, so that a file in directory form is the file.
    EXPECT_TRUE(rename("e/c/", "e/d"));
    EXPECT_FALSE(rename("missing", "e/f"));
    EXPECT_FALSE(rename("e/d", "missing/f"));
    EXPECT_FALSE(KvFileOpUtil::rename("/", tree.path("x").c_str()));
}

TEST(KvFileOpUtil, CompComparesContents) {
    const TempTree tree;
    constexpr size_t kBlock = 262144;
    const auto comp = [&](const std::string& a, const std::string& b) {
        return KvFileOpUtil::comp(tree.write("a", a).c_str(), tree.write("b", b).c_str());
    };
    EXPECT_TRUE(comp("", ""));
    EXPECT_TRUE(comp("x", "x"));
    EXPECT_FALSE(comp("x", ""));
    EXPECT_FALSE(comp("x", "y"));
    EXPECT_TRUE(comp(std::string("a\0b", 3), std::string("a\0b", 3)));
    EXPECT_FALSE(comp(std::string("a\0b", 3), std::string("a\0c", 3)));
    for (const size_t size : {kBlock - 1, kBlock, kBlock + 1, 2 * kBlock, 2 * kBlock + 1}) {
        const std::string text(size, 'x');
        EXPECT_TRUE(comp(text, text)) << size;
        EXPECT_FALSE(comp(text, text.substr(1))) << size;
        EXPECT_FALSE(comp(text, text.substr(1) + "y")) << size;
        EXPECT_FALSE(comp(text, "y" + text.substr(1))) << size;
    }
}

TEST(KvFileOpUtil, CompNeedsTwoReadableFiles) {
    const TempTree tree;
    tree.write("d/a", "x");
    const std::string file = tree.path("d/a");
    EXPECT_TRUE(KvFileOpUtil::comp(file.c_str(), file.c_str()));
    EXPECT_TRUE(KvFileOpUtil::comp((tree.path() + "\\d\\a").c_str(), file.c_str()));
    EXPECT_FALSE(KvFileOpUtil::comp(file.c_str(), tree.path("missing").c_str()));
    EXPECT_FALSE(KvFileOpUtil::comp(tree.path("missing").c_str(), file.c_str()));
    EXPECT_FALSE(KvFileOpUtil::comp(tree.path("d").c_str(), tree.path("d").c_str()));
}

TEST(KvFileOpUtil, TheDigestIsTextInLowerCase) {
    const TempTree tree;
    const auto digest = [&](const std::string& text) {
        return std::string(KvFileOpUtil::getFileMD5(tree.write("f", text).c_str()).c_str());
    };
    EXPECT_EQ(digest(""), "d41d8cd98f00b204e9800998ecf8427e");
    EXPECT_EQ(digest("abc"), "900150983cd24fb0d6963f7d28e17f72");
    EXPECT_EQ(digest("message digest"), "f96b697d7cb7938d525a2f31aaf161d0");
    EXPECT_STREQ(KvFileOpUtil::getFileMD5(tree.path("missing").c_str()).c_str(), "");
}

TEST(KvFileOpUtil, QueriesLeaveNoDescriptorOpen) {
    const TempTree tree;
    const std::string file = tree.write("d/a", "x");
    const int before = nextDescriptor();
    (void)KvFileOpUtil::exist(file.c_str());
    (void)KvFileOpUtil::getFileSize(file.c_str());
    (void)KvFileOpUtil::filesizeEqualTo(file.c_str(), 1);
    (void)KvFileOpUtil::comp(file.c_str(), tree.path("missing").c_str());
    (void)KvFileOpUtil::comp(file.c_str(), file.c_str());
    (void)KvFileOpUtil::getFileMD5(file.c_str());
    EXPECT_EQ(nextDescriptor(), before);
}

TEST(KvFileOpUtil, NamesHaveNoOtherNormalFormAndNoHiddenAttribute) {
    KvSimpleString name("A\\b/../c/");
    KvFileOpUtil::NormalizeDirName(name);
    EXPECT_STREQ(name.c_str(), "A\\b/../c/");
    const TempTree tree;
    const std::string file = tree.write(".hidden", "x");
    ASSERT_EQ(chmod(file.c_str(), 0444), 0);
    const KvRemoveHiddenAttr none(nullptr);
    const KvRemoveHiddenAttr lifted(file.c_str());
    struct stat status {};
    ASSERT_EQ(stat(file.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0444U);
}

}  // namespace
