// A path for which there was no memory: every operation fails and none touches the working
// directory, which an empty path would name.
#include <gtest/gtest.h>

#include <cerrno>
#include <map>
#include <string>

#include "base/KvFailure.h"
#include "base/KvSimpleString.h"
#include "fileop/KvFileOpUtil.h"
#include "fileop/KvItemPath.h"
#include "fileop/KvOpenFile.h"
#include "fileop/KvPath.h"
#include "fileop/KvSystem.h"
#include "fileop/KvVcLock.h"
#include "tests/fileop/TestProcess.h"
#include "tests/support/TempTree.h"

namespace {

class FailedPath : public testing::Test {
  protected:
    FailedPath() {
        tree.write("file", "1");
        tree.write("sub/file", "2");
        before = tree.snapshot();
        text.fail();
        failed = text.c_str();
    }
    ~FailedPath() override {
        EXPECT_EQ(tree.snapshot(), before);
        clearFailure();
    }

    TempTree tree;
    WorkingDir here{tree.path()};
    std::map<std::string, std::string> before;
    KvSimpleString text;
    const char* failed = nullptr;
};

TEST_F(FailedPath, NothingIsCopiedMovedOrDeleted) {
    EXPECT_EQ(KvFileOpUtil::xcopy(failed, "to/", true), KvFileOpUtil::kReadError);
    EXPECT_EQ(KvFileOpUtil::xcopy("file", failed, true), KvFileOpUtil::kReadError);
    EXPECT_EQ(KvFileOpUtil::copy(failed, "to/", true), KvFileOpUtil::kReadError);
    EXPECT_EQ(KvFileOpUtil::copyncase(failed, "to/", true), KvFileOpUtil::kReadError);
    EXPECT_EQ(KvFileOpUtil::xmove(failed, "to/", true), KvFileOpUtil::kReadError);
    EXPECT_EQ(KvFileOpUtil::move("file", failed, true), KvFileOpUtil::kReadError);
    EXPECT_EQ(KvFileOpUtil::xunlink(failed), KvFileOpUtil::kBadParameters);
    EXPECT_EQ(KvFileOpUtil::xunlinkContents(failed), KvFileOpUtil::kBadParameters);
    EXPECT_EQ(KvFileOpUtil::unlink(failed), KvFileOpUtil::kBadParameters);
    EXPECT_EQ(KvFileOpUtil::createDir(failed), KvFileOpUtil::kDestinationNotWritable);
    EXPECT_FALSE(KvFileOpUtil::rename(failed, "new"));
    EXPECT_FALSE(KvFileOpUtil::rename("file", failed));
}

TEST_F(FailedPath, NothingIsFoundThere) {
    KvFileOpUtil::CallbackEntry entry{};
    entry.cbSize = sizeof entry;
    EXPECT_FALSE(KvFileOpUtil::xaccess(failed, CB_GetDirSize, &entry));
    EXPECT_FALSE(KvFileOpUtil::isDir(failed));
    EXPECT_FALSE(KvFileOpUtil::exist(failed));
    EXPECT_FALSE(KvFileOpUtil::isExist(failed));
    EXPECT_FALSE(KvFileOpUtil::isLink(failed));
    EXPECT_FALSE(KvFileOpUtil::isEmptyDir(failed));
    EXPECT_FALSE(KvFileOpUtil::isTreeWithoutBytes(failed));
    EXPECT_FALSE(KvFileOpUtil::comp(failed, failed));
    EXPECT_EQ(KvVcLock(kFileLock, failed, false).isLocked(), false);
    char resolved[kLongPathCapacity];
    EXPECT_FALSE(GetFullPath(failed, resolved, sizeof resolved));
}

TEST_F(FailedPath, TheFailureIsNotedAsWantOfMemory) {
    clearFailure();
    KvFailure failure{};
    (void)KvFileOpUtil::xcopy("file", failed, true);
    ASSERT_TRUE(takeFailure(failure));
    EXPECT_STREQ(failure.subject, "file");
    EXPECT_EQ(failure.error, ENOMEM);
}

TEST_F(FailedPath, WhatIsMadeOfItHasFailed) {
    EXPECT_TRUE(DirNameOf(failed).failed());
    EXPECT_TRUE(FileNameOf(failed).failed());
    EXPECT_TRUE(normalizedPath(failed).failed());
    EXPECT_FALSE(DirNameOf("name").failed());
}

TEST_F(FailedPath, AJoinWithItLeavesNoPath) {
    char out[64] = "stale";
    EXPECT_NE(CatPathWithPath(out, sizeof out, "/base", failed), kPathDone);
    EXPECT_STREQ(out, "");
    (void)CatPathWithPath(out, sizeof out, "stale", "x");
    EXPECT_NE(CatPathWithPath(out, sizeof out, failed, "rel"), kPathDone);
    EXPECT_STREQ(out, "");
    (void)CatPathWithPath(out, sizeof out, "stale", "x");
    EXPECT_NE(CatURIWithPath(out, sizeof out, "/base", failed), kPathDone);
    EXPECT_STREQ(out, "");
    (void)CatPathWithPath(out, sizeof out, "stale", "x");
    EXPECT_NE(CatURIWithPath(out, sizeof out, failed, "rel"), kPathDone);
    EXPECT_STREQ(out, "");
    EXPECT_NE(ReplaceExtName(out, sizeof out, failed, ".x"), kPathDone);
    EXPECT_NE(SubtractURI(out, sizeof out, "/a/b", failed), kPathDone);
    const tag_ItemInfo item{};
    EXPECT_NE(MakeItemPath(out, sizeof out, failed, &item, false), kPathDone);
    EXPECT_NE(MakeItemPath(out, sizeof out, failed, &item, true), kPathDone);
    EXPECT_NE(MakePathNameByThreadId(out, sizeof out, failed), 0);
    EXPECT_STREQ(out, "");
}

TEST_F(FailedPath, TheSystemNeverSeesItNorAnEmptyOne) {
    struct stat status {};
    EXPECT_NE(sysStat(failed, status), 0);
    EXPECT_EQ(errno, ENOMEM);
    EXPECT_NE(sysUnlink(text), 0);
    EXPECT_EQ(errno, ENOMEM);
    EXPECT_NE(sysRename("file", failed), 0);
    EXPECT_EQ(errno, ENOMEM);
    EXPECT_EQ(sysOpenDir(""), nullptr);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_NE(sysMkdir(static_cast<const char*>(nullptr), 0755), 0);
    EXPECT_EQ(errno, ENOENT);
}

}  // namespace
