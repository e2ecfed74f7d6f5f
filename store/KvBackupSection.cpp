#include "store/KvBackupSection.h"

#include "base/KvText.h"
#include "ini/KvIniUtil.h"

namespace {

constexpr unsigned kVersionTextCapacity = 4096;

class SectionWriter {
  public:
    SectionWriter(KvIniUtil& record, const char* section, BackupKeyObserver observer)
        : record_(record), section_(section), observer_(observer) {}

    void text(const char* key, const char* value) const {
        record_.add(section_, key, value);
        if (observer_ != nullptr) {
            observer_(key, value);
        }
    }

    void number(const char* key, uint64_t value) const {
        BackupKey digits;
        Snprintf(digits, sizeof digits, "%u", static_cast<uint32_t>(value));
        text(key, digits);
    }

    void version(const char* key, uint32_t itemClass, const tag_Version& value) const {
        char digits[kVersionTextCapacity] = "";
        MakeVersionStringByClass(itemClass, value, digits, kVersionTextCapacity);
        text(key, digits);
    }

    void list(const char* word, char* const* entries, uint64_t count) const {
        for (uint64_t i = 0; entries != nullptr && i < count; ++i) {
            if (entries[i] == nullptr) {
                continue;
            }
            BackupKey key;
            (void)makeListKey(key, word, i);
            text(key, entries[i]);
        }
    }

  private:
    KvIniUtil& record_;
    const char* section_;
    BackupKeyObserver observer_;
};

}  // namespace

bool makeItemSection(BackupKey& out, uint64_t number) {
    return Snprintf(out, sizeof out, "%s_%u", "item", static_cast<uint32_t>(number)) > 0;
}

bool makeListKey(BackupKey& out, const char* word, uint64_t number) {
    return Snprintf(out, sizeof out, "%s.%u", word, static_cast<uint32_t>(number)) > 0;
}

void writeRecordCommon(KvIniUtil& record, uint64_t itemCount, int32_t patchAgentVersion,
                       const char* patchAgentFile) {
    const SectionWriter common(record, kCommonSection, nullptr);
    common.number(kItemCountKey, itemCount);
    common.number(kAgentVersionKey, static_cast<uint32_t>(patchAgentVersion));
    if (patchAgentFile != nullptr) {
        common.text(kAgentFileKey, patchAgentFile);
    }
}

uint32_t recordItemCount(KvIniUtil& record) {
    return static_cast<uint32_t>(leadingNumber(record.get(kCommonSection, kItemCountKey)));
}

void setRecordItemCount(KvIniUtil& record, uint64_t itemCount) {
    BackupKey digits;
    Snprintf(digits, sizeof digits, "%u", static_cast<uint32_t>(itemCount));
    record.set(kCommonSection, kItemCountKey, digits);
}

void writeItemSection(KvIniUtil& record, uint64_t number, const backupItem& item,
                      BackupKeyObserver observer) {
    BackupKey section;
    makeItemSection(section, number);
    const SectionWriter keys(record, section, observer);
    keys.number(kClassKey, item.itemClass);
    keys.number(kTypeKey, item.type);
    keys.version(kOriginVersionKey, item.itemClass, item.originVersion);
    keys.version(kResultVersionKey, item.itemClass, item.resultVersion);
    keys.number(kAddedCountKey, item.addedCount);
    keys.list(kAddedWord, item.addedList, item.addedCount);
    keys.number(kWrittenCountKey, item.writtenCount);
    keys.list(kWrittenWord, item.writtenList, item.writtenCount);
}

void writeRecord(KvIniUtil& record, const backupStru& backup, const char* agentFile,
                 const std::function<bool(const backupItem&)>& isKept) {
    // The count comes first in the section, so it stands there before it is known.
    writeRecordCommon(record, backup.itemCount - 1, backup.patchAgentVersion, agentFile);
    uint64_t kept = 0;
    for (uint64_t i = 0; i < backup.itemCount; ++i) {
        if (isKept(backup.items[i])) {
            writeItemSection(record, kept++, backup.items[i], nullptr);
        }
    }
    setRecordItemCount(record, kept);
}

uint64_t sectionOfBackupItem(KvIniUtil& record, const backupStru& parsed, uint64_t index) {
    // A parse that dropped items has rewritten the record, which then counts fewer of them.
    if (recordItemCount(record) == static_cast<uint32_t>(parsed.itemCount)) {
        return index;
    }
    if (parsed.items[index].itemClass == 0) {
        return kNoSection;
    }
    uint64_t number = 0;
    for (uint64_t i = 0; i < index; ++i) {
        number += parsed.items[i].itemClass != 0 ? 1 : 0;
    }
    return number;
}
