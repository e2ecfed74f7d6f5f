// What the result of one item's rollback means for the run.
#pragma once

// The run status (updater/KvRunStatus.h) for what `rollbackItem` returned, any number; one that is
// not kStatusSuccess is logged with its reason.
[[nodiscard]] unsigned statusOfItem(int result);
