/* Opening, reading, writing, closing, and what is asked of an open file. */
#include <dirent.h>
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <stdarg.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <unistd.h>

#include "FaultLibrary.h"

/* Whether a call that changes the disk is to fail. */
static int failsChange(enum FaultFunction function) {
    (void)faultStrike(FAULT_change);
    return faultStrike(function) != FAULT_NONE;
}

static int failsOpen(int flags) {
    return (flags & (O_CREAT | O_TRUNC)) != 0 ? failsChange(FAULT_open)
                                              : faultStrike(FAULT_open) != FAULT_NONE;
}

static mode_t modeOf(int flags, va_list arguments) {
    return (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
}

#define OPEN(name)                                              \
    int name(const char* path, int flags, ...) {                \
        FAULT_NEXT(int, name, (const char*, int, ...))          \
        va_list arguments;                                      \
        va_start(arguments, flags);                             \
        const mode_t mode = modeOf(flags, arguments);           \
        va_end(arguments);                                      \
        return failsOpen(flags) ? -1 : real(path, flags, mode); \
    }
OPEN(open)
OPEN(open64)

#define OPENAT(name)                                                 \
    int name(int dir, const char* path, int flags, ...) {            \
        FAULT_NEXT(int, name, (int, const char*, int, ...))          \
        va_list arguments;                                           \
        va_start(arguments, flags);                                  \
        const mode_t mode = modeOf(flags, arguments);                \
        va_end(arguments);                                           \
        return failsOpen(flags) ? -1 : real(dir, path, flags, mode); \
    }
OPENAT(openat)
OPENAT(openat64)

#define FOPEN(name)                                                  \
    FILE* name(const char* path, const char* mode) {                 \
        FAULT_NEXT(FILE*, name, (const char*, const char*))          \
        const int flags = strpbrk(mode, "wa") != NULL ? O_CREAT : 0; \
        return failsOpen(flags) ? NULL : real(path, mode);           \
    }
FOPEN(fopen)
FOPEN(fopen64)

/* Half of what was got goes back, for the next read to find; uncounted. */
static ssize_t shortened(int fd, ssize_t got) {
    const ssize_t kept = (got + 1) / 2;
    return got > 1 && syscall(SYS_lseek, fd, kept - got, SEEK_CUR) >= 0 ? kept : got;
}

ssize_t read(int fd, void* buffer, size_t count) {
    FAULT_NEXT(ssize_t, read, (int, void*, size_t))
    const enum FaultAction action = faultStrike(FAULT_read);
    if (action == FAULT_ERROR) {
        return -1;
    }
    const ssize_t got = real(fd, buffer, count);
    return action == FAULT_SHORT ? shortened(fd, got) : got;
}

#define PREAD(name)                                                    \
    ssize_t name(int fd, void* buffer, size_t count, off64_t offset) { \
        FAULT_NEXT(ssize_t, name, (int, void*, size_t, off64_t))       \
        const enum FaultAction action = faultStrike(FAULT_read);       \
        if (action == FAULT_ERROR) {                                   \
            return -1;                                                 \
        }                                                              \
        const ssize_t got = real(fd, buffer, count, offset);           \
        return action == FAULT_SHORT && got > 1 ? (got + 1) / 2 : got; \
    }
PREAD(pread)
PREAD(pread64)

/* The number of bytes that a write may take; 0 when it is to fail. */
static size_t grantWrite(size_t count, enum FaultAction* action) {
    (void)faultStrike(FAULT_change);
    *action = faultStrike(FAULT_write);
    if (*action == FAULT_ERROR) {
        return 0;
    }
    return *action == FAULT_NONE || count < 2 ? count : count / 2;
}

ssize_t write(int fd, const void* buffer, size_t count) {
    FAULT_NEXT(ssize_t, write, (int, const void*, size_t))
    enum FaultAction action;
    const size_t granted = grantWrite(count, &action);
    if (action == FAULT_ERROR) {
        return -1;
    }
    const ssize_t done = real(fd, buffer, granted);
    if (action == FAULT_HALF) {
        faultKill();
    }
    return done;
}

#define PWRITE(name)                                                         \
    ssize_t name(int fd, const void* buffer, size_t count, off64_t offset) { \
        FAULT_NEXT(ssize_t, name, (int, const void*, size_t, off64_t))       \
        enum FaultAction action;                                             \
        const size_t granted = grantWrite(count, &action);                   \
        if (action == FAULT_ERROR) {                                         \
            return -1;                                                       \
        }                                                                    \
        const ssize_t done = real(fd, buffer, granted, offset);              \
        if (action == FAULT_HALF) {                                          \
            faultKill();                                                     \
        }                                                                    \
        return done;                                                         \
    }
PWRITE(pwrite)
PWRITE(pwrite64)

/* The file is closed even when the call is told as failed, as on every system that counts. */
int close(int fd) {
    FAULT_NEXT(int, close, (int))
    const int isFailed = faultStrike(FAULT_close) != FAULT_NONE;
    const int error = errno;
    const int result = real(fd);
    if (isFailed) {
        errno = error;
    }
    return isFailed ? -1 : result;
}

int closedir(DIR* dir) {
    FAULT_NEXT(int, closedir, (DIR*))
    const int isFailed = faultStrike(FAULT_closedir) != FAULT_NONE;
    const int error = errno;
    const int result = real(dir);
    if (isFailed) {
        errno = error;
    }
    return isFailed ? -1 : result;
}

FAULT_CALL(lseek, off_t, -1, lseek, (int fd, off_t offset, int whence), (fd, offset, whence))
FAULT_CALL(lseek, off64_t, -1, lseek64, (int fd, off64_t offset, int whence), (fd, offset, whence))
FAULT_CALL(fsync, int, -1, fsync, (int fd), (fd))
FAULT_CALL(fsync, int, -1, fdatasync, (int fd), (fd))
FAULT_CALL(stat, int, -1, fstat, (int fd, struct stat* status), (fd, status))
FAULT_CALL(stat, int, -1, fstat64, (int fd, struct stat64* status), (fd, status))
FAULT_CALL(opendir, DIR*, NULL, fdopendir, (int fd), (fd))
FAULT_CALL(readdir, struct dirent*, NULL, readdir, (DIR * dir), (dir))
FAULT_CALL(readdir, struct dirent64*, NULL, readdir64, (DIR * dir), (dir))

/* The argument of fcntl is a number or a pointer; both fit. */
#define FCNTL(name)                                                                       \
    int name(int fd, int command, ...) {                                                  \
        FAULT_NEXT(int, name, (int, int, ...))                                            \
        va_list arguments;                                                                \
        va_start(arguments, command);                                                     \
        void* const argument = va_arg(arguments, void*);                                  \
        va_end(arguments);                                                                \
        return faultStrike(FAULT_fcntl) != FAULT_NONE ? -1 : real(fd, command, argument); \
    }
FCNTL(fcntl)
FCNTL(fcntl64)

FAULT_CHANGE(ftruncate, ftruncate, (int fd, off_t length), (fd, length))
FAULT_CHANGE(ftruncate, ftruncate64, (int fd, off64_t length), (fd, length))
FAULT_CHANGE(chmod, fchmod, (int fd, mode_t mode), (fd, mode))
FAULT_CHANGE(utimens, futimens, (int fd, const struct timespec times[2]), (fd, times))

/* The loader has to know its own reason, for `dlerror`. */
void* dlopen(const char* path, int flags) {
    FAULT_NEXT(void*, dlopen, (const char*, int))
    return real(faultStrike(FAULT_dlopen) == FAULT_NONE ? path : "/no such library", flags);
}

void* dlsym(void* handle, const char* name) {
    return faultRealDlsym(handle,
                          faultStrike(FAULT_dlsym) == FAULT_NONE ? name : "kv_no_such_entry");
}
