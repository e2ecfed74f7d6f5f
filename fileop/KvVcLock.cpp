#include "fileop/KvVcLock.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <type_traits>

#include "base/KvScoped.h"
#include "base/KvText.h"
#include "fileop/KvOpenFile.h"
#include "fileop/KvSystem.h"

namespace {

constexpr mode_t kLockFileMode = 0600;
constexpr int32_t kNoRow = -1;
constexpr int32_t kNoFile = -1;
constexpr unsigned kNoLock = 0;

bool isLockType(unsigned type) {
    return type == kFileLock || type == kThreadLock || type == kFileAndThreadLock;
}

bool hasBit(unsigned type, KvVcLockType bit) {
    return (type & bit) != 0;
}

struct LockRow {
    char* path;             // owned, from the heap; null marks a free row
    pthread_mutex_t mutex;  // initialised while `type` has the thread bit
    uint32_t refCount;      // objects that hold the row or wait for its mutex
    uint32_t type;          // all types with which the row was taken since it was free
};

// The table of the resources that this process holds. Its mutex guards the rows, but not what is
// held through them: it is never kept while waiting.
class LockAgent {
  public:
    constexpr LockAgent() = default;

    void lockTable() { (void)pthread_mutex_lock(&table_); }
    int unlockTable() { return pthread_mutex_unlock(&table_); }

    // Joins the row of `path`, or takes a free one; kNoRow when the path is held and `wait` is
    // false, and when there is no free row or no memory.
    int32_t join(unsigned type, const char* path, bool wait);

    // Under the table's mutex: gives the row up, and frees it when nobody else is on it.
    void leave(int32_t index);

    void lockRow(int32_t index) { (void)pthread_mutex_lock(&rows_[index].mutex); }
    void unlockRow(int32_t index) { (void)pthread_mutex_unlock(&rows_[index].mutex); }

  private:
    int32_t rowFor(const char* path) const;
    int32_t enter(int32_t index, unsigned type, const char* path, bool wait);

    pthread_mutex_t table_ = PTHREAD_MUTEX_INITIALIZER;
    LockRow rows_[KvVcLock::kRowCount] = {};
};

// The row of `path`, else the first free one, else kNoRow.
int32_t LockAgent::rowFor(const char* path) const {
    int32_t firstFree = kNoRow;
    for (int32_t i = 0; i < KvVcLock::kRowCount; ++i) {
        if (rows_[i].path == nullptr) {
            firstFree = firstFree == kNoRow ? i : firstFree;
        } else if (Str_Equal(rows_[i].path, path, true)) {
            return i;
        }
    }
    return firstFree;
}

int32_t LockAgent::enter(int32_t index, unsigned type, const char* path, bool wait) {
    if (index == kNoRow) {
        return kNoRow;
    }
    LockRow& row = rows_[index];
    if (row.path != nullptr && !wait) {
        return kNoRow;
    }
    if (row.path == nullptr) {
        row.path = Str_Dup(path);
        if (row.path == nullptr) {
            return kNoRow;
        }
    }
    // Not only for the first on the row: that one may have come without the thread bit.
    if (hasBit(type, kThreadLock) && !hasBit(row.type, kThreadLock)) {
        (void)pthread_mutex_init(&row.mutex, nullptr);
    }
    row.type |= type;
    ++row.refCount;
    return index;
}

int32_t LockAgent::join(unsigned type, const char* path, bool wait) {
    lockTable();
    const int32_t index = enter(rowFor(path), type, path, wait);
    (void)unlockTable();
    return index;
}

void LockAgent::leave(int32_t index) {
    LockRow& row = rows_[index];
    if (--row.refCount > 0) {
        return;
    }
    free(row.path);
    row.path = nullptr;
    if (hasBit(row.type, kThreadLock)) {
        (void)pthread_mutex_destroy(&row.mutex);
    }
    row.type = kNoLock;
}

// Ready before any constructor runs and after every destructor: other modules hold locks there.
LockAgent s_lockagent;
static_assert(std::is_trivially_destructible_v<LockAgent>, "locks must work until the very end");

// One fcntl call on the whole file; a signal that interrupts the wait does not end it.
bool lockWholeFile(int fd, int command) {
    struct flock whole {};
    whole.l_type = F_WRLCK;
    whole.l_whence = SEEK_SET;
    int result = 0;
    do {
        result = fcntl(fd, command, &whole);
    } while (result != 0 && errno == EINTR);
    return result == 0;
}

bool lockOpenFile(int fd, bool wait) {
    if (lockWholeFile(fd, F_SETLK)) {
        return true;
    }
    const bool busy = errno == EACCES || errno == EAGAIN;
    return busy && wait && lockWholeFile(fd, F_SETLKW);
}

bool isDeleted(int fd) {
    struct stat status {};
    return fstat(fd, &status) == 0 && status.st_nlink == 0;
}

// The descriptor of the locked file, or kNoFile.
int32_t takeFileLock(const char* lockPath, bool wait) {
    for (;;) {
        ScopedFd file(
            openRegularFile(lockPath, O_WRONLY | O_CREAT, KvLastLink::kFollowOwn, kLockFileMode));
        if (!file.isOpen() || !lockOpenFile(file.get(), wait)) {
            return kNoFile;
        }
        // The last holder may have deleted the file since it was opened here. The next one would
        // create it anew and hold that: a lock on the deleted file excludes nobody.
        if (!isDeleted(file.get())) {
            return file.release();
        }
    }
}

// Deletes the lock file unless another process has taken it since it was let go: that process
// must be found by the next one that opens the file.
void deleteFreeLockFile(const char* lockPath) {
    const ScopedFd file(takeFileLock(lockPath, false));
    if (file.isOpen()) {
        (void)sysUnlink(lockPath);
    }
}

}  // namespace

KvVcLock::KvVcLock() : wait(true), slot(kNoRow), fd(kNoFile), lockPath(), type(kNoLock) {}

KvVcLock::KvVcLock(unsigned lockType, const char* path, bool waiting) : KvVcLock() {
    // The caller reads the outcome with isLocked().
    (void)create(lockType, path, waiting);
}

KvVcLock::~KvVcLock() {
    (void)release();
}

bool KvVcLock::isLocked() const {
    return slot >= 0 && slot < kRowCount;
}

bool KvVcLock::create(unsigned lockType, const char* path, bool waiting) {
    if (isLocked() || !isLockType(lockType) || path == nullptr || *path == '\0') {
        return false;
    }
    wait = waiting;
    setLockPath(path);
    slot = s_lockagent.join(lockType, path, wait);
    if (!isLocked()) {
        return false;
    }
    type = lockType;
    if (hasBit(type, kThreadLock)) {
        // Blocks whatever `wait` says when a thread that waits has got in between.
        s_lockagent.lockRow(slot);
    }
    if (!hasBit(type, kFileLock)) {
        return true;
    }
    fd = takeFileLock(lockPath, wait);
    if (fd == kNoFile) {
        (void)release();
        return false;
    }
    return true;
}

int KvVcLock::release() {
    if (!isLocked()) {
        return 0;
    }
    s_lockagent.lockTable();
    closeLockFile();
    if (hasBit(type, kThreadLock)) {
        s_lockagent.unlockRow(slot);
    }
    s_lockagent.leave(slot);
    slot = kNoRow;
    type = kNoLock;
    return s_lockagent.unlockTable();
}

void KvVcLock::setLockPath(const char* path) {
    Strncpy(lockPath, path, kResourceCapacity);
    Strncat(lockPath, kLockSuffix, sizeof(lockPath));
}

void KvVcLock::closeLockFile() {
    if (fd == kNoFile) {
        return;  // Never taken: a lock file that is there belongs to its holder.
    }
    (void)close(fd);
    fd = kNoFile;
    if (!wait) {
        deleteFreeLockFile(lockPath);
    }
}
