// Pure string work on paths: joins, splits, prefixes, separators and name patterns; and where the
// running program is: full paths, the file of a module, process and thread numbers.
//
// Paths are byte strings with '/' as separator. A backslash is taken as a separator only where a
// function says so, and, unless it says otherwise, not when it is the trailing byte of a
// double-byte character of the current code page (base/KvText.h). '/' can never be such a byte,
// because those are 0x40 or above.
//
// A `size` is the capacity of `out` in bytes, counting the NUL. A null text counts as the empty
// one. A null `out`, or a `size` below 1, writes nothing. Nothing here logs or allocates anything
// that the caller would have to release.
#pragma once

#include "base/KvSimpleString.h"

// The capacity of the fixed path buffers of callers, and of the private ones of these functions:
// a text that goes through a private buffer is cut to one byte less.
inline constexpr int kPathCapacity = 1024;

// The capacity of the long path buffers of callers.
inline constexpr int kLongPathCapacity = 4096;

// What the functions that write to `out` answer. Beside these, a positive result is a capacity.
enum PathResult : int {
    kPathNoPrefix = -1,  // SubtractURI, SubtractURIStrict: nothing to remove, `out` untouched
    kPathDone = 0,
    kPathMissingArgument = 1,  // nowhere to write to, or nothing to make a name of
};

// Joining
//
// Result 0: `out` holds the joined path. A positive result is the capacity that would have been
// needed; `out` then holds as much of `base` as fits, never a half-joined path. Exactly one leading
// '/' or backslash of `rel` is skipped. An empty `base` gets no separator: the result is `rel`
// (without its skipped separator), a name in the working directory. `out` may be the same buffer
// as `base`.

// Joins byte by byte: no double-byte rule, and no character is rewritten but a backslash that
// `base` ends with, which becomes '/'.
[[nodiscard]] int CatPathWithPath(char* out, int size, const char* base, const char* rel);

// Joins and makes all separators alike: backslashes become '/', or, when `base` begins with two
// backslashes (a network share), every '/' becomes a backslash. A URI with a scheme joins like an
// ordinary path ("http://h" becomes "http://h/x"). After its skipped separator, `rel` is cut to
// kPathCapacity - 1 bytes.
[[nodiscard]] int CatURIWithPath(char* out, int size, const char* base, const char* rel);

// Splitting

// Everything up to and including the last '/'. Empty when there is none, and also when the only one
// is the first byte: "/etc" and "/" have the empty directory part.
[[nodiscard]] KvSimpleString DirNameOf(const char* path);

// Everything behind the last '/': the whole path when there is none, empty when it ends with one.
[[nodiscard]] KvSimpleString FileNameOf(const char* path);

// The text behind the last '.', as a pointer into `name`; a static empty text when there is none or
// the name ends with it. Separators do not stop the search: "dir.d/file" yields "d/file".
[[nodiscard]] const char* GetFileExtName(const char* name);

// Puts `newExt`, which carries its own dot, in place of the last '.' of `name` and what follows it,
// or behind `name` when it has none; an empty name stays empty. kPathMissingArgument without a
// buffer, otherwise 0, or the capacity needed with `out` untouched. `out` may be `name`.
[[nodiscard]] int ReplaceExtName(char* out, int size, const char* name, const char* newExt);

// Removes `prefix`, compared without regard to the case of ASCII letters, and all separators that
// follow it, from the front of `full`. What is left, at most kPathCapacity - 1 bytes counted before
// those separators are skipped, goes to `out`, cut to its capacity. The prefix need not end at a
// separator: "/ab/c" less "/a" is "b/c". An empty prefix leaves `full` as it is. The result is a
// PathResult.
[[nodiscard]] int SubtractURIStrict(char* out, int size, const char* full, const char* prefix);

// The same, but '/' and backslash are one separator in both texts; the remainder keeps the
// separators that the caller wrote.
[[nodiscard]] int SubtractURI(char* out, int size, const char* full, const char* prefix);

// Separators

// Only '/': a backslash is not a separator for this test.
[[nodiscard]] bool isPathSeparator(char c);

// Whether the path has the form of a directory: it ends with '/'.
[[nodiscard]] bool EndsWithSeparator(const char* path);

// Removes one '/' from the end; "/" becomes the empty string. Returns whether there was one.
bool RemoveTrailingSeparator(KvSimpleString& path);

// Every backslash that is not inside a double-byte character becomes '/'; the last function does so
// in a copy.
void ReplaceBackSlash(char* text);
void normalizeSeptor(KvSimpleString& path);
[[nodiscard]] KvSimpleString normalizedPath(const char* path);

// Names and patterns

// Whether it names nothing: null or empty.
[[nodiscard]] bool isMissingPath(const char* path);

// Whether the name holds a '*' or a '?'.
[[nodiscard]] bool isWildcardName(const char* name);

// Whether the whole name fits the pattern: '*' stands for any run of bytes, the empty one included,
// '?' for exactly one byte, everything else for itself. '/' is nothing special; there are no
// classes and no escapes. Null matches nothing, and nothing matches null. Takes at most pattern
// length times name length steps.
[[nodiscard]] bool _fnmatch(const char* pattern, const char* name);

// Whether `candidate` is `name` with its extension replaced by ".dsc" (".sig"), without regard to
// the case of ASCII letters. False when the replaced name exceeds kPathCapacity.
[[nodiscard]] bool IsDefaultDscFilename(const char* name, const char* candidate);
[[nodiscard]] bool IsDefaultSigFilename(const char* name, const char* candidate);

// The order of the bytes: no case folding, no treatment of separators or dots.
[[nodiscard]] int CompareFullPath(const char* a, const char* b);

// The running program

// The absolute path without links and dots of something that exists. `resolved` must have room for
// PATH_MAX bytes; `size` is not used. False, with `resolved` undefined, when that cannot be told.
[[nodiscard]] bool GetFullPath(const char* path, char* resolved, unsigned int size);

// The file name of the program or library that contains `address`, cut to kPathCapacity, which is
// the room that `out` must have. False, with `out` empty, when no module contains it.
[[nodiscard]] bool GetDllFilename(const void* address, char* out);

// Numbers of the calling thread and of this process, stable while they live; of a wider thread
// identifier the low 32 bits.
[[nodiscard]] unsigned int VcGetThreadId();
[[nodiscard]] unsigned int VcGetProcessID();
