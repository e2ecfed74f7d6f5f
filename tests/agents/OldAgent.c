/* A patch agent of the old interface that does what its script says. With LACKS_<Name> defined the
 * entry point of that name is left out. */
#include "AgentScript.h"
#include "KvPatchAgentApi.h"

static int32_t startComponent(const char* entry, const char* name) {
    const struct AgentCall call = {entry, name, 0, 0, 0};
    return answerCall(&call, PATCHAGENT_YES, "%s", textOrNull(name));
}

static int32_t endComponent(const char* entry, int success, uint32_t origin, uint32_t result) {
    const struct AgentCall call = {entry, 0, 0, 0, 0};
    return answerCall(&call, PATCHAGENT_YES, "%d, 0x%x, 0x%x", success, origin, result);
}

static void getPath(const char* entry, char* buffer) {
    const struct AgentCall call = {entry, buffer, 0, 0, buffer};
    (void)answerCall(&call, 0, "%s", buffer);
}

#ifndef LACKS_StartPatch
KV_PATCH_AGENT_ENTRY PatchStartPatchFn StartPatch;
int32_t StartPatch(uint32_t classMask) {
    const struct AgentCall call = {"StartPatch", 0, 0, 0, 0};
    return answerCall(&call, PATCH_GOON, "0x%x", classMask);
}
#endif

#ifndef LACKS_EndPatch
KV_PATCH_AGENT_ENTRY PatchEndPatchFn EndPatch;
int32_t EndPatch(int success) {
    const struct AgentCall call = {"EndPatch", 0, 0, 0, 0};
    return answerCall(&call, PATCHAGENT_YES, "%d", success);
}
#endif

#ifndef LACKS_StartPattern
KV_PATCH_AGENT_ENTRY PatchStartComponentFn StartPattern;
int32_t StartPattern(const char* name) {
    return startComponent("StartPattern", name);
}
#endif

#ifndef LACKS_EndPattern
KV_PATCH_AGENT_ENTRY PatchEndComponentFn EndPattern;
int32_t EndPattern(int success, uint32_t origin, uint32_t result) {
    return endComponent("EndPattern", success, origin, result);
}
#endif

#ifndef LACKS_StartEngine
KV_PATCH_AGENT_ENTRY PatchStartComponentFn StartEngine;
int32_t StartEngine(const char* name) {
    return startComponent("StartEngine", name);
}
#endif

#ifndef LACKS_EndEngine
KV_PATCH_AGENT_ENTRY PatchEndComponentFn EndEngine;
int32_t EndEngine(int success, uint32_t origin, uint32_t result) {
    return endComponent("EndEngine", success, origin, result);
}
#endif

#ifndef LACKS_StartProduct
KV_PATCH_AGENT_ENTRY PatchStartComponentFn StartProduct;
int32_t StartProduct(const char* name) {
    return startComponent("StartProduct", name);
}
#endif

#ifndef LACKS_EndProduct
KV_PATCH_AGENT_ENTRY PatchEndComponentFn EndProduct;
int32_t EndProduct(int success, uint32_t origin, uint32_t result) {
    return endComponent("EndProduct", success, origin, result);
}
#endif

#ifndef LACKS_CheckFile
KV_PATCH_AGENT_ENTRY PatchCheckFileFn CheckFile;
int32_t CheckFile(const char* path) {
    const struct AgentCall call = {"CheckFile", path, 0, 0, 0};
    return answerCall(&call, CHECKFILE_REPLACE, "%s", textOrNull(path));
}
#endif

#ifndef LACKS_GetPatternPath
KV_PATCH_AGENT_ENTRY PatchGetPathFn GetPatternPath;
void GetPatternPath(char* buffer) {
    getPath("GetPatternPath", buffer);
}
#endif

#ifndef LACKS_GetEnginePath
KV_PATCH_AGENT_ENTRY PatchGetPathFn GetEnginePath;
void GetEnginePath(char* buffer) {
    getPath("GetEnginePath", buffer);
}
#endif

#ifndef LACKS_GetProductPath
KV_PATCH_AGENT_ENTRY PatchGetPathFn GetProductPath;
void GetProductPath(char* buffer) {
    getPath("GetProductPath", buffer);
}
#endif

#ifndef LACKS_IsRollback
KV_PATCH_AGENT_ENTRY PatchIsRollbackFn IsRollback;
int32_t IsRollback(void) {
    const struct AgentCall call = {"IsRollback", 0, 0, 0, 0};
    return answerCall(&call, PATCHAGENT_YES, "%s", "");
}
#endif
