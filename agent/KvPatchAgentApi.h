/* What a patch agent exports: the entry points of both interfaces, their arguments and their
 * answers. This header is for the author of an agent; it stands alone and serves C and C++.
 *
 * An agent is a shared library that a patch description names. It takes part in an update or a
 * rollback: it hears when the patch, each component or item starts and ends, may move the
 * destinations (old interface), decides about every file, and may refuse a rollback.
 *
 *     old interface, "patchagent.version=0"        new interface, "patchagent.version=1"
 *     GetPatternPath, GetEnginePath,               IsRollbackEx (rollback only)
 *         GetProductPath (if such items exist)     StartAction
 *     IsRollback                                       StartItem       for each item
 *     StartPatch                                           CheckFileEx for each file
 *         StartPattern | StartEngine |                 EndItem
 *             StartProduct   for each item         EndAction
 *             CheckFile      for each file
 *         EndPattern | EndEngine | EndProduct
 *     EndPatch
 *
 * An agent must export every entry point of its interface under exactly these names. If a single
 * one is missing none is called, and the tool behaves as if the agent accepted everything. All
 * calls come from one thread. A start call that fails is followed at once by its end call, with
 * success 0. EndPatch and EndAction are called only when every item succeeded. An exception that
 * leaves an entry point counts as its failure.
 *
 * When a run fails, what it did is undone, last item first: each item that was reached is started
 * and ended once more, with an empty name. These answers are only logged; a start that fails is
 * followed by its end with success 1, as if it had not failed, when the item has been undone. A
 * rollback is undone in the order in which it went. An item whose start was refused in a rollback
 * comes back as well: as class 0, type 0 and versions 0 in the new interface, without a call in the
 * old one. An undoing that meets a saved file whose entry it cannot use stops there: without the
 * end of that item, and without the items below it.
 *
 * All texts are NUL-terminated bytes and belong to the tool; they are valid during the call. */
#pragma once

#include <stdint.h>

/* Declares or defines an entry point so that the tool finds it:
 *     KV_PATCH_AGENT_ENTRY int32_t StartAction(void) { return PATCH_GOON; }
 * Define KV_PATCH_AGENT_OLD or KV_PATCH_AGENT_NEW before this header is included, and it declares
 * the entry points of that interface: one that is then defined with other arguments or another
 * result does not compile. */
#ifdef __cplusplus
#define KV_PATCH_AGENT_ENTRY extern "C" __attribute__((visibility("default")))
#else
#define KV_PATCH_AGENT_ENTRY __attribute__((visibility("default")))
#endif

/* A version. Products and engines: major number in the high 16 bits of `version`, minor in the low
 * 16, as four digits read in base 16 ("5.2" is 0x00052000), and a build. Patterns: one plain number
 * in `version`. */
#ifndef KV_TAG_VERSION_DECLARED
#define KV_TAG_VERSION_DECLARED
struct tag_Version {
    uint32_t version;
    uint32_t build;
    uint32_t reserved; /* always 0 */
};
#endif

/* The values of "patchagent.version". */
enum PatchAgentVersion { PATCHAGENT_OLD = 0, PATCHAGENT_NEW = 1 };

/* Answers of StartPatch and StartAction. Every other value means PATCH_GOON. */
enum PatchStartAnswer {
    PATCH_GOON = 0,
    PATCH_ERROR = 1,       /* ends the run; nothing was touched yet */
    PATCH_CLOSEPROGRAM = 2 /* the same: the protected program must be closed first */
};

/* Answers of CheckFile and CheckFileEx, in the words of an update. In a rollback CHECKFILE_REPLACE
 * deletes an added file or puts the saved one back; SKIP and REBOOT leave the file. Every other
 * value means CHECKFILE_REPLACE in an update; in a rollback the file is then handled like the one
 * before it (the first one like CHECKFILE_REPLACE). */
enum PatchFileAnswer {
    CHECKFILE_REBOOT = -2, /* an existing file is not replaced now but put on the reboot list */
    CHECKFILE_ERROR = -1,  /* ends the run; what it did so far is undone */
    CHECKFILE_SKIP = 0,    /* the file stays as it is, the run goes on */
    CHECKFILE_REPLACE = 1  /* write the file now */
};

/* Answers of the other entry points that are asked something: every non-zero value is a yes. */
enum PatchAnswer {
    PATCHAGENT_NO = 0, /* failed, or refused */
    PATCHAGENT_YES = 1 /* go on, success, agreed */
};

/* Component classes as StartItem receives them. */
enum PatchItemClass { PATCHCLASS_PRODUCT = 1, PATCHCLASS_ENGINE = 2, PATCHCLASS_PATTERN = 3 };

/* Bits of StartPatch's class mask: which classes the patch has an item of. */
enum PatchClassMask { PATCHMASK_PATTERN = 0x1, PATCHMASK_ENGINE = 0x2, PATCHMASK_PRODUCT = 0x4 };

/* Bits of StartItem's flags. A bit once set stays set for all later items of the run. */
enum PatchItemFlag {
    PATCHITEM_FORCEUPDATE = 0x1, /* update even where the versions would not require it */
    PATCHITEM_ROLLBACK = 0x2     /* the item is rolled back, not updated */
};

/* Capacity in bytes of the path buffers below, counting the NUL. */
#define PATCHAGENT_PATH_CAPACITY 4096

#ifdef __cplusplus
extern "C" {
#endif

/* The types of the entry points. In both interfaces
 *   name      is the item's archive ("item.zip"), or null when the description names none; it is
 *             "" while a failed run is undone;
 *   path      is the destination file that is about to be written; in a rollback, to be deleted
 *             or put back;
 *   success   is 1, or 0 when the patch, component or item failed; always 1 while a failed run is
 *             undone;
 *   origin, result are the versions before and after the patch: the old interface gets the first
 *             word (of patterns: 16 bits to the left, for the types 0 to 4 in the old numbering),
 *             the new one the records of the run, which are the tool's. While a failed run is
 *             undone the result comes first: the item goes back from there.
 *
 * Old interface. A PatchGetPathFn receives the destination of the first item of its class in a
 * buffer of PATCHAGENT_PATH_CAPACITY bytes and may write another path in its place. */
typedef int32_t PatchStartPatchFn(uint32_t classMask);
typedef int32_t PatchEndPatchFn(int success);
typedef int32_t PatchStartComponentFn(const char* name);
typedef int32_t PatchEndComponentFn(int success, uint32_t origin, uint32_t result);
typedef int32_t PatchCheckFileFn(const char* path);
typedef void PatchGetPathFn(char* buffer);
typedef int32_t PatchIsRollbackFn(void);

/* New interface. `itemClass` is a PatchItemClass, `flags` are PatchItemFlag bits. */
typedef int32_t PatchStartActionFn(void);
typedef int32_t PatchEndActionFn(void);
typedef int32_t PatchStartItemFn(const char* name, uint32_t itemClass, uint32_t type,
                                 uint32_t flags, struct tag_Version* origin,
                                 struct tag_Version* result);
typedef int32_t PatchEndItemFn(int success, struct tag_Version* origin, struct tag_Version* result);
typedef int32_t PatchCheckFileExFn(const char* path);
typedef int32_t PatchIsRollbackExFn(void);

#ifdef __cplusplus
}
#endif

#ifdef KV_PATCH_AGENT_OLD
KV_PATCH_AGENT_ENTRY PatchGetPathFn GetPatternPath;
KV_PATCH_AGENT_ENTRY PatchGetPathFn GetEnginePath;
KV_PATCH_AGENT_ENTRY PatchGetPathFn GetProductPath;
KV_PATCH_AGENT_ENTRY PatchIsRollbackFn IsRollback;
KV_PATCH_AGENT_ENTRY PatchStartPatchFn StartPatch;
KV_PATCH_AGENT_ENTRY PatchStartComponentFn StartPattern;
KV_PATCH_AGENT_ENTRY PatchStartComponentFn StartEngine;
KV_PATCH_AGENT_ENTRY PatchStartComponentFn StartProduct;
KV_PATCH_AGENT_ENTRY PatchCheckFileFn CheckFile;
KV_PATCH_AGENT_ENTRY PatchEndComponentFn EndPattern;
KV_PATCH_AGENT_ENTRY PatchEndComponentFn EndEngine;
KV_PATCH_AGENT_ENTRY PatchEndComponentFn EndProduct;
KV_PATCH_AGENT_ENTRY PatchEndPatchFn EndPatch;
#endif

#ifdef KV_PATCH_AGENT_NEW
KV_PATCH_AGENT_ENTRY PatchIsRollbackExFn IsRollbackEx;
KV_PATCH_AGENT_ENTRY PatchStartActionFn StartAction;
KV_PATCH_AGENT_ENTRY PatchStartItemFn StartItem;
KV_PATCH_AGENT_ENTRY PatchCheckFileExFn CheckFileEx;
KV_PATCH_AGENT_ENTRY PatchEndItemFn EndItem;
KV_PATCH_AGENT_ENTRY PatchEndActionFn EndAction;
#endif
