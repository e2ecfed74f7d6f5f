#include "fileop/KvFileContents.h"

#include <gtest/gtest.h>

#include <string>

#include "fileop/KvFileOpUtil.h"
#include "tests/support/TempTree.h"

namespace {

// The buffer stays from one copy to the next; what an earlier file left in it must not show.
TEST(KvFileContents, OneObjectCopiesFilesOfAnySizeOneAfterTheOther) {
    const TempTree tree;
    KvFileContents contents;
    for (const size_t size : {size_t{300000}, size_t{3}, size_t{0}, size_t{262144}, size_t{5}}) {
        const std::string text(size, static_cast<char>('a' + size % 26));
        EXPECT_EQ(contents.copy(tree.write("a", text).c_str(), tree.path("b").c_str()),
                  KvFileOpUtil::kDone);
        EXPECT_EQ(tree.read("b"), text) << size;
    }
}

TEST(KvFileContents, AFailureDoesNotSpoilTheNextCopy) {
    const TempTree tree;
    KvFileContents contents;
    const std::string file = tree.write("a", "text");
    const std::string dir = tree.makeDir("d");
    const std::string target = tree.path("b");
    EXPECT_EQ(contents.copy(tree.path("missing").c_str(), target.c_str()),
              KvFileOpUtil::kCannotOpenSource);
    EXPECT_FALSE(tree.exists("b")) << "a source that does not open leaves no target";
    EXPECT_EQ(contents.copy(file.c_str(), dir.c_str()), KvFileOpUtil::kDestinationNotWritable);
    EXPECT_EQ(contents.copy(dir.c_str(), target.c_str()), KvFileOpUtil::kReadError);
    EXPECT_TRUE(tree.exists("b")) << "it was made before the read failed";
    EXPECT_EQ(contents.copy(file.c_str(), target.c_str()), KvFileOpUtil::kDone);
    EXPECT_EQ(tree.read("b"), "text");
}

}  // namespace
