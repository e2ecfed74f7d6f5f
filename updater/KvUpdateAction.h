// Action 0 of the patch description: the update.
#pragma once

class KvIniUtil;

// Copies the staged files of every item into the item's destination under the control of the patch
// agent, records what was replaced and added in the backup store, and undoes everything when a step
// fails. `document` is the patch description. Returns the run status (updater/KvRunStatus.h).
[[nodiscard]] unsigned update(KvIniUtil* document);
