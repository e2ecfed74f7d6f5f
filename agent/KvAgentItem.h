// The single calls to a patch agent that begin and end an item, each with the message that goes
// before it. When they are made, and what an answer leads to, is the callers' affair: the item
// steps of an action and the automatic rollback.
#pragma once

#include "agent/KvPatchAgent.h"
#include "base/KvVersion.h"

// What the agent is told as the item's name, which may be null, and what the log shows for it.
struct AgentItemName {
    const char* told;
    const char* shown;
};

// One side of an item's way: from which version to which. The records are the caller's; an agent of
// the new interface gets their addresses and may write through them.
struct AgentItemVersions {
    tag_Version* from;
    tag_Version* to;
};

// The same as the log shows it, taken when the object is made.
struct AgentItemVersionTexts {
    AgentItemVersionTexts(unsigned itemClass, const AgentItemVersions& versions);

    char from[256];
    char to[256];
};

// The new interface; both return the agent's answer.
[[nodiscard]] int startNewItem(const _PatchAgent& agent, const AgentItemName& name,
                               unsigned itemClass, unsigned type, unsigned flags,
                               const AgentItemVersions& versions,
                               const AgentItemVersionTexts& texts);
[[nodiscard]] int endNewItem(const _PatchAgent& agent, int success,
                             const AgentItemVersions& versions, const AgentItemVersionTexts& texts);

// The old interface, which has entry points for each component class. They leave the agent's answer
// in `answer`; for any other class they are silent, return false and leave `answer` alone.
[[nodiscard]] bool startOldItem(const _PatchAgent& agent, const AgentItemName& name,
                                unsigned itemClass, int& answer);
[[nodiscard]] bool endOldItem(const _PatchAgent& agent, int success, unsigned itemClass,
                              unsigned type, const AgentItemVersions& versions, int& answer);

// The number by which the old interface's agents know a pattern version: its first word, for types
// 0 to 4 in the old three-digit numbering, in the high 16 bits.
[[nodiscard]] unsigned patternNumberForAgent(unsigned type, unsigned version);
