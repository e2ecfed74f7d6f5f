// xaccess, and what is found out by walking or listing: the size of a tree, whether it is empty.
#include <cerrno>

#include "base/KvFailure.h"
#include "fileop/KvDirList.h"
#include "fileop/KvFileOpUtil.h"
#include "fileop/KvPath.h"
#include "fileop/KvSystem.h"
#include "fileop/KvTreeStep.h"

namespace {

void fill(KvFileOpUtil::CallbackEntry& entry, const char* path, const struct stat& status) {
    const bool isDirectory = S_ISDIR(status.st_mode);
    entry.path = path;
    entry.destination = nullptr;
    entry.modifyTime = status.st_mtime;
    entry.size = isDirectory ? 0 : static_cast<uint32_t>(status.st_size);
    entry.action = isDirectory ? KvFileOpUtil::kVisitDir : KvFileOpUtil::kVisitFile;
    entry.phase = KvFileOpUtil::kBefore;
}

// Whether an entry vanished: nobody needs to visit it any more.
bool isGone(const KvSimpleString& path) {
    struct stat status {};
    return sysLstat(path, status) != 0 && errno == ENOENT;
}

enum class Origin { kCaller, kListing };

bool visit(const KvSimpleString& path, Origin origin, KvFileOpUtil::Callback callback,
           KvFileOpUtil::CallbackEntry& entry);

bool visitEntries(const KvSimpleString& directory, KvFileOpUtil::Callback callback,
                  KvFileOpUtil::CallbackEntry& entry) {
    KvDirList list(directory.c_str());
    while (list.hasNext()) {
        if (!visit(list.getNext(), Origin::kListing, callback, entry)) {
            return false;
        }
    }
    if (!list.isComplete()) {
        noteFailure(list.getDirectory(), list.getError());
    }
    return list.isComplete();
}

bool visit(const KvSimpleString& path, Origin origin, KvFileOpUtil::Callback callback,
           KvFileOpUtil::CallbackEntry& entry) {
    KvSimpleString target = path;
    normalizeSeptor(target);
    struct stat status {};
    if (sysStat(target, status) != 0) {
        const int error = errno;
        if (origin == Origin::kListing && isGone(path)) {
            return true;
        }
        noteFailure(target.c_str(), error);
        return false;
    }
    fill(entry, target.c_str(), status);
    (void)callback(&entry);  // a walk cannot be stopped; a callback keeps it out by `action`
    if (entry.action != KvFileOpUtil::kVisitDir) {
        return true;
    }
    if (!EndsWithSeparator(target.c_str())) {
        target += '/';
    }
    return visitEntries(target, callback, entry);
}

bool areEntriesWithoutBytes(const KvSimpleString& directory);

bool isEntryWithoutBytes(const KvSimpleString& path) {
    struct stat status {};
    if (sysLstat(path, status) != 0) {
        return errno == ENOENT;  // it vanished before its turn came
    }
    if (S_ISDIR(status.st_mode)) {
        return areEntriesWithoutBytes(path + "/");
    }
    return !S_ISLNK(status.st_mode) && status.st_size == 0;
}

bool areEntriesWithoutBytes(const KvSimpleString& directory) {
    KvDirList list(directory.c_str());
    while (list.hasNext()) {
        if (!isEntryWithoutBytes(list.getNext())) {
            return false;
        }
    }
    return list.isComplete();
}

}  // namespace

bool KvFileOpUtil::xaccess(const char* path, Callback callback, CallbackEntry* entry) {
    if (KvSimpleString::isFailed(path)) {
        noteFailure(path, ENOMEM);
        return false;
    }
    if (isMissingPath(path)) {
        return false;
    }
    if (callback == nullptr || entry == nullptr) {
        return isExist(path);
    }
    return entry->cbSize == sizeof(CallbackEntry) && visit(path, Origin::kCaller, callback, *entry);
}

int CB_GetDirSize(KvFileOpUtil::CallbackEntry* entry) {
    if (entry != nullptr && entry->userData != nullptr) {
        *static_cast<uint32_t*>(entry->userData) += entry->size;
    }
    return KvFileOpUtil::kGoOn;
}

unsigned int KvFileOpUtil::getDirSize(const char* path) {
    if (isMissingPath(path)) {
        return kNoDirSize;
    }
    uint32_t total = 0;
    CallbackEntry entry{};
    entry.cbSize = sizeof(entry);
    entry.userData = &total;
    return xaccess(path, CB_GetDirSize, &entry) ? total : 0;
}

bool KvFileOpUtil::isEmptyDir(const char* path) {
    if (!isDir(path)) {
        return false;
    }
    const KvDirList list(path);
    return list.isComplete() && !list.hasNext();
}

bool KvFileOpUtil::isTreeWithoutBytes(const char* path) {
    KvSimpleString bare = normalizedPath(path);
    RemoveTrailingSeparator(bare);
    return isDirByRule(bare, KvLinks::kAreEntries) && areEntriesWithoutBytes(bare + "/");
}
