// The log from the first static constructor to the last static destructor, in programs whose files
// were linked in different orders. Each is run from a directory of its own, whose configuration and
// log it must find by itself.
#include <gtest/gtest.h>

#include <filesystem>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/ChildProcess.h"
#include "tests/support/TempTree.h"

namespace {

const std::string kProbes = std::string(KV_PROBE_DIR) + "/";

struct LinkOrder {
    std::string program;
    bool strangerIsHeard;  // its static object was made after the log and goes before it
};

// How GoogleTest names a case.
void PrintTo(const LinkOrder& order, std::ostream* out) {
    *out << order.program;
}

// The records without what stands before the message: kind, date, time, process and thread.
std::string messagesOf(const std::string& log) {
    std::istringstream lines(log);
    std::string messages;
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string word;
        for (int i = 0; i < 5; ++i) {
            words >> word;
        }
        std::string message;
        if (std::getline(words >> std::ws, message)) {
            messages += "\n" + message;
        }
    }
    return messages;
}

class KvLogStartup : public testing::TestWithParam<LinkOrder> {
  protected:
    // Runs the program in the tree and returns its messages, one a line.
    std::string run(const std::string& config) {
        (void)tree_.write("vccfg.ini", config);
        const std::string program = tree_.path("program");
        std::filesystem::copy_file(kProbes + GetParam().program, program);
        const ChildResult result = runChild({program, {}, "/"});
        EXPECT_EQ(result.exitCode, 0) << result.err;
        output_ = result.out;
        return tree_.exists(log_) ? messagesOf(tree_.read(log_)) : "";
    }

    [[nodiscard]] std::string expected() const {
        std::string text = "\nfrom a static constructor";
        text += GetParam().strangerIsHeard ? "\nfrom a stranger's constructor" : "";
        text += "\nfrom main";
        text += GetParam().strangerIsHeard ? "\nfrom a stranger's destructor" : "";
        return text + "\nfrom a static destructor";
    }

    TempTree tree_;
    std::string log_ = "VC_Data/VC_Log/KvuDump.txt";
    std::string output_;
};

INSTANTIATE_TEST_SUITE_P(LinkedInAnyOrder, KvLogStartup,
                         testing::Values(LinkOrder{"startup_reporter_first", true},
                                         LinkOrder{"startup_reporter_last", true},
                                         LinkOrder{"startup_stranger_first", false},
                                         LinkOrder{"startup_library_backwards", false}),
                         [](const auto& order) { return order.param.program; });

}  // namespace

TEST_P(KvLogStartup, FindsItsPlaceBesideTheProgram) {
    EXPECT_EQ(run(""), expected());
}

TEST_P(KvLogStartup, FindsItsSettingsBesideTheProgram) {
    log_ = "VC_Log/KvuDump.txt";
    EXPECT_EQ(run("[common]\nbkd_use_old_dir_organization=1\n"), expected());
    EXPECT_FALSE(tree_.exists("VC_Data"));
}

TEST_P(KvLogStartup, CanBeSilent) {
    EXPECT_EQ(run("[Debug]\nLevel=7\n"), "");
    EXPECT_FALSE(tree_.exists("VC_Data"));
}

TEST_P(KvLogStartup, FillsTheContext) {
    const std::string place = tree_.path() + "/";
    (void)run("[Debug]\nLevel=7\n");
    EXPECT_EQ(output_, place + " " + place + " " + place + "VC_Data\n");
    std::filesystem::remove(tree_.path("program"));
    (void)run("[Debug]\nLevel=7\n[common]\nbkd_use_old_dir_organization=1\n");
    EXPECT_EQ(output_, place + " " + place + " " + place + "\n");
}

#ifdef KV_HAS_WRAPPED_PROBES

TEST(KvLogStartupWithoutModule, TakesTheWorkingDirectory) {
    const TempTree tree;
    const std::string place = std::filesystem::canonical(tree.path()).string();
    const ChildResult result = runChild({kProbes + "startup_no_module", {}, tree.path()});
    EXPECT_EQ(result.out, place + " " + place + " " + place + "/VC_Data\n") << result.err;
    EXPECT_TRUE(tree.exists("VC_Data/VC_Log/KvuDump.txt"));
}

TEST(KvLogStartupWithoutModule, TakesADotWhereTheWorkingDirectoryIsGone) {
    const TempTree tree;
    const std::string command = "rmdir \"$PWD\" && exec " + kProbes + "startup_no_module";
    const ChildResult result = runChild({"/bin/sh", {"-c", command}, tree.makeDir("gone")});
    EXPECT_EQ(result.out, "./ ./ ./VC_Data\n") << result.err;
}

TEST(KvLogStartupWithoutModule, TakesADotWhereTheWorkingDirectorysNameIsTooLong) {
    const TempTree tree;
    std::string deep = "d";
    while (deep.size() < 1100) {
        deep += "/" + std::string(200, 'd');
    }
    const ChildResult result = runChild({kProbes + "startup_no_module", {}, tree.makeDir(deep)});
    EXPECT_EQ(result.out, "./ ./ ./VC_Data\n") << result.err;
    EXPECT_TRUE(tree.exists(deep + "/VC_Data/VC_Log/KvuDump.txt"));
}

TEST(LogCost, ALongMessageTakesOneOpenOneWriteAndOneClose) {
    const TempTree tree;
    const ChildResult result = runChild({kProbes + "log_cost_probe", {tree.path()}});
    EXPECT_EQ(result.out, "1 open, 1 write, 1 close\n") << result.err;
}

#endif
