// Where backup copies lie and what they are called.
//
//     D/VC_Backup/VcBackup.ini                      the record of everything installed under D
//     D/VC_Backup/<class>/<type>/backup.<xyz>       one backup copy; xyz are three base-36 digits
//
// One directory is shared by all generations of an item; the record tells which name holds which
// file. Sizes are capacities in bytes, counting the NUL; the path builders cut silently there.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/KvSimpleString.h"
#include "fileop/KvDiskNames.h"

// `base/first/second/`, with one separator behind `base` whether or not it ends in one. Returns the
// length of what is stored. A null `base` counts as ""; a null or empty buffer gives 0.
int constructVcPath(const char* base, uint32_t first, uint32_t second, char* out, size_t size);

// The staging directory of an item below `base`: the same as `constructVcPath`.
int constructUpdatePath(const char* base, uint32_t itemClass, uint32_t type, char* out,
                        size_t size);

// `dest/VC_Backup/class/type/`; an empty or null `dest` gives the relative `VC_Backup/class/type/`.
// Returns the length of what is stored.
int constructBackupPath(const char* dest, uint32_t itemClass, uint32_t type, char* out,
                        size_t size);

// `dest/VC_Backup/VcBackup.ini`, relative for an empty or null `dest`. False, with "" in `out`,
// when it does not fit.
[[nodiscard]] bool constructRecordPath(const char* dest, char* out, size_t size);

// Three base-36 digits of `value` modulo 46656, zero-padded, and a NUL. `out` must have room for
// four bytes; `size` is not consulted.
void r36tostr(uint64_t value, char* out, size_t size);

// An extension is a dot and three base-36 digits; `ext` must have room for five bytes.
// `extSeed` stores the first one, `.000`; `extInc` advances `ext` by `inc`, from `.zzz` to `.000`.
void extSeed(char* ext, size_t size);
void extInc(char* ext, size_t size, int64_t inc);

// Makes a fresh, empty file `dir/backup.<xyz>` and stores its path in `out`. `dir` is made when it
// is missing. The name is the first, from `.000` upward, that neither exists on disk nor occurs
// anywhere in a value of the record, outside its global section. The record is `VcBackup.ini` in
// the first "VC_Backup" that `dir` mentions. With all 46656 names taken the search does not end.
//
// False: no file could be made (no permission, no directory, ...); `out` then holds the name that
// was tried. False for null arguments and an empty buffer too.
//
// What the record mentions and how far the directory is taken is remembered from call to call, see
// store/KvBackupNameIndex.h, so that n names cost n.
[[nodiscard]] bool crtUniFile(const char* dir, char* out, size_t size);

// Stands around a step of the tool that takes the backup file at `path` away, so that the removal
// does not make the next `crtUniFile` look through the whole directory: n files put back cost n.
// One at a time.
class BackupRemovalScope {
  public:
    explicit BackupRemovalScope(const char* path);
    ~BackupRemovalScope();
    BackupRemovalScope(const BackupRemovalScope&) = delete;
    BackupRemovalScope& operator=(const BackupRemovalScope&) = delete;

  private:
    KvSimpleString directory_;
    size_t number_;
    bool wasCurrent_;
};
