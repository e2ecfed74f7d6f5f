#include "fileop/KvTreeStep.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "fileop/KvPath.h"

namespace {

// On a file system that ignores case a name is found though its entry is spelled otherwise; only a
// listing tells the spelling.
bool ignoresCase(const char* directory) {
#ifdef _PC_CASE_SENSITIVE
    return pathconf(directory, _PC_CASE_SENSITIVE) == 0;
#else
    (void)directory;
    return false;
#endif
}

}  // namespace

KvMatchList::KvMatchList(const KvSimpleString& path) {
    name_ = FileNameOf(path.c_str());
    if (name_.empty() || isWildcardName(name_.c_str()) || KvFileOpUtil::isDir(path.c_str())) {
        list_.emplace(path.c_str());
    } else {
        lookUp(path);
    }
}

// Finds what the listing would find: by the listing's own directory part (empty for a name directly
// under the root), dangling links included, and nothing in a directory that cannot be read.
void KvMatchList::lookUp(const KvSimpleString& path) {
    const KvSimpleString directory = DirNameOf(path.c_str());
    path_ = directory + name_;
    struct stat status {};
    const char* const listed = directory.empty() ? "./" : directory.c_str();
    const bool isThere = lstat(path_.c_str(), &status) == 0;
    // A directory that may be read but not searched still lists the name.
    const bool isUnknown = !isThere && errno != ENOENT && errno != ENOTDIR;
    if (isUnknown || (isThere && ignoresCase(listed))) {
        list_.emplace(path.c_str());
        return;
    }
    isFound_ = isThere && access(listed, R_OK) == 0;
    isDir_ = isFound_ && (S_ISDIR(status.st_mode) ||
                          (S_ISLNK(status.st_mode) && KvFileOpUtil::isDir(path_.c_str())));
}

bool KvMatchList::next() {
    if (!list_.has_value()) {
        const bool found = isFound_;
        isFound_ = false;
        return found;
    }
    while (list_->hasNext()) {
        const bool isListedDir = list_->isNextDir();
        name_ = list_->getFileName();
        path_ = list_->getNext();
        if (isListedDir && !_fnmatch(list_->getFilter().c_str(), name_.c_str())) {
            continue;
        }
        // A directory whose path cannot be followed (too long, or no search permission above it)
        // is handled like a file, which reports the failure.
        isDir_ = isListedDir && KvFileOpUtil::isDir(path_.c_str());
        return true;
    }
    return false;
}
