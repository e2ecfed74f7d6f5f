// There is no register of deferred copies on this platform.
#include "updater/KvRebootWriter.h"

#include <gtest/gtest.h>

#include "tests/support/TempTree.h"

namespace {

TEST(KvRebootWriterTest, NothingIsWrittenAndThatIsASuccess) {
    const TempTree tree;
    const std::string source = tree.write("new", "1");
    const std::string target = tree.write("old", "2");
    const auto before = tree.snapshot();
    EXPECT_EQ(0, writeReboot(source.c_str(), target.c_str(), 0));
    EXPECT_EQ(0, writeReboot("", target.c_str(), 1));
    EXPECT_EQ(0, writeReboot(nullptr, nullptr, 0));
    EXPECT_EQ(before, tree.snapshot());
}

}  // namespace
