// A tree with a destination, journals written by hand, and what the settling tells.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>
#include <vector>

#include "journal/KvSettle.h"
#include "tests/support/TempTree.h"

inline constexpr time_t kOld = 1500000000;
inline constexpr time_t kNew = 1600000000;
inline constexpr time_t kOther = 1700000000;

class SettleRecorder : public SettleListener {
  public:
    void tell(const SettleEvent& event) override {
        std::string line = std::string(kNames[static_cast<int>(event.deed)]) + " " + event.path;
        line += event.reason != nullptr ? std::string(": ") + event.reason : "";
        for (size_t at = 0; (at = line.find(root)) != std::string::npos;) {
            line.erase(at, root.size() + 1);
        }
        told.push_back(line);
    }

    std::string root;
    std::vector<std::string> told;

  private:
    static constexpr const char* kNames[] = {"undo",    "finish", "live",  "no journal", "put back",
                                             "removed", "left",   "stays", "failed"};
};

class SettleTest : public testing::Test {
  protected:
    SettleTest() {
        listener.root = tree.path();
        tree.makeDir("d/VC_Backup/3");
    }

    void file(const std::string& name, const std::string& content, time_t time) const {
        tree.write(name, content);
        tree.setTime(name, time);
    }

    // A journal in the store of `d`, with its first line; paths are below the tree.
    void journal(const std::string& lines, const std::string& destination = "d", int number = 1,
                 const std::string& run = "5", const std::string& master = "") const {
        const std::string store = tree.path(destination + "/VC_Backup");
        const std::string name = destination + "/VC_Backup/VcJournal." + std::to_string(number);
        const std::string first = master.empty() ? "" : tree.path(master);
        tree.write(name, "begin\t0\tVcJournal 1\t" + run + "\t" + store + "\t" + first + "\n" +
                             rooted(lines));
        ASSERT_EQ(chmod(tree.path(name).c_str(), 0600), 0);
    }

    // With the tree's path for each '@'.
    [[nodiscard]] std::string rooted(std::string text) const {
        for (size_t at = 0; (at = text.find('@', at)) != std::string::npos;
             at += tree.path().size()) {
            text.replace(at, 1, tree.path());
        }
        return text;
    }

    // A file of five bytes that was overwritten by one of three; its saved copy is backup.000.
    void overwritten(const std::string& behind = "new\t2\t@/none\t\tmissing\t0 0 644\n") const {
        file("d/a", "new", kNew);
        file("d/VC_Backup/3/backup.000", "older", kOld);
        journal("over\t1\t@/d/a\t@/d/VC_Backup/3/backup.000\t5 1500000000 644\t3 1600000000 644\n" +
                behind);
    }

    SettleResult settle(SettleMode mode = SettleMode::kSettle) {
        const std::string path = tree.path("d");
        const char* const destination = path.c_str();
        return settleCutOffRuns(&destination, 1, mode, listener);
    }

    [[nodiscard]] bool hasJournal() const { return tree.exists("d/VC_Backup/VcJournal.1"); }
    [[nodiscard]] bool hasCopy() const { return tree.exists("d/VC_Backup/3/backup.000"); }

    TempTree tree;
    SettleRecorder listener;
};
