// What the tests of the update action share.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/KvText.h"
#include "tests/updater/ActionTest.h"
#include "updater/KvUpdateAction.h"

// One pattern item of "app" with one new file, without a backup, unless a test says more.
class KvUpdateAction : public ActionTest {
  protected:
    explicit KvUpdateAction(int items = 1) : ActionTest(items) {
        Strncpy(g_VCTempPath, tree.makeDir("stage").c_str(), sizeof g_VCTempPath);
        text.set("backup", "0");
        place(0, 3, "100", "101");
        tree.write("stage/3/5/a.dat", "new");
        tree.makeDir("app");
    }

    unsigned run() { return runAction(update); }

    [[nodiscard]] std::string copying(int itemClass = 3) const {
        return "xcopy from: " + tree.path("stage/" + std::to_string(itemClass) + "/5/*") +
               " to: " + tree.path("app");
    }

    [[nodiscard]] std::string file() const { return tree.path("app/a.dat"); }

    // What a run with an agent of the new interface logs up to its copy, and these behind it.
    [[nodiscard]] std::vector<std::string> upToTheCopy(
        const std::vector<std::string>& behind) const {
        std::vector<std::string> all = {
            "Inf 6 update: update with new patch agent.",
            "Inf 6 Call PatchAgent StartAction with: void.",
            "Inf 6 Call PatchAgent StartItem with: 0.zip, 3, 0x5, 0x0, 100, 101"};
        all.insert(all.end(), behind.begin(), behind.end());
        return all;
    }
};

// What a run logs behind the messages `before` of its failure.
inline std::vector<std::string> withRollback(std::vector<std::string> before,
                                             const std::vector<std::string>& undoing) {
    before.push_back("Inf 6 updateWithPatchAgent: auto rollback.");
    before.insert(before.end(), undoing.begin(), undoing.end());
    before.push_back("Inf 6 updateWithPatchAgent: auto rollback done.");
    before.push_back("Inf 6 updateWithPatchAgent: error quit.");
    before.push_back("Err 6 update: updateWithPatchAgent failed.");
    return before;
}
