// Reading one item section of a backup record.
#pragma once

#include <cstdint>

#include "store/KvBackupStru.h"

class KvIniUtil;

enum class RecordItem {
    kRead,     // `item` holds the section
    kDropped,  // damaged: the section was deleted from the document, `item` has class 0
    kFailed,   // damaged and not to be repaired, or no memory
};

// Reads section `item_<index>` into `item`, which must be zeroed; what it holds afterwards, in each
// case, goes with the record. Damage is only dropped with `repair`. Logs every defect, and a dump
// of an item whose class, type and versions could be read.
[[nodiscard]] RecordItem readRecordItem(KvIniUtil& record, uint64_t index, bool repair,
                                        backupItem& item);
