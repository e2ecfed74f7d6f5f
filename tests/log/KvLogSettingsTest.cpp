#include "log/KvLogSettings.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/KvText.h"
#include "tests/log/LogDir.h"

namespace {

constexpr uint32_t kMebibyte = 1048576;

std::string debug(const std::string& line) {
    return "[Debug]\n" + line + "\n";
}

}  // namespace

TEST(KvLogSettings, HasDefaultsWithoutAFile) {
    const LogDir log(debug("Level=1\nlog_mode=3\nhtml=1\nlog_size=1"));
    const TempTree empty;
    (void)joinLogPath(s_config_file, empty.path().c_str(), "vccfg.ini");
    _reInit();
    EXPECT_EQ(s_level, 5);
    EXPECT_EQ(s_mode, 2);
    EXPECT_FALSE(s_html);
    EXPECT_EQ(g_log_file_size, 5242880U);
    EXPECT_EQ(g_extract_limit_size, 1073741824U);
    EXPECT_FALSE(empty.exists("vccfg.ini"));
}

TEST(KvLogSettings, ReadsTheLevel) {
    const std::vector<std::pair<std::string, int>> table = {
        {"Level=0", 0},    {"Level=7", 7},   {"level = 9", 9}, {"LEVEL=-1", -1}, {"Level=+3", 3},
        {"Level=12x", 12}, {"Level=abc", 0}, {"Level=", 0},    {"Other=1", 5},
    };
    for (const auto& [line, level] : table) {
        const LogDir log(debug(line));
        EXPECT_EQ(s_level, level) << line;
    }
}

TEST(KvLogSettings, ReadsTheMode) {
    const std::vector<std::pair<std::string, int>> table = {
        {"log_mode=1", 1}, {"log_mode=3", 3},   {"log_mode=5", 5},
        {"log_mode=0", 0}, {"log_mode=abc", 0}, {"Other=1", 2},
    };
    for (const auto& [line, mode] : table) {
        const LogDir log(debug(line));
        EXPECT_EQ(s_mode, mode) << line;
    }
}

TEST(KvLogSettings, WritesHtmlOnlyForOneAndOnlyIntoAFile) {
    const std::vector<std::pair<std::string, bool>> table = {
        {"html=1", true},
        {"html=01", true},
        {"html=2", false},
        {"html=yes", false},
        {"html=0", false},
        {"html=", false},
        {"Other=1", false},
        {"log_mode=2\nhtml=1", true},
        {"log_mode=3\nhtml=1", true},
        {"log_mode=1\nhtml=1", false},
        {"log_mode=4\nhtml=1", false},
        {"log_mode=0\nhtml=1", false},
    };
    for (const auto& [lines, html] : table) {
        const LogDir log(debug(lines));
        EXPECT_EQ(s_html, html) << lines;
        const std::string file = log.tree().path(html ? LogDir::kHtml : LogDir::kText);
        EXPECT_EQ(s_log_file, file) << lines;
    }
}

TEST(KvLogSettings, GoesBackToTextWhenHtmlIsNoLongerAskedFor) {
    const LogDir log(debug("html=1"));
    ASSERT_TRUE(s_html);
    log.configure("");
    EXPECT_FALSE(s_html);
}

TEST(KvLogSettings, TakesACodePageThatBeginsWithADigit) {
    const std::vector<std::pair<std::string, unsigned int>> table = {
        {"code_page=932\n", 932},
        {"code_page = 936x\n", 936},
        {"code_page=0\n", 0},
        {"code_page=x932\n", 949},
        {"code_page=-932\n", 949},
        {"code_page=\n", 949},
        {"", 949},
        {"[Debug]\ncode_page=932\n", 949},
    };
    for (const auto& [config, codePage] : table) {
        const LogDir log;
        SetCurrentCharType(949);
        log.configure(config);
        EXPECT_EQ(GetCurrentCharType(), codePage) << config;
    }
}

TEST(KvLogSettings, ReadsTheLimitOfTheLog) {
    const std::vector<std::pair<std::string, uint32_t>> table = {
        {"log_size=1", kMebibyte},
        {"log_size=6", 6 * kMebibyte},
        {"log_size=2x", 2 * kMebibyte},
        {"log_size=4095", 4095 * kMebibyte},
        {"log_size=4096", 0},
        {"log_size=4097", kMebibyte},
        {"log_size=-1", 0xFFF00000U},
        {"log_size=0", 5 * kMebibyte},
        {"log_size=abc", 5 * kMebibyte},
        {"log_size=", 5 * kMebibyte},
        {"Other=1", 5 * kMebibyte},
    };
    for (const auto& [line, limit] : table) {
        const LogDir log(debug(line));
        EXPECT_EQ(g_log_file_size, limit) << line;
    }
}

TEST(KvLogSettings, ReadsTheLimitForExtraction) {
    const std::vector<std::pair<std::string, uint32_t>> table = {
        {"extract_limit_size=1\n", kMebibyte},
        {"extract_limit_size=3x\n", 3 * kMebibyte},
        {"extract_limit_size=0\n", 0},
        {"extract_limit_size=4096\n", 0},
        {"extract_limit_size=4098\n", 2 * kMebibyte},
        {"extract_limit_size=abc\n", 1024 * kMebibyte},
        {"extract_limit_size=-1\n", 1024 * kMebibyte},
        {"extract_limit_size=\n", 1024 * kMebibyte},
        {"[Debug]\nextract_limit_size=1\n", 1024 * kMebibyte},
        {"", 1024 * kMebibyte},
    };
    for (const auto& [config, limit] : table) {
        const LogDir log(config);
        EXPECT_EQ(g_extract_limit_size, limit) << config;
    }
}

TEST(KvLogSettings, ToleratesNumbersBeyondAnInt) {
    const LogDir log("code_page=99999999999999999999\nextract_limit_size=99999999999999999999\n" +
                     debug("Level=99999999999999999999\nhtml=99999999999999999999\n"
                           "log_size=99999999999999999999"));
    EXPECT_STREQ(s_log_file, log.tree().path(LogDir::kText).c_str());
}

TEST(KvLogSettings, PutsTheLogUnderTheDataDirectory) {
    const LogDir log;
    EXPECT_EQ(s_log_file, log.tree().path("VC_Data/VC_Log/KvuDump.txt"));
    log.configure("[common]\nbkd_use_old_dir_organization=1\n");
    EXPECT_EQ(s_log_file, log.tree().path("VC_Log/KvuDump.txt"));
    log.configure("[common]\nbkd_use_old_dir_organization=1\n[Debug]\nhtml=1\n");
    EXPECT_EQ(s_log_file, log.tree().path("VC_Log/KvuDump.htm"));
}

TEST(KvLogSettings, NeverWritesTheConfiguration) {
    const std::string config = "  ; comment \r\n\r\n[Debug]\r\n Level = 7 \r\n";
    const LogDir log(config);
    EXPECT_EQ(log.tree().read("vccfg.ini"), config);
}
