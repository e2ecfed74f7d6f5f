#include "base/KvDescriptor.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>

namespace {

constexpr size_t kLargestTransfer = size_t{1} << 30U;
constexpr size_t kSmallestBlock = 4096;

// Only a hint: the file may grow meanwhile.
size_t expectedSize(int fd) {
    struct stat status {};
    return fstat(fd, &status) == 0 && S_ISREG(status.st_mode) ? static_cast<size_t>(status.st_size)
                                                              : 0;
}

bool resize(ScopedHeap<char>& block, size_t capacity) {
    auto* resized = static_cast<char*>(realloc(block.get(), capacity));
    if (resized == nullptr) {
        return false;
    }
    (void)block.release();  // realloc has taken the old block over
    block.reset(resized);
    return true;
}

}  // namespace

ssize_t readSome(int fd, char* buffer, size_t room) {
    ssize_t count = 0;
    do {
        count = read(fd, buffer, std::min(room, kLargestTransfer));
    } while (count < 0 && errno == EINTR);
    return count;
}

FileContent readToEnd(int fd) {
    FileContent content;
    // One byte for the NUL, one so that the end is seen without growing.
    size_t capacity = std::max(expectedSize(fd) + 2, kSmallestBlock);
    if (!resize(content.bytes, capacity)) {
        return content;
    }
    ssize_t count = 0;
    while ((count = readSome(fd, content.bytes.get() + content.size, capacity - content.size - 1)) >
           0) {
        content.size += static_cast<size_t>(count);
        if (content.size + 1 < capacity) {
            continue;
        }
        capacity *= 2;
        if (!resize(content.bytes, capacity)) {
            return {};
        }
    }
    content.bytes.get()[content.size] = '\0';
    content.end = count == 0 ? FileContent::End::kReached : FileContent::End::kBroken;
    return content;
}

bool writeAll(int fd, const char* bytes, size_t count, WriteCall call) {
    while (count > 0) {
        const ssize_t taken = call(fd, bytes, std::min(count, kLargestTransfer));
        if (taken > 0) {
            bytes += taken;
            count -= static_cast<size_t>(taken);
        } else if (taken == 0) {
            errno = EIO;
            return false;
        } else if (errno != EINTR) {
            return false;
        }
    }
    return true;
}

bool closeWritten(ScopedFd& fd) {
    // An interrupted close has let go of the descriptor and failed to store nothing.
    return close(fd.release()) == 0 || errno == EINTR;
}
