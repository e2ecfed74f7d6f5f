// What the tests of the rollback of all items share: an updated "app", a description of its items
// and an agent inside the test.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tests/agent/FakeAgent.h"
#include "tests/updater/ActionTest.h"
#include "tests/updater/RebootEntries.h"
#include "tests/updater/UpdatedApp.h"
#include "updater/KvRollbackAction.h"

class RollbackWithAgentTest : public ActionTest {
  protected:
    explicit RollbackWithAgentTest(int items = 1) : ActionTest(items), app(tree) {
        text.set("action", "1");
        for (int i = 0; i < items; ++i) {
            place(static_cast<size_t>(i), 3, "100", "101");
        }
        use(PATCHAGENT_NEW);
    }

    // The agent of another interface from here on.
    FakeAgent& use(uint32_t version) { return agent_.emplace(version); }
    FakeAgent& agent() { return *agent_; }

    unsigned run() {
        ReadDescription read(text);
        return rollbackWithPatchAgent(agent().table(), read.stru());
    }

    UpdatedApp app;
    RebootEntries reboots;

  private:
    std::optional<FakeAgent> agent_;
};
