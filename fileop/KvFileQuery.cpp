// The questions about a single path: everything that needs no listing.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "base/KvDescriptor.h"
#include "base/KvScoped.h"
#include "fileop/KvFileOpUtil.h"
#include "fileop/KvMD5.h"
#include "fileop/KvOpenFile.h"
#include "fileop/KvPath.h"
#include "fileop/KvSystem.h"

static_assert(sizeof(void*) != 8 || sizeof(KvFileOpUtil::CallbackEntry) == 56,
              "callers set cbSize to 56");

namespace {

constexpr size_t kCompareBlock = 262144;

// O_NONBLOCK keeps the open of a pipe from waiting for its other end.
int openForReading(const char* path) {
    return sysOpen(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
}

// The position of the end; -1 when the file cannot be opened or has none.
off_t sizeOf(const char* path) {
    const ScopedFd file(openForReading(path));
    return file.isOpen() ? lseek(file.get(), 0, SEEK_END) : -1;
}

// As many bytes as there are, up to `room`; -1 for a failure.
ssize_t readBlock(int fd, char* block, size_t room) {
    size_t got = 0;
    while (got < room) {
        const ssize_t count = readSome(fd, block + got, room - got);
        if (count < 0) {
            return -1;
        }
        if (count == 0) {
            break;
        }
        got += static_cast<size_t>(count);
    }
    return static_cast<ssize_t>(got);
}

bool haveSameBytes(int a, int b, size_t size) {
    const size_t block = std::min(size, kCompareBlock);
    const ScopedHeap<char> left(static_cast<char*>(malloc(block + 1)));
    const ScopedHeap<char> right(static_cast<char*>(malloc(block + 1)));
    if (left == nullptr || right == nullptr) {
        return false;
    }
    size_t compared = 0;
    while (compared < size) {
        const ssize_t count = readBlock(a, left.get(), block);
        // Nothing before the size is reached: the file shrank, or cannot be read after all.
        if (count <= 0 || readBlock(b, right.get(), block) != count ||
            memcmp(left.get(), right.get(), static_cast<size_t>(count)) != 0) {
            return false;
        }
        compared += static_cast<size_t>(count);
    }
    return true;
}

}  // namespace

bool KvFileOpUtil::isDirName(const char* path) {
    return EndsWithSeparator(path);
}

bool KvFileOpUtil::isDir(const char* path) {
    if (isMissingPath(path)) {
        return false;
    }
    KvSimpleString shortened;
    if (EndsWithSeparator(path)) {
        shortened = path;
        RemoveTrailingSeparator(shortened);
        path = shortened.c_str();
    }
    struct stat status {};
    int failure = sysStat(path, status);
    if (failure != 0) {
        // A network file system may fail once and then answer.
        failure = sysStat(path, status);
    }
    return failure == 0 && S_ISDIR(status.st_mode);
}

bool KvFileOpUtil::isLink(const char* path) {
    KvSimpleString bare(path);
    RemoveTrailingSeparator(bare);
    struct stat status {};
    return sysLstat(bare, status) == 0 && S_ISLNK(status.st_mode);
}

bool KvFileOpUtil::exist(const char* path) {
    return ScopedFd(openForReading(path)).isOpen();
}

bool KvFileOpUtil::isExist(const char* path) {
    return sysAccess(path, F_OK) == 0;
}

unsigned int KvFileOpUtil::getFileSize(const char* path) {
    const off_t size = sizeOf(path);
    return size < 0 ? 0 : static_cast<unsigned int>(size);
}

bool KvFileOpUtil::filesizeEqualTo(const char* path, unsigned int size) {
    return !isMissingPath(path) && sizeOf(normalizedPath(path).c_str()) == static_cast<off_t>(size);
}

bool KvFileOpUtil::comp(const char* a, const char* b) {
    if (isMissingPath(a) || isMissingPath(b)) {
        return false;
    }
    const ScopedFd left(openRegularFile(normalizedPath(a).c_str(), O_RDONLY, KvLastLink::kFollow));
    const ScopedFd right(openRegularFile(normalizedPath(b).c_str(), O_RDONLY, KvLastLink::kFollow));
    struct stat leftStatus {};
    struct stat rightStatus {};
    return left.isOpen() && right.isOpen() && fstat(left.get(), &leftStatus) == 0 &&
           fstat(right.get(), &rightStatus) == 0 && leftStatus.st_size == rightStatus.st_size &&
           haveSameBytes(left.get(), right.get(), static_cast<size_t>(leftStatus.st_size));
}

KvSimpleString KvFileOpUtil::getFileMD5(const char* path) {
    const unsigned char* const digest = exist(path) ? KvMD5::MD5File(path) : nullptr;
    if (digest == nullptr) {
        return {};
    }
    char text[2 * KvMD5::kDigestSize + 1];
    for (size_t i = 0; i < KvMD5::kDigestSize; ++i) {
        (void)snprintf(text + 2 * i, 3, "%02x", digest[i]);  // always two digits
    }
    return text;
}

bool KvFileOpUtil::rename(const char* from, const char* to) {
    if (isMissingPath(from) || isMissingPath(to)) {
        return false;
    }
    KvSimpleString source = normalizedPath(from);
    KvSimpleString target = normalizedPath(to);
    RemoveTrailingSeparator(source);
    RemoveTrailingSeparator(target);
    return sysRename(source, target) == 0;
}

KvSimpleString KvFileOpUtil::getDirName(const char* path) {
    return DirNameOf(path);
}

KvSimpleString KvFileOpUtil::getFileName(const char* path) {
    return FileNameOf(path);
}

void KvFileOpUtil::NormalizeDirName(KvSimpleString& path) {
    (void)path;
}

KvRemoveHiddenAttr::KvRemoveHiddenAttr(const char* path) {
    (void)path;
}
