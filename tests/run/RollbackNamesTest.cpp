// Rollbacks of files with awkward names, and what is lost with them.
#include <gtest/gtest.h>

#include "tests/run/PatchScenario.h"

namespace {

// An added file is deleted by its name, which is a pattern here: a file of the user's own is lost.
TEST(RollbackOfNames, DeletesWhatMatchesTheNameOfAnAddedFile) {
    PatchScenario patch;
    patch.destination().write("axb.dat", "a user's own");
    patch.destination().write("c.dat", "kept");
    patch.item(3, 5).stage("a*b.dat", "new");
    ASSERT_EQ(patch.update().status, 0);

    EXPECT_EQ(patch.rollback().status, 0);

    EXPECT_EQ(patch.destination().files(), (FileTree{{"c.dat", "kept"}}));
}

// The target ends at the comma. Lost is the file of that name; the one that was replaced stays
// new, and nothing is saved of it any more.
TEST(RollbackOfNames, PutsAFileBackWhereItsNameEndsAtAComma) {
    PatchScenario patch;
    patch.destination().write("a", "a user's own");
    patch.destination().write("a,b.dat", "old");
    patch.item(3, 5).stage("a,b.dat", "new");
    ASSERT_EQ(patch.update().status, 0);

    EXPECT_EQ(patch.rollback().status, 0);

    EXPECT_EQ(patch.destination().files(), (FileTree{{"a", "old"}, {"a,b.dat", "new"}}));
    EXPECT_FALSE(patch.destination().hasSaved("3/5/000"));
}

// A blank at the end of a name is trimmed when the record is read: lost is the file whose name
// lacks it, and the replaced one stays new.
TEST(RollbackOfNames, PutsAFileBackWithoutTheBlankAtItsEnd) {
    PatchScenario patch;
    patch.destination().write("a.dat", "a user's own");
    patch.destination().write("a.dat ", "old");
    patch.item(3, 5).stage("a.dat ", "new");
    ASSERT_EQ(patch.update().status, 0);

    EXPECT_EQ(patch.rollback().status, 0);

    EXPECT_EQ(patch.destination().files(), (FileTree{{"a.dat", "old"}, {"a.dat ", "new"}}));
    EXPECT_FALSE(patch.destination().hasSaved("3/5/000"));
}

// The same for an added one, which stays.
TEST(RollbackOfNames, DeletesAnAddedFileWithoutTheBlankAtItsEnd) {
    PatchScenario patch;
    patch.destination().write("a.dat", "a user's own");
    patch.item(3, 5).stage("a.dat ", "new");
    ASSERT_EQ(patch.update().status, 0);

    EXPECT_EQ(patch.rollback().status, 0);

    EXPECT_EQ(patch.destination().files(), (FileTree{{"a.dat ", "new"}}));
}

}  // namespace
