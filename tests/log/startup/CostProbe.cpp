// Counts the system calls of one message. Linked with --wrap, so that the calls of the log pass
// through here. Argument: the velocore directory.
#include <fcntl.h>
#include <sys/types.h>

#include <cstdarg>
#include <cstdio>
#include <string>

#include "log/KvReport.h"
#include "log/KvVcEventManager.h"

namespace {

constexpr char kModule[] = "CostProbe";

int s_opens = 0;
int s_writes = 0;
int s_closes = 0;

}  // namespace

extern "C" {

int __real_open(const char* path, int flags, ...);
ssize_t __real_write(int fd, const void* bytes, size_t count);
int __real_close(int fd);

int __wrap_open(const char* path, int flags, ...) {
    va_list args;
    va_start(args, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(args, mode_t) : 0;
    va_end(args);
    ++s_opens;
    return __real_open(path, flags, mode);
}

ssize_t __wrap_write(int fd, const void* bytes, size_t count) {
    ++s_writes;
    return __real_write(fd, bytes, count);
}

int __wrap_close(int fd) {
    ++s_closes;
    return __real_close(fd);
}
}

int main(int argc, char** argv) {
    if (argc != 2) {
        return 1;
    }
    g_pEventManager->resetVCPath(argv[1]);
    KV_INFO(kLevelProgress, "makes the directory, and is the one that looks at the size");
    const std::string message(20000, 'x');
    s_opens = s_writes = s_closes = 0;
    KV_INFO(kLevelProgress, "%s", message.c_str());
    (void)printf("%d open, %d write, %d close\n", s_opens, s_writes, s_closes);
    return 0;
}
