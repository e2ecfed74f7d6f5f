#include "journal/KvSettleFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <vector>

#include "base/KvDescriptor.h"
#include "fileop/KvOpenFile.h"
#include "journal/KvJournal.h"

namespace {

constexpr size_t kBlock = 65536;

timespec changeTimeOf(const struct stat& status) {
#ifdef __APPLE__
    return status.st_ctimespec;
#else
    return status.st_ctim;
#endif
}

int errorOf(bool isDone) {
    return isDone ? 0 : errno;
}

// Takes the next bytes of the former content; the count, 0 at its end, or -1 with errno.
using Source = std::function<ssize_t(char* block, size_t room)>;

int openTarget(const std::string& target, const FileState& former, ScopedFd& fd) {
    fd.reset(openRegularFile(target.c_str(), O_WRONLY, KvLastLink::kFollow));
    if (fd.isOpen() || errno != ENOENT) {
        return errorOf(fd.isOpen());
    }
    constexpr mode_t kOwnOnly = 0600;
    fd.reset(openRegularFile(target.c_str(), O_WRONLY | O_CREAT | O_EXCL, KvLastLink::kFollowOwn,
                             kOwnOnly));
    return errorOf(fd.isOpen() && fchmod(fd.get(), static_cast<mode_t>(former.mode)) == 0);
}

int pour(const Source& source, int fd, const BeforeStep& before) {
    std::vector<char> block(kBlock);
    for (;;) {
        const ssize_t count = source(block.data(), block.size());
        if (count <= 0) {
            return errorOf(count == 0);
        }
        before();
        if (!writeAll(fd, block.data(), static_cast<size_t>(count))) {
            return errno;
        }
    }
}

// Not emptied first: what it has of room stays its own, so that a full disk hurts less.
int restore(const Source& source, const std::string& target, const FileState& former,
            bool& isTimeSet, const BeforeStep& before) {
    before();
    ScopedFd fd;
    int error = openTarget(target, former, fd);
    if (error == 0) {
        error = pour(source, fd.get(), before);
    }
    if (error != 0) {
        return error;
    }
    before();
    if (ftruncate(fd.get(), static_cast<off_t>(former.size)) != 0) {
        return errno;
    }
    const auto seconds = static_cast<time_t>(former.seconds);
    const timespec times[2] = {{seconds, 0}, {seconds, 0}};
    before();
    // A file of another user may take bytes but no time: it is put back all the same.
    isTimeSet = futimens(fd.get(), times) == 0;
    return errorOf(closeWritten(fd));
}

}  // namespace

SeenFile lookAt(const std::string& path) {
    SeenFile seen;
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0) {
        const bool isMissing = errno == ENOENT || errno == ENOTDIR;
        seen.kind = isMissing ? SeenFile::Kind::kMissing : SeenFile::Kind::kFailed;
        seen.error = errno;
        return seen;
    }
    seen.isLink = S_ISLNK(status.st_mode);
    seen.isForeignLink = seen.isLink && status.st_uid != geteuid() && status.st_uid != 0;
    if (seen.isLink && stat(path.c_str(), &status) != 0) {
        seen.kind = SeenFile::Kind::kOdd;
        return seen;
    }
    if (S_ISDIR(status.st_mode)) {
        seen.kind = SeenFile::Kind::kDirectory;
    } else if (!S_ISREG(status.st_mode)) {
        seen.kind = SeenFile::Kind::kOdd;
    } else {
        seen.kind = SeenFile::Kind::kFile;
        seen.state = stateOf(status);
        seen.changedAt = changeTimeOf(status);
    }
    return seen;
}

int putBack(const std::string& copy, const std::string& target, const FileState& former,
            bool& isTimeSet, const BeforeStep& before) {
    const ScopedFd source(
        openRegularFile(copy.c_str(), O_RDONLY | O_NOFOLLOW, KvLastLink::kFollow));
    if (!source.isOpen()) {
        return errno;
    }
    return restore([&](char* block, size_t room) { return readSome(source.get(), block, room); },
                   target, former, isTimeSet, before);
}

int writeBack(const std::string& content, const std::string& target, const FileState& former,
              const BeforeStep& before) {
    size_t taken = 0;
    const auto next = [&](char* block, size_t room) {
        const size_t count = std::min(room, content.size() - taken);
        std::copy_n(content.data() + taken, count, block);
        taken += count;
        return static_cast<ssize_t>(count);
    };
    FileState whole = former;
    whole.size = content.size();
    bool isTimeSet = false;
    return restore(next, target, whole, isTimeSet, before);
}

bool holds(const std::string& path, const std::string& content) {
    const ScopedFd fd(openRegularFile(path.c_str(), O_RDONLY, KvLastLink::kFollow));
    if (!fd.isOpen()) {
        return false;
    }
    const FileContent read = readToEnd(fd.get());
    return read.end == FileContent::End::kReached &&
           std::string(read.bytes.get(), read.size) == content;
}
