/* A patch agent of both interfaces that asks nothing of the system, so that every call that fails
 * in a run is the tool's own. It accepts everything, except the file that KV_FAULT_AGENT_STOPS
 * counts to, from 1: there it stops the run. */
#include <stdlib.h>

#include "KvPatchAgentApi.h"

static int32_t answerFile(void) {
    static unsigned long files;
    const char* const stop = getenv("KV_FAULT_AGENT_STOPS");
    ++files;
    return stop != 0 && strtoul(stop, 0, 10) == files ? CHECKFILE_ERROR : CHECKFILE_REPLACE;
}

KV_PATCH_AGENT_ENTRY PatchStartPatchFn StartPatch;
int32_t StartPatch(uint32_t classMask) {
    (void)classMask;
    return PATCH_GOON;
}

KV_PATCH_AGENT_ENTRY PatchEndPatchFn EndPatch;
int32_t EndPatch(int success) {
    (void)success;
    return PATCHAGENT_YES;
}

#define START_COMPONENT(name)                        \
    KV_PATCH_AGENT_ENTRY PatchStartComponentFn name; \
    int32_t name(const char* archive) {              \
        (void)archive;                               \
        return PATCHAGENT_YES;                       \
    }
START_COMPONENT(StartPattern)
START_COMPONENT(StartEngine)
START_COMPONENT(StartProduct)

#define END_COMPONENT(name)                                       \
    KV_PATCH_AGENT_ENTRY PatchEndComponentFn name;                \
    int32_t name(int success, uint32_t origin, uint32_t result) { \
        (void)success;                                            \
        (void)origin;                                             \
        (void)result;                                             \
        return PATCHAGENT_YES;                                    \
    }
END_COMPONENT(EndPattern)
END_COMPONENT(EndEngine)
END_COMPONENT(EndProduct)

#define GET_PATH(name)                        \
    KV_PATCH_AGENT_ENTRY PatchGetPathFn name; \
    void name(char* buffer) {                 \
        (void)buffer;                         \
    }
GET_PATH(GetPatternPath)
GET_PATH(GetEnginePath)
GET_PATH(GetProductPath)

KV_PATCH_AGENT_ENTRY PatchCheckFileFn CheckFile;
int32_t CheckFile(const char* path) {
    (void)path;
    return answerFile();
}

KV_PATCH_AGENT_ENTRY PatchIsRollbackFn IsRollback;
int32_t IsRollback(void) {
    return PATCHAGENT_YES;
}

KV_PATCH_AGENT_ENTRY PatchStartActionFn StartAction;
int32_t StartAction(void) {
    return PATCH_GOON;
}

KV_PATCH_AGENT_ENTRY PatchEndActionFn EndAction;
int32_t EndAction(void) {
    return PATCHAGENT_YES;
}

KV_PATCH_AGENT_ENTRY PatchStartItemFn StartItem;
int32_t StartItem(const char* name, uint32_t itemClass, uint32_t type, uint32_t flags,
                  struct tag_Version* origin, struct tag_Version* result) {
    (void)name;
    (void)itemClass;
    (void)type;
    (void)flags;
    (void)origin;
    (void)result;
    return PATCHAGENT_YES;
}

KV_PATCH_AGENT_ENTRY PatchEndItemFn EndItem;
int32_t EndItem(int success, struct tag_Version* origin, struct tag_Version* result) {
    (void)success;
    (void)origin;
    (void)result;
    return PATCHAGENT_YES;
}

KV_PATCH_AGENT_ENTRY PatchCheckFileExFn CheckFileEx;
int32_t CheckFileEx(const char* path) {
    (void)path;
    return answerFile();
}

KV_PATCH_AGENT_ENTRY PatchIsRollbackExFn IsRollbackEx;
int32_t IsRollbackEx(void) {
    return PATCHAGENT_YES;
}
