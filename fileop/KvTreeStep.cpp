#include "fileop/KvTreeStep.h"

#include <cerrno>

#include "base/KvFailure.h"
#include "fileop/KvPath.h"
#include "fileop/KvSystem.h"

bool isDirByRule(const KvSimpleString& path, KvLinks links) {
    if (links == KvLinks::kFollowed) {
        return KvFileOpUtil::isDir(path.c_str());
    }
    struct stat status {};
    return sysLstat(path, status) == 0 && S_ISDIR(status.st_mode);
}

KvMatchList::KvMatchList(const KvSimpleString& path, KvLinks links)
    : links_(links), whole_(path), name_(FileNameOf(path.c_str())) {
    if (path.failed() || whole_.failed() || name_.failed()) {
        error_ = ENOMEM;
    } else if (name_.empty() || isWildcardName(name_.c_str()) || isDirByRule(path, links)) {
        list_.emplace(path.c_str());
    } else {
        lookUp(path);
    }
}

// Finds what the listing would find: by the listing's own directory part (empty for a name directly
// under the root), dangling links included.
void KvMatchList::lookUp(const KvSimpleString& path) {
    path_ = DirNameOf(path.c_str()) + name_;
    struct stat status {};
    if (path_.failed()) {
        error_ = ENOMEM;
        return;
    }
    // Nothing bears a name that is too long. What else cannot be looked at is handled like a file,
    // which reports the failure.
    isFound_ = sysLstat(path_, status) == 0 ||
               (errno != ENOENT && errno != ENOTDIR && errno != ENAMETOOLONG);
    // The path itself has just been found to be no directory. Asking again, and getting another
    // answer from a system that fails, must not make a level of this one.
    isDir_ = isFound_ && path_ != path && isDirByRule(path_, links_);
}

bool KvMatchList::next() {
    if (!list_.has_value()) {
        const bool found = isFound_;
        isFound_ = false;
        return found;
    }
    while (error_ == 0 && list_->hasNext()) {
        const bool isListedDir = list_->isNextDir();
        name_ = list_->getFileName();
        path_ = list_->getNext();
        if (name_.failed() || path_.failed()) {
            error_ = ENOMEM;
            return false;
        }
        if (isListedDir && !_fnmatch(list_->getFilter().c_str(), name_.c_str())) {
            continue;
        }
        // A directory whose path cannot be followed (too long, or no search permission above it)
        // is handled like a file, which reports the failure.
        isDir_ = isListedDir && isDirByRule(path_, links_);
        if (isListedDir && !isDir_ && isGone()) {
            continue;
        }
        return true;
    }
    return false;
}

bool KvMatchList::isGone() const {
    struct stat status {};
    return sysLstat(path_, status) != 0 && errno == ENOENT;
}

int KvMatchList::finish() const {
    if (error_ != 0) {
        noteFailure(whole_.c_str(), error_);
        return error_;
    }
    const int error = list_.has_value() ? list_->getError() : 0;
    if (error != 0) {
        noteFailure(list_->getDirectory(), error);
    }
    return error;
}
