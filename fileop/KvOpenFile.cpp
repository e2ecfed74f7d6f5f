#include "fileop/KvOpenFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "base/KvFailure.h"
#include "base/KvScoped.h"
#include "fileop/KvSystem.h"

namespace {

// O_NONBLOCK keeps the open of a pipe from waiting for its other end and means nothing for regular
// files; O_NOCTTY keeps a terminal from becoming the one that controls the process.
constexpr int kAlways = O_CLOEXEC | O_NONBLOCK | O_NOCTTY;

// What systems answer to the open of a socket, and of a pipe that nobody reads.
bool isOddFileError(int error) {
    return error == ENXIO || error == EOPNOTSUPP;
}

// Why the link must not be followed; 0 when it may be.
int refusalOf(const char* path) {
    struct stat status {};
    if (sysLstat(path, status) != 0) {
        return errno;
    }
    if (!S_ISLNK(status.st_mode)) {
        return ELOOP;  // replaced meanwhile, or links among the parents that lead in a circle
    }
    const bool isOwn = status.st_uid == geteuid() || status.st_uid == 0;
    return isOwn ? 0 : kErrorForeignLink;
}

int openUnlessForeign(const char* path, int flags, mode_t mode) {
    // The open itself refuses links. A look-up before it would not see one that is put there
    // between the two.
    const int fd = sysOpen(path, flags | O_NOFOLLOW, mode);
    if (fd >= 0 || errno != ELOOP) {
        return fd;
    }
    const int refusal = refusalOf(path);
    if (refusal != 0) {
        errno = refusal;
        return -1;
    }
    return sysOpen(path, flags, mode);
}

// 0 for a regular file.
int errorOf(int fd) {
    struct stat status {};
    if (fstat(fd, &status) != 0) {
        return errno;
    }
    if (S_ISDIR(status.st_mode)) {
        return EISDIR;
    }
    return S_ISREG(status.st_mode) ? 0 : kErrorNotRegularFile;
}

}  // namespace

int openRegularFile(const char* path, int flags, KvLastLink link, mode_t mode) {
    const int all = flags | kAlways;
    ScopedFd file(link == KvLastLink::kFollow ? sysOpen(path, all, mode)
                                              : openUnlessForeign(path, all, mode));
    if (!file.isOpen()) {
        errno = isOddFileError(errno) ? kErrorNotRegularFile : errno;
        return -1;
    }
    const int error = errorOf(file.get());
    if (error != 0) {
        file.reset();
        errno = error;
        return -1;
    }
    return file.release();
}
