#include "fileop/KvFileContents.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "fileop/KvFileOpUtil.h"

namespace {

constexpr size_t kCopyBlock = 262144;
constexpr mode_t kNewFileMode = 0666;  // less the umask

// As `read`, begun again when a signal gets in before the first byte.
ssize_t readBlock(int fd, char* buffer) {
    ssize_t count = 0;
    do {
        count = read(fd, buffer, kCopyBlock);
    } while (count < 0 && errno == EINTR);
    return count;
}

// False unless all bytes are taken, however many calls that needs.
bool writeAll(int fd, const char* bytes, size_t count) {
    while (count > 0) {
        const ssize_t taken = write(fd, bytes, count);
        if (taken < 0 && errno == EINTR) {
            continue;
        }
        if (taken <= 0) {
            return false;
        }
        bytes += taken;
        count -= static_cast<size_t>(taken);
    }
    return true;
}

// Whether a short block was the last one. A file of known size tells without one more read.
bool isEnd(int source, ssize_t count, off_t copied, struct stat& status) {
    const bool isKnown = fstat(source, &status) == 0;
    return count == 0 || (isKnown && S_ISREG(status.st_mode) && status.st_size == copied);
}

void setTimes(int target, const struct stat& source) {
    const timespec times[2] = {{source.st_atime, 0}, {source.st_mtime, 0}};
    // A target whose times cannot be set (a device, a file of another user) is a good copy still.
    (void)futimens(target, times);
}

}  // namespace

int KvFileContents::copy(const char* src, const char* dst, TargetState state) {
    const ScopedFd source(open(src, O_RDONLY | O_CLOEXEC));
    if (!source.isOpen()) {
        return KvFileOpUtil::kCannotOpenSource;
    }
    // Some file systems take the truncation of an empty file for the replacement of a full one, and
    // write its blocks out at once.
    const int truncation = state == TargetState::kEmpty ? 0 : O_TRUNC;
    ScopedFd target(open(dst, O_WRONLY | O_CREAT | truncation | O_CLOEXEC, kNewFileMode));
    if (!target.isOpen()) {
        return KvFileOpUtil::kDestinationNotWritable;
    }
    struct stat status {};
    const int result = pump(source.get(), target.get(), status);
    if (result != KvFileOpUtil::kDone) {
        return result;
    }
    if (status.st_mode != 0) {
        // Else the source could not be asked, and the target keeps the times that it has.
        setTimes(target.get(), status);
    }
    // Some file systems tell only here that they could not store the bytes.
    const bool isStored = close(target.release()) == 0 || errno == EINTR;
    return isStored ? KvFileOpUtil::kDone : KvFileOpUtil::kWriteError;
}

int KvFileContents::pump(int source, int target, struct stat& status) {
    if (buffer_ == nullptr) {
        buffer_.reset(static_cast<char*>(malloc(kCopyBlock)));
    }
    if (buffer_ == nullptr) {
        return KvFileOpUtil::kReadError;
    }
    off_t copied = 0;
    while (true) {
        const ssize_t count = readBlock(source, buffer_.get());
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
