// The dumps that the parser of a backup record logs.
#pragma once

#include <cstdint>

#include "store/KvBackupStru.h"

// Logs the common section: count, patch agent version and file.
void logRecordCommon(const backupStru& backup);

// Logs one item. The text is made no longer than what an event can carry.
void logRecordItem(uint64_t index, const backupItem& item);
