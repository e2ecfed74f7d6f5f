// The decision about each single file of an update: asked of the patch agent before the file is
// written, and recorded so that a rollback can undo it.
//
// What is on the disk after each step of one file:
//   1. a new file:       asked; announced; written by the copy; recorded as added
//   2. an existing file: asked; its content saved whole in the backup store; recorded as
//                        overwritten; overwritten by the copy
// A failure before the record leaves the destination untouched. A file that nobody may read counts
// as a new one that is not announced.
#pragma once

#include "fileop/KvFileOpUtil.h"

// The answer that stops the copy because the agent reported an error; the copy returns it.
constexpr int kUserCancel = 1;

// The callback of the tree copy; `entry->userData` is the ItemContext of the item. Go on, skip the
// file, or stop with kUserCancel or, when the old file could not be saved or recorded, with
// KvFileOpUtil::kDestinationNotWritable. Without an entry, a context, or the context's agent table,
// backup item or names: kBadParameters. A file without a destination is not asked about and cannot
// be recorded.
[[nodiscard]] int callBackForUpdate(KvFileOpUtil::CallbackEntry* entry);
