// The lock object by itself: arguments, lock files, rows, paths, lifetime. The tests with several
// parties are in KvVcLockPartiesTest.cpp.
#include "fileop/KvVcLock.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "tests/fileop/LockTools.h"
#include "tests/support/ForkedProcess.h"

namespace {

// Before main and beyond its end: a lock taken here shows that the table needs no construction.
const KvVcLock s_beforeMain(kThreadLock, "///BEFORE-MAIN", kWait);

TEST_F(Lock, AFreshObjectHoldsNothing) {
    KvVcLock lock;
    EXPECT_FALSE(lock.isLocked());
    EXPECT_EQ(lock.release(), 0);
}

TEST_F(Lock, EveryTypeIsTakenAndGivenUp) {
    for (const unsigned type : {kFileLock, kThreadLock, kFileAndThreadLock}) {
        for (const bool wait : {kWait, kTry}) {
            KvVcLock lock;
            EXPECT_TRUE(lock.create(type, path.c_str(), wait));
            EXPECT_TRUE(lock.isLocked());
            EXPECT_EQ(lock.release(), 0);
            EXPECT_FALSE(lock.isLocked());
            EXPECT_EQ(lock.release(), 0);
        }
    }
}

TEST_F(Lock, TheTypesHaveFixedNumbers) {
    EXPECT_EQ(kFileLock, 1u);
    EXPECT_EQ(kThreadLock, 2u);
    EXPECT_EQ(kFileAndThreadLock, 3u);
}

TEST_F(Lock, OtherTypesAreRefused) {
    for (const unsigned type : {0u, 4u, 5u, 6u, 7u, 8u, 0x80000001u, 0xFFFFFFFFu}) {
        KvVcLock lock;
        EXPECT_FALSE(lock.create(type, path.c_str(), kWait)) << type;
        EXPECT_FALSE(lock.isLocked()) << type;
    }
    EXPECT_TRUE(tree.snapshot().empty());
}

TEST_F(Lock, APathIsNeeded) {
    for (const char* const none : {static_cast<const char*>(nullptr), ""}) {
        KvVcLock lock;
        EXPECT_FALSE(lock.create(kFileLock, none, kWait));
        EXPECT_FALSE(KvVcLock(kThreadLock, none, kTry).isLocked());
    }
}

TEST_F(Lock, TheConstructorTakesTheLock) {
    EXPECT_TRUE(KvVcLock(kFileLock, path.c_str(), kWait).isLocked());
    EXPECT_FALSE(KvVcLock(kFileLock, tree.path("missing/x").c_str(), kWait).isLocked());
}

TEST_F(Lock, ASecondCreateKeepsTheHeldLock) {
    KvVcLock lock(kFileLock, path.c_str(), kWait);
    EXPECT_FALSE(lock.create(kFileLock, tree.path("other").c_str(), kTry));
    EXPECT_TRUE(lock.isLocked());
    EXPECT_FALSE(othersGet(path));
    EXPECT_FALSE(tree.exists("other.lock"));
    lock.release();
    EXPECT_TRUE(tree.exists("VcPatch.ini.lock")) << "the refused call must not have changed `wait`";
}

TEST_F(Lock, TheDestructorGivesTheLockUp) {
    {
        const KvVcLock lock(kFileAndThreadLock, path.c_str(), kWait);
        EXPECT_FALSE(othersGet(path));
    }
    EXPECT_TRUE(othersGet(path));
    EXPECT_TRUE(KvVcLock(kFileAndThreadLock, path.c_str(), kTry).isLocked());
}

TEST_F(Lock, OnlyALockTakenWithWaitingLeavesItsFileBehind) {
    for (const unsigned type : {kFileLock, kFileAndThreadLock}) {
        KvVcLock lock(type, path.c_str(), kWait);
        EXPECT_TRUE(tree.exists("VcPatch.ini.lock"));
        lock.release();
        EXPECT_TRUE(tree.exists("VcPatch.ini.lock"));

        ASSERT_TRUE(lock.create(type, path.c_str(), kTry));
        EXPECT_TRUE(tree.exists("VcPatch.ini.lock"));
        lock.release();
        EXPECT_FALSE(tree.exists("VcPatch.ini.lock"));
    }
}

TEST_F(Lock, AThreadLockMakesNoFile) {
    {
        const KvVcLock lock(kThreadLock, path.c_str(), kTry);
        EXPECT_TRUE(lock.isLocked());
        EXPECT_TRUE(tree.snapshot().empty());
    }
    tree.write("VcPatch.ini.lock", "not ours");
    EXPECT_TRUE(KvVcLock(kThreadLock, path.c_str(), kTry).isLocked());
    EXPECT_EQ(tree.read("VcPatch.ini.lock"), "not ours");
}

TEST_F(Lock, TheLockFileIsPrivateAndItsContentIsLeftAlone) {
    const mode_t mask = umask(0);
    KvVcLock lock(kFileLock, path.c_str(), kWait);
    umask(mask);
    struct stat status {};
    ASSERT_EQ(stat(tree.path("VcPatch.ini.lock").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777u, 0600u);
    EXPECT_EQ(status.st_size, 0);

    tree.write("old.lock", "content");
    EXPECT_TRUE(KvVcLock(kFileLock, tree.path("old").c_str(), kWait).isLocked());
    EXPECT_EQ(tree.read("old.lock"), "content");
}

TEST_F(Lock, TheResourceItselfIsNotTouched) {
    tree.write("VcPatch.ini", "[common]\n");
    EXPECT_TRUE(KvVcLock(kFileAndThreadLock, path.c_str(), kTry).isLocked());
    EXPECT_EQ(tree.snapshot(), (std::map<std::string, std::string>{{"VcPatch.ini", "[common]\n"}}));
}

TEST_F(Lock, WithoutWaitingAPathHeldInThisProcessIsRefusedWhateverTheTypes) {
    for (const unsigned held : {kFileLock, kThreadLock, kFileAndThreadLock}) {
        for (const unsigned tried : {kFileLock, kThreadLock, kFileAndThreadLock}) {
            KvVcLock first(held, path.c_str(), kWait);
            EXPECT_FALSE(KvVcLock(tried, path.c_str(), kTry).isLocked()) << held << " " << tried;
            EXPECT_TRUE(first.isLocked());
            EXPECT_EQ(othersGet(path), held == kThreadLock);
            first.release();
            EXPECT_TRUE(KvVcLock(tried, path.c_str(), kTry).isLocked()) << held << " " << tried;
        }
    }
}

TEST_F(Lock, FileLocksOfOneProcessDoNotExcludeEachOther) {
    KvVcLock first(kFileLock, path.c_str(), kWait);
    KvVcLock second;
    EXPECT_TRUE(second.create(kFileLock, path.c_str(), kWait));
    EXPECT_TRUE(first.isLocked());
    EXPECT_FALSE(othersGet(path));
    // The system drops the lock of the process with the first descriptor that is closed.
    second.release();
    EXPECT_TRUE(first.isLocked());
    EXPECT_TRUE(othersGet(path));
    EXPECT_FALSE(KvVcLock(kFileLock, path.c_str(), kTry).isLocked()) << "the row is still held";
    first.release();
    EXPECT_TRUE(KvVcLock(kFileLock, path.c_str(), kTry).isLocked());
}

TEST_F(Lock, AFileLockThatWaitsJoinsALockOfBothKinds) {
    KvVcLock first(kFileAndThreadLock, path.c_str(), kWait);
    KvVcLock second;
    EXPECT_FALSE(second.create(kFileAndThreadLock, path.c_str(), kTry));
    EXPECT_TRUE(second.create(kFileLock, path.c_str(), kWait));
    EXPECT_TRUE(first.isLocked());
    EXPECT_TRUE(second.isLocked());
}

TEST_F(Lock, PathsThatDifferInCaseAreDifferentResources) {
    const KvVcLock lower(kFileAndThreadLock, tree.path("name").c_str(), kTry);
    const KvVcLock upper(kFileAndThreadLock, tree.path("NAME").c_str(), kTry);
    EXPECT_TRUE(lower.isLocked());
    EXPECT_TRUE(upper.isLocked());
    EXPECT_TRUE(tree.exists("name.lock"));
    EXPECT_TRUE(tree.exists("NAME.lock"));
}

// Other locks of this program that are held while the tests run.
constexpr int kRowsInUse = 1;

TEST_F(Lock, AsManyResourcesAsRowsCanBeHeld) {
    ASSERT_EQ(KvVcLock::kRowCount, 64);
    for (const unsigned type : {kFileLock, kThreadLock, kFileAndThreadLock}) {
        std::vector<std::unique_ptr<KvVcLock>> locks;
        for (int i = kRowsInUse; i < 64; ++i) {
            const std::string name = path + std::to_string(i);
            locks.push_back(std::make_unique<KvVcLock>(type, name.c_str(), kTry));
            EXPECT_TRUE(locks.back()->isLocked()) << name;
        }
        EXPECT_FALSE(KvVcLock(type, path.c_str(), kTry).isLocked());
        EXPECT_FALSE(KvVcLock(type, path.c_str(), kWait).isLocked());
        if (type == kFileLock) {
            EXPECT_TRUE(KvVcLock(type, (path + "40").c_str(), kWait).isLocked())
                << "a row is shared";
        }
        EXPECT_FALSE(tree.exists("VcPatch.ini.lock"));
        locks[20].reset();
        EXPECT_TRUE(KvVcLock(type, path.c_str(), kTry).isLocked());
    }
}

TEST_F(Lock, AFailedCreateGivesItsRowBack) {
    for (int i = 0; i < 200; ++i) {
        const std::string name = tree.path("missing/" + std::to_string(i));
        EXPECT_FALSE(KvVcLock(kFileAndThreadLock, name.c_str(), i % 2 == 0).isLocked());
    }
    // The mutex is free again, too.
    const std::string name = tree.path("missing/0");
    EXPECT_TRUE(KvVcLock(kThreadLock, name.c_str(), kTry).isLocked());
}

TEST_F(Lock, ALockFileThatCannotBeOpenedFailsTheLock) {
    tree.write("file", "");
    tree.makeDir("taken.lock");
    for (const char* const name : {"missing/x", "file/x", "taken"}) {
        for (const bool wait : {kWait, kTry}) {
            KvVcLock lock;
            EXPECT_FALSE(lock.create(kFileLock, tree.path(name).c_str(), wait)) << name;
            EXPECT_FALSE(lock.isLocked());
            EXPECT_TRUE(lock.create(kFileLock, path.c_str(), kTry)) << "the object is usable";
        }
    }
    EXPECT_TRUE(tree.exists("taken.lock"));
    EXPECT_FALSE(KvVcLock(kFileLock, tree.path(std::string(300, 'n')).c_str(), kTry).isLocked());
}

TEST_F(Lock, ADirectoryThatCannotBeWrittenFailsTheLock) {
    tree.makeDir("closed");
    ASSERT_EQ(chmod(tree.path().c_str(), 0755), 0);
    ASSERT_EQ(chmod(tree.path("closed").c_str(), 0555), 0);
    ForkedProcess user([&](const Talk&) {
        const uid_t nobody = 65534;
        if (geteuid() == 0 && setuid(nobody) != 0) {
            return 2;
        }
        const std::string name = tree.path("closed/x");
        const bool waited = KvVcLock(kFileLock, name.c_str(), kWait).isLocked();
        const bool tried = KvVcLock(kFileAndThreadLock, name.c_str(), kTry).isLocked();
        return waited || tried ? 1 : 0;
    });
    EXPECT_EQ(user.finish(), 0);
    EXPECT_FALSE(tree.exists("closed/x.lock"));
}

// A path of this length in the tree: "./" has no meaning in a path but takes two bytes.
std::string pathOfLength(const TempTree& tree, size_t length) {
    std::string path = tree.path() + "/";
    while (path.size() + 10 < length) {
        path += "./";
    }
    return path + std::string(length - path.size(), 'n');
}

TEST_F(Lock, ALongPathIsCutBeforeTheSuffix) {
    for (const size_t length : {1000u, 1022u, 1023u}) {
        const std::string whole = pathOfLength(tree, length);
        const KvVcLock lock(kFileLock, whole.c_str(), kTry);
        EXPECT_TRUE(lock.isLocked());
        EXPECT_EQ(access((whole + ".lock").c_str(), F_OK), 0) << length;
    }
    const std::string kept = pathOfLength(tree, 1023);
    for (const size_t more : {1u, 2u, 5u, 1000u, 10000u}) {
        const KvVcLock lock(kFileLock, (kept + std::string(more, 'x')).c_str(), kTry);
        EXPECT_TRUE(lock.isLocked());
        EXPECT_EQ(access((kept + ".lock").c_str(), F_OK), 0) << more;
        EXPECT_FALSE(othersGet(kept));
    }
    EXPECT_TRUE(tree.snapshot().empty());
}

TEST_F(Lock, LongPathsAreComparedWholeInTheProcess) {
    const std::string kept = pathOfLength(tree, 1023);
    const KvVcLock first(kFileLock, (kept + "a").c_str(), kWait);
    EXPECT_TRUE(KvVcLock(kFileLock, (kept + "b").c_str(), kTry).isLocked());
    EXPECT_FALSE(KvVcLock(kFileLock, (kept + "a").c_str(), kTry).isLocked());
}

// At exit the locks of static objects are released by their destructors.
TEST_F(Lock, LocksWorkBeforeMainAndUntilTheVeryEnd) {
    EXPECT_TRUE(s_beforeMain.isLocked());
    EXPECT_FALSE(KvVcLock(kThreadLock, "///BEFORE-MAIN", kTry).isLocked());
    EXPECT_EXIT(
        {
            static const KvVcLock untilTheEnd(kFileAndThreadLock, path.c_str(), kTry);
            exit(untilTheEnd.isLocked() && tree.exists("VcPatch.ini.lock") ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
    EXPECT_FALSE(tree.exists("VcPatch.ini.lock"));
}

}  // namespace
