// Action 1 of the patch description: the rollback of an earlier update on request.
#pragma once

#include "agent/KvPatchAgent.h"
#include "patch/KvUpdateStru.h"
#include "updater/KvRunStatus.h"

class KvIniUtil;

// Reads the patch description `document`, loads its agent, asks an agent of the new interface for
// its consent and rolls all items back. Returns the run status (updater/KvRunStatus.h).
[[nodiscard]] VcRunStatus rollback(KvIniUtil* document);

// Restores the items of the description, last item first, bracketed by the agent's calls. When an
// item fails, what this rollback has changed so far is undone. Returns the run status: 0, or why it
// stopped; the reboot list is the caller's business. A null argument gives kStatusNothingToRollBack
// (5), as a description without items does. Without memory for what the undoing of an item would
// need the item is not begun: kStatusOutOfMemory (48).
[[nodiscard]] unsigned rollbackWithPatchAgent(_PatchAgent* agent, updateStru* description);
