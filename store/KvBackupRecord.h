// Reading the backup record `VcBackup.ini`, with repair of what a crash or a damaged disk left.
//
//     [common]                     [item_0] ... [item_<itemcount-1>]
//     itemcount=1                  class=3
//     patchagent.version=1         type=5
//     patchagent=agent.so  (1)     origin.version=100
//     transaction=0,       (1,2)   result.version=101
//                                  added.filecount=1          (default 0)
//                                  added.0=/opt/app/new.dat
//                                  written.filecount=1        (default 0)
//                                  written.0=backup.00a, /opt/app/old.dat
//
// (1) optional  (2) written by a merge, never read back
// A key without a note must stand there; so must every `added.N` and `written.N` below its count.
// The record does not store the destination; it is implied by the place of the file.
#pragma once

#include <cstdint>
#include <memory>

#include "ini/KvIniUtil.h"
#include "store/KvBackupStru.h"

// Written back when it is released, if it was modified and has a path.
using RecordDocument = std::unique_ptr<KvIniUtil>;

// The record at `path`; a missing file, or a null path, gives an empty document. Null when there is
// no memory.
[[nodiscard]] RecordDocument openRecord(const char* path);

enum BackupRecordResult : int {
    kBackupRecordFailed = 0,
    kBackupRecordParsed = 1,
};

// Reads the record `*doc` into `out` (whatever `out` held is not released) and logs a dump of it.
//
// Without repair (`repair` 0) anything that is missing fails the parse; `path` and `fallback` are
// not looked at, and neither `*doc` nor the file is changed.
//
// With repair:
// - "common" unusable: the document and the file at `path` are deleted, and a new record without
//   items is written there, with the patch agent version and file of `fallback` (null: version 0
//   and no file). `*doc` is then that new document and `out` is empty. If the file cannot be
//   deleted, `*doc` becomes null and the parse fails.
// - An item section is damaged: it is dropped, the sections that are left are renumbered without
//   gaps, the record is written to `path` and `*doc` becomes the rewritten document, which has no
//   path of its own. `out` keeps its count (cut 65536 missing sections after the last one found)
//   and its numbering from before, the dropped items with class 0 (see `sectionOfBackupItem` in
//   store/KvBackupSection.h).
//
// kBackupRecordParsed: `out` holds the record and goes with `freeBackupStru`.
// kBackupRecordFailed: `out` is empty (count 0, null items). `*doc` is left as it was, or null
// after a failed deletion; the caller releases what is left either way.
//
// A document that is not whole (ini/KvIniUtil.h) fails, and its file stays, with repair as well.
// `doc`, `*doc` or `out` null: failure. A file count that no list can be allocated for (a negative
// one among them) fails for lack of memory.
[[nodiscard]] BackupRecordResult phaseIniForBackup(KvIniUtil** doc, backupStru* out,
                                                   uint32_t repair, const char* path,
                                                   const backupStru* fallback);

// The same without repair, and with it, where `record` may become another document or null. True:
// `out` holds the record. Whatever `out` held is not released.
[[nodiscard]] bool parseRecord(const RecordDocument& record, backupStru& out);
[[nodiscard]] bool repairRecord(RecordDocument& record, const char* path,
                                const backupStru& fallback, backupStru& out);
