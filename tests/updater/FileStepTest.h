// What the tests of the step of a single file share.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "fileop/KvFileOpUtil.h"
#include "tests/agent/FakeAgent.h"
#include "tests/support/TempTree.h"
#include "tests/updater/RebootEntries.h"
#include "updater/KvFileStep.h"
#include "updater/KvItemStep.h"

// An item 3/5 of "app", of an agent of the new interface.
class KvFileStep : public testing::Test {
  protected:
    KvFileStep() : destination_(tree.makeDir("app")) {
        item.destination = strdup(destination_.c_str());
        item.itemClass = 3;
        item.type = 5;
        g_RebootForNewFile = false;
    }
    ~KvFileStep() override {
        backupStru owner{0, static_cast<backupItem*>(malloc(sizeof item)), 1, nullptr};
        *owner.items = item;
        freeBackupStru(&owner);
    }

    // The step of "app/<name>" from "stage/<name>".
    int step(const std::string& name, uint32_t action, uint32_t phase) {
        const std::string source = tree.path("stage/" + name);
        const std::string target = tree.path("app/" + name);
        return stepTo(source.c_str(), target.c_str(), action, phase);
    }

    int stepTo(const char* source, const char* target, uint32_t action, uint32_t phase) {
        ItemContext context{&item, agent.table(), destination_.c_str(), 0, 3, 5, &names_};
        KvFileOpUtil::CallbackEntry entry{};
        entry.cbSize = sizeof entry;
        entry.userData = &context;
        entry.path = source;
        entry.destination = target;
        entry.action = action;
        entry.phase = phase;
        return callBackForUpdate(&entry);
    }

    [[nodiscard]] std::vector<std::string> added() const {
        return {item.addedList, item.addedList + item.addedCount};
    }
    [[nodiscard]] std::vector<std::string> written() const {
        return {item.writtenList, item.writtenList + item.writtenCount};
    }

    TempTree tree;
    FakeAgent agent{PATCHAGENT_NEW};
    backupItem item{};

    RebootEntries reboots;

  private:
    BackupNames names_;
    std::string destination_;
};
