#include "journal/KvJournal.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <new>
#include <utility>

#include "base/KvDescriptor.h"
#include "base/KvFailure.h"
#include "fileop/KvDiskNames.h"
#include "fileop/KvFileOpUtil.h"
#include "fileop/KvOpenFile.h"
#include "fileop/KvPath.h"

namespace {

constexpr mode_t kPermissions = 0777;

bool fail(const char* subject, int error) {
    noteFailure(subject, error);
    return false;
}

// "" when there is none that fits.
std::string pathOf(const char* path) {
    return path != nullptr && *path != '\0' ? absolutePath(path) : std::string();
}

// What the record of a store holds; 0, or an errno. Missing is no error.
int readRecord(const char* path, JournalRecord& record) {
    const ScopedFd fd(openRegularFile(path, O_RDONLY, KvLastLink::kFollowOwn));
    if (!fd.isOpen()) {
        return errno == ENOENT || errno == ENOTDIR ? 0 : errno;
    }
    struct stat status {};
    if (fstat(fd.get(), &status) != 0) {
        return errno;
    }
    const FileContent content = readToEnd(fd.get());
    if (content.end != FileContent::End::kReached) {
        return content.end == FileContent::End::kNoMemory ? ENOMEM : EIO;
    }
    record.before = stateOf(status);
    record.content.assign(content.bytes.get(), content.size);
    return 0;
}

}  // namespace

FileState stateOf(const struct stat& status) {
    FileState state;
    state.isThere = true;
    state.size = static_cast<uint64_t>(status.st_size);
    state.seconds = status.st_mtime;
    state.mode = status.st_mode & kPermissions;
    return state;
}

std::string absolutePath(const std::string& path) {
    std::string absolute = path;
    if (path.empty() || path[0] != '/') {
        char directory[kLongPathCapacity];
        if (getcwd(directory, sizeof directory) == nullptr) {
            return {};
        }
        absolute = directory;
        if (!path.empty()) {
            absolute += (absolute.back() == '/' ? "" : "/") + path;
        }
    }
    return absolute.size() < kLongPathCapacity ? absolute : std::string();
}

KvJournal::KvJournal() = default;
KvJournal::~KvJournal() = default;

bool KvJournal::write(Store& store, const JournalRecord& record) {
    JournalRecord numbered = record;
    numbered.number = number_;
    const int error = store.file.append(journalLine(numbered));
    if (error != 0) {
        return fail(store.file.path().c_str(), error);
    }
    ++number_;
    return true;
}

void KvJournal::willMakeDir(const char* directory) {
    try {
        JournalRecord record;
        record.kind = JournalKind::kDir;
        record.path = pathOf(directory);
        if (record.path.empty()) {
            return;
        }
        const KvFailureScope goesOn;
        // A destination is not made for its journal's sake before the run makes it itself.
        Store* const store = KvFileOpUtil::isDir(destination_.c_str()) ? current() : nullptr;
        // A directory that is not told stays, empty, when the run is cut off.
        if (store == nullptr || !write(*store, record)) {
            pendingDirs_.push_back(record.path);
        }
    } catch (const std::bad_alloc&) {
        return;
    }
}

bool KvJournal::willChange(const FileChange& change) {
    try {
        Store* const store = current();
        if (store == nullptr) {
            return true;
        }
        JournalRecord record;
        record.kind = !change.before.isThere  ? JournalKind::kNew
                      : !change.after.isThere ? JournalKind::kDel
                                              : JournalKind::kOver;
        record.path = pathOf(change.target);
        record.saved = pathOf(change.saved);
        record.before = change.before;
        record.after = change.after;
        if (record.path.empty() || (change.saved != nullptr && !isSavedCopyPath(record.saved))) {
            return fail(change.target, ENAMETOOLONG);
        }
        const Change made{number_, store};
        if (!write(*store, record)) {
            return false;
        }
        changes_[record.path] = made;
        last_ = made;
        return true;
    } catch (const std::bad_alloc&) {
        return fail(change.target, ENOMEM);
    }
}

bool KvJournal::savedNameWasTaken() {
    if (last_.store == nullptr) {
        return true;
    }
    try {
        JournalRecord record;
        record.kind = JournalKind::kVoid;
        record.change = last_.number;
        return write(*last_.store, record);
    } catch (const std::bad_alloc&) {
        return fail(kJournalPrefix, ENOMEM);
    }
}

// Nothing of what is written here is needed by a run that comes to its end, so that a line that
// cannot be written changes nothing.
void KvJournal::writeAbout(const char* target, JournalRecord record) {
    const KvFailureScope goesOn;
    try {
        const auto change = changes_.find(pathOf(target));
        if (change != changes_.end()) {
            record.change = change->second.number;
            (void)write(*change->second.store, record);
        }
    } catch (const std::bad_alloc&) {
        return;
    }
}

void KvJournal::writeState(const char* target) {
    JournalRecord record;
    record.kind = JournalKind::kGave;
    struct stat status {};
    if (target != nullptr && stat(target, &status) == 0 && S_ISREG(status.st_mode)) {
        record.after = stateOf(status);
    }
    writeAbout(target, std::move(record));
}

void KvJournal::changedOtherwise(const char* target) {
    writeState(target);
}

void KvJournal::couldNotPutBack(const char* target) {
    isStuck_ = true;
    writeState(target);
}

void KvJournal::willPutBack(const char* target) {
    JournalRecord record;
    record.kind = JournalKind::kBack;
    writeAbout(target, std::move(record));
}

bool KvJournal::willMerge(const char* record) {
    try {
        Store* const store = current();
        if (store == nullptr) {
            return true;
        }
        JournalRecord former;
        former.kind = JournalKind::kMerge;
        former.path = pathOf(record);
        if (former.path.empty()) {
            return fail(record, ENAMETOOLONG);
        }
        if (std::find(merged_.begin(), merged_.end(), former.path) != merged_.end()) {
            return true;
        }
        const int error = readRecord(record, former);
        if (error != 0) {
            return fail(record, error);
        }
        if (!write(*store, former)) {
            return false;
        }
        merged_.push_back(former.path);
        return true;
    } catch (const std::bad_alloc&) {
        return fail(record, ENOMEM);
    }
}
