// A patch agent in a directory of a test: a real shared library that notes every call and answers
// as the test says. What a script may say stands in tests/agents/AgentScript.h.
//
//     ScriptedAgent agent(tree, ScriptedAgent::kNew);
//     agent.script("CheckFileEx *.dat = -1");
//     ... run with agent.path() ...
//     EXPECT_THAT(agent.calls(), Contains("CheckFileEx(/app/a.dat)"));
#pragma once

#include <string>
#include <vector>

#include "tests/support/TempTree.h"

class ScriptedAgent {
  public:
    enum Interface { kOld, kNew };

    // Puts a copy of the library at `name` (with the platform's suffix) in the tree. With
    // `lacking`, the copy of the one without that entry point.
    ScriptedAgent(const TempTree& tree, Interface which, const std::string& name = "agent",
                  const std::string& lacking = "");

    // Of the library, absolute.
    [[nodiscard]] const std::string& path() const { return path_; }

    // Adds a rule, or several on lines of their own, behind those it has.
    void script(const std::string& rules) const;
    // Drops all rules: every call is accepted again.
    void forgetScript() const;

    // What was called so far, "Name(arg, arg, ...)" each, in order.
    [[nodiscard]] std::vector<std::string> calls() const;
    void forgetCalls() const;

    // The names of the entry points of an interface.
    [[nodiscard]] static std::vector<std::string> entries(Interface which);

    // Where the libraries that are copied were built.
    [[nodiscard]] static std::string libraryDir();
    // ".so" or the like.
    [[nodiscard]] static std::string librarySuffix();

  private:
    std::string path_;
};
