// A lock on a named resource (a path): between processes, between the threads of one process, or
// both. The resource itself is never touched and need not exist.
//
// Between processes: an advisory write lock (an fcntl record lock) on a companion file, the
// resource path with ".lock" appended. The file is created with mode 0600 and never written to. The
// system drops the lock of a process that dies.
//
// Between threads: a mutex for each resource in a table of the process, the lock agent. The table
// has 64 rows, so 64 different resources can be held at once. Resources are told apart by the bytes
// of their paths, with case. The table needs no construction and is never destroyed: locks work in
// static constructors and destructors too, whatever the order.
//
// Order of taking: the mutex, then the file lock. Nothing is held while waiting for the mutex.
//
// What the file lock alone (kFileLock) does not do:
// - It does not keep two objects of one process apart, because record locks belong to the process:
//   a second object that waits gets the lock at once.
// - It does not outlive its companions: closing any descriptor of the lock file drops the lock of
//   the whole process. When two objects of one process hold one path, the first release ends the
//   protection of both against other processes. Use kFileAndThreadLock where that can happen.
// The same holds for different paths that lead to one lock file: "a" and "./a", or long paths that
// are equal up to the cut of `lockPath`. In this process they are different resources.
#pragma once

#include <cstddef>
#include <cstdint>

#include "fileop/KvDiskNames.h"

// What a lock is made of: a bit set. Every other value is refused.
enum KvVcLockType : unsigned {
    kFileLock = 1,           // between processes
    kThreadLock = 2,         // between the threads of this process; no file is made
    kFileAndThreadLock = 3,  // both
};

// One object holds at most one lock and belongs to one thread at a time; what it took is released
// by the thread that took it. A thread that waits for a kThreadLock it already holds waits forever.
class KvVcLock {
  public:
    // Rows of the lock agent: the number of resources that one process can hold at once.
    static constexpr int32_t kRowCount = 64;

    KvVcLock();  // unlocked

    // Takes the lock as `create` does; `isLocked` tells the outcome.
    KvVcLock(unsigned type, const char* path, bool wait);

    ~KvVcLock();  // releases

    KvVcLock(const KvVcLock&) = delete;
    KvVcLock& operator=(const KvVcLock&) = delete;

    // Takes the lock of this type (KvVcLockType) on `path`; true when it is held.
    //
    // With `wait` it blocks, without a time limit, until the holder lets go or dies. Without `wait`
    // it fails at once when another process holds the file lock, and when any object of this
    // process holds the path with whatever type, kFileLock included.
    //
    // Also false: for an object that is already locked (it keeps its lock), an unknown type, a null
    // or empty path, no free row, a lock file that cannot be opened, or a wait that the system
    // breaks off. Except in the first case the object is then unlocked. The system breaks off what
    // it takes for a deadlock between processes; since it takes all threads of a process for one,
    // it may be wrong when one thread waits while another holds a file lock.
    [[nodiscard]] bool create(unsigned type, const char* path, bool wait);

    // Gives the lock up; does nothing when none is held. Always 0.
    //
    // The lock file of a lock taken with `wait` stays; the one of a lock taken without is deleted,
    // unless another process has taken it in that moment. This asymmetry is kept on purpose:
    // whoever waits finds the file again, whoever only tries leaves nothing behind.
    int release();

    [[nodiscard]] bool isLocked() const;

  private:
    // The path is cut to 1023 bytes before the suffix is appended.
    static constexpr size_t kResourceCapacity = 1024;
    static constexpr size_t kLockPathCapacity = kResourceCapacity + sizeof(kLockSuffix) - 1;

    void setLockPath(const char* path);
    void closeLockFile();

    bool wait;
    int32_t slot;  // row of the lock agent; -1 when nothing is held
    int32_t fd;    // the locked lock file; -1 when none
    char lockPath[kLockPathCapacity];
    unsigned type;  // what this object took; a row can be shared by objects of different types
};
