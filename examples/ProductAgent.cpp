// The patch agent of a small product: it keeps the user's settings, and lets no update through
// that brings a file its checks do not like.
#include <cstring>

#include "KvPatchAgentApi.h"

namespace {

// The last name of a path.
const char* nameOf(const char* path) {
    const char* slash = std::strrchr(path, '/');
    return slash != nullptr ? slash + 1 : path;
}

}  // namespace

KV_PATCH_AGENT_ENTRY int32_t IsRollbackEx(void) {
    return PATCHAGENT_YES;
}

KV_PATCH_AGENT_ENTRY int32_t StartAction(void) {
    return PATCH_GOON;
}

KV_PATCH_AGENT_ENTRY int32_t StartItem(const char* /*name*/, uint32_t /*itemClass*/,
                                       uint32_t /*type*/, uint32_t /*flags*/,
                                       tag_Version* /*origin*/, tag_Version* /*result*/) {
    return PATCHAGENT_YES;
}

KV_PATCH_AGENT_ENTRY int32_t CheckFileEx(const char* path) {
    const char* name = nameOf(path);
    if (std::strcmp(name, "settings.conf") == 0) {
        return CHECKFILE_SKIP;  // the user's own
    }
    if (std::strcmp(name, "unsigned.bin") == 0) {
        return CHECKFILE_ERROR;  // a product would check a signature here
    }
    return CHECKFILE_REPLACE;
}

KV_PATCH_AGENT_ENTRY int32_t EndItem(int /*success*/, tag_Version* /*origin*/,
                                     tag_Version* /*result*/) {
    return PATCHAGENT_YES;
}

KV_PATCH_AGENT_ENTRY int32_t EndAction(void) {
    return PATCHAGENT_YES;
}
