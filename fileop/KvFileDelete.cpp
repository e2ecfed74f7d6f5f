// xunlink and unlink.
#include <unistd.h>

#include <cerrno>

#include "fileop/KvFileOpUtil.h"
#include "fileop/KvPath.h"
#include "fileop/KvTreeStep.h"

namespace {

// What is already gone, and a directory that still holds entries, are no failures.
bool isTolerated(int error) {
    return error == EEXIST || error == ENOENT || error == ENOTDIR || error == ENOTEMPTY;
}

// Deletes an entry whose kind is known.
int removeEntry(const KvStep& step, const char* path, bool isDirectory) {
    step.begin(path, nullptr);
    const int answer =
        step.before(isDirectory ? KvFileOpUtil::kRemoveDir : KvFileOpUtil::kDeleteFile);
    if (answer != KvFileOpUtil::kGoOn) {
        return KvStep::resultOf(answer);
    }
    const int status = isDirectory ? rmdir(path) : ::unlink(path);
    const int error = errno;
    if (status == 0) {
        return step.after();
    }
    step.end();
    return isTolerated(error) ? KvFileOpUtil::kDone : KvFileOpUtil::kBadParameters;
}

// Deletes the file or the directory of exactly this path.
int __unlink(const KvStep& step, const char* path) {
    if (isMissingPath(path)) {
        return KvFileOpUtil::kBadParameters;
    }
    return removeEntry(step, path, KvFileOpUtil::isDir(path));
}

int xunlinkTree(const KvStep& step, const char* path) {
    KvSimpleString target = normalizedPath(path);
    // Without memory for the path: an empty one would name the current directory.
    if (target.empty()) {
        return KvFileOpUtil::kBadParameters;
    }
    KvMatchList matches(target);
    while (matches.next()) {
        const char* const match = matches.path().c_str();
        const int result =
            matches.isDir() ? xunlinkTree(step, match) : removeEntry(step, match, false);
        if (result != KvFileOpUtil::kDone) {
            return result;
        }
    }
    if (!matches.isComplete()) {
        return KvFileOpUtil::kBadParameters;
    }
    RemoveTrailingSeparator(target);
    const bool isDirectory = KvFileOpUtil::isDir(target.c_str());
    return isDirectory ? removeEntry(step, target.c_str(), true)
                       : static_cast<int>(KvFileOpUtil::kDone);
}

}  // namespace

int KvFileOpUtil::xunlink(const char* path, Callback callback, CallbackEntry* entry) {
    return isMissingPath(path) ? static_cast<int>(kBadParameters)
                               : xunlinkTree({callback, entry}, path);
}

int KvFileOpUtil::unlink(const char* path, Callback callback, CallbackEntry* entry) {
    if (isMissingPath(path)) {
        return kBadParameters;
    }
    const KvStep step(callback, entry);
    KvSimpleString target = normalizedPath(path);
    RemoveTrailingSeparator(target);
    if (!isWildcardName(target.c_str()) || isDir(target.c_str())) {
        return __unlink(step, target.c_str());
    }
    KvMatchList matches(target);
    while (matches.next()) {
        const int result = removeEntry(step, matches.path().c_str(), matches.isDir());
        if (result != kDone) {
            return result;
        }
    }
    return matches.isComplete() ? kDone : kBadParameters;
}
