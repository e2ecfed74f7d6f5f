// xaccess, and what is found out by walking or listing: the size of a tree, an empty directory.
#include <sys/stat.h>

#include "fileop/KvDirList.h"
#include "fileop/KvFileOpUtil.h"
#include "fileop/KvPath.h"

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

bool visit(const char* path, KvFileOpUtil::Callback callback, KvFileOpUtil::CallbackEntry& entry) {
    KvSimpleString target = normalizedPath(path);
    struct stat status {};
    if (stat(target.c_str(), &status) != 0) {
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
    KvDirList list(target.c_str());
    while (list.hasNext()) {
        if (!visit(list.getNext().c_str(), callback, entry)) {
            return false;
        }
    }
    return list.isComplete();
}

}  // namespace

bool KvFileOpUtil::xaccess(const char* path, Callback callback, CallbackEntry* entry) {
    if (isMissingPath(path)) {
        return false;
    }
    if (callback == nullptr || entry == nullptr) {
        return isExist(path);
    }
    return entry->cbSize == sizeof(CallbackEntry) && visit(path, callback, *entry);
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
    return isDir(path) && !KvDirList(path).hasNext();
}
