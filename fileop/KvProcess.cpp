// Where the running program is, and its numbers.
#include <dlfcn.h>
#include <pthread.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "base/KvText.h"
#include "fileop/KvPath.h"
#include "fileop/KvSystem.h"

namespace {

const char kInThisModule = 0;

bool isThisModule(const Dl_info& module) {
    Dl_info own{};
    return dladdr(&kInThisModule, &own) != 0 && own.dli_fbase == module.dli_fbase;
}

// Where the program was started by a bare name, the loader knows no more than that name. Systems
// that show a process its own file fill the gap; on others the bare name stays.
bool readOwnProgramFile(char* out) {
    const ssize_t length = sysReadLink("/proc/self/exe", out, kPathCapacity - 1);
    out[length > 0 ? length : 0] = '\0';
    return length > 0;
}

}  // namespace

bool GetFullPath(const char* path, char* resolved, unsigned int /*size*/) {
    if (path == nullptr || resolved == nullptr) {
        return false;
    }
    // The second try serves a path whose links were being replaced during the first.
    return sysRealPath(path, resolved) || sysRealPath(path, resolved);
}

bool GetDllFilename(const void* address, char* out) {
    if (out == nullptr) {
        return false;
    }
    out[0] = '\0';
    Dl_info module{};
    if (address == nullptr || dladdr(address, &module) == 0 || module.dli_fname == nullptr) {
        return false;
    }
    const bool isBareOwnName = strchr(module.dli_fname, '/') == nullptr && isThisModule(module);
    if (!isBareOwnName || !readOwnProgramFile(out)) {
        (void)Strncpy(out, module.dli_fname, kPathCapacity);  // never null: `out` is given
    }
    return true;
}

unsigned int VcGetThreadId() {
    // A number on one system and a pointer on another: only this cast takes both.
    return static_cast<unsigned int>((uintptr_t)pthread_self());
}

unsigned int VcGetProcessID() {
    return static_cast<unsigned int>(getpid());
}
