// The sections of a backup record: the names of their keys, reading and writing one, and matching
// an item in memory with its section in the document. The format is told in store/KvBackupRecord.h.
#pragma once

#include <cstdint>
#include <functional>

#include "store/KvBackupStru.h"

class KvIniUtil;

inline constexpr char kCommonSection[] = "common";
inline constexpr char kItemCountKey[] = "itemcount";
inline constexpr char kAgentVersionKey[] = "patchagent.version";
inline constexpr char kAgentFileKey[] = "patchagent";
inline constexpr char kTransactionKey[] = "transaction";

inline constexpr char kClassKey[] = "class";
inline constexpr char kTypeKey[] = "type";
inline constexpr char kOriginVersionKey[] = "origin.version";
inline constexpr char kResultVersionKey[] = "result.version";
inline constexpr char kAddedCountKey[] = "added.filecount";
inline constexpr char kWrittenCountKey[] = "written.filecount";

// The first word of the list keys, `added.N` and `written.N`.
inline constexpr char kAddedWord[] = "added";
inline constexpr char kWrittenWord[] = "written";

// Room for a section name, a list key or a number.
inline constexpr int kBackupKeyCapacity = 128;
using BackupKey = char[kBackupKeyCapacity];

// `item_<number>` and `<word>.<number>`. False when nothing could be stored.
bool makeItemSection(BackupKey& out, uint64_t number);
[[nodiscard]] bool makeListKey(BackupKey& out, const char* word, uint64_t number);

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

// Logs a dump of what was read of the common section: count, patch agent version and file.
void logRecordCommon(const backupStru& backup);

// Receives each key and value after it was added to a section.
using BackupKeyObserver = void (*)(const char* key, const char* value);

// Adds "itemcount", "patchagent.version" and "patchagent" to "common". A null `patchAgentFile`
// leaves the key out.
void writeRecordCommon(KvIniUtil& record, uint64_t itemCount, int32_t patchAgentVersion,
                       const char* patchAgentFile);

// "itemcount" of "common" as a number; 0 when it is missing.
[[nodiscard]] uint32_t recordItemCount(KvIniUtil& record);
void setRecordItemCount(KvIniUtil& record, uint64_t itemCount);

// Adds the item as section `item_<number>`. Null list entries are left out; the others keep their
// numbers. `observer` may be null.
void writeItemSection(KvIniUtil& record, uint64_t number, const backupItem& item,
                      BackupKeyObserver observer);

// Writes an empty document as the record of those items of `backup` that `isKept` accepts, numbered
// from 0 without gaps, with its patch agent version. A null `agentFile` leaves that key out.
void writeRecord(KvIniUtil& record, const backupStru& backup, const char* agentFile,
                 const std::function<bool(const backupItem&)>& isKept);

inline constexpr uint64_t kNoSection = ~static_cast<uint64_t>(0);

// The number of the section that holds `parsed.items[index]` in `record`, the document it was
// parsed from. When the parse dropped damaged items, the sections behind them have moved down and a
// dropped item has no section (kNoSection); otherwise it is `index` itself.
[[nodiscard]] uint64_t sectionOfBackupItem(KvIniUtil& record, const backupStru& parsed,
                                           uint64_t index);
