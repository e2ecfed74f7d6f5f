// Where backup copies lie and what they are called.
//
//     D/VC_Backup/VcBackup.ini                      the record of everything installed under D
//     D/VC_Backup/<class>/<type>/backup.<digits>    one backup copy
//
// The digits are base 36. Names are counted up from `backup.000` to `backup.zzz`, then from
// `backup.0000` to `backup.zzzz`, and so on with one digit more. One directory is shared by all
// generations of an item; the record tells which name holds which file.
//
// Sizes are capacities in bytes, counting the NUL; the path builders cut silently there.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <unordered_set>
#include <vector>

#include "base/KvScoped.h"

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

// The same for who makes something there: false where the path is cut, or `dest` a text for which
// there was no memory (base/KvSimpleString.h). `out` then holds no usable path.
[[nodiscard]] bool makeBackupPath(const char* dest, uint32_t itemClass, uint32_t type, char* out,
                                  size_t size);

// `dest/VC_Backup/VcBackup.ini`, relative for an empty or null `dest`. False, with "" in `out`,
// when it does not fit.
[[nodiscard]] bool constructRecordPath(const char* dest, char* out, size_t size);

// Three base-36 digits of `value` modulo 46656, zero-padded, and a NUL. `out` must have room for
// four bytes; `size` is not consulted.
void r36tostr(uint64_t value, char* out, size_t size);

// Here an extension is a dot and three base-36 digits; `ext` must have room for five bytes.
// `extSeed` stores the first one, `.000`; `extInc` advances `ext` by `inc`, from `.zzz` to `.000`.
void extSeed(char* ext, size_t size);
void extInc(char* ext, size_t size, int64_t inc);

// Hands out the names of one run's backup files. It belongs to the run and ends with it.
//
// The first name free is the first one that neither exists in its directory nor is mentioned by the
// record: no value outside the record's global section contains its text, so that `backup.0001`
// mentions `backup.000`, too. The record is `VcBackup.ini` in the first "VC_Backup" that the
// directory's path mentions; it is read once. Nothing is listed: what exists shows when the file is
// made, exclusively.
//
// The search of a directory goes on behind the name that it gave last, so that n names cost n. That
// is where a search from the start would end as well, because within a run no name becomes free
// again: a run removes nothing before its last name is given but the copy of a file that is not
// changed after all, and that ends the run. A record that is there and cannot be read to its end
// gives no names: they might be those that it mentions.
//
// One thread at a time, as the whole run.
class BackupNames {
  public:
    BackupNames() = default;
    BackupNames(const BackupNames&) = delete;
    BackupNames& operator=(const BackupNames&) = delete;

    // Makes an empty file of the first name free in `dir` and stores its path in `out`. `dir` is
    // made when it is missing.
    //
    // False: no file was made. `out` holds the name that was tried where the system refused it (no
    // permission, no directory, ...), and nothing of use where there is no room or no memory for
    // the path. False for null arguments and an empty buffer, too.
    [[nodiscard]] bool make(const char* dir, char* out, size_t size);

    // The same with `mode` (less the umask) in place of 0644, and with the new file open for
    // writing. What the system refuses, and a lack of memory, is noted as a cause
    // (base/KvFailure.h).
    [[nodiscard]] bool makeOpen(const char* dir, char* out, size_t size, mode_t mode,
                                ScopedFd& file);

    // A block of `kBufferSize` bytes that lasts as long as the run; null without memory.
    [[nodiscard]] char* buffer();
    static constexpr size_t kBufferSize = 262144;

    // A saved copy that this run has put back counts as gone from then on. False without memory.
    [[nodiscard]] bool markPutBack(const char* copy);
    [[nodiscard]] bool isPutBack(const char* copy) const;

  private:
    // Names by their place in the order in which they are tried.
    using Numbers = std::vector<uint64_t>;

    struct Directory {
        const Numbers* mentioned;  // by its record, ascending; points into `records_`
        uint64_t next = 0;         // no name before this one is free
        bool isMade = false;       // whether this run has seen to it that the directory exists
    };

    [[nodiscard]] bool open(const char* dir, char* out, size_t size, mode_t mode, ScopedFd& file);
    [[nodiscard]] Directory* find(const char* dir);
    [[nodiscard]] const Numbers* readRecord(const char* dir);

    std::map<std::string, Numbers> records_;        // by their paths
    std::map<std::string, Directory> directories_;  // as callers spell them
    std::unordered_set<std::string> putBack_;       // the paths of the copies
    ScopedHeap<char> buffer_;                       // made when it is first asked for
};

// The same for a single file: looks from the first name on, in a record that is read anew.
[[nodiscard]] bool crtUniFile(const char* dir, char* out, size_t size);
