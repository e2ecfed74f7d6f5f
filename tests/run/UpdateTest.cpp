// The update, told by what the real binary leaves behind.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/run/PatchScenario.h"

namespace {

using testing::Contains;

TEST(Update, ReplacesAndAddsFiles) {
    PatchScenario patch;
    patch.destination().write("a.dat", "old");
    patch.item(3, 5).stage("a.dat", "new").stage("b.dat", "more");

    const RunOutcome run = patch.update();

    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(patch.destination().files(), (FileTree{{"a.dat", "new"}, {"b.dat", "more"}}));
    EXPECT_EQ(patch.destination().store().at("3/5/backup.000"), "old");
    EXPECT_THAT(run.log, Contains(info("VcPatch end.")));
}

}  // namespace
