// Bytes in and out of an open descriptor: the one way in which the tool copies files, reads and
// writes documents and appends to its log.
//
// A call that a signal interrupts is made again, and no call is asked for more than a gigabyte,
// because some systems refuse to move more than two at once.
#pragma once

#include <sys/types.h>
#include <unistd.h>

#include <cstddef>

#include "base/KvScoped.h"

// Reads at most `room` bytes. What `read` returns: 0 at the end, -1 with errno for a failure.
[[nodiscard]] ssize_t readSome(int fd, char* buffer, size_t room);

// The content of a file in one block, with a NUL behind it that `size` does not count.
struct FileContent {
    enum class End {
        kReached,
        kBroken,    // a read failed: the content is what came before
        kNoMemory,  // there is no content
    };

    ScopedHeap<char> bytes;
    size_t size = 0;
    End end = End::kNoMemory;
};

// Reads from where the descriptor stands up to the end. Files that do not tell their size (pipes,
// devices) are read as well as others.
[[nodiscard]] FileContent readToEnd(int fd);

// What makes one write: the system's own but in tests.
using WriteCall = ssize_t (*)(int fd, const void* bytes, size_t count);

// Writes all bytes, in as many calls as that needs. False, with errno, once a call fails or takes
// nothing (that is EIO: repeating it might never end); what was taken before stays written.
[[nodiscard]] bool writeAll(int fd, const char* bytes, size_t count, WriteCall call = ::write);

// Closes what was written to. False, with errno, when the system tells only now that it could not
// store the bytes: the writing has failed then. The descriptor is gone in any case.
[[nodiscard]] bool closeWritten(ScopedFd& fd);
