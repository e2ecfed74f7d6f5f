// xunlink, xunlinkContents and unlink.
#include <cerrno>

#include "base/KvFailure.h"
#include "fileop/KvFileOpUtil.h"
#include "fileop/KvPath.h"
#include "fileop/KvSystem.h"
#include "fileop/KvTreeStep.h"

namespace {

// What is already gone, and a directory that still holds entries, are no failures.
bool isTolerated(int error) {
    return error == EEXIST || error == ENOENT || error == ENOTDIR || error == ENOTEMPTY;
}

int failed(const char* path, int error) {
    noteFailure(path, error);
    return KvFileOpUtil::kBadParameters;
}

// Deletes an entry whose kind is known.
int removeEntry(const KvStep& step, const KvSimpleString& path, bool isDirectory) {
    step.begin(path.c_str(), nullptr);
    const int answer =
        step.before(isDirectory ? KvFileOpUtil::kRemoveDir : KvFileOpUtil::kDeleteFile);
    if (answer != KvFileOpUtil::kGoOn) {
        return KvStep::resultOf(answer);
    }
    const int status = isDirectory ? sysRmdir(path) : sysUnlink(path);
    const int error = errno;
    if (status == 0) {
        return step.after();
    }
    step.end();
    return isTolerated(error) ? int{KvFileOpUtil::kDone} : failed(path.c_str(), error);
}

// Deletes the file or the directory of exactly this path.
int __unlink(const KvStep& step, const KvSimpleString& path) {
    if (path.empty()) {
        return KvFileOpUtil::kBadParameters;
    }
    return removeEntry(step, path, isDirByRule(path, KvLinks::kAreEntries));
}

int xunlinkTree(const KvStep& step, const KvSimpleString& path);

int removeMatches(const KvStep& step, KvMatchList& matches) {
    while (matches.next()) {
        const int result = matches.isDir() ? xunlinkTree(step, matches.path())
                                           : removeEntry(step, matches.path(), false);
        if (result != KvFileOpUtil::kDone) {
            return result;
        }
    }
    return matches.finish() == 0 ? KvFileOpUtil::kDone : KvFileOpUtil::kBadParameters;
}

// Deletes the directory `bare` with its contents; `listed` is the same path in directory form.
int removeDirectory(const KvStep& step, const KvSimpleString& bare, const KvSimpleString& listed) {
    KvMatchList matches(listed, KvLinks::kAreEntries);
    const int result = removeMatches(step, matches);
    return result == KvFileOpUtil::kDone ? removeEntry(step, bare, true) : result;
}

int xunlinkTree(const KvStep& step, const KvSimpleString& path) {
    KvSimpleString bare = path;
    const bool isDirectoryForm = RemoveTrailingSeparator(bare);
    const KvSimpleString listed = isDirectoryForm ? path : bare + "/";
    if (bare.failed() || listed.failed()) {
        return failed(path.c_str(), ENOMEM);
    }
    if (isDirByRule(bare, KvLinks::kAreEntries)) {
        return removeDirectory(step, bare, listed);
    }
    if (isDirByRule(bare, KvLinks::kFollowed)) {
        return removeEntry(step, bare, false);  // a link to a directory
    }
    KvMatchList matches(path, KvLinks::kAreEntries);
    return removeMatches(step, matches);
}

}  // namespace

int KvFileOpUtil::xunlink(const char* path, Callback callback, CallbackEntry* entry) {
    if (KvSimpleString::isFailed(path)) {
        return failed(path, ENOMEM);
    }
    return isMissingPath(path) ? int{kBadParameters}
                               : xunlinkTree({callback, entry}, normalizedPath(path));
}

int KvFileOpUtil::xunlinkContents(const char* path, Callback callback, CallbackEntry* entry) {
    KvSimpleString bare = normalizedPath(path);
    RemoveTrailingSeparator(bare);
    if (bare.empty() || !isLink(bare.c_str()) || !isDir(bare.c_str())) {
        return xunlink(path, callback, entry);
    }
    return removeDirectory({callback, entry}, bare, bare + "/");
}

int KvFileOpUtil::unlink(const char* path, Callback callback, CallbackEntry* entry) {
    KvSimpleString target = normalizedPath(path);
    RemoveTrailingSeparator(target);
    if (target.failed()) {
        return failed(path, ENOMEM);
    }
    if (isMissingPath(path)) {
        return kBadParameters;
    }
    const KvStep step(callback, entry);
    if (!isWildcardName(target.c_str()) || isDir(target.c_str())) {
        return __unlink(step, target);
    }
    KvMatchList matches(target, KvLinks::kAreEntries);
    while (matches.next()) {
        const int result = removeEntry(step, matches.path(), matches.isDir());
        if (result != kDone) {
            return result;
        }
    }
    return matches.finish() == 0 ? kDone : kBadParameters;
}
