#include "ini/KvIniFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>

#include "base/KvDescriptor.h"

namespace {

constexpr size_t kSmallestBlock = 4096;
// Some systems refuse to move more than 2 GB in one call.
constexpr size_t kLargestTransfer = size_t{1} << 30U;
constexpr mode_t kNewFileMode = 0666;

}  // namespace

bool KvIniFile::open(const char* path) {
    // Not passed on to programs that an agent may start.
    fd_.reset(::open(path, O_RDONLY | O_CLOEXEC));
    return fd_.isOpen();
}

bool KvIniFile::fetch() {
    // One byte for the NUL, one so that the end is seen without growing.
    if (!grow(std::max(expectedSize() + 2, kSmallestBlock))) {
        return false;
    }
    while (readOnce()) {
        if (size_ + 1 == capacity_ && !grow(2 * capacity_)) {
            size_ = 0;
            bytes_.reset();
            return false;
        }
    }
    bytes_.get()[size_] = '\0';
    return true;
}

ScopedHeap<char> KvIniFile::releaseBytes() {
    return std::move(bytes_);
}

// Only a hint: the file may grow meanwhile, and pipes and devices have no size at all.
size_t KvIniFile::expectedSize() const {
    struct stat status {};
    return fstat(fd_.get(), &status) == 0 && S_ISREG(status.st_mode)
               ? static_cast<size_t>(status.st_size)
               : 0;
}

bool KvIniFile::grow(size_t capacity) {
    auto* grown = static_cast<char*>(realloc(bytes_.get(), capacity));
    if (grown == nullptr) {
        return false;
    }
    (void)bytes_.release();  // realloc has taken the old block over
    bytes_.reset(grown);
    capacity_ = capacity;
    return true;
}

// One read into the free part of the block; false at the end of what can be read.
bool KvIniFile::readOnce() {
    const size_t room = std::min(capacity_ - size_ - 1, kLargestTransfer);
    ssize_t got = -1;
    do {
        got = read(fd_.get(), bytes_.get() + size_, room);
    } while (got < 0 && errno == EINTR);
    size_ += got > 0 ? static_cast<size_t>(got) : 0;
    return got > 0;
}

bool KvIniRewriteFile(const char* path, const char* bytes, size_t size) {
    ScopedFd fd(::open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, kNewFileMode));
    if (!fd.isOpen()) {
        return false;
    }
    return writeAll(fd.get(), bytes, size) && closeWritten(fd);
}
