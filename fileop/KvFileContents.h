// KvFileContents: copies the contents and the times of one file.
#pragma once

#include <sys/stat.h>

#include "base/KvScoped.h"
#include "fileop/KvFileOpUtil.h"

enum class TargetState {
    kAny,    // missing or holding anything
    kEmpty,  // just found to be an empty file
};

// Keeps its buffer from one copy to the next.
class KvFileContents {
  public:
    // Writes what `src` holds to `dst`, which is made or emptied first, and gives it the times of
    // `src` in whole seconds. kDone, kCannotOpenSource, kDestinationNotWritable,
    // kReadError or kWriteError; a copy that fails half-way stays as it is. What is no
    // regular file cannot be opened. Each failure is noted (base/KvFailure.h).
    [[nodiscard]] KvFileOpUtil::Result copy(const char* src, const char* dst, TargetState state);

  private:
    // kDone leaves in `status`, given zeroed, what the source was at its end; all zero when it does
    // not tell. Any other result leaves its cause in `errno`.
    [[nodiscard]] KvFileOpUtil::Result pump(int source, int target, struct stat& status);

    ScopedHeap<char> buffer_;  // made by the first copy
};
