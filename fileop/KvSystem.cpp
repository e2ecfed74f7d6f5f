#include "fileop/KvSystem.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

const char* KvSysPath::get() const {
    if (KvSimpleString::isFailed(text_)) {
        errno = ENOMEM;
        return nullptr;
    }
    if (text_ == nullptr || *text_ == '\0') {
        errno = ENOENT;
        return nullptr;
    }
    return text_;
}

int sysOpen(KvSysPath path, int flags, mode_t mode) {
    const char* const text = path.get();
    return text != nullptr ? ::open(text, flags, mode) : -1;
}

DIR* sysOpenDir(KvSysPath path) {
    const char* const text = path.get();
    return text != nullptr ? ::opendir(text) : nullptr;
}

int sysStat(KvSysPath path, struct stat& status) {
    const char* const text = path.get();
    return text != nullptr ? ::stat(text, &status) : -1;
}

int sysLstat(KvSysPath path, struct stat& status) {
    const char* const text = path.get();
    return text != nullptr ? ::lstat(text, &status) : -1;
}

int sysStatAt(int dir, KvSysPath name, struct stat& status) {
    const char* const text = name.get();
    return text != nullptr ? ::fstatat(dir, text, &status, 0) : -1;
}

int sysAccess(KvSysPath path, int mode) {
    const char* const text = path.get();
    return text != nullptr ? ::access(text, mode) : -1;
}

bool sysRealPath(KvSysPath path, char* resolved) {
    const char* const text = path.get();
    return text != nullptr && ::realpath(text, resolved) != nullptr;
}

ssize_t sysReadLink(KvSysPath path, char* out, size_t size) {
    const char* const text = path.get();
    return text != nullptr ? ::readlink(text, out, size) : -1;
}

int sysMkdir(KvSysPath path, mode_t mode) {
    const char* const text = path.get();
    return text != nullptr ? ::mkdir(text, mode) : -1;
}

int sysRmdir(KvSysPath path) {
    const char* const text = path.get();
    return text != nullptr ? ::rmdir(text) : -1;
}

int sysUnlink(KvSysPath path) {
    const char* const text = path.get();
    return text != nullptr ? ::unlink(text) : -1;
}

int sysRename(KvSysPath from, KvSysPath to) {
    const char* const source = from.get();
    const char* const target = source != nullptr ? to.get() : nullptr;
    return target != nullptr ? ::rename(source, target) : -1;
}
