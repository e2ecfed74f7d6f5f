#include "tests/agent/PatchAgentApiAsC.h"

#include "agent/KvPatchAgentApi.h"

/* One of each type, as an agent would declare them: this alone must compile. */
struct OneOfEachType {
    PatchStartPatchFn* startPatch;
    PatchEndPatchFn* endPatch;
    PatchStartComponentFn* startComponent;
    PatchEndComponentFn* endComponent;
    PatchCheckFileFn* checkFile;
    PatchGetPathFn* getPath;
    PatchIsRollbackFn* isRollback;
    PatchStartActionFn* startAction;
    PatchEndActionFn* endAction;
    PatchStartItemFn* startItem;
    PatchEndItemFn* endItem;
    PatchCheckFileExFn* checkFileEx;
    PatchIsRollbackExFn* isRollbackEx;
};

const struct ApiNumber apiNumbersInC[] = {
    {"types", (long)(sizeof(struct OneOfEachType) / sizeof(PatchStartPatchFn*))},
    {"version record", (long)sizeof(struct tag_Version)},
    {"version", (long)offsetof(struct tag_Version, version)},
    {"build", (long)offsetof(struct tag_Version, build)},
    {"reserved", (long)offsetof(struct tag_Version, reserved)},
    {"old", PATCHAGENT_OLD},
    {"new", PATCHAGENT_NEW},
    {"go on", PATCH_GOON},
    {"error", PATCH_ERROR},
    {"close program", PATCH_CLOSEPROGRAM},
    {"reboot", CHECKFILE_REBOOT},
    {"file error", CHECKFILE_ERROR},
    {"skip", CHECKFILE_SKIP},
    {"replace", CHECKFILE_REPLACE},
    {"no", PATCHAGENT_NO},
    {"yes", PATCHAGENT_YES},
    {"product", PATCHCLASS_PRODUCT},
    {"engine", PATCHCLASS_ENGINE},
    {"pattern", PATCHCLASS_PATTERN},
    {"pattern bit", PATCHMASK_PATTERN},
    {"engine bit", PATCHMASK_ENGINE},
    {"product bit", PATCHMASK_PRODUCT},
    {"force update", PATCHITEM_FORCEUPDATE},
    {"rollback", PATCHITEM_ROLLBACK},
    {"path capacity", PATCHAGENT_PATH_CAPACITY},
    {NULL, 0},
};
