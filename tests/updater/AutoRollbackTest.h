// The run's record that the tests of the automatic rollback undo.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "tests/agent/FakeAgent.h"
#include "tests/store/RunBackup.h"
#include "tests/support/TempTree.h"
#include "updater/KvAutoRollback.h"

// A run's record over items of "app", whose saved files are in the store.
class KvAutoRollback : public testing::Test {
  protected:
    // Begins the next item; the one before moves.
    backupItem& item(uint32_t itemClass, uint32_t type) {
        run.item(itemClass, type, "", "", tree.makeDir("app"));
        run.last().originVersion = {0x00052000, 7, 0};
        run.last().resultVersion = {0x00060000, 0, 0};
        return run.last();
    }

    // These belong to the last item.
    void added(const std::string& name) { run.added(tree.write("app/" + name, "added")); }

    void written(const std::string& saved, const std::string& name) {
        const std::string dir = "app/VC_Backup/" + std::to_string(run.last().itemClass) + "/" +
                                std::to_string(run.last().type) + "/";
        tree.write(dir + saved, "old " + name);
        tree.write("app/" + name, "new " + name);
        entry(saved + ", " + tree.path("app/" + name));
    }

    void entry(const std::string& text) { run.written(text); }

    TempTree tree;
    RunBackup run{0};
};
