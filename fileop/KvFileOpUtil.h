// KvFileOpUtil: copy, move, delete, walk and make files and directory trees, one callback per step;
// and the simple questions about a single path.
//
// Rules that hold everywhere:
// - Paths use '/'. The operations take a backslash for one too, except `createDir` and the deletion
//   of a single named entry, which use the path as it stands.
// - A path is told to be a directory by `stat`: a link to a directory counts as one. Not so for
//   deletions: a link is an entry like a file, and what it points at stays.
// - What is neither a regular file nor a directory is a file that cannot be opened. No open waits.
// - A path for which there was no memory (base/KvSimpleString.h) names nothing and is never used.
// - A path that ends with '/' is in directory form. '*' and '?' in the last name make a pattern.
// - Nothing is logged and no exception leaves. What a failed or stopped operation has already done
//   stays done.
// - Entries of one directory come in the order in which the system lists them.
#pragma once

#include <cstdint>

#include "base/KvSimpleString.h"

class KvFileOpUtil {
  public:
    // What the operations return. Any other value is a callback's own, passed on unchanged.
    enum Result : int {
        kDone = 0,
        kBadParameters = -1,  // also: something that could not be deleted, listing it included
        kCannotOpenSource = -2,
        kReadError = -3,   // or no memory
        kNoSuchName = -3,  // copyncase: no file has that name in any case
        kWriteError = -4,
        kDestinationNotWritable = -5,  // or a directory that cannot be made
        kDestinationExists = -6,       // and overwriting was not allowed
    };

    // The step that a callback is asked about.
    enum Action : uint32_t {
        kNewFile = 0,    // a file will be written where none is
        kOverwrite = 1,  // an existing file will be overwritten
        kDeleteFile = 2,
        kCreateDir = 3,  // also asked when the directory exists already
        kRemoveDir = 4,
        kVisitDir = 5,
        kVisitFile = 6,
    };

    enum Phase : uint32_t { kBefore = 0, kAfter = 1 };

    // A callback's answer. Any value but these two stops the operation, which then returns it.
    enum Answer : int {
        kGoOn = 0,
        kSkip = 2,  // before a step: leave it out and count it as done; after it: go on
    };

    // The record that a callback reads. The caller owns it and sets the first two fields; each step
    // overwrites the others. What `path` and `destination` point at lasts only for the call: a
    // callback copies what it wants to keep. The layout is fixed (56 bytes with 64-bit pointers).
    struct CallbackEntry {
        uint32_t cbSize;          // sizeof(CallbackEntry); only `xaccess` checks it
        void* userData;           // the callback's own
        const char* path;         // what is handled; of a copy, the source file
        const char* destination;  // of a copy, the target file; otherwise null
        int64_t modifyTime;       // of `path`, in seconds; `xaccess` only
        uint32_t size;            // of the file, its low 32 bits, 0 for directories; `xaccess` only
        uint32_t action;          // an Action
        uint32_t phase;           // a Phase; walks have only kBefore
    };

    // Called before and after each step when both it and the entry are given; either may be null.
    using Callback = int (*)(CallbackEntry*);

    // --- Tree operations. A null or empty path gives kBadParameters unless stated otherwise.

    // Copies a file, the matches of a pattern, or a tree. A destination in directory form, or one
    // that is a directory, is made when missing and receives the copies; into it a source directory
    // "a/b/" goes as "b/". Otherwise `dst` names the new file, whose parents are made, and a
    // pattern or directory source is kBadParameters. A pattern also takes the directories that
    // match, whole. No match at all is kDone. A copied file keeps the modification and access time
    // of its source in whole seconds, and nothing else (no permissions, no owner). A file copied
    // onto itself is emptied, and that is kDone.
    [[nodiscard]] static int xcopy(const char* src, const char* dst, bool overwrite,
                                   Callback callback = nullptr, CallbackEntry* entry = nullptr);

    // The same for files of one level only: no directory is entered, and a source directory's files
    // go straight into the destination, without a directory of its name.
    [[nodiscard]] static int copy(const char* src, const char* dst, bool overwrite,
                                  Callback callback = nullptr, CallbackEntry* entry = nullptr);

    // `copy` of the file that bears the name of `src` without regard to case: the exact one when it
    // exists, else the first that is listed, else kNoSuchName. Only null is kBadParameters.
    [[nodiscard]] static int copyncase(const char* src, const char* dst, bool overwrite,
                                       Callback callback = nullptr, CallbackEntry* entry = nullptr);

    // `xcopy`, then, when that returned kDone, `xunlinkContents` of the source: also of what the
    // callback skipped.
    [[nodiscard]] static int xmove(const char* src, const char* dst, bool overwrite,
                                   Callback callback = nullptr, CallbackEntry* entry = nullptr);

    // `copy`, then, when that returned kDone, `unlink` of the source: a source directory that still
    // holds files stays.
    [[nodiscard]] static int move(const char* src, const char* dst, bool overwrite,
                                  Callback callback = nullptr, CallbackEntry* entry = nullptr);

    // Deletes a file, the matches of a pattern (directories whole), or a tree, contents first.
    // Something that is already gone, or a directory that still holds entries, is not an error.
    [[nodiscard]] static int xunlink(const char* path, Callback callback = nullptr,
                                     CallbackEntry* entry = nullptr);

    // The same, but where the path itself is a link to a directory, that directory is emptied and
    // the link stays.
    [[nodiscard]] static int xunlinkContents(const char* path, Callback callback = nullptr,
                                             CallbackEntry* entry = nullptr);

    // Deletes a file, an empty directory, or the files and empty directories that match a pattern.
    // A directory that is not empty stays, and that is kDone.
    [[nodiscard]] static int unlink(const char* path, Callback callback = nullptr,
                                    CallbackEntry* entry = nullptr);

    // Visits `path` and everything below it, directories before their contents; the callback's
    // result is ignored, but where it changes `action` of a visited directory the walk stays out.
    // False when something cannot be looked at (the walk ends there) and for a wrong `cbSize`; what
    // was listed and is gone when its turn comes is passed over.
    // Without a callback or an entry it only tells whether `path` exists.
    static bool xaccess(const char* path, Callback callback = nullptr,
                        CallbackEntry* entry = nullptr);

    // Makes a directory (mode 0775 less the umask) and the parents it lacks; one that exists is
    // kDone, an empty path too, null is kBadParameters. The callback runs before and after each
    // level, the existing ones included; every call after a level shows the `path` of the topmost
    // level that was looked at. A stop while making a parent is kDestinationNotWritable.
    [[nodiscard]] static int createDir(const char* path, Callback callback = nullptr,
                                       CallbackEntry* entry = nullptr);

    // --- Queries: false, 0 or the empty text for a null or empty path and for every failure.

    // Whether the path ends with '/'.
    [[nodiscard]] static bool isDirName(const char* path);

    // Whether it exists and is a directory; one '/' at the end does not matter. The bare "/" is
    // nothing without its '/', so it counts as no directory.
    [[nodiscard]] static bool isDir(const char* path);

    // Whether it can be opened for reading (a directory can); why not, stands in `errno`.
    [[nodiscard]] static bool exist(const char* path);

    // Whether it exists, readable or not.
    [[nodiscard]] static bool isExist(const char* path);

    // A directory without entries.
    [[nodiscard]] static bool isEmptyDir(const char* path);

    // Whether the path itself is a link; one '/' at the end does not matter.
    [[nodiscard]] static bool isLink(const char* path);

    // Whether everything below the directory could be looked at, and is neither a link nor a file
    // that holds a byte. A path that is itself a link, or no directory, is none.
    [[nodiscard]] static bool isTreeWithoutBytes(const char* path);

    // Sum of all files under the path, wrapping above 4 GiB; 0 when something there cannot be
    // looked at, kNoDirSize for a null or empty path.
    [[nodiscard]] static unsigned int getDirSize(const char* path);
    static constexpr unsigned int kNoDirSize = 0xFFFFFFFF;

    // The low 32 bits of the size of a file that can be read.
    [[nodiscard]] static unsigned int getFileSize(const char* path);

    // Whether a readable file has exactly this size; no size of 4 GiB or more is equal to any.
    [[nodiscard]] static bool filesizeEqualTo(const char* path, unsigned int size);

    // Whether two readable files have the same contents.
    [[nodiscard]] static bool comp(const char* a, const char* b);

    // The digest as 32 lower-case hexadecimal digits; empty when the file cannot be read.
    [[nodiscard]] static KvSimpleString getFileMD5(const char* path);

    // The system's `rename`, one '/' at the end of each path removed: no copy across file systems.
    [[nodiscard]] static bool rename(const char* from, const char* to);

    // `DirNameOf` and `FileNameOf` (fileop/KvPath.h) under the names that callers know.
    [[nodiscard]] static KvSimpleString getDirName(const char* path);
    [[nodiscard]] static KvSimpleString getFileName(const char* path);

    // Does nothing: names need no normal form here.
    static void NormalizeDirName(KvSimpleString& path);
};

// For `xaccess`: adds `size` to the `uint32_t` that `userData` points at. Always goes on.
int CB_GetDirSize(KvFileOpUtil::CallbackEntry* entry);

// Stands where a hidden attribute of the path would be lifted for the object's lifetime. File
// systems here have none: it keeps nothing and does nothing.
class KvRemoveHiddenAttr {
  public:
    explicit KvRemoveHiddenAttr(const char* path);
};
