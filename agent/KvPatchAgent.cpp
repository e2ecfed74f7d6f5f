#include "agent/KvPatchAgent.h"

#include <dlfcn.h>

#include <cstddef>

#include "log/KvReport.h"

static_assert(sizeof(tag_Version) == 12 && offsetof(tag_Version, build) == 4,
              "agents were compiled against this layout");
static_assert(static_cast<uint32_t>(PATCHCLASS_PRODUCT) == kClassProduct &&
                  static_cast<uint32_t>(PATCHCLASS_ENGINE) == kClassEngine &&
                  static_cast<uint32_t>(PATCHCLASS_PATTERN) == kClassPattern,
              "agents receive the classes under these numbers");

namespace {

constexpr char kModule[] = "KvUpdaterStru";

// The one list of each interface: `visit(slot, symbol, fallback)` for every entry point.
template <typename Visitor>
void visitOldEntries(_PatchAgent& agent, Visitor&& visit) {
    visit(agent.StartPatch, "StartPatch", lStartPatch);
    visit(agent.EndPatch, "EndPatch", lEndPatch);
    visit(agent.StartPattern, "StartPattern", lStartPattern);
    visit(agent.EndPattern, "EndPattern", lEndPattern);
    visit(agent.StartEngine, "StartEngine", lStartEngine);
    visit(agent.EndEngine, "EndEngine", lEndEngine);
    visit(agent.StartProduct, "StartProduct", lStartProduct);
    visit(agent.EndProduct, "EndProduct", lEndProduct);
    visit(agent.CheckFile, "CheckFile", lCheckFile);
    visit(agent.GetPatternPath, "GetPatternPath", lGetPatternPath);
    visit(agent.GetEnginePath, "GetEnginePath", lGetEnginePath);
    visit(agent.GetProductPath, "GetProductPath", lGetProductPath);
    visit(agent.IsRollback, "IsRollback", lIsRollback);
}

template <typename Visitor>
void visitNewEntries(_PatchAgent& agent, Visitor&& visit) {
    visit(agent.StartAction, "StartAction", lStartAction);
    visit(agent.EndAction, "EndAction", lEndAction);
    visit(agent.StartItem, "StartItem", lStartItem);
    visit(agent.EndItem, "EndItem", lEndItem);
    visit(agent.CheckFileEx, "CheckFileEx", lCheckFileEx);
    visit(agent.IsRollbackEx, "IsRollbackEx", lIsRollbackEx);
}

struct Clear {
    template <typename Entry>
    void operator()(Entry*& slot, const char*, Entry*) const {
        slot = nullptr;
    }
};

struct UseDefault {
    template <typename Entry>
    void operator()(Entry*& slot, const char*, Entry* fallback) const {
        slot = fallback;
    }
};

// Fills the slots from the library and notices whether one is missing.
struct Resolve {
    void* handle;
    bool& isComplete;

    template <typename Entry>
    void operator()(Entry*& slot, const char* symbol, Entry*) const {
        slot = reinterpret_cast<Entry*>(dlsym(handle, symbol));
        isComplete = isComplete && slot != nullptr;
    }
};

void clearEntries(_PatchAgent& agent) {
    visitOldEntries(agent, Clear{});
    visitNewEntries(agent, Clear{});
}

// An empty name means the program itself to some platforms' loaders; it is never an agent.
void* openLibrary(const char* file) {
    return *file != '\0' ? dlopen(file, RTLD_LAZY) : nullptr;
}

}  // namespace

int loadSharedObj(const char* file, _PatchAgent* agent) {
    if (agent == nullptr) {
        return kSharedObjNotLoaded;
    }
    clearEntries(*agent);
    agent->handle = nullptr;
    if (file == nullptr) {
        KV_INFO(kLevelProgress, "No patchagent. Use default patchagent inside VC");
        return kSharedObjNotLoaded;
    }
    agent->handle = openLibrary(file);
    if (agent->handle == nullptr) {
        KV_ERROR(kLevelProgress, "load patchagent: %s failed.", file);
        return kSharedObjNotLoaded;
    }
    return kSharedObjLoaded;
}

void loadOldPatchAgent(const char* file, _PatchAgent* agent) {
    if (agent == nullptr) {
        return;
    }
    agent->version = PATCHAGENT_OLD;
    bool isComplete = loadSharedObj(file, agent) == kSharedObjLoaded;
    if (isComplete) {
        visitOldEntries(*agent, Resolve{agent->handle, isComplete});
    }
    if (!isComplete) {
        visitOldEntries(*agent, UseDefault{});
    }
}

void loadNewPatchAgent(const char* file, _PatchAgent* agent) {
    if (agent == nullptr) {
        return;
    }
    agent->version = PATCHAGENT_NEW;
    bool isComplete = loadSharedObj(file, agent) == kSharedObjLoaded;
    if (isComplete) {
        visitNewEntries(*agent, Resolve{agent->handle, isComplete});
    }
    if (!isComplete) {
        visitNewEntries(*agent, UseDefault{});
    }
}

void unloadPatchAgent(_PatchAgent* agent) {
    if (agent == nullptr) {
        return;
    }
    if (agent->handle != nullptr) {
        // A library that does not go leaves nothing that the run could still do.
        (void)dlclose(agent->handle);
    }
    clearEntries(*agent);
}
