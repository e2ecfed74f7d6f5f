#include "store/KvBackupRecord.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <utility>

#include "base/KvFailure.h"
#include "base/KvScoped.h"
#include "base/KvText.h"
#include "fileop/KvDiskNames.h"
#include "fileop/KvFileOpUtil.h"
#include "log/KvReport.h"
#include "store/KvBackupSection.h"

namespace {

constexpr char kModule[] = "KvUpdaterStru";

// The largest count whose items fit into one array.
constexpr uint64_t kItemLimit = 48806446;
static_assert(kHeapArrayLimit / sizeof(backupItem) == kItemLimit);

// A damaged "itemcount" may name millions of sections. A run of missing sections this long ends the
// search, and with it the count.
constexpr uint64_t kMissingLimit = 65536;

constexpr uint64_t kFirstItems = 64;

enum class CommonSection {
    kRead,
    kUnusable,
    kFailed,
};

BackupRecordResult quit(backupStru& out) {
    freeBackupStru(&out);
    KV_INFO(kLevelProgress, "phaseIniForBackup: error quit.");
    return kBackupRecordFailed;
}

bool readAgentFile(const char* file, char*& out) {
    switch (copyToHeap(file, out)) {
        case HeapCopy::kNoMemory:
            reportCauseErrno(file, ENOMEM);
            KV_ERROR(kLevelProgress, "phaseIniForBackup: malloc failed.");
            return false;
        case HeapCopy::kCopyFailed:
            KV_ERROR(kLevelProgress, "phaseIniForBackup: Strncpy failed.");
            return false;
        case HeapCopy::kDone:
            break;
    }
    return true;
}

CommonSection readCommon(const KvIniUtil& record, backupStru& out) {
    if (!record.isWhole()) {
        // It reads like an empty one, but nothing must be put in its place.
        reportNotedCause();
        KV_ERROR(kLevelProgress, "phaseIniForBackup: there is no item count available,ignore it.");
        return CommonSection::kFailed;
    }
    const char* const count = record.get(kCommonSection, kItemCountKey);
    if (count == nullptr) {
        KV_ERROR(kLevelProgress, "phaseIniForBackup: there is no item count available,ignore it.");
        return CommonSection::kUnusable;
    }
    // A negative count becomes a huge one, and is cut like every count that is too large.
    out.itemCount = static_cast<uint64_t>(static_cast<int64_t>(leadingNumber(count)));
    const char* const version = record.get(kCommonSection, kAgentVersionKey);
    if (version == nullptr) {
        KV_ERROR(kLevelProgress, "phaseIniForBackup: fetch patch agent version failed.");
        out.itemCount = 0;
        return CommonSection::kUnusable;
    }
    out.patchAgentVersion = leadingNumber(version);
    const char* const file = record.get(kCommonSection, kAgentFileKey);
    if (file != nullptr && !readAgentFile(file, out.patchAgentFile)) {
        return CommonSection::kFailed;
    }
    logRecordCommon(out);
    return CommonSection::kRead;
}

// Puts a new record without items in place of one whose common section is unusable.
BackupRecordResult recoverFromCrash(KvIniUtil** doc, backupStru& out, const char* path,
                                    const backupStru* fallback) {
    // Released first, so that nothing it may still write brings the file back.
    delete *doc;
    *doc = nullptr;
    KvFailureScope causes;
    errno = 0;
    if (KvFileOpUtil::unlink(path, nullptr, nullptr) != 0) {
        if (!reportNotedCause() && errno != 0) {
            reportCauseErrno(path, errno);
        }
        KV_ERROR(kLevelProgress, "Delete crashed %s file failed!", kBackupRecordName);
        return quit(out);
    }
    KV_INFO(kLevelProgress, "Crashed %s file deleted!", kBackupRecordName);
    RecordDocument record = openRecord(path);
    if (!record) {
        reportCauseErrno(path, ENOMEM);
        return quit(out);
    }
    writeRecordCommon(*record, 0, fallback != nullptr ? fallback->patchAgentVersion : 0,
                      fallback != nullptr ? fallback->patchAgentFile : nullptr);
    // A record that cannot be written shows when the caller writes it.
    (void)record->flush(true);
    KV_INFO(kLevelProgress, "New %s file created!", kBackupRecordName);
    *doc = record.release();
    return kBackupRecordParsed;
}

enum class ItemSections {
    kRead,
    kSomeDropped,
    kNoMemory,
    kFailed,
};

// Makes room for one more item, but never for more than the count allows: a count that promises
// more than there is costs no more than the sections that are looked at.
bool reserveItem(backupStru& out, uint64_t& capacity, uint64_t count) {
    if (out.itemCount < capacity) {
        return true;
    }
    const uint64_t grown = std::min(count, std::max(kFirstItems, capacity * 2));
    ScopedHeap<backupItem> items(allocZeroed<backupItem>(grown));
    if (!items) {
        return false;
    }
    std::copy_n(out.items, out.itemCount, items.get());
    free(std::exchange(out.items, items.release()));
    capacity = grown;
    return true;
}

// Reads the sections below `count`; `out.itemCount` is the number of those looked at.
ItemSections readItems(KvIniUtil& record, bool repair, uint64_t count, backupStru& out) {
    ItemSections result = ItemSections::kRead;
    uint64_t capacity = 0;
    uint64_t missing = 0;
    for (uint64_t i = 0; i < count && missing < kMissingLimit; ++i) {
        if (!reserveItem(out, capacity, count)) {
            return ItemSections::kNoMemory;
        }
        ++out.itemCount;
        switch (readRecordItem(record, i, repair, out.items[i])) {
            case RecordItem::kRead:
                missing = 0;
                break;
            case RecordItem::kDropped:
                ++missing;
                result = ItemSections::kSomeDropped;
                break;
            case RecordItem::kFailed:
                return ItemSections::kFailed;
        }
    }
    return result;
}

// Puts the record without its dropped items in place of the document and of the file.
BackupRecordResult rewriteRecord(KvIniUtil** doc, backupStru& out, const char* path) {
    KvFailureScope causes;
    RecordDocument record = openRecord(nullptr);
    if (record) {
        writeRecord(*record, out, out.patchAgentFile,
                    [](const backupItem& item) { return item.itemClass != 0; });
    }
    if (!record || !record->isWhole() || !(*doc)->isWhole()) {
        reportCauseErrno(path, ENOMEM);
        KV_ERROR(kLevelProgress, "phaseIniForBackup: malloc failed.");
        return quit(out);
    }
    // The old document may write itself when it goes, so the new one is written after it.
    delete *doc;
    // A record that cannot be written shows when the caller writes it.
    (void)record->flushTo(path);
    *doc = record.release();
    return kBackupRecordParsed;
}

BackupRecordResult parseItems(KvIniUtil** doc, backupStru& out, bool repair, const char* path) {
    const uint64_t count = std::min(std::exchange(out.itemCount, 0), kItemLimit);
    switch (readItems(**doc, repair, count, out)) {
        case ItemSections::kNoMemory:
            reportCauseErrno(path != nullptr ? path : kBackupRecordName, ENOMEM);
            KV_ERROR(kLevelProgress, "phaseIniForBackup: malloc failed.");
            return quit(out);
        case ItemSections::kFailed:
            return quit(out);
        case ItemSections::kSomeDropped:
            return rewriteRecord(doc, out, path);
        case ItemSections::kRead:
            break;
    }
    return kBackupRecordParsed;
}

}  // namespace

RecordDocument openRecord(const char* path) {
    return newDocument(path, KvLastLink::kFollowOwn);
}

BackupRecordResult phaseIniForBackup(KvIniUtil** doc, backupStru* out, uint32_t repair,
                                     const char* path, const backupStru* fallback) {
    if (doc == nullptr || *doc == nullptr || out == nullptr) {
        KV_ERROR(kLevelProgress, "phaseIniForBackup: parameters failed.");
        return kBackupRecordFailed;
    }
    // The version stays as it is until one is read.
    out->items = nullptr;
    out->itemCount = 0;
    out->patchAgentFile = nullptr;
    switch (readCommon(**doc, *out)) {
        case CommonSection::kUnusable:
            return repair != 0 ? recoverFromCrash(doc, *out, path, fallback) : quit(*out);
        case CommonSection::kFailed:
            return quit(*out);
        case CommonSection::kRead:
            break;
    }
    if (out->itemCount == 0) {
        KV_INFO(kLevelProgress, "phaseIniForBackup: done, item number is zero.");
        return kBackupRecordParsed;
    }
    return parseItems(doc, *out, repair != 0, path);
}

bool parseRecord(const RecordDocument& record, backupStru& out) {
    KvIniUtil* document = record.get();
    return phaseIniForBackup(&document, &out, 0, nullptr, nullptr) == kBackupRecordParsed;
}

bool repairRecord(RecordDocument& record, const char* path, const backupStru& fallback,
                  backupStru& out) {
    KvIniUtil* document = record.release();
    const BackupRecordResult result = phaseIniForBackup(&document, &out, 1, path, &fallback);
    record.reset(document);
    if (result != kBackupRecordParsed && record) {
        record->discard();  // half a repair is none
    }
    return result == kBackupRecordParsed;
}
