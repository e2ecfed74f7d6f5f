// The run's record that the tests of the automatic rollback undo.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "tests/support/TempTree.h"
#include "tests/updater/FakeAgent.h"
#include "updater/KvAutoRollback.h"

// A run's record over items of "app", whose saved files are in the store.
class AutoRollback : public testing::Test {
  protected:
    ~AutoRollback() override {
        run.itemCount = count;
        freeBackupStru(&run);
    }

    backupItem& item(uint32_t itemClass, uint32_t type) {
        run.items = static_cast<backupItem*>(realloc(run.items, (count + 1) * sizeof(backupItem)));
        backupItem& added = run.items[count];
        added = backupItem{};
        run.itemCount = ++count;
        added.itemClass = itemClass;
        added.type = type;
        added.originVersion = {0x00052000, 7, 0};
        added.resultVersion = {0x00060000, 0, 0};
        added.destination = strdup(tree.makeDir("app").c_str());
        return added;
    }

    void added(backupItem& item, const std::string& name) const {
        tree.write("app/" + name, "added");
        ASSERT_TRUE(appendAddedFile(&item, strdup(tree.path("app/" + name).c_str())));
    }

    void written(backupItem& item, const std::string& saved, const std::string& name) const {
        const std::string dir = "app/VC_Backup/" + std::to_string(item.itemClass) + "/" +
                                std::to_string(item.type) + "/";
        tree.write(dir + saved, "old " + name);
        tree.write("app/" + name, "new " + name);
        entry(item, saved + ", " + tree.path("app/" + name));
    }

    static void entry(backupItem& item, const std::string& text) {
        ASSERT_TRUE(appendWrittenFile(&item, strdup(text.c_str())));
    }

    TempTree tree;
    backupStru run{};
    uint64_t count = 0;
};
