#include "agent/KvPatchAgent.h"

#include <dlfcn.h>

#include <cstddef>

#include "base/KvText.h"
#include "log/KvReport.h"

static_assert(sizeof(tag_Version) == 12 && offsetof(tag_Version, build) == 4,
              "agents were compiled against this layout");
static_assert(static_cast<uint32_t>(PATCHCLASS_PRODUCT) == kClassProduct &&
                  static_cast<uint32_t>(PATCHCLASS_ENGINE) == kClassEngine &&
                  static_cast<uint32_t>(PATCHCLASS_PATTERN) == kClassPattern,
              "agents receive the classes under these numbers");

namespace {

constexpr char kModule[] = "KvUpdaterStru";
constexpr size_t kReasonCapacity = 64;

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

// Fills the slots from the library and notices the first that is missing.
struct Resolve {
    void* handle;
    const char*& missing;

    template <typename Entry>
    void operator()(Entry*& slot, const char* symbol, Entry*) const {
        slot = reinterpret_cast<Entry*>(dlsym(handle, symbol));
        if (slot == nullptr && missing == nullptr) {
            missing = symbol;
        }
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

void reportNotOpened(const char* file) {
    if (*file == '\0') {
        reportCause("patchagent", "the file name is empty");
        return;
    }
    const char* words = dlerror();
    reportCause(file, words != nullptr ? words : "unknown");
}

// A patch whose agent is not used may succeed; the log is the only place to learn of it.
void reportMissing(const char* file, const char* entry) {
    char reason[kReasonCapacity];
    Snprintf(reason, sizeof reason, "entry point %s is missing", entry);
    reportCause(file, reason);
}

// Loads one interface, whose entries `visit` visits, all of them from the library or none.
template <typename Visit>
void loadInterface(const char* file, _PatchAgent& agent, Visit&& visit) {
    if (loadSharedObj(file, &agent) != kSharedObjLoaded) {
        visit(UseDefault{});
        return;
    }
    const char* missing = nullptr;
    visit(Resolve{agent.handle, missing});
    if (missing != nullptr) {
        reportMissing(file, missing);
        visit(UseDefault{});
    }
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
        reportNotOpened(file);
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
    loadInterface(file, *agent, [agent](const auto& visitor) { visitOldEntries(*agent, visitor); });
}

void loadNewPatchAgent(const char* file, _PatchAgent* agent) {
    if (agent == nullptr) {
        return;
    }
    agent->version = PATCHAGENT_NEW;
    loadInterface(file, *agent, [agent](const auto& visitor) { visitNewEntries(*agent, visitor); });
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
