#include "ini/KvVcCfg.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "fileop/KvPath.h"
#include "tests/support/TempTree.h"

namespace {

// The three flags in their order, as "101".
std::string flags(const KvVcCfg& config) {
    std::string text;
    for (const bool flag : {config.UseOldDirOrganization(), config.UseForceDuplicatePatchagent(),
                            config.KeepCacheOptimize()}) {
        text += flag ? '1' : '0';
    }
    return text;
}

std::string flagsOf(const std::string& config) {
    const TempTree tree;
    (void)tree.write("vccfg.ini", config);
    return flags(KvVcCfg(tree.path().c_str()));
}

constexpr char kAllOn[] =
    "ForceDuplicatePatchagent=1\n"
    "[common]\nbkd_use_old_dir_organization=1\n"
    "[Downloader]\nkeep_cache_file_on_success=1\n";

}  // namespace

TEST(KvVcCfg, IsAllOffWithoutADirectory) {
    EXPECT_EQ(flags(KvVcCfg()), "000");
    EXPECT_EQ(flags(KvVcCfg(nullptr)), "000");
    EXPECT_EQ(flags(KvVcCfg("/missing/directory")), "000");
}

TEST(KvVcCfg, ReadsEachSwitchFromItsSection) {
    EXPECT_EQ(flagsOf(kAllOn), "111");
    EXPECT_EQ(flagsOf("[common]\nbkd_use_old_dir_organization=1\n"), "100");
    EXPECT_EQ(flagsOf("ForceDuplicatePatchagent=1\n"), "010");
    EXPECT_EQ(flagsOf("[Downloader]\nkeep_cache_file_on_success=1\n"), "001");
}

TEST(KvVcCfg, DoesNotFindASwitchInAnotherSection) {
    EXPECT_EQ(flagsOf("[common]\nForceDuplicatePatchagent=1\n"), "000");
    EXPECT_EQ(flagsOf("bkd_use_old_dir_organization=1\nkeep_cache_file_on_success=1\n"), "000");
    EXPECT_EQ(flagsOf("[Downloader]\nbkd_use_old_dir_organization=1\n"
                      "[common]\nkeep_cache_file_on_success=1\n"),
              "000");
}

TEST(KvVcCfg, MatchesNamesWithoutRegardToCase) {
    EXPECT_EQ(flagsOf("[COMMON]\nBKD_USE_OLD_DIR_ORGANIZATION = 1\n"), "100");
    EXPECT_EQ(flagsOf("forceduplicatepatchAGENT=1\n[downloader]\nKeep_Cache_File_On_Success=1\n"),
              "011");
}

TEST(KvVcCfg, IsOnForExactlyOneAndForNothingElse) {
    const std::vector<std::pair<std::string, bool>> table = {
        {"1", true},    {"1 ", true},     {" \t1\t", true}, {"1\r", true}, {"01", false},
        {"11", false},  {"2", false},     {"0", false},     {"", false},   {"true", false},
        {"yes", false}, {"\"1\"", false}, {"1;", false},    {"+1", false}, {"\v1", false},
    };
    for (const auto& [value, on] : table) {
        EXPECT_EQ(flagsOf("ForceDuplicatePatchagent=" + value + "\n"), on ? "010" : "000")
            << "\"" << value << "\"";
        EXPECT_EQ(flagsOf("[Downloader]\nkeep_cache_file_on_success=" + value + "\n"),
                  on ? "001" : "000")
            << "\"" << value << "\"";
        EXPECT_EQ(flagsOf("[common]\nbkd_use_old_dir_organization=" + value + "\n"),
                  on ? "100" : "000")
            << "\"" << value << "\"";
    }
}

TEST(KvVcCfg, TakesADirectoryWithOrWithoutASeparatorAtItsEnd) {
    const TempTree tree;
    (void)tree.write("vccfg.ini", kAllOn);
    EXPECT_EQ(flags(KvVcCfg((tree.path() + "/").c_str())), "111");
}

TEST(KvVcCfg, ReadsNothingWhereTheNameIsTooLong) {
    const std::string tooLong = "/" + std::string(kPathCapacity, 'x');
    EXPECT_EQ(flags(KvVcCfg(tooLong.c_str())), "000");
}

TEST(KvVcCfg, NeverWritesTheFile) {
    const TempTree tree;
    const std::string config = std::string("  ; comment  \r\n\r\n") + kAllOn;
    (void)tree.write("vccfg.ini", config);
    EXPECT_EQ(flags(KvVcCfg(tree.path().c_str())), "111");
    EXPECT_EQ(tree.read("vccfg.ini"), config);
}

TEST(KvVcCfg, DoesNotCreateAMissingFile) {
    const TempTree tree;
    EXPECT_EQ(flags(KvVcCfg(tree.path().c_str())), "000");
    EXPECT_TRUE(tree.snapshot().empty());
}
