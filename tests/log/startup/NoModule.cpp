// Linked with --wrap=dladdr: a system that cannot tell a module's file.
#include <dlfcn.h>

extern "C" int __wrap_dladdr(const void* /*address*/, Dl_info* /*module*/) {
    return 0;
}
