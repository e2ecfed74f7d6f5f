// What a scripted agent of one interface answers, as the parameter of a test.
#pragma once

#include <gtest/gtest.h>

#include <initializer_list>
#include <ostream>
#include <vector>

#include "tests/support/ScriptedAgent.h"

struct AgentRule {
    ScriptedAgent::Interface which;
    const char* rule;
};

inline void PrintTo(const AgentRule& rule, std::ostream* out) {
    *out << rule.rule;
}

// One parameter for each rule.
[[nodiscard]] inline std::vector<AgentRule> rulesOf(ScriptedAgent::Interface which,
                                                    std::initializer_list<const char*> rules) {
    std::vector<AgentRule> all;
    for (const char* const rule : rules) {
        all.push_back({which, rule});
    }
    return all;
}
[[nodiscard]] inline auto newAgent(std::initializer_list<const char*> rules) {
    return testing::ValuesIn(rulesOf(ScriptedAgent::kNew, rules));
}
[[nodiscard]] inline auto oldAgent(std::initializer_list<const char*> rules) {
    return testing::ValuesIn(rulesOf(ScriptedAgent::kOld, rules));
}
