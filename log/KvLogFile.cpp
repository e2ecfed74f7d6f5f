#include "log/KvLogFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdint>

#include "base/KvDescriptor.h"
#include "base/KvScoped.h"
#include "fileop/KvFileOpUtil.h"
#include "log/KvVcLog.h"

namespace {

constexpr int kCallsBetweenChecks = 99;

bool isTooLong(int fd) {
    // Signed on purpose: a size that cannot be told is -1, which exceeds no limit.
    return static_cast<int64_t>(lseek(fd, 0, SEEK_END)) > static_cast<int64_t>(g_log_file_size);
}

bool measure(const char* path) {
    // Opened, not looked up: a log that cannot be read is as good as none.
    ScopedFd file(open(path, O_RDONLY | O_CLOEXEC));
    if (!file.isOpen()) {
        return true;
    }
    if (!isTooLong(file.get())) {
        return false;
    }
    file.reset();
    (void)KvFileOpUtil::unlink(path);  // a log that cannot be deleted grows on
    return true;
}

}  // namespace

LogAppend appendToLog(const char* path, const char* text, size_t length) {
    // A plain descriptor: a buffered file would write a long record in several pieces, and records
    // of other processes could come between them.
    const ScopedFd file(open(path, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666));
    if (!file.isOpen()) {
        return LogAppend::kNotOpened;
    }
    return writeAll(file.get(), text, length) ? LogAppend::kDone : LogAppend::kCutShort;
}

bool checkLogFileSize(const char* path) {
    // Asking for the size each time would double the cost of a message.
    static int count = 0;
    if (count != 0) {
        count = count < kCallsBetweenChecks ? count + 1 : 0;
        return false;
    }
    count = 1;
    return path == nullptr || measure(path);
}
