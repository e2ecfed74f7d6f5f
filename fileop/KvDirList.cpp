#include "fileop/KvDirList.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "base/KvScoped.h"
#include "fileop/KvFileOpUtil.h"
#include "fileop/KvPath.h"
#include "fileop/KvSystem.h"

namespace {

constexpr char kDirectory = 'd';
constexpr char kOther = '-';

bool isDotName(const char* name) {
    return strcmp(name, ".") == 0 || strcmp(name, "..") == 0;
}

// Most systems tell the kind along with the name; only a link, or a file system that does not tell,
// costs a `stat`.
bool isDirectory(DIR* dir, const dirent& entry) {
    if (entry.d_type != DT_UNKNOWN && entry.d_type != DT_LNK) {
        return entry.d_type == DT_DIR;
    }
    struct stat status {};
    return sysStatAt(dirfd(dir), entry.d_name, status) == 0 && S_ISDIR(status.st_mode);
}

}  // namespace

KvDirList::KvDirList(const char* pathOrPattern) : names(16, 4) {
    KvSimpleString path(pathOrPattern);
    if (!EndsWithSeparator(path.c_str()) && KvFileOpUtil::isDir(path.c_str())) {
        path += '/';
    }
    normalizeSeptor(path);
    dirPath = DirNameOf(path.c_str());
    filter = FileNameOf(path.c_str());
    if (filter.empty()) {
        filter = "*";
    }
    if (dirPath.failed() || filter.failed()) {
        error = ENOMEM;
        return;
    }
    read();
}

void KvDirList::read() {
    const ScopedDir dir(sysOpenDir(getDirectory()));
    if (dir == nullptr) {
        // Without the directory there are no entries; otherwise nobody knows them.
        error = errno == ENOENT || errno == ENOTDIR ? 0 : errno;
        return;
    }
    while (isComplete()) {
        errno = 0;  // the end of the directory leaves it alone, a failure does not
        const dirent* const entry = readdir(dir.get());
        if (entry == nullptr) {
            error = errno;
            return;
        }
        if (isDotName(entry->d_name)) {
            continue;
        }
        const bool isDir = isDirectory(dir.get(), *entry);
        if ((isDir || _fnmatch(filter.c_str(), entry->d_name)) && !add(entry->d_name, isDir)) {
            error = ENOMEM;
        }
    }
}

bool KvDirList::add(const char* name, bool isDirectory) {
    names.push_back(name);
    kinds += isDirectory ? kDirectory : kOther;
    return !names.failed() && !kinds.failed();
}

bool KvDirList::hasNext() const {
    return index < names.size();
}

KvSimpleString KvDirList::getNext() {
    return hasNext() ? dirPath + names[index++] : KvSimpleString();
}

KvSimpleString KvDirList::getFileName() const {
    return hasNext() ? names[index] : KvSimpleString();
}

bool KvDirList::isNextDir() const {
    return hasNext() && kinds[index] == kDirectory;
}

KvSimpleString KvDirList::getFilter() const {
    return filter;
}

KvSimpleString KvDirList::getFirstFileName() const {
    const size_t first = kinds.find(kOther);
    return first == KvSimpleString::npos ? KvSimpleString() : dirPath + names[first];
}

unsigned int KvDirList::getFileCount() const {
    const char* const letters = kinds.c_str();
    return static_cast<unsigned int>(std::count(letters, letters + kinds.length(), kOther));
}

bool KvDirList::hasSubDir() const {
    return kinds.find(kDirectory) != KvSimpleString::npos;
}
