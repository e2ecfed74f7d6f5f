// Opens a regular file and nothing else: a pipe, a device, a socket or a directory is a file that
// cannot be opened. No open ever waits.
#pragma once

#include <sys/types.h>

// A link in the last place of the path. Links among its parents are always followed.
enum class KvLastLink {
    kFollow,
    kFollowOwn,  // only one that belongs to the user that the tool runs as, or to root
};

// As `open`, with `flags` and, where O_CREAT is among them, `mode` (less the umask); the descriptor
// is closed in programs that are started. With O_CREAT a dangling link that may be followed gets
// its file. The caller owns the descriptor; -1, with `errno` set, when there is none: beside the
// system's errors to EISDIR, kErrorNotRegularFile or kErrorForeignLink (base/KvFailure.h). What is
// not regular may be opened for a moment, but nothing is written to it.
[[nodiscard]] int openRegularFile(const char* path, int flags, KvLastLink link, mode_t mode = 0);
