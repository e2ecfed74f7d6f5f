#include "store/KvBackupMerge.h"

#include <cerrno>

#include "base/KvFailure.h"
#include "base/KvScoped.h"
#include "base/KvSimpleVector.h"
#include "base/KvText.h"
#include "fileop/KvDiskNames.h"
#include "fileop/KvFileOpUtil.h"
#include "fileop/KvPath.h"
#include "fileop/KvSystem.h"
#include "log/KvReport.h"
#include "store/KvBackupName.h"
#include "store/KvBackupRecord.h"
#include "store/KvBackupRemoval.h"
#include "store/KvBackupSection.h"

// What the disk holds while one item is merged:
//   1. The record is read, and rewritten where it was damaged. It names the former generation.
//   2. The record is written. It names the files of this run, which exist since before the merge.
//   3. The files of the former generation, which no record names any more, are deleted.
// A record that cannot be read to its end or not be written keeps the files of both generations.

namespace {

constexpr char kModule[] = "KvUpdaterStru";

void createStore(const backupStru& run, const char* recordPath) {
    KvFailureScope causes;
    // A store that cannot be made shows when its record is written.
    (void)KvFileOpUtil::createDir(DirNameOf(recordPath).c_str());
    // Only a record that is surely missing is made: one that cannot be asked for may hold items.
    struct stat status {};
    if (sysStat(recordPath, status) == 0 || errno != ENOENT) {
        return;
    }
    const RecordDocument record = openRecord(recordPath);
    if (record) {
        // Written when the document is released.
        writeRecordCommon(*record, 0, run.patchAgentVersion, run.patchAgentFile);
    }
}

void createStores(const backupStru& run) {
    for (uint64_t i = 0; i < run.itemCount; ++i) {
        char path[kPathCapacity];
        if (run.items[i].destination != nullptr &&
            constructRecordPath(run.items[i].destination, path, sizeof path)) {
            createStore(run, path);
        }
    }
}

// Deletes all sections of that name: what a damaged record holds of the same name must not show
// through the section that is written next.
void clearSection(KvIniUtil& record, const char* section) {
    KvSimpleStringVector names;
    record.findSection(section, names);
    for (size_t i = 0; i < names.size(); ++i) {
        if (Str_Equal(names[i].c_str(), section, false)) {
            record.del(section);
        }
    }
}

// The first former item of that class and type that has a section; null when there is none.
const backupItem* findFormer(KvIniUtil& record, const backupStru& old, const backupItem& item,
                             uint64_t& number) {
    for (uint64_t i = 0; i < old.itemCount; ++i) {
        const backupItem& former = old.items[i];
        if (former.itemClass != item.itemClass || former.type != item.type) {
            continue;
        }
        number = sectionOfBackupItem(record, old, i);
        if (number != kNoSection) {
            return &former;
        }
    }
    return nullptr;
}

// Makes room for the item in the record, where `former` may stand, and returns the number of its
// section.
uint64_t prepareSection(KvIniUtil& record, const backupItem* former, uint64_t number,
                        const backupItem& item) {
    BackupKey section;
    if (former != nullptr) {
        // Only the overwritten files have copies; the added ones are for a rollback to delete.
        deleteWrittenBackups(*former, item, DeletionReport::kAnnounced);
        makeItemSection(section, number);
        clearSection(record, section);
        KV_INFO(kLevelCallbackOnly, "Delete section:%s", section);
        return number;
    }
    number = recordItemCount(record);
    setRecordItemCount(record, number + 1);
    makeItemSection(section, number);
    clearSection(record, section);
    return number;
}

void logWrittenKey(const char* key, const char* value) {
    KV_INFO(kLevelCallbackOnly, "Set %s=%s", key, value);
}

enum class Merged {
    kDone,
    kNotWritten,  // told: the record could not be read to its end, or not be written
    kFailed,      // the record can neither be read nor repaired
};

Merged notWritten(const char* path) {
    if (!reportNotedCause()) {
        reportCauseErrno(path, ENOMEM);
    }
    KV_INFO(kLevelProgress, "Flush VcBackup.ini failed");
    return Merged::kNotWritten;
}

// The numbers of the sections that the merge has touched.
struct Touched {
    ScopedHeap<uint32_t> numbers;
    uint64_t count = 0;
};

// Folds one item into the record of its destination.
Merged mergeItem(const backupStru& run, const backupItem& item, Touched& touched) {
    char path[kPathCapacity];
    if (!constructRecordPath(item.destination, path, sizeof path)) {
        return Merged::kFailed;
    }
    KvFailureScope causes;
    RecordDocument record = openRecord(path);
    KV_INFO(kLevelProgress, "Start parsing the original backup ini(%s).", path);
    if (!record || !record->isWhole()) {
        return notWritten(path);
    }
    OwnedBackupStru old;
    if (!repairRecord(record, path, run, old)) {
        return Merged::kFailed;
    }
    clearFailure();  // a repair that could not be written is written below
    uint64_t number = 0;
    const backupItem* const former = findFormer(*record, old, item, number);
    number = prepareSection(*record, former, number, item);
    touched.numbers.get()[touched.count++] = static_cast<uint32_t>(number);
    writeItemSection(*record, number, item, logWrittenKey);
    if (!record->flushTo(path)) {
        return notWritten(path);
    }
    record->discard();  // it is written
    if (former != nullptr) {
        deleteWrittenBackups(*former, item, DeletionReport::kSilent);
    }
    return Merged::kDone;
}

void abandonItem(const backupItem& item) {
    // Kept: "faild", which searches of the log rely on.
    KV_ERROR(kLevelProgress, "Merge backup ini faild");
    KV_INFO(kLevelProgress, "Remove auto-rollback files");
    deleteWrittenBackups(item, item, DeletionReport::kLogged);
}

// Writes down which sections were touched, the latest first.
void writeTransaction(const backupItem& first, const Touched& touched) {
    char path[kPathCapacity];
    if (first.destination == nullptr ||
        !constructRecordPath(first.destination, path, sizeof path)) {
        return;
    }
    KvSimpleString text;
    for (uint64_t i = touched.count; i-- > 0;) {
        BackupKey number;
        Snprintf(number, sizeof number, "%u, ", touched.numbers.get()[i]);
        text.append(number);
    }
    KvFailureScope causes;
    const RecordDocument record = openRecord(path);
    if (record) {
        record->set(kCommonSection, kTransactionKey, text.c_str());
        if (record->flush(true)) {
            record->discard();  // it is written
            return;
        }
    }
    if (!reportNotedCause()) {
        reportCauseErrno(path, ENOMEM);
    }
}

void mergeRunBackup(const backupStru& run) {
    createStores(run);
    Touched touched{ScopedHeap<uint32_t>(allocZeroed<uint32_t>(run.itemCount))};
    if (!touched.numbers) {
        reportCauseErrno(kBackupRecordName, ENOMEM);
        return;
    }
    bool isFirstWritten = true;
    for (uint64_t i = 0; i < run.itemCount; ++i) {
        const backupItem& item = run.items[i];
        if (item.destination == nullptr) {
            continue;  // never reached by the run
        }
        switch (mergeItem(run, item, touched)) {
            case Merged::kFailed:
                abandonItem(item);
                return;
            case Merged::kNotWritten:
                isFirstWritten = isFirstWritten && i != 0;
                break;
            case Merged::kDone:
                break;
        }
    }
    // A record that could not be written has been told already.
    if (run.patchAgentVersion == 0 && isFirstWritten) {
        writeTransaction(run.items[0], touched);
    }
    KV_INFO(kLevelProgress, "mergeBackupIni: done.");
}

}  // namespace

void mergeBackupIni(const backupStru* run, uint32_t backupFlag) {
    if (run == nullptr || run->items == nullptr || run->itemCount == 0) {
        return;
    }
    if (backupFlag == 0) {
        KV_INFO(kLevelProgress, "mergeBackupIni: no need to backup.");
        discardRunBackup(*run);
        KV_INFO(kLevelProgress, "mergeBackupIni: no backup done.");
        return;
    }
    KV_INFO(kLevelProgress, "mergeBackupIni: backup needed.");
    mergeRunBackup(*run);
}
