// Saved copies: whole or not at all, readable by nobody who may not read the original.
#include "store/KvSavedCopy.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <cerrno>
#include <string>

#include "base/KvFailure.h"
#include "tests/store/StoreNames.h"
#include "tests/support/TempTree.h"

namespace {

class KvSavedCopy : public testing::Test {
  protected:
    KvSavedCopy() { clearFailure(); }
    ~KvSavedCopy() override { clearFailure(); }

    SavedCopy save(const std::string& name) {
        return saveCopy(names_, tree_.path(store_).c_str(), tree_.path(name).c_str(), copy_,
                        sizeof copy_);
    }

    [[nodiscard]] mode_t modeOfCopy() const {
        struct stat status {};
        EXPECT_EQ(stat(copy_, &status), 0);
        return status.st_mode & 07777;
    }

    TempTree tree_;
    std::string store_ = kStore + "3/5/";
    BackupNames names_;
    char copy_[4096] = "";
};

TEST_F(KvSavedCopy, HoldsTheContentAndTheTime) {
    tree_.write("a.dat", "old");
    tree_.setTime("a.dat", 1000000000);

    EXPECT_EQ(save("a.dat"), SavedCopy::kDone);

    EXPECT_EQ(tree_.read(store_ + "backup.000"), "old");
    EXPECT_EQ(tree_.time(store_ + "backup.000"), 1000000000);
    EXPECT_FALSE(isFailureNoted());
}

TEST_F(KvSavedCopy, LacksTheBitsThatTheOriginalLacks) {
    const mode_t before = umask(022);
    for (const auto& [original, copy] :
         {std::pair<mode_t, mode_t>{0600, 0600}, {0755, 0644}, {0640, 0640}, {0444, 0444}}) {
        tree_.write("a.dat", "old");
        ASSERT_EQ(chmod(tree_.path("a.dat").c_str(), original), 0);
        EXPECT_EQ(save("a.dat"), SavedCopy::kDone);
        EXPECT_EQ(modeOfCopy(), copy);
        ASSERT_EQ(chmod(tree_.path("a.dat").c_str(), 0644), 0);
    }
    umask(before);
}

TEST_F(KvSavedCopy, OfAFileThatIsGoneIsEmpty) {
    EXPECT_EQ(save("nowhere"), SavedCopy::kDone);
    EXPECT_EQ(tree_.read(store_ + "backup.000"), "");
    EXPECT_FALSE(isFailureNoted());
}

TEST_F(KvSavedCopy, OfAnOddFileIsNotMadeAndDoesNotWait) {
    ASSERT_EQ(mkfifo(tree_.path("pipe").c_str(), 0600), 0);
    EXPECT_EQ(save("pipe"), SavedCopy::kOdd);
    EXPECT_FALSE(tree_.exists(store_ + "backup.000"));
    EXPECT_TRUE(isFailureNoted());
}

TEST_F(KvSavedCopy, ThatIsNotWholeIsGone) {
    tree_.write("a.dat", std::string(300000, 'o'));
    struct rlimit before {};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    struct rlimit small = before;
    small.rlim_cur = 100000;
    auto* const handler = signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    const SavedCopy saved = save("a.dat");
    EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
    (void)signal(SIGXFSZ, handler);

    EXPECT_EQ(saved, SavedCopy::kFailed);
    EXPECT_FALSE(tree_.exists(store_ + "backup.000"));
    KvFailure cause;
    ASSERT_TRUE(takeFailure(cause));
    EXPECT_EQ(cause.subject, tree_.path(store_ + "backup.000"));
    EXPECT_EQ(cause.error, EFBIG);
}

TEST_F(KvSavedCopy, HasNoNameWhereTheRecordCannotBeRead) {
    tree_.write("a.dat", "old");
    tree_.makeDir(kRecordFile);
    EXPECT_EQ(save("a.dat"), SavedCopy::kFailed);
    EXPECT_FALSE(tree_.exists(store_ + "backup.000"));
}

TEST_F(KvSavedCopy, IsPutBackAndStays) {
    tree_.write("a.dat", "old");
    ASSERT_EQ(save("a.dat"), SavedCopy::kDone);
    tree_.write("a.dat", "new");
    EXPECT_EQ(putCopyBack(copy_, tree_.path("a.dat").c_str()), PutBack::kDone);
    EXPECT_EQ(tree_.read("a.dat"), "old");
    EXPECT_EQ(tree_.read(store_ + "backup.000"), "old");
}

TEST_F(KvSavedCopy, DoesNotGoIntoADirectory) {
    tree_.write("copy", "old");
    tree_.makeDir("a.dat");
    EXPECT_EQ(putCopyBack(tree_.path("copy").c_str(), tree_.path("a.dat").c_str()),
              PutBack::kFailed);
    EXPECT_FALSE(tree_.exists("a.dat/copy"));
}

TEST_F(KvSavedCopy, ThatIsGoneIsNoFailureOfTheTarget) {
    tree_.write("a.dat", "new");
    EXPECT_EQ(putCopyBack(tree_.path("nowhere").c_str(), tree_.path("a.dat").c_str()),
              PutBack::kCopyGone);
    EXPECT_EQ(tree_.read("a.dat"), "new");
}

}  // namespace
