#include "journal/KvJournalFile.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "base/KvDescriptor.h"
#include "fileop/KvDiskNames.h"
#include "journal/KvJournalText.h"

namespace {

constexpr mode_t kJournalMode = 0600;
constexpr mode_t kStoreMode = 0775;  // less the umask, as of every directory of the tool
constexpr int kMostJournals = 9999;
constexpr size_t kPrefixLength = sizeof kJournalPrefix - 1;

JournalFile* s_first = nullptr;

// Why a file of that name does not count as a journal; null when it does.
const char* objectionTo(const struct stat& status) {
    if (!S_ISREG(status.st_mode)) {
        return "Not a regular file";
    }
    if (status.st_nlink > 1) {
        return "Has several names";
    }
    if (status.st_uid != geteuid() && status.st_uid != 0) {
        return "Belongs to another user";
    }
    return (status.st_mode & (S_IWGRP | S_IWOTH)) != 0 ? "Others may write to it" : nullptr;
}

int lockFile(int fd) {
    int result = 0;
    do {
        result = flock(fd, LOCK_EX | LOCK_NB);
    } while (result != 0 && errno == EINTR);
    return result == 0 ? 0 : errno;
}

}  // namespace

bool isJournalName(const char* name) {
    return strncmp(name, kJournalPrefix, kPrefixLength) == 0 && name[kPrefixLength] != '\0' &&
           strspn(name + kPrefixLength, "0123456789") == strlen(name + kPrefixLength);
}

bool isSameDir(const std::string& a, const std::string& b) {
    struct stat first {};
    struct stat second {};
    return stat(a.c_str(), &first) == 0 && stat(b.c_str(), &second) == 0 &&
           first.st_dev == second.st_dev && first.st_ino == second.st_ino;
}

int makeMarkedStore(const std::string& path) {
    // Systems that do not let mkdir set the mark leave an empty directory in that one moment.
    return mkdir(path.c_str(), kStoreMode | S_ISVTX) == 0 ? 0 : errno;
}

bool isMarkedStore(const std::string& path) {
    struct stat status {};
    return lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) &&
           (status.st_mode & S_ISVTX) != 0 && status.st_uid == geteuid();
}

void unmarkStore(const std::string& path) {
    struct stat status {};
    if (!isMarkedStore(path) || rmdir(path.c_str()) == 0 || stat(path.c_str(), &status) != 0) {
        return;
    }
    constexpr mode_t kPermissions = 07777 & ~S_ISVTX;
    (void)chmod(path.c_str(), status.st_mode & kPermissions);  // a mark that stays does no harm
}

void clearOwnDirs(const std::vector<std::string>& directories,
                  const std::vector<std::string>& storesInUse) {
    for (auto directory = directories.rbegin(); directory != directories.rend(); ++directory) {
        const bool isInUse =
            std::any_of(storesInUse.begin(), storesInUse.end(), [&](const std::string& store) {
                return store.compare(0, directory->size(), *directory) == 0;
            });
        if (!isInUse) {
            unmarkStore(*directory);
            (void)rmdir(directory->c_str());  // one that the run has filled stays
        }
    }
}

JournalFile::JournalFile() {
    // Asked for once: it cannot be taken back. Without memory for it forked children keep the lock.
    static const int isWatched = pthread_atfork(nullptr, nullptr, closeAllInChild);
    (void)isWatched;
    next_ = s_first;
    link_ = &s_first;
    if (next_ != nullptr) {
        next_->link_ = &next_;
    }
    s_first = this;
}

JournalFile::~JournalFile() {
    *link_ = next_;
    if (next_ != nullptr) {
        next_->link_ = link_;
    }
}

// Only calls that are safe between fork and exec.
void JournalFile::closeAllInChild() {
    for (JournalFile* file = s_first; file != nullptr; file = file->next_) {
        file->fd_.reset();
    }
}

int JournalFile::createAs(const std::string& path) {
    fd_.reset(::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_APPEND | O_NOFOLLOW | O_CLOEXEC,
                     kJournalMode));
    if (!fd_.isOpen()) {
        return errno;
    }
    struct stat status {};
    int error = lockFile(fd_.get());
    // Whatever the umask is, the next run must be able to open it.
    if (error == 0 && (fchmod(fd_.get(), kJournalMode) != 0 || fstat(fd_.get(), &status) != 0)) {
        error = errno;
    }
    if (error == 0 && status.st_nlink == 0) {
        error = EWOULDBLOCK;
    }
    if (error == EWOULDBLOCK) {
        fd_.reset();
        return EEXIST;  // another run has met it without its lock and clears it away
    }
    if (error != 0) {
        (void)unlink(path.c_str());  // what is left is empty and says nothing
        fd_.reset();
        return error;
    }
    path_ = path;
    device_ = status.st_dev;
    inode_ = status.st_ino;
    return 0;
}

int JournalFile::create(const std::string& store) {
    int error = EEXIST;
    for (int number = 1; error == EEXIST && number <= kMostJournals; ++number) {
        error = createAs(store + "/" + kJournalPrefix + std::to_string(number));
    }
    return error;
}

JournalFile::Opening JournalFile::refuse(const char* why) {
    fd_.reset();
    why_ = why;
    return Opening::kForeign;
}

JournalFile::Opening JournalFile::fail(int error) {
    fd_.reset();
    error_ = error;
    return Opening::kFailed;
}

JournalFile::Opening JournalFile::open(const std::string& path, Access access) {
    path_ = path;
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0) {
        const bool isGone = errno == ENOENT || errno == ENOTDIR;
        return isGone ? Opening::kGone : fail(errno);
    }
    // Looked at before it is opened, too: to open a device or a pipe may do something.
    const char* const objection = objectionTo(status);
    if (objection != nullptr) {
        return refuse(objection);
    }
    const int flags = access == Access::kChange ? O_RDWR | O_APPEND : O_RDONLY;
    fd_.reset(::open(path.c_str(), flags | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!fd_.isOpen()) {
        return errno == ENOENT ? Opening::kGone : fail(errno);
    }
    return lock();
}

JournalFile::Opening JournalFile::lock() {
    const int error = lockFile(fd_.get());
    if (error == EWOULDBLOCK) {
        fd_.reset();
        return Opening::kLive;
    }
    struct stat status {};
    if (error != 0 || fstat(fd_.get(), &status) != 0) {
        return fail(error != 0 ? error : errno);
    }
    if (status.st_nlink == 0) {
        fd_.reset();
        return Opening::kGone;
    }
    const char* const objection = objectionTo(status);
    if (objection != nullptr) {
        return refuse(objection);
    }
    device_ = status.st_dev;
    inode_ = status.st_ino;
    size_ = status.st_size;
#ifdef __APPLE__
    writtenAt_ = status.st_mtimespec;
#else
    writtenAt_ = status.st_mtim;
#endif
    return Opening::kOpened;
}

int JournalFile::read(std::string& bytes) const {
    if (lseek(fd_.get(), 0, SEEK_SET) != 0) {
        return errno;
    }
    const FileContent content = readToEnd(fd_.get());
    if (content.end != FileContent::End::kReached) {
        return content.end == FileContent::End::kNoMemory ? ENOMEM : EIO;
    }
    bytes.assign(content.bytes.get(), content.size);
    return 0;
}

int JournalFile::readStart(std::string& bytes, size_t most) const {
    bytes.resize(most);
    const ssize_t count = pread(fd_.get(), bytes.data(), most, 0);
    if (count < 0) {
        return errno;
    }
    bytes.resize(static_cast<size_t>(count));
    return 0;
}

int JournalFile::append(const std::string& lines) {
    const std::string bytes = hasTail_ ? kCancelledEnd + lines : lines;
    if (!writeAll(fd_.get(), bytes.data(), bytes.size())) {
        hasTail_ = true;
        return errno;
    }
    hasTail_ = false;
    return 0;
}

int JournalFile::remove() {
    if (!fd_.isOpen()) {
        return 0;
    }
    error_ = unlink(path_.c_str()) == 0 || errno == ENOENT ? 0 : errno;
    const bool isQuiet = error_ == 0 || ftruncate(fd_.get(), 0) == 0;
    fd_.reset();
    return isQuiet ? 0 : error_;
}

bool JournalFile::isAt(const std::string& path) const {
    struct stat status {};
    return lstat(path.c_str(), &status) == 0 && status.st_dev == device_ && status.st_ino == inode_;
}
