#include "updater/KvRunPaths.h"

#include <gtest/gtest.h>

namespace {

TEST(KvRunPaths, HaveTheirCapacities) {
    EXPECT_EQ(sizeof g_VCTempPath, 1024U);
    EXPECT_EQ(sizeof g_VelocorePath, 1024U);
    EXPECT_EQ(sizeof g_VelocoreDataPath, 1024U);
    EXPECT_EQ(sizeof g_VelocoreLib, 21U);
    EXPECT_EQ(sizeof g_SavFileLib, 21U);
    EXPECT_EQ(sizeof g_RstFileLib, 21U);
}

TEST(KvRunPaths, AllStartEmpty) {
    for (const char* const path : {g_VCTempPath, g_VelocorePath, g_VelocoreDataPath, g_VelocoreLib,
                                   g_SavFileLib, g_RstFileLib}) {
        EXPECT_STREQ(path, "");
    }
}

TEST(KvRunPaths, TellTheVersion) {
    EXPECT_STREQ(KvGetVersion(), "1.0.0.1027");
    EXPECT_STREQ(KvVelocoreVersion, "1.0.0.1027");
}

}  // namespace
