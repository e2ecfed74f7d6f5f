// What an action holds while it runs; everything is released when the scope ends.
#pragma once

#include "agent/KvPatchAgent.h"
#include "base/KvScoped.h"
#include "patch/KvUpdateStru.h"

// The loaded patch agent and the parsed patch description, which is released first.
struct ActionScope {
    Owned<_PatchAgent, unloadPatchAgent> agent;
    OwnedUpdateStru description;
};
