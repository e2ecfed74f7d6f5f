// What the tests of the actions share: a description of items of "app", a real patch agent for it
// when a test wants one, and what is logged from the level of ordinary messages on.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "ini/KvIniUtil.h"
#include "tests/patch/DescriptionText.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ScriptedAgent.h"
#include "tests/support/TempTree.h"
#include "tests/updater/RunGlobals.h"

class ActionTest : public testing::Test {
  protected:
    explicit ActionTest(int items) : text(items) {}

    // Item `index`: type 5, of "app".
    void place(size_t index, int itemClass, const char* origin, const char* result) {
        text.setItem(index, "class", std::to_string(itemClass))
            .setItem(index, "type", "5")
            .setItem(index, "origin.version", origin)
            .setItem(index, "result.version", result)
            .setItem(index, "destination", tree.path("app"))
            .setItem(index, "item.zip", std::to_string(index) + ".zip");
    }

    ScriptedAgent& load(ScriptedAgent::Interface which) {
        agent_ = std::make_unique<ScriptedAgent>(tree, which);
        text.set("patchagent", agent_->path());
        text.set("patchagent.version", which == ScriptedAgent::kNew ? "1" : "0");
        return *agent_;
    }

    // Runs the action on the description; the result is the run status.
    template <typename Status>
    unsigned runAction(Status (*action)(KvIniUtil*)) {
        KvIniUtil document(text.text().c_str(), ';', false, true, '=');
        return action(&document);
    }

  private:
    RunGlobals globals_;

  protected:
    TempTree tree;
    DescriptionText text;
    LogCapture log{6};

  private:
    std::unique_ptr<ScriptedAgent> agent_;
};
