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

void copyTimes(int source, int target) {
    struct stat status {};
    if (fstat(source, &status) != 0) {
        return;
    }
    const timespec times[2] = {{status.st_atime, 0}, {status.st_mtime, 0}};
    // A target whose times cannot be set (a device, a file of another user) is a good copy still.
    (void)futimens(target, times);
}

}  // namespace

int KvFileContents::copy(const char* src, const char* dst) {
    const ScopedFd source(open(src, O_RDONLY | O_CLOEXEC));
    if (!source.isOpen()) {
        return KvFileOpUtil::kCannotOpenSource;
    }
    ScopedFd target(open(dst, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, kNewFileMode));
    if (!target.isOpen()) {
        return KvFileOpUtil::kDestinationNotWritable;
    }
    const int result = pump(source.get(), target.get());
    if (result != KvFileOpUtil::kDone) {
        return result;
    }
    copyTimes(source.get(), target.get());
    // Some file systems tell only here that they could not store the bytes.
    const bool isStored = close(target.release()) == 0 || errno == EINTR;
    return isStored ? KvFileOpUtil::kDone : KvFileOpUtil::kWriteError;
}

int KvFileContents::pump(int source, int target) {
    if (buffer_ == nullptr) {
        buffer_.reset(static_cast<char*>(malloc(kCopyBlock)));
    }
    if (buffer_ == nullptr) {
        return KvFileOpUtil::kReadError;
    }
    while (true) {
        const ssize_t count = readBlock(source, buffer_.get());
        if (count <= 0) {
            return count == 0 ? KvFileOpUtil::kDone : KvFileOpUtil::kReadError;
        }
        if (!writeAll(target, buffer_.get(), static_cast<size_t>(count))) {
            return KvFileOpUtil::kWriteError;
        }
    }
}
