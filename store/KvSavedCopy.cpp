#include "store/KvSavedCopy.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>

#include "base/KvDescriptor.h"
#include "base/KvFailure.h"
#include "fileop/KvFileOpUtil.h"
#include "fileop/KvOpenFile.h"
#include "fileop/KvSystem.h"

namespace {

constexpr mode_t kCopyMode = 0644;

// What a tree copy does not take for a plain name.
constexpr char kReadOtherwise[] = "*?\\";

// Under a name that is too long for the system nothing can be.
bool isGone(int error) {
    return error == ENOENT || error == ENOTDIR || error == ENAMETOOLONG;
}

bool hasRoom(int copy, off_t bytes) {
    struct statvfs room {};
    // A file system that does not tell its room may still have it.
    if (bytes <= 0 || fstatvfs(copy, &room) != 0 || room.f_blocks == 0 || room.f_frsize == 0) {
        return true;
    }
    const auto needed = (static_cast<uint64_t>(bytes) - 1) / room.f_frsize + 1;
    // What is kept back for root counts for root.
    return needed <= room.f_bavail || (geteuid() == 0 && needed <= room.f_bfree);
}

bool fail(const char* path, int error) {
    noteFailure(path, error);
    return false;
}

// The copy of one file between open descriptors.
class Transfer {
  public:
    Transfer(const ScopedFd& source, const char* from, ScopedFd& target, const char* to)
        : source_(source), from_(from), target_(target), to_(to) {}

    [[nodiscard]] bool run(BackupNames& names, off_t expected) {
        char* const buffer = names.buffer();
        if (buffer == nullptr) {
            return fail(from_, ENOMEM);
        }
        if (!hasRoom(target_.get(), expected)) {
            return fail(to_, ENOSPC);
        }
        return pump(buffer) && finish();
    }

  private:
    bool pump(char* buffer) {
        off_t copied = 0;
        while (true) {
            const ssize_t count = readSome(source_.get(), buffer, BackupNames::kBufferSize);
            if (count < 0) {
                return fail(from_, errno);
            }
            if (!writeAll(target_.get(), buffer, static_cast<size_t>(count))) {
                return fail(to_, errno);
            }
            copied += count;
            if (count < static_cast<ssize_t>(BackupNames::kBufferSize) && isEnd(count, copied)) {
                return true;
            }
        }
    }

    // Whether a short block was the last one; the size tells that without one more read.
    bool isEnd(ssize_t count, off_t copied) {
        isKnown_ = fstat(source_.get(), &status_) == 0;
        return count == 0 || (isKnown_ && status_.st_size == copied);
    }

    bool finish() {
        if (isKnown_) {
            const timespec times[2] = {{status_.st_atime, 0}, {status_.st_mtime, 0}};
            // A copy without its times is a good copy still.
            (void)futimens(target_.get(), times);
        }
        return closeWritten(target_) || fail(to_, errno);
    }

    const ScopedFd& source_;
    const char* from_;
    ScopedFd& target_;
    const char* to_;
    bool isKnown_ = false;
    struct stat status_ {};  // of the source, at its end
};

// As far as the tree copy finds the file: a pattern names none, and a backslash is a separator.
bool copyAsPattern(const char* file, const char* copy) {
    const int result = KvFileOpUtil::copy(file, copy, true);
    if (result == KvFileOpUtil::kDone || result == KvFileOpUtil::kBadParameters ||
        result == KvFileOpUtil::kCannotOpenSource) {
        return true;
    }
    return fail(file, errno != 0 ? errno : EIO);
}

SavedCopy saveEmpty(BackupNames& names, const char* dir, char* out, size_t size) {
    return names.make(dir, out, size) ? SavedCopy::kDone : SavedCopy::kFailed;
}

SavedCopy keepIfWhole(bool isWhole, const char* copy) {
    if (isWhole) {
        return SavedCopy::kDone;
    }
    // Why it is not whole has been noted; a part that stays as well has no other reason.
    (void)KvFileOpUtil::unlink(copy);
    return SavedCopy::kFailed;
}

SavedCopy saveOtherwise(BackupNames& names, const char* dir, const char* file, char* out,
                        size_t size) {
    const SavedCopy made = saveEmpty(names, dir, out, size);
    return made == SavedCopy::kDone ? keepIfWhole(copyAsPattern(file, out), out) : made;
}

}  // namespace

SavedCopy saveCopy(BackupNames& names, const char* dir, const char* file, char* out, size_t size) {
    if (file == nullptr) {
        return saveEmpty(names, dir, out, size);
    }
    if (strpbrk(file, kReadOtherwise) != nullptr) {
        return saveOtherwise(names, dir, file, out, size);
    }
    const ScopedFd source(openRegularFile(file, O_RDONLY, KvLastLink::kFollow));
    if (!source.isOpen()) {
        if (isGone(errno)) {
            return saveEmpty(names, dir, out, size);
        }
        const bool isOdd = errno == kErrorNotRegularFile || errno == EISDIR;
        noteFailure(file, errno);
        return isOdd ? SavedCopy::kOdd : SavedCopy::kFailed;
    }
    struct stat status {};
    if (fstat(source.get(), &status) != 0) {
        noteFailure(file, errno);
        return SavedCopy::kFailed;
    }
    ScopedFd target;
    if (!names.makeOpen(dir, out, size, status.st_mode & kCopyMode, target)) {
        return SavedCopy::kFailed;
    }
    return keepIfWhole(Transfer(source, file, target, out).run(names, status.st_size), out);
}

PutBack putCopyBack(const char* copy, const char* file) {
    // Into a directory the copy would go under its own name.
    if (KvFileOpUtil::isDir(file)) {
        noteFailure(file, EISDIR);
        return PutBack::kFailed;
    }
    errno = 0;
    const int result = KvFileOpUtil::copy(copy, file, true);
    if (result == KvFileOpUtil::kDone) {
        return PutBack::kDone;
    }
    const int error = errno != 0 ? errno : EINVAL;
    struct stat status {};
    if (result == KvFileOpUtil::kCannotOpenSource && sysStat(copy, status) != 0 && isGone(errno)) {
        noteFailure(copy, errno);
        return PutBack::kCopyGone;
    }
    noteFailure(result == KvFileOpUtil::kCannotOpenSource ? copy : file, error);
    return PutBack::kFailed;
}
