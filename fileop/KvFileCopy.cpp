// xcopy, copy and copyncase; xmove and move.
#include <strings.h>
#include <cerrno>

#include "base/KvFailure.h"
#include "fileop/KvDirList.h"
#include "fileop/KvFileContents.h"
#include "fileop/KvFileOpUtil.h"
#include "fileop/KvPath.h"
#include "fileop/KvSystem.h"
#include "fileop/KvTreeStep.h"

namespace {

enum class Depth { kOneLevel, kWhole };

// What one copy operation carries through all its levels.
struct CopyJob {
    KvStep step;
    bool overwrite;
    Depth depth;
    KvFileContents contents;
};

// With '/' as the only separator, and in directory form when it names a directory.
KvSimpleString directoryForm(const char* path) {
    KvSimpleString text = normalizedPath(path);
    if (!EndsWithSeparator(text.c_str()) && KvFileOpUtil::isDir(text.c_str())) {
        text += '/';
    }
    return text;
}

// The last component of a path in directory form, with its '/'; empty for the root.
KvSimpleString lastComponent(KvSimpleString path) {
    while (RemoveTrailingSeparator(path)) {
    }
    const KvSimpleString name = FileNameOf(path.c_str());
    return name.empty() ? name : name + "/";
}

// The result of a copy of `path` that the system, or the want of memory, has made fail.
int failed(const char* path, int error, int result) {
    noteFailure(path, error);
    return result;
}

int withoutMemory(const char* path) {
    return failed(path, ENOMEM, KvFileOpUtil::kReadError);
}

bool isAnyFailed(const char* src, const char* dst) {
    return KvSimpleString::isFailed(src) || KvSimpleString::isFailed(dst);
}

int makeDir(const CopyJob& job, const KvSimpleString& path) {
    return KvFileOpUtil::createDir(path.c_str(), job.step.callback(), job.step.entry());
}

// Whether what stands at the destination counts as an existing file: what is no regular file does
// without being opened, which might wait. A file that must not be read counts as new. One that
// cannot be read for another reason is there and must not be taken for new: it would be lost.
bool isExistingFile(const char* dst, const struct stat& status) {
    return !S_ISREG(status.st_mode) || KvFileOpUtil::exist(dst) ||
           (errno != EACCES && errno != ENOENT);
}

// Whether anything is at the destination; false also with `error` set, when that cannot be told.
bool isSomethingAt(const char* dst, struct stat& status, int& error) {
    // What is not there cannot be opened either: a new file costs this one look. Any other failure
    // may be that of a network file system, which then answers.
    if (sysStat(dst, status) == 0 || (errno != ENOENT && sysStat(dst, status) == 0)) {
        return true;
    }
    const bool isMissing = errno == ENOENT || errno == ENOTDIR;
    error = isMissing ? 0 : errno;
    return false;
}

// The copy of a single file.
int _copy(CopyJob& job, const char* src, const char* dst) {
    if (isAnyFailed(src, dst)) {
        return withoutMemory(src);
    }
    if (isMissingPath(src) || isMissingPath(dst)) {
        return KvFileOpUtil::kBadParameters;
    }
    job.step.begin(src, dst);
    struct stat status {};
    int error = 0;
    const bool isThere = isSomethingAt(dst, status, error);
    if (isThere && S_ISDIR(status.st_mode)) {
        error = EISDIR;
    }
    if (error != 0) {
        return failed(dst, error, KvFileOpUtil::kDestinationNotWritable);
    }
    if (job.overwrite && !job.step.isWatched()) {
        // No callback wants to know whether an old file is overwritten or a new one is written.
        const bool isEmpty = isThere && S_ISREG(status.st_mode) && status.st_size == 0;
        return job.contents.copy(src, dst, isEmpty ? TargetState::kEmpty : TargetState::kAny);
    }
    const bool isExisting = isThere && isExistingFile(dst, status);
    if (isExisting && !job.overwrite) {
        return KvFileOpUtil::kDestinationExists;
    }
    const int answer =
        job.step.before(isExisting ? KvFileOpUtil::kOverwrite : KvFileOpUtil::kNewFile);
    if (answer != KvFileOpUtil::kGoOn) {
        return KvStep::resultOf(answer);
    }
    const int result = job.contents.copy(src, dst, TargetState::kAny);
    return result == KvFileOpUtil::kDone ? job.step.after() : result;
}

int xcopyInto(CopyJob& job, const char* src, const char* dst);

// Copies what `from` lists into the directory `to`, which exists.
int copyMatches(CopyJob& job, const KvSimpleString& from, const KvSimpleString& to) {
    KvMatchList matches(from, KvLinks::kFollowed);
    while (matches.next()) {
        int result = KvFileOpUtil::kDone;
        if (!matches.isDir()) {
            result = _copy(job, matches.path().c_str(), (to + matches.name()).c_str());
        } else if (job.depth == Depth::kWhole) {
            result = xcopyInto(job, matches.path().c_str(), to.c_str());
        }
        if (result != KvFileOpUtil::kDone) {
            return result;
        }
    }
    const int error = matches.finish();
    if (error == 0) {
        return KvFileOpUtil::kDone;
    }
    return error == ENOMEM ? KvFileOpUtil::kReadError : KvFileOpUtil::kCannotOpenSource;
}

// Copies one file to the name `to`.
int copyToName(CopyJob& job, const KvSimpleString& from, const KvSimpleString& to) {
    if (isWildcardName(from.c_str()) || EndsWithSeparator(from.c_str())) {
        return KvFileOpUtil::kBadParameters;
    }
    const int made = makeDir(job, DirNameOf(to.c_str()));
    return made == KvFileOpUtil::kDone ? _copy(job, from.c_str(), to.c_str()) : made;
}

int copyTo(CopyJob& job, const KvSimpleString& from, const KvSimpleString& to) {
    if (from.failed() || to.failed()) {
        return withoutMemory(from.failed() ? to.c_str() : from.c_str());
    }
    if (!EndsWithSeparator(to.c_str())) {
        return copyToName(job, from, to);
    }
    if (!KvFileOpUtil::isDir(to.c_str())) {
        const int made = makeDir(job, to);
        if (made != KvFileOpUtil::kDone) {
            return made;
        }
    }
    return copyMatches(job, from, to);
}

// One level of `xcopy`: a source directory gets a directory of its name below `dst`.
int xcopyInto(CopyJob& job, const char* src, const char* dst) {
    const KvSimpleString from = directoryForm(src);
    KvSimpleString to = directoryForm(dst);
    if (from.failed() || to.failed()) {
        return withoutMemory(src);
    }
    if (EndsWithSeparator(from.c_str())) {
        if (!EndsWithSeparator(to.c_str())) {
            return KvFileOpUtil::kBadParameters;
        }
        to += lastComponent(from);
        const int made = makeDir(job, to);
        if (made != KvFileOpUtil::kDone) {
            return made;
        }
    }
    return copyTo(job, from, to);
}

}  // namespace

int KvFileOpUtil::xcopy(const char* src, const char* dst, bool overwrite, Callback callback,
                        CallbackEntry* entry) {
    if (isAnyFailed(src, dst)) {
        return withoutMemory(src);
    }
    if (isMissingPath(src) || isMissingPath(dst)) {
        return kBadParameters;
    }
    CopyJob job{{callback, entry}, overwrite, Depth::kWhole, {}};
    return xcopyInto(job, src, dst);
}

int KvFileOpUtil::copy(const char* src, const char* dst, bool overwrite, Callback callback,
                       CallbackEntry* entry) {
    if (isAnyFailed(src, dst)) {
        return withoutMemory(src);
    }
    if (isMissingPath(src) || isMissingPath(dst)) {
        return kBadParameters;
    }
    CopyJob job{{callback, entry}, overwrite, Depth::kOneLevel, {}};
    return copyTo(job, directoryForm(src), directoryForm(dst));
}

int KvFileOpUtil::copyncase(const char* src, const char* dst, bool overwrite, Callback callback,
                            CallbackEntry* entry) {
    if (src == nullptr || dst == nullptr) {
        return kBadParameters;
    }
    const KvSimpleString wanted = normalizedPath(src);
    const KvSimpleString wantedName = FileNameOf(wanted.c_str());
    if (wantedName.failed() || KvSimpleString::isFailed(dst)) {
        return withoutMemory(src);
    }
    KvSimpleString candidate;
    KvDirList list(DirNameOf(wanted.c_str()).c_str());
    while (list.hasNext()) {
        const bool isDirectory = list.isNextDir();
        const KvSimpleString name = list.getFileName();
        const KvSimpleString path = list.getNext();
        if (isDirectory || strcasecmp(name.c_str(), wantedName.c_str()) != 0 ||
            !isExist(path.c_str())) {
            continue;
        }
        if (name == wantedName) {
            return copy(path.c_str(), dst, overwrite, callback, entry);
        }
        if (candidate.empty()) {
            candidate = path;
        }
    }
    if (!list.isComplete() || candidate.failed()) {
        // The exact name may be among those that nobody knows.
        const int error = list.isComplete() ? ENOMEM : list.getError();
        return failed(src, error, error == ENOMEM ? kReadError : kCannotOpenSource);
    }
    return candidate.empty() ? kNoSuchName
                             : copy(candidate.c_str(), dst, overwrite, callback, entry);
}

int KvFileOpUtil::xmove(const char* src, const char* dst, bool overwrite, Callback callback,
                        CallbackEntry* entry) {
    const int copied = xcopy(src, dst, overwrite, callback, entry);
    return copied == kDone ? xunlinkContents(src, callback, entry) : copied;
}

int KvFileOpUtil::move(const char* src, const char* dst, bool overwrite, Callback callback,
                       CallbackEntry* entry) {
    const int copied = copy(src, dst, overwrite, callback, entry);
    return copied == kDone ? KvFileOpUtil::unlink(src, callback, entry) : copied;
}
