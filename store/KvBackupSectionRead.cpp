// readRecordItem, and the dumps of what is read.
#include <cerrno>
#include <utility>

#include "base/KvScoped.h"
#include "base/KvSimpleString.h"
#include "base/KvText.h"
#include "fileop/KvDiskNames.h"
#include "ini/KvIniUtil.h"
#include "log/KvReport.h"
#include "store/KvBackupSection.h"

namespace {

constexpr char kModule[] = "KvUpdaterStru";

constexpr unsigned kVersionTextCapacity = 64;

// An event is cut at this length; a list of any size costs no more.
constexpr size_t kDumpLimit = 20480;

// A damaged file count may name millions of entries; once a section is gone, each of them is
// missing. No more of them than this are looked for and reported.
constexpr uint64_t kMissingLimit = 65536;

// One of the two file lists of a section: where it stands and what is said about it.
struct ListText {
    const char* word;
    const char* name;
    const char* listNoMemory;
    const char* keyFailed;
    const char* copyFailed;
};

// Kept: the texts differ where nothing else does, by a letter or two.
constexpr ListText kAddedText{kAddedWord, "added file name", "phaseIniForBackupL: malloc failed.",
                              "phaseIniForBackup: snprintf failed.",
                              "phaseIniForBackup: Strncpy failed."};
constexpr ListText kWrittenText{
    kWrittenWord, "written file name", "phaseIniForBackup: malloc failed.",
    "phaseIniForBackup: snpritf failed.", "phaseIniForBackup: Strncpy falied."};

const char* orNull(const char* text) {
    return text != nullptr ? text : "Null";
}

void appendList(KvSimpleString& dump, char* const* list, uint64_t count) {
    for (uint64_t i = 0; list != nullptr && i < count && dump.length() < kDumpLimit; ++i) {
        Str_AppendFormat(dump, "\tFile %d: ", static_cast<int>(i));
        dump.append(orNull(list[i]));
        dump.append("\n");
    }
}

// The text is made no longer than what an event can carry.
void logRecordItem(uint64_t index, const backupItem& item) {
    constexpr uint32_t kProduct = kClassProduct;
    char version[kVersionTextCapacity] = "";
    KvSimpleString dump;
    Str_AppendFormat(dump, "Dump item[%d] in backup ini:\n", static_cast<int>(index));
    Str_AppendFormat(dump, "Class[%u] ", item.itemClass);
    Str_AppendFormat(dump, item.itemClass == kProduct ? "Type[%u]\n" : "Type[0x%x]\n", item.type);
    MakeVersionStringByClass(item.itemClass, item.originVersion, version, sizeof version);
    Str_AppendFormat(dump, "Original Ver[%s] ", version);
    MakeVersionStringByClass(item.itemClass, item.resultVersion, version, sizeof version);
    Str_AppendFormat(dump, "Result Ver[%s]\n", version);
    dump.append("Destination: ");
    dump.append(orNull(item.destination));
    Str_AppendFormat(dump, "\nCount of Added Files[%d]\n", static_cast<int>(item.addedCount));
    appendList(dump, item.addedList, item.addedCount);
    Str_AppendFormat(dump, "Count of OverWritten Files[%d]\n", static_cast<int>(item.writtenCount));
    appendList(dump, item.writtenList, item.writtenCount);
    KV_INFO(kLevelProgress, "%s", dump.c_str());
}

class ItemReader {
  public:
    ItemReader(KvIniUtil& record, uint64_t index, bool repair, backupItem& item)
        : record_(record), repair_(repair), item_(item) {
        makeItemSection(section_, index);
    }

    RecordItem read(uint64_t index) {
        if (!readIdentity()) {
            return isDropped_ ? RecordItem::kDropped : RecordItem::kFailed;
        }
        item_.addedCount = item_.addedCapacity = readCount(kAddedCountKey);
        item_.writtenCount = item_.writtenCapacity = readCount(kWrittenCountKey);
        if (item_.addedCount == 0 && item_.writtenCount == 0) {
            KV_ERROR(kLevelProgress, "phaseIniForBackup: item has no backuped files.");
        }
        // Both lists are read even when the first has cost the item its section: each missing name
        // is reported.
        if (!readList(kAddedText, item_.addedCount, item_.addedList) ||
            !readList(kWrittenText, item_.writtenCount, item_.writtenList)) {
            return RecordItem::kFailed;
        }
        logRecordItem(index, item_);
        return isDropped_ ? RecordItem::kDropped : RecordItem::kRead;
    }

  private:
    bool readIdentity() {
        const char* const itemClass = require(kClassKey, "class");
        if (itemClass == nullptr) {
            return false;
        }
        item_.itemClass = static_cast<uint32_t>(leadingNumber(itemClass));
        const char* const type = require(kTypeKey, "type");
        if (type == nullptr) {
            return false;
        }
        item_.type = static_cast<uint32_t>(leadingNumber(type));
        return readVersion(kOriginVersionKey, "origin version", item_.originVersion) &&
               readVersion(kResultVersionKey, "result version", item_.resultVersion);
    }

    bool readVersion(const char* key, const char* name, tag_Version& version) {
        const char* const text = require(key, name);
        if (text != nullptr) {
            version = MakeVersionByClass(text, item_.itemClass);
        }
        return text != nullptr;
    }

    // The value of a key that must be there. Null: it is missing, which was logged, and with repair
    // the section is gone.
    const char* require(const char* key, const char* name) {
        const char* const value = record_.get(section_, key);
        if (value != nullptr) {
            return value;
        }
        KV_ERROR(kLevelProgress, "phaseIniForBackup: fetch section %s %s failed.", section_, name);
        if (repair_) {
            drop();
        }
        return nullptr;
    }

    void drop() {
        record_.del(section_);
        KV_INFO(kLevelProgress, "Section %s removed from %s.", section_, kBackupRecordName);
        item_.itemClass = 0;
        isDropped_ = true;
    }

    // A negative count becomes one that no list can be allocated for.
    uint64_t readCount(const char* key) const {
        const int count = leadingNumber(record_.get(section_, key));
        return static_cast<uint64_t>(static_cast<int64_t>(count));
    }

    // `count` becomes the number of entries looked at.
    bool readList(const ListText& text, uint64_t& count, char**& list) {
        const uint64_t wanted = std::exchange(count, 0);
        if (wanted == 0) {
            return true;
        }
        list = allocZeroed<char*>(wanted);
        if (list == nullptr) {
            reportCauseErrno(section_, ENOMEM);
            KV_ERROR(kLevelProgress, "%s", text.listNoMemory);
            return false;
        }
        uint64_t missing = 0;
        while (count < wanted && missing < kMissingLimit) {
            char*& entry = list[count];
            if (!readEntry(text, count++, entry)) {
                return false;
            }
            missing += entry == nullptr ? 1 : 0;
        }
        return true;
    }

    // False when the parse cannot go on; a missing entry of a dropped section stays null.
    bool readEntry(const ListText& text, uint64_t index, char*& entry) {
        BackupKey key;
        if (!makeListKey(key, text.word, index)) {
            KV_ERROR(kLevelProgress, "%s", text.keyFailed);
            return false;
        }
        const char* const value = require(key, text.name);
        if (value == nullptr) {
            return repair_;
        }
        switch (copyToHeap(value, entry)) {
            case HeapCopy::kNoMemory:
                reportCauseErrno(section_, ENOMEM);
                KV_ERROR(kLevelProgress, "phaseIniForBackup: malloc failed.");
                return false;
            case HeapCopy::kCopyFailed:
                KV_ERROR(kLevelProgress, "%s", text.copyFailed);
                return false;
            case HeapCopy::kDone:
                break;
        }
        return true;
    }

    KvIniUtil& record_;
    bool repair_;
    backupItem& item_;
    BackupKey section_{};
    bool isDropped_ = false;
};

}  // namespace

RecordItem readRecordItem(KvIniUtil& record, uint64_t index, bool repair, backupItem& item) {
    return ItemReader(record, index, repair, item).read(index);
}

void logRecordCommon(const backupStru& backup) {
    KvSimpleString dump("Dump backup ini common section:");
    Str_AppendFormat(dump, "Item Count: %d\n", static_cast<int>(backup.itemCount));
    Str_AppendFormat(dump, "PatchAgent Ver: %d (%s)\n", backup.patchAgentVersion,
                     backup.patchAgentVersion != 0 ? "New" : "Old");
    dump.append("PatchAgent File: ");
    dump.append(orNull(backup.patchAgentFile));
    KV_INFO(kLevelProgress, "%s", dump.c_str());
}
