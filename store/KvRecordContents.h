// What a backup record holds, as a scope object.
#pragma once

#include "store/KvBackupRecord.h"
#include "store/KvRecordDocument.h"

class RecordContents {
  public:
    RecordContents() = default;
    ~RecordContents() { freeBackupStru(&contents_); }
    RecordContents(const RecordContents&) = delete;
    RecordContents& operator=(const RecordContents&) = delete;

    // phaseIniForBackup without repair.
    [[nodiscard]] bool parse(RecordDocument& document) {
        return parse(document, 0, nullptr, nullptr);
    }

    // phaseIniForBackup with repair; `document` may become another one, or null.
    [[nodiscard]] bool repair(RecordDocument& document, const char* path,
                              const backupStru& fallback) {
        return parse(document, 1, path, &fallback);
    }

    [[nodiscard]] const backupStru& get() const { return contents_; }

  private:
    bool parse(RecordDocument& document, uint32_t repair, const char* path,
               const backupStru* fallback) {
        KvIniUtil* raw = document.release();
        const int result = phaseIniForBackup(&raw, &contents_, repair, path, fallback);
        document.reset(raw);
        return result == kBackupRecordParsed;
    }

    backupStru contents_{};
};
