#include "fileop/KvFileContents.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>

#include "base/KvDescriptor.h"
#include "base/KvFailure.h"
#include "fileop/KvOpenFile.h"

namespace {

constexpr size_t kCopyBlock = 262144;
constexpr mode_t kNewFileMode = 0666;  // less the umask

// Whether a short block was the last one. A file of known size tells without one more read.
bool isEnd(int source, ssize_t count, off_t copied, struct stat& status) {
    const bool isKnown = fstat(source, &status) == 0;
    return count == 0 || (isKnown && S_ISREG(status.st_mode) && status.st_size == copied);
}

// Passes the result on; the error of the moment is its cause.
KvFileOpUtil::Result failed(const char* path, KvFileOpUtil::Result result) {
    noteFailure(path, errno);
    return result;
}

void setTimes(int target, const struct stat& source) {
    const timespec times[2] = {{source.st_atime, 0}, {source.st_mtime, 0}};
    // A target whose times cannot be set (a device, a file of another user) is a good copy still.
    (void)futimens(target, times);
}

}  // namespace

KvFileOpUtil::Result KvFileContents::copy(const char* src, const char* dst, TargetState state) {
    const ScopedFd source(openRegularFile(src, O_RDONLY, KvLastLink::kFollow));
    if (!source.isOpen()) {
        // A directory can be opened, but not read.
        return failed(src,
                      errno == EISDIR ? KvFileOpUtil::kReadError : KvFileOpUtil::kCannotOpenSource);
    }
    // Some file systems take the truncation of an empty file for the replacement of a full one, and
    // write its blocks out at once.
    const int truncation = state == TargetState::kEmpty ? 0 : O_TRUNC;
    ScopedFd target(
        openRegularFile(dst, O_WRONLY | O_CREAT | truncation, KvLastLink::kFollow, kNewFileMode));
    if (!target.isOpen()) {
        return failed(dst, KvFileOpUtil::kDestinationNotWritable);
    }
    struct stat status {};
    const KvFileOpUtil::Result result = pump(source.get(), target.get(), status);
    if (result != KvFileOpUtil::kDone) {
        return failed(result == KvFileOpUtil::kWriteError ? dst : src, result);
    }
    if (status.st_mode != 0) {
        // Else the source could not be asked, and the target keeps the times that it has.
        setTimes(target.get(), status);
    }
    return closeWritten(target) ? KvFileOpUtil::kDone : failed(dst, KvFileOpUtil::kWriteError);
}

KvFileOpUtil::Result KvFileContents::pump(int source, int target, struct stat& status) {
    if (buffer_ == nullptr) {
        buffer_.reset(static_cast<char*>(malloc(kCopyBlock)));
    }
    if (buffer_ == nullptr) {
        errno = ENOMEM;
        return KvFileOpUtil::kReadError;
    }
    off_t copied = 0;
    while (true) {
        const ssize_t count = readSome(source, buffer_.get(), kCopyBlock);
        if (count < 0) {
            return KvFileOpUtil::kReadError;
        }
        if (!writeAll(target, buffer_.get(), static_cast<size_t>(count))) {
            return KvFileOpUtil::kWriteError;
        }
        copied += count;
        if (count < static_cast<ssize_t>(kCopyBlock) && isEnd(source, count, copied, status)) {
            return KvFileOpUtil::kDone;
        }
    }
}
