// What a scripted agent of one interface answers, as the parameter of a test.
#pragma once

#include <ostream>

#include "tests/support/ScriptedAgent.h"

struct AgentRule {
    ScriptedAgent::Interface which;
    const char* rule;
};

inline void PrintTo(const AgentRule& rule, std::ostream* out) {
    *out << rule.rule;
}
