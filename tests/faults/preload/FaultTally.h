/* What the library that makes calls fail and the tests that preload it agree on.
 *
 * The library is told by two environment variables what to do in the process that it is loaded
 * into:
 *
 *     KV_FAULT        "<function>/<n>/<what>": which call, counted from 1, and what happens to it
 *         <number>    the call does nothing and fails with that errno; a close really closes
 *         <number>+   so does every call of that function from there on
 *         short       a read or write does half of what it could; short+ from there on
 *         full        a write does half, and those behind it fail with ENOSPC
 *         kill        the process is killed (SIGKILL) before the call
 *         half        a write does half, then the process is killed
 *     KV_FAULT_TALLY  a file of the size of FaultTally that takes the counts; without it the
 *                     library does nothing
 *
 * Calls are counted from the first instruction of the executable itself, its static construction
 * included: what fails there must not trip the tool either. What the loader and the standard
 * library did before it is not the tool's. Only the process that was started counts, not what it
 * forks. */
#pragma once

#include <stdint.h>

/* The functions, each with its relatives: `malloc` stands for calloc and realloc too, `open` for
 * openat and fopen, `stat` for its whole family, and so on. `change` is every call that changes
 * something on the disk, whatever its function; it can only be killed. */
#define KV_FAULT_FUNCTIONS(X) \
    X(malloc)                 \
    X(open)                   \
    X(read)                   \
    X(write)                  \
    X(close)                  \
    X(stat)                   \
    X(opendir)                \
    X(readdir)                \
    X(closedir)               \
    X(mkdir)                  \
    X(rmdir)                  \
    X(unlink)                 \
    X(rename)                 \
    X(utimens)                \
    X(fcntl)                  \
    X(access)                 \
    X(realpath)               \
    X(readlink)               \
    X(lseek)                  \
    X(ftruncate)              \
    X(fsync)                  \
    X(statvfs)                \
    X(chmod)                  \
    X(link)                   \
    X(dlopen)                 \
    X(dlsym)                  \
    X(getcwd)                 \
    X(change)

#define KV_FAULT_ENUMERATOR(name) FAULT_##name,
enum FaultFunction { KV_FAULT_FUNCTIONS(KV_FAULT_ENUMERATOR) FAULT_FUNCTION_COUNT };
#undef KV_FAULT_ENUMERATOR

/* The counts of one run, readable whatever became of it. */
struct FaultTally {
    uint64_t armed;                       /* 1 once the library counts */
    uint64_t calls[FAULT_FUNCTION_COUNT]; /* so many were made */
    uint64_t struck;                      /* so many of them were made to fail */
};
