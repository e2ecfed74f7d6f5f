/* The functions that take a path and open nothing. */
#include <dirent.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/time.h>
#include <unistd.h>
#include <utime.h>

#include "FaultLibrary.h"

#define PATH const char* path
#define TWO_PATHS const char *from, const char *to

FAULT_CALL(stat, int, -1, stat, (PATH, struct stat* status), (path, status))
FAULT_CALL(stat, int, -1, stat64, (PATH, struct stat64* status), (path, status))
FAULT_CALL(stat, int, -1, lstat, (PATH, struct stat* status), (path, status))
FAULT_CALL(stat, int, -1, lstat64, (PATH, struct stat64* status), (path, status))
FAULT_CALL(stat, int, -1, fstatat, (int dir, PATH, struct stat* status, int flags),
           (dir, path, status, flags))
FAULT_CALL(stat, int, -1, fstatat64, (int dir, PATH, struct stat64* status, int flags),
           (dir, path, status, flags))

/* What older C libraries call behind the names above. */
int __xstat(int version, PATH, struct stat* status);
int __lxstat(int version, PATH, struct stat* status);
int __fxstat(int version, int fd, struct stat* status);
int __fxstatat(int version, int dir, PATH, struct stat* status, int flags);
FAULT_CALL(stat, int, -1, __xstat, (int version, PATH, struct stat* status),
           (version, path, status))
FAULT_CALL(stat, int, -1, __lxstat, (int version, PATH, struct stat* status),
           (version, path, status))
FAULT_CALL(stat, int, -1, __fxstat, (int version, int fd, struct stat* status),
           (version, fd, status))
FAULT_CALL(stat, int, -1, __fxstatat, (int version, int dir, PATH, struct stat* status, int flags),
           (version, dir, path, status, flags))

FAULT_CALL(opendir, DIR*, NULL, opendir, (PATH), (path))
FAULT_CALL(access, int, -1, access, (PATH, int mode), (path, mode))
FAULT_CALL(access, int, -1, faccessat, (int dir, PATH, int mode, int flags),
           (dir, path, mode, flags))
FAULT_CALL(realpath, char*, NULL, realpath, (PATH, char* resolved), (path, resolved))
FAULT_CALL(readlink, ssize_t, -1, readlink, (PATH, char* buffer, size_t size), (path, buffer, size))
FAULT_CALL(getcwd, char*, NULL, getcwd, (char* buffer, size_t size), (buffer, size))
FAULT_CALL(statvfs, int, -1, statvfs, (PATH, struct statvfs* status), (path, status))
FAULT_CALL(statvfs, int, -1, statvfs64, (PATH, struct statvfs64* status), (path, status))
FAULT_CALL(statvfs, int, -1, fstatvfs, (int fd, struct statvfs* status), (fd, status))
FAULT_CALL(statvfs, int, -1, fstatvfs64, (int fd, struct statvfs64* status), (fd, status))

FAULT_CHANGE(mkdir, mkdir, (PATH, mode_t mode), (path, mode))
FAULT_CHANGE(mkdir, mkdirat, (int dir, PATH, mode_t mode), (dir, path, mode))
FAULT_CHANGE(rmdir, rmdir, (PATH), (path))
FAULT_CHANGE(unlink, unlink, (PATH), (path))
FAULT_CHANGE(unlink, unlinkat, (int dir, PATH, int flags), (dir, path, flags))
FAULT_CHANGE(unlink, remove, (PATH), (path))
FAULT_CHANGE(rename, rename, (TWO_PATHS), (from, to))
FAULT_CHANGE(rename, renameat, (int fromDir, const char* from, int toDir, const char* to),
             (fromDir, from, toDir, to))
FAULT_CHANGE(link, link, (TWO_PATHS), (from, to))
FAULT_CHANGE(link, symlink, (TWO_PATHS), (from, to))
FAULT_CHANGE(ftruncate, truncate, (PATH, off_t length), (path, length))
FAULT_CHANGE(chmod, chmod, (PATH, mode_t mode), (path, mode))
FAULT_CHANGE(chmod, fchmodat, (int dir, PATH, mode_t mode, int flags), (dir, path, mode, flags))
FAULT_CHANGE(utimens, utimensat, (int dir, PATH, const struct timespec times[2], int flags),
             (dir, path, times, flags))
FAULT_CHANGE(utimens, utime, (PATH, const struct utimbuf* times), (path, times))
FAULT_CHANGE(utimens, utimes, (PATH, const struct timeval times[2]), (path, times))
