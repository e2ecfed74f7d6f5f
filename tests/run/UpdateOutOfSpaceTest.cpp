// Updates whose files do not fit: any one of them, new or replaced.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>

#include <filesystem>
#include <optional>

#include "tests/run/PatchScenario.h"
#include "tests/run/TwoItemUpdate.h"

namespace {

// No file of this process and its children grows beyond `bytes` while the object lives.
class FileSizeLimit {
  public:
    explicit FileSizeLimit(rlim_t bytes) : signal_(signal(SIGXFSZ, SIG_IGN)) {
        (void)getrlimit(RLIMIT_FSIZE, &before_);
        const struct rlimit limit = {bytes, before_.rlim_max};
        (void)setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit() {
        (void)setrlimit(RLIMIT_FSIZE, &before_);
        (void)signal(SIGXFSZ, signal_);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

  private:
    struct rlimit before_ {};
    void (*signal_)(int);
};

TEST(UpdateOutOfSpace, PutsAReplacedFileBack) {
    PatchScenario patch;
    patch.destination().write("a.dat", "old");
    patch.tree().setTime("app/a.dat", kLongAgo);
    patch.item(3, 5).stage("a.dat", std::string(300000, 'n'));
    const FileSizeLimit limit(100000);

    const RunOutcome run = patch.update();

    EXPECT_EQ(run.status, 58);
    EXPECT_EQ(patch.destination().files(), (FileTree{{"a.dat", "old"}}));
    EXPECT_EQ(patch.tree().time("app/a.dat"), kLongAgo);
    expectEmptyStore(patch.destination());
}

TEST(UpdateOutOfSpace, RemovesANewFileThatBreaksOff) {
    PatchScenario patch;
    patch.item(3, 5).stage("a.dat", std::string(300000, 'n'));
    const FileSizeLimit limit(100000);

    EXPECT_EQ(patch.update().status, 58);

    EXPECT_EQ(patch.destination().files(), FileTree());
}

TEST(UpdateOutOfSpace, LeavesAFileThatCannotBeSavedWhole) {
    PatchScenario patch;
    patch.destination().write("a.dat", std::string(300000, 'o'));
    patch.item(3, 5).stage("a.dat", std::string(300000, 'n'));
    const FileSizeLimit limit(100000);

    const RunOutcome run = patch.update();

    EXPECT_EQ(run.status, 58);
    EXPECT_THAT(run.log, LogHas({"Err callBackForUpdate: crtUniFile failed."}));
    EXPECT_EQ(patch.destination().files(), (FileTree{{"a.dat", std::string(300000, 'o')}}));
    expectEmptyStore(patch.destination());
}

// The large file of an update of two items: more than one file may hold.
class LargeFile : public testing::TestWithParam<std::string> {
  protected:
    LargeFile() {
        planTwoItems(patch);
        const std::string item = GetParam().substr(0, 3) == "app" ? "staging/3/5" : "staging/2/4";
        patch.tree().write(item + GetParam().substr(3), std::string(300000, 'n'));
        limit.emplace(100000);
    }

    PatchScenario patch;
    std::optional<FileSizeLimit> limit;
};

class LargeReplacedFile : public LargeFile {};

TEST_P(LargeReplacedFile, LeavesEverythingAsItWas) {
    const Destinations before(patch);

    const RunOutcome run = patch.update();

    EXPECT_EQ(run.status, 58);
    EXPECT_THAT(run.log, LogHas({"Err updateWithPatchAgent: xcopy failed, disk access."}));
    expectSame(before, Destinations(patch));
    expectEmptyStore(patch.destination("app"));
    expectEmptyStore(patch.destination("lib"));
}

INSTANTIATE_TEST_SUITE_P(Each, LargeReplacedFile, testing::ValuesIn(kOldFiles));

class LargeNewFile : public LargeFile {};

TEST_P(LargeNewFile, LeavesEverythingAsItWas) {
    const Destinations before(patch);

    EXPECT_EQ(patch.update().status, 58);

    expectSame(before, Destinations(patch));
    expectEmptyStore(patch.destination("app"));
    expectEmptyStore(patch.destination("lib"));
}

INSTANTIATE_TEST_SUITE_P(Each, LargeNewFile, testing::Values("app/added.dat", "lib/added.dat"));

}  // namespace
