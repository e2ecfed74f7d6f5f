// KvJournal: making the journals.
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>
#include <utility>

#include "base/KvFailure.h"
#include "base/KvText.h"
#include "fileop/KvDiskNames.h"
#include "fileop/KvFileOpUtil.h"
#include "journal/KvJournal.h"

namespace {

constexpr mode_t kDirMode = 0775;  // less the umask, as of every directory of the tool

// No two runs have the same name, and a later run has a later one.
std::string nameOfRun() {
    timespec now{};
    (void)clock_gettime(CLOCK_REALTIME, &now);  // else the process number alone tells
    char name[64];
    Snprintf(name, sizeof name, "%lld.%09ld.%ld", static_cast<long long>(now.tv_sec),
             static_cast<long>(now.tv_nsec), static_cast<long>(getpid()));
    return name;
}

int makeDir(const std::string& path) {
    return mkdir(path.c_str(), kDirMode) == 0 ? 0 : errno;
}

std::vector<std::string> missingDirs(std::string path) {
    std::vector<std::string> missing;
    while (!path.empty() && !KvFileOpUtil::isExist(path.c_str())) {
        missing.insert(missing.begin(), path);
        path.erase(path.find_last_of('/'));
        while (!path.empty() && path.back() == '/') {
            path.pop_back();
        }
    }
    return missing;
}

}  // namespace

void KvJournal::enter(const char* destination) {
    try {
        destination_ = destination != nullptr ? destination : "";
        isEntered_ = true;
    } catch (const std::bad_alloc&) {
        isEntered_ = false;
    }
}

// Null where there is no journal.
KvJournal::Store* KvJournal::current() {
    if (!isEntered_) {
        return nullptr;
    }
    const auto known = byDestination_.find(destination_);
    if (known != byDestination_.end()) {
        return known->second;
    }
    const KvFailureScope goesOn;
    Store* const made = open(destination_);
    byDestination_[destination_] = made;
    return made;
}

KvJournal::Store* KvJournal::open(const std::string& destination) {
    std::string path = absolutePath(destination);
    if (path.empty()) {
        return nullptr;
    }
    path += path.back() == '/' ? "" : "/";
    path += kBackupStoreName;
    Store* const same = findSame(path);
    if (same != nullptr) {
        return same;
    }
    auto store = std::make_unique<Store>();
    store->path = path;
    const bool isJoining = !stores_.empty();
    if (run_.empty()) {
        run_ = nameOfRun();
    }
    const size_t hadOwnDirs = ownDirs_.size();
    if (!makeDirs(path) || store->file.create(path) != 0 || !begin(*store, isJoining)) {
        // Empty or torn, the journal says nothing, should it stay.
        (void)store->file.remove();
        removeOwnDirs();
        ownDirs_.resize(hadOwnDirs);
        return nullptr;
    }
    stores_.push_back(std::move(store));
    return stores_.back().get();
}

KvJournal::Store* KvJournal::findSame(const std::string& path) {
    for (const auto& store : stores_) {
        if (store->path == path || isSameDir(store->path, path)) {
            return store.get();
        }
    }
    return nullptr;
}

// Makes the store and what it lacks above it. A later store is announced in the master first.
bool KvJournal::makeDirs(const std::string& path) {
    const std::vector<std::string> missing = missingDirs(path);
    if (missing.empty() && isMarkedStore(path)) {
        ownDirs_.push_back(path);  // another run has made it, and may end before this one
    }
    if (!stores_.empty()) {
        JournalRecord join;
        join.kind = JournalKind::kJoin;
        join.path = path;
        if (!write(*stores_.front(), join)) {
            return false;
        }
        for (const std::string& directory : missing) {
            JournalRecord own;
            own.kind = JournalKind::kOwn;
            own.path = directory;
            if (!write(*stores_.front(), own)) {
                return false;
            }
        }
    }
    for (const std::string& directory : missing) {
        const int error = directory == path ? makeMarkedStore(path) : makeDir(directory);
        if (error != 0) {
            return error == EEXIST;  // another run has made it meanwhile
        }
        ownDirs_.push_back(directory);
    }
    return true;
}

// Writes the first lines, all at once.
bool KvJournal::begin(Store& store, bool isJoining) {
    JournalRecord record;
    record.number = number_++;
    record.content = run_;
    record.path = store.path;
    record.saved = isJoining ? stores_.front()->file.path() : "";
    std::string lines = journalLine(record);
    const auto add = [&](JournalKind kind, const std::vector<std::string>& directories) {
        for (const std::string& directory : directories) {
            JournalRecord made;
            made.kind = kind;
            made.number = number_++;
            made.path = directory;
            lines += journalLine(made);
        }
    };
    if (!isJoining) {
        add(JournalKind::kOwn, ownDirs_);
        add(JournalKind::kDir, pendingDirs_);
        pendingDirs_.clear();
    }
    return store.file.append(lines) == 0;
}
