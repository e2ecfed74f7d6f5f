/* A library that calls a function which exists nowhere: it can be opened as long as nobody insists
 * on having all its functions found at once. */
#include "KvPatchAgentApi.h"

int32_t existsNowhere(void);

KV_PATCH_AGENT_ENTRY PatchStartActionFn StartAction;
int32_t StartAction(void) {
    return existsNowhere();
}
