// _PatchAgent: the entry points through which a run talks to its patch agent, and their loader.
//
// Loading always ends with a usable table. When the patch names no agent, when the library cannot
// be opened, or when it lacks a single entry point of its interface, the built-in defaults stand in
// for the whole interface; they accept everything. Why a named agent is not used is reported as a
// cause.
#pragma once

#include <cstdint>

#include "agent/KvPatchAgentApi.h"
#include "base/KvVersion.h"

// Only the entry points of the loaded interface are set; the others are null and never called.
// The types, and what each answer means, stand in agent/KvPatchAgentApi.h.
struct _PatchAgent {
    // Old interface.
    PatchStartPatchFn* StartPatch;
    PatchEndPatchFn* EndPatch;
    PatchStartComponentFn* StartPattern;
    PatchEndComponentFn* EndPattern;
    PatchStartComponentFn* StartEngine;
    PatchEndComponentFn* EndEngine;
    PatchStartComponentFn* StartProduct;
    PatchEndComponentFn* EndProduct;
    PatchCheckFileFn* CheckFile;
    PatchGetPathFn* GetPatternPath;
    PatchGetPathFn* GetEnginePath;
    PatchGetPathFn* GetProductPath;
    PatchIsRollbackFn* IsRollback;
    // New interface.
    PatchStartActionFn* StartAction;
    PatchEndActionFn* EndAction;
    PatchStartItemFn* StartItem;
    PatchEndItemFn* EndItem;
    PatchCheckFileExFn* CheckFileEx;
    PatchIsRollbackExFn* IsRollbackEx;

    void* handle;      // of the open library; null when none was opened
    uint32_t version;  // a PatchAgentVersion
};

enum LoadSharedObjResult : int {
    kSharedObjNotLoaded = 0,
    kSharedObjLoaded = 1,
};

// Clears all entry points and opens the library `file`, a path or a name that the platform's loader
// searches for. kSharedObjLoaded: `agent->handle` is the library. kSharedObjNotLoaded: the handle
// is null and the reason is logged. A null `file` names no agent; an empty one cannot be opened.
// A null `agent` loads nothing. Whatever the table held before is not closed.
[[nodiscard]] int loadSharedObj(const char* file, _PatchAgent* agent);

// Load the library and fill the table for one interface, from the library or with the defaults. A
// library that turned out incomplete stays open until the table is unloaded.
void loadOldPatchAgent(const char* file, _PatchAgent* agent);
void loadNewPatchAgent(const char* file, _PatchAgent* agent);

// Closes the library, if there is one, and clears all entry points. Handle and version keep their
// values, so call it once for each load. Null is allowed.
void unloadPatchAgent(_PatchAgent* agent);

// The built-in defaults: they look at no argument. Starts of patch and action answer 0 (go on),
// files are replaced, everything else answers 1; paths stay as they are.
PatchStartPatchFn lStartPatch;
PatchEndPatchFn lEndPatch;
PatchStartComponentFn lStartPattern;
PatchEndComponentFn lEndPattern;
PatchStartComponentFn lStartEngine;
PatchEndComponentFn lEndEngine;
PatchStartComponentFn lStartProduct;
PatchEndComponentFn lEndProduct;
PatchCheckFileFn lCheckFile;
PatchGetPathFn lGetPatternPath;
PatchGetPathFn lGetEnginePath;
PatchGetPathFn lGetProductPath;
PatchIsRollbackFn lIsRollback;
PatchStartActionFn lStartAction;
PatchEndActionFn lEndAction;
PatchStartItemFn lStartItem;
PatchEndItemFn lEndItem;
PatchCheckFileExFn lCheckFileEx;
PatchIsRollbackExFn lIsRollbackEx;

// Takes anything and does nothing: it marks arguments as unused on purpose.
void intended_unused_variables(...);
