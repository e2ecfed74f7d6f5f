// The house as it stands: the rules on the project's own tree.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/structure/HouseRules.h"
#include "tests/structure/SourceTree.h"

namespace {

using testing::IsEmpty;

// Rules on a tree that is not there would be kept for ever.
TEST(House, IsFound) {
    EXPECT_FALSE(readSources(KV_SOURCE_DIR).empty());
    EXPECT_FALSE(readLines(KV_SOURCE_DIR "/base/CMakeLists.txt").empty());
}

TEST(House, IncludesRunDownAndAreWrittenFromTheRoot) {
    EXPECT_THAT(findIncludeFaults(KV_SOURCE_DIR), IsEmpty());
}

TEST(House, NoTwoRoomsIncludeEachOther) {
    EXPECT_THAT(findCircles(KV_SOURCE_DIR), IsEmpty());
}

TEST(House, OneSourceGivesPathsToTheSystem) {
    EXPECT_THAT(findPathCalls(KV_SOURCE_DIR), IsEmpty());
}

TEST(House, NoSourceIsTooLong) {
    EXPECT_THAT(findLongSources(KV_SOURCE_DIR), IsEmpty());
}

TEST(House, FloorsLinkOnlyFloorsBelow) {
    EXPECT_THAT(findLinkFaults(KV_SOURCE_DIR), IsEmpty());
}

}  // namespace
