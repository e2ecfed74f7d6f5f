// The questions about a single path: everything that needs no listing.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "base/KvScoped.h"
#include "base/KvSimpleStream.h"
#include "fileop/KvFileOpUtil.h"
#include "fileop/KvMD5.h"
#include "fileop/KvPath.h"

static_assert(sizeof(void*) != 8 || sizeof(KvFileOpUtil::CallbackEntry) == 56,
              "callers set cbSize to 56");

namespace {

constexpr size_t kCompareBlock = 262144;

int openForReading(const char* path) {
    return isMissingPath(path) ? -1 : open(path, O_RDONLY | O_CLOEXEC);
}

// The position of the end; -1 when the file cannot be opened or has none.
off_t sizeOf(const char* path) {
    const ScopedFd file(openForReading(path));
    return file.isOpen() ? lseek(file.get(), 0, SEEK_END) : -1;
}

// -1 when the stream has no size; it then stands anywhere, otherwise at its start.
long streamSize(KvSimpleIStream& stream) {
    stream.seekg(0, SEEK_END);
    const long size = stream.tellg();
    stream.seekg(0, SEEK_SET);
    return stream.bad() ? -1 : size;
}

bool haveSameBytes(KvSimpleIStream& a, KvSimpleIStream& b, size_t size) {
    const size_t block = std::min(size, kCompareBlock);
    const ScopedHeap<char> left(static_cast<char*>(malloc(block + 1)));
    const ScopedHeap<char> right(static_cast<char*>(malloc(block + 1)));
    if (left == nullptr || right == nullptr) {
        return false;
    }
    size_t compared = 0;
    while (compared < size) {
        const size_t count = a.read(left.get(), block).gcount();
        // Nothing before the size is reached: the file shrank, or cannot be read after all.
        if (count == 0 || b.read(right.get(), block).gcount() != count ||
            memcmp(left.get(), right.get(), count) != 0) {
            return false;
        }
        compared += count;
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
    int failure = stat(path, &status);
    if (failure != 0) {
        // A network file system may fail once and then answer.
        failure = stat(path, &status);
    }
    return failure == 0 && S_ISDIR(status.st_mode);
}

bool KvFileOpUtil::exist(const char* path) {
    return ScopedFd(openForReading(path)).isOpen();
}

bool KvFileOpUtil::isExist(const char* path) {
    return !isMissingPath(path) && access(path, F_OK) == 0;
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
    KvSimpleIStream left;
    KvSimpleIStream right;
    const int mode = KvSimpleStream::in | KvSimpleStream::binary;
    left.open(normalizedPath(a).c_str(), mode);
    right.open(normalizedPath(b).c_str(), mode);
    if (!left.is_open() || !right.is_open()) {
        return false;
    }
    const long size = streamSize(left);
    return size >= 0 && size == streamSize(right) &&
           haveSameBytes(left, right, static_cast<size_t>(size));
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
    return ::rename(source.c_str(), target.c_str()) == 0;
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
