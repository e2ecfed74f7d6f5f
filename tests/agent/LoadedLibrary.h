// Whether a shared library is open in this process.
#pragma once

#include <dlfcn.h>

#include <string>

[[nodiscard]] inline bool isLoaded(const std::string& library) {
    void* const handle = dlopen(library.c_str(), RTLD_LAZY | RTLD_NOLOAD);
    if (handle != nullptr) {
        (void)dlclose(handle);
    }
    return handle != nullptr;
}
