#include <gtest/gtest.h>
#ifdef __linux__
#include <sys/auxv.h>
#endif
#include <sys/wait.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <thread>

#include "fileop/KvPath.h"
#include "tests/support/TempTree.h"

namespace fs = std::filesystem;

namespace {

std::string fullPath(const std::string& path) {
    char resolved[PATH_MAX];
    return GetFullPath(path.c_str(), resolved, sizeof resolved) ? resolved : "<none>";
}

const int kInThisProgram = 0;

}  // namespace

TEST(GetFullPath, ResolvesLinksAndDots) {
    const TempTree tree;
    const std::string top = fs::canonical(tree.path()).string();
    const std::string directory = tree.makeDir("real/deep");
    fs::create_directory_symlink("real", tree.path("link"));
    EXPECT_EQ(fullPath(tree.path("link/deep/../deep/.")), top + "/real/deep");
    EXPECT_EQ(fullPath(directory + "//"), top + "/real/deep");
    EXPECT_EQ(fullPath("./"), fs::current_path().string());
    EXPECT_EQ(fullPath("/"), "/");
}

TEST(GetFullPath, DoesNotLookAtTheSizeItIsGiven) {
    char resolved[PATH_MAX];
    EXPECT_TRUE(GetFullPath("/", resolved, 0));
    EXPECT_STREQ(resolved, "/");
}

TEST(GetFullPath, FailsOnWhatIsNotThere) {
    const TempTree tree;
    char resolved[PATH_MAX];
    EXPECT_FALSE(GetFullPath(tree.path("missing").c_str(), resolved, sizeof resolved));
    EXPECT_FALSE(GetFullPath("", resolved, sizeof resolved));
    EXPECT_FALSE(GetFullPath(nullptr, resolved, sizeof resolved));
    EXPECT_FALSE(GetFullPath("/", nullptr, sizeof resolved));
    EXPECT_FALSE(GetFullPath(std::string(100000, 'x').c_str(), resolved, sizeof resolved));
}

TEST(GetDllFilename, NamesTheProgramItself) {
    char out[kPathCapacity];
    ASSERT_TRUE(GetDllFilename(&kInThisProgram, out));
    EXPECT_NE(strstr(out, "kv_fileop_tests"), nullptr) << out;
    EXPECT_NE(strchr(out, '/'), nullptr) << out;
}

TEST(GetDllFilename, NamesTheLibraryOfAnAddress) {
    char out[kPathCapacity];
    // A place inside the C library's data: the stream objects live there.
    ASSERT_TRUE(GetDllFilename(stdout, out));
    EXPECT_EQ(strstr(out, "kv_fileop_tests"), nullptr) << out;
    EXPECT_TRUE(fs::exists(out)) << out;
}

#ifdef __linux__
// The system's own page is a module with a bare name, and not the program.
TEST(GetDllFilename, ABareNameOfAnotherModuleStays) {
    const unsigned long page = getauxval(AT_SYSINFO_EHDR);
    char out[kPathCapacity];
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the system tells the address as a number.
    if (page == 0 || !GetDllFilename(reinterpret_cast<const void*>(page), out)) {
        GTEST_SKIP() << "this system shows no such module";
    }
    EXPECT_EQ(strchr(out, '/'), nullptr) << out;
    EXPECT_STRNE(out, "");
}
#endif

TEST(GetDllFilename, LeavesTheNameEmptyWhenNoModuleHoldsTheAddress) {
    char out[kPathCapacity] = "before";
    EXPECT_FALSE(GetDllFilename(nullptr, out));
    EXPECT_STREQ(out, "");
    strcpy(out, "before");
    const int onTheStack = 0;
    EXPECT_FALSE(GetDllFilename(&onTheStack, out));
    EXPECT_STREQ(out, "");
    EXPECT_FALSE(GetDllFilename(&kInThisProgram, nullptr));
}

TEST(KvProcess, NumbersThisProcess) {
    EXPECT_EQ(VcGetProcessID(), static_cast<unsigned int>(getpid()));
    const unsigned int parent = VcGetProcessID();
    const pid_t child = fork();
    if (child == 0) {
        _exit(VcGetProcessID() == parent ? 1 : 0);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
}

TEST(KvProcess, NumbersEachThread) {
    const unsigned int here = VcGetThreadId();
    EXPECT_EQ(VcGetThreadId(), here);
    unsigned int there = here;
    std::thread([&there] { there = VcGetThreadId(); }).join();
    EXPECT_NE(there, here);
}
