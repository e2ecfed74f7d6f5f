// What the actions ask an agent of the old interface before the first file: where the items of each
// class go, and by which bits it is told what the patch holds.
#pragma once

#include "agent/KvPatchAgent.h"
#include "fileop/KvPath.h"
#include "patch/KvUpdateStru.h"

// One destination a class, as the agent left it; "" for a class without items.
struct AgentPaths {
    char pattern[kLongPathCapacity] = "";
    char engine[kLongPathCapacity] = "";
    char product[kLongPathCapacity] = "";
};

// The words in front of the path in the two messages of one question. Update and rollback differ in
// them.
struct PathQuestionWords {
    const char* before;
    const char* after;
};

struct AgentPathWords {
    PathQuestionWords pattern;
    PathQuestionWords engine;
    PathQuestionWords product;
};

// For each class that has items, pattern first, hands the destination of its first item to
// GetPatternPath, GetEnginePath or GetProductPath, which may rewrite it.
void askAgentPaths(const _PatchAgent& agent, const updateStru& description,
                   const AgentPathWords& words, AgentPaths& paths);

// The bits of all classes that the description has items of.
[[nodiscard]] unsigned classMaskOf(const updateStru& description);
