#include "log/KvVcLog.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>

#include "base/KvDescriptor.h"
#include "base/KvFailure.h"
#include "base/KvScoped.h"
#include "fileop/KvFileOpUtil.h"
#include "fileop/KvOpenFile.h"
#include "fileop/KvPath.h"
#include "log/KvLogRecord.h"
#include "log/KvLogSettings.h"

namespace {

constexpr int kCallsBetweenChecks = 99;
constexpr mode_t kLogFileMode = 0666;  // less the umask

bool isTooLong(int fd) {
    // Signed on purpose: a size that cannot be told is -1, which exceeds no limit.
    return static_cast<int64_t>(lseek(fd, 0, SEEK_END)) > static_cast<int64_t>(g_log_file_size);
}

bool measure(const char* path) {
    // Opened, not looked up: a log that cannot be read is as good as none.
    ScopedFd file(openRegularFile(path, O_RDONLY, KvLastLink::kFollowOwn));
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

// False when the file can neither be opened nor made; text that it does not take is lost.
bool appendToLog(const char* path, const char* text, size_t length) {
    // A plain descriptor: a buffered file would write a long record in several pieces, and records
    // of other processes could come between them.
    const ScopedFd file(
        openRegularFile(path, O_WRONLY | O_APPEND | O_CREAT, KvLastLink::kFollowOwn, kLogFileMode));
    if (!file.isOpen()) {
        return false;
    }
    (void)writeAll(file.get(), text, length);  // what a full disk does not take is lost
    return true;
}

KvSimpleString makeRecord(bool html, const char* message) {
    const KvLogFields fields{s_type == kLogError, GetTime(), VcGetProcessID(), VcGetThreadId(),
                             s_file.c_str()};
    return html ? makeHtmlRecord(fields, message) : makeTextRecord(fields, message);
}

}  // namespace

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

void Log_Write(const char* path, bool html, const char* message) {
    if (path == nullptr || *path == '\0') {
        return;
    }
    // A run goes on without its log by design: what happens to it is the cause of nothing else.
    const KvFailureScope unreported;
    const KvSimpleString record = makeRecord(html, message != nullptr ? message : "");
    if (checkLogFileSize(path) && html) {
        (void)appendToLog(path, kHtmlLogHeader, strlen(kHtmlLogHeader));
    }
    // The directory is made after the header, which is kept so: where it is missing too, the first
    // record of the new file stands without a header.
    if (!appendToLog(path, record.c_str(), record.length()) &&
        KvFileOpUtil::createDir(KvFileOpUtil::getDirName(path).c_str()) == KvFileOpUtil::kDone) {
        // What is lost all the same is lost quietly.
        (void)appendToLog(path, record.c_str(), record.length());
    }
}
