// What the tests of one item's rollback share: an updated "app", whose item 3/5 is rolled back, and
// the record of the rollback itself.
#pragma once

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "tests/agent/FakeAgent.h"
#include "tests/store/RunBackup.h"
#include "tests/support/TempTree.h"
#include "tests/updater/RebootEntries.h"
#include "tests/updater/UpdatedApp.h"
#include "updater/KvRollbackItem.h"

class RollbackItemTest : public testing::Test {
  protected:
    RollbackItemTest() : app(tree), own_(1) {
        own_.item(3, 5, "100", "101", app.path());
        use(PATCHAGENT_NEW);
    }

    // The agent of another interface from here on.
    FakeAgent& use(uint32_t version) { return agent_.emplace(version); }
    FakeAgent& agent() { return *agent_; }

    // What the agent says about a file of "app", whatever its interface.
    void answer(const std::string& name, int answer) {
        agent().fileAnswers["CheckFile(" + app.path(name) + ")"] = answer;
        agent().fileAnswers["CheckFileEx(" + app.path(name) + ")"] = answer;
    }

    int run() { return runAt(app.path().c_str()); }
    int runAt(const char* destination) {
        ItemContext context{&own(), agent().table(), destination, 0, 3, 5, &names_};
        return rollbackItem(&context);
    }

    // The rollback's own record, and its entries.
    backupItem& own() { return own_.last(); }
    std::vector<std::string> recorded() {
        return {own().writtenList, own().writtenList + own().writtenCount};
    }

    [[nodiscard]] std::string inStore(const std::string& copy) const {
        return app.path(app.store() + copy);
    }

    TempTree tree;
    UpdatedApp app;
    RebootEntries reboots;

  private:
    BackupNames names_;
    RunBackup own_;
    std::optional<FakeAgent> agent_;
};
