#include "base/KvFailure.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <string>

namespace {

// Nothing is noted before a test and after it.
class KvFailureNote : public testing::Test {
  protected:
    KvFailureNote() { clearFailure(); }
    ~KvFailureNote() override { clearFailure(); }

    // What is noted, which then is noted no longer.
    static std::string taken() {
        KvFailure failure;
        return takeFailure(failure) ? std::string(failure.subject) + ": " + reasonOf(failure)
                                    : "nothing";
    }
};

}  // namespace

TEST_F(KvFailureNote, IsEmptyUntilAFailureIsNoted) {
    EXPECT_FALSE(isFailureNoted());
    EXPECT_EQ(taken(), "nothing");
    noteFailure("/a", ENOSPC);
    EXPECT_TRUE(isFailureNoted());
}

TEST_F(KvFailureNote, IsTakenOnce) {
    noteFailure("/a", ENOSPC);
    EXPECT_EQ(taken(), std::string("/a: ") + strerror(ENOSPC));
    EXPECT_FALSE(isFailureNoted());
    EXPECT_EQ(taken(), "nothing");
}

TEST_F(KvFailureNote, KeepsTheFirstFailure) {
    noteFailure("/first", "one");
    noteFailure("/second", "two");
    noteFailure("/third", EIO);
    EXPECT_EQ(taken(), "/first: one");
    noteFailure("/fourth", EIO);
    EXPECT_EQ(taken(), std::string("/fourth: ") + strerror(EIO));
}

TEST_F(KvFailureNote, CanBeCleared) {
    noteFailure("/a", EIO);
    clearFailure();
    EXPECT_EQ(taken(), "nothing");
}

TEST_F(KvFailureNote, KeepsACopyOfTheSubject) {
    char subject[] = "/a";
    noteFailure(subject, "gone");
    subject[1] = 'b';
    EXPECT_EQ(taken(), "/a: gone");
}

TEST_F(KvFailureNote, CutsASubjectThatIsTooLong) {
    noteFailure(std::string(5000, 'x').c_str(), "long");
    EXPECT_EQ(taken(), std::string(4095, 'x') + ": long");
}

TEST_F(KvFailureNote, ToleratesNull) {
    noteFailure(nullptr, nullptr);
    EXPECT_EQ(taken(), ": unknown");
}

TEST_F(KvFailureNote, LeavesErrnoAlone) {
    errno = EXDEV;
    noteFailure("/a", EIO);
    EXPECT_EQ(errno, EXDEV);
}

TEST_F(KvFailureNote, HasWordsForItsOwnErrors) {
    EXPECT_STREQ(reasonOf(kErrorNotRegularFile), "Not a regular file");
    EXPECT_STREQ(reasonOf(kErrorForeignLink), "Link of another user");
    EXPECT_STREQ(reasonOf(EACCES), strerror(EACCES));
}

TEST_F(KvFailureNote, IsForgottenAtTheEndOfItsScope) {
    {
        const KvFailureScope scope;
        noteFailure("/inside", EIO);
        EXPECT_TRUE(isFailureNoted());
    }
    EXPECT_EQ(taken(), "nothing");
}

TEST_F(KvFailureNote, OutlivesAScopeThatBeganAfterIt) {
    noteFailure("/before", "one");
    {
        const KvFailureScope scope;
        EXPECT_FALSE(isFailureNoted());
        noteFailure("/inside", "two");
        {
            const KvFailureScope inner;
            noteFailure("/deep", "three");
            EXPECT_EQ(taken(), "/deep: three");
        }
        EXPECT_EQ(taken(), "/inside: two");
    }
    EXPECT_EQ(taken(), "/before: one");
}
