// The list of copies that wait for the restart.
#include "updater/KvRebootList.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "tests/support/LogCapture.h"
#include "tests/support/TempTree.h"
#include "tests/updater/RebootEntries.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class KvRebootList : public testing::Test {
  protected:
    static const RebootEntry& entry(int index) {
        return *static_cast<const RebootEntry*>(g_rebootCopyList.items[index]);
    }

    RebootEntries list;
};

TEST_F(KvRebootList, IsNotWrittenWhenItIsEmpty) {
    LogCapture log;
    EXPECT_FALSE(WriteRebootList());
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(KvRebootList, KeepsWhatIsAdded) {
    EXPECT_TRUE(addRebootEntry("/stage/a", "/app/a", kRebootReplace));
    EXPECT_TRUE(addRebootEntry(nullptr, "/app/b", kRebootPutBack));

    ASSERT_EQ(g_rebootCopyList.count, 2);
    EXPECT_STREQ(entry(0).source, "/stage/a");
    EXPECT_STREQ(entry(0).destination, "/app/a");
    EXPECT_EQ(entry(0).flag, 0);
    EXPECT_STREQ(entry(1).source, "");
    EXPECT_STREQ(entry(1).destination, "/app/b");
    EXPECT_EQ(entry(1).flag, 1);
}

TEST_F(KvRebootList, CutsPathsToTheirCapacity) {
    const std::string path(3000, 'x');
    EXPECT_TRUE(addRebootEntry(path.c_str(), path.c_str(), kRebootReplace));
    EXPECT_EQ(std::string(entry(0).source), std::string(1023, 'x'));
    EXPECT_EQ(std::string(entry(0).destination), std::string(1023, 'x'));
}

TEST_F(KvRebootList, IsLoggedInItsOrderWhenItIsWritten) {
    ASSERT_TRUE(addRebootEntry("/stage/a", "/app/a", kRebootReplace));
    ASSERT_TRUE(addRebootEntry(nullptr, "/app/b", kRebootDelete));
    LogCapture log;

    EXPECT_TRUE(WriteRebootList());

    EXPECT_THAT(log.lines(),
                ElementsAre("Inf 6 adding reboot list into system registry/ini...",
                            "Inf 6 src[/stage/a] -> dst[/app/a]", "Inf 6 src[] -> dst[/app/b]"));
    // Nothing takes the entries out again.
    EXPECT_EQ(g_rebootCopyList.count, 2);
    list.forgetWritten();
}

TEST_F(KvRebootList, IsEmptyAfterARunThatFailed) {
    ASSERT_TRUE(addRebootEntry("/stage/a", "/app/a", kRebootDelete));

    DropRebootList();

    EXPECT_EQ(g_rebootCopyList.count, 0);
    EXPECT_FALSE(WriteRebootList());
}

// There is no register of deferred copies on this platform.
TEST(KvRebootListRegister, TakesNothingAndThatIsASuccess) {
    const TempTree tree;
    const std::string source = tree.write("new", "1");
    const std::string target = tree.write("old", "2");
    const auto before = tree.snapshot();
    EXPECT_EQ(writeReboot(source.c_str(), target.c_str(), kRebootReplace), 0);
    EXPECT_EQ(writeReboot("", target.c_str(), kRebootPutBack), 0);
    EXPECT_EQ(writeReboot(nullptr, nullptr, kRebootDelete), 0);
    EXPECT_EQ(tree.snapshot(), before);
}

}  // namespace
