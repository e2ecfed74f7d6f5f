/* A patch agent of the new interface that does what its script says. With LACKS_<Name> defined the
 * entry point of that name is left out. */
#include "AgentScript.h"
#include "KvPatchAgentApi.h"

#ifndef LACKS_StartAction
KV_PATCH_AGENT_ENTRY PatchStartActionFn StartAction;
int32_t StartAction(void) {
    const struct AgentCall call = {"StartAction", 0, 0, 0, 0};
    return answerCall(&call, PATCH_GOON, "%s", "");
}
#endif

#ifndef LACKS_EndAction
KV_PATCH_AGENT_ENTRY PatchEndActionFn EndAction;
int32_t EndAction(void) {
    const struct AgentCall call = {"EndAction", 0, 0, 0, 0};
    return answerCall(&call, PATCHAGENT_YES, "%s", "");
}
#endif

#ifndef LACKS_StartItem
KV_PATCH_AGENT_ENTRY PatchStartItemFn StartItem;
int32_t StartItem(const char* name, uint32_t itemClass, uint32_t type, uint32_t flags,
                  struct tag_Version* origin, struct tag_Version* result) {
    const struct AgentCall call = {"StartItem", name, origin, result, 0};
    char originText[AGENT_VERSION_TEXT];
    char resultText[AGENT_VERSION_TEXT];
    return answerCall(&call, PATCHAGENT_YES, "%s, %u, %u, 0x%x, %s, %s", textOrNull(name),
                      itemClass, type, flags, versionText(origin, originText),
                      versionText(result, resultText));
}
#endif

#ifndef LACKS_EndItem
KV_PATCH_AGENT_ENTRY PatchEndItemFn EndItem;
int32_t EndItem(int success, struct tag_Version* origin, struct tag_Version* result) {
    const struct AgentCall call = {"EndItem", 0, origin, result, 0};
    char originText[AGENT_VERSION_TEXT];
    char resultText[AGENT_VERSION_TEXT];
    return answerCall(&call, PATCHAGENT_YES, "%d, %s, %s", success, versionText(origin, originText),
                      versionText(result, resultText));
}
#endif

#ifndef LACKS_CheckFileEx
KV_PATCH_AGENT_ENTRY PatchCheckFileExFn CheckFileEx;
int32_t CheckFileEx(const char* path) {
    const struct AgentCall call = {"CheckFileEx", path, 0, 0, 0};
    return answerCall(&call, CHECKFILE_REPLACE, "%s", textOrNull(path));
}
#endif

#ifndef LACKS_IsRollbackEx
KV_PATCH_AGENT_ENTRY PatchIsRollbackExFn IsRollbackEx;
int32_t IsRollbackEx(void) {
    const struct AgentCall call = {"IsRollbackEx", 0, 0, 0, 0};
    return answerCall(&call, PATCHAGENT_YES, "%s", "");
}
#endif
