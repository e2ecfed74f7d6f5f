// Scope objects for the plain C resources that the tool holds: each releases what it owns when it
// leaves its scope, so that no return path can leak.
#pragma once

#include <dirent.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <memory>

struct FileCloser {
    // A result that matters is asked for by closing explicitly (`fclose(file.release())`).
    void operator()(FILE* file) const { (void)fclose(file); }
};

struct DirCloser {
    void operator()(DIR* dir) const { (void)closedir(dir); }
};

struct HeapFreer {
    void operator()(void* block) const { free(block); }
};

// An open buffered file; null when there is none.
using ScopedFile = std::unique_ptr<FILE, FileCloser>;

// An open directory; null when there is none.
using ScopedDir = std::unique_ptr<DIR, DirCloser>;

// A block that `free` releases; null when there is none.
template <typename T>
using ScopedHeap = std::unique_ptr<T, HeapFreer>;

// A plain record that `release` empties at the end of the scope; zeroed at first.
template <typename Record, void (*release)(Record*)>
struct Owned : Record {
    Owned() : Record{} {}
    ~Owned() { release(this); }
    Owned(const Owned&) = delete;
    Owned& operator=(const Owned&) = delete;
};

// An open file descriptor; -1 when there is none.
class ScopedFd {
  public:
    explicit ScopedFd(int fd = -1) : fd_(fd) {}
    ~ScopedFd() { reset(); }
    ScopedFd(const ScopedFd&) = delete;
    ScopedFd& operator=(const ScopedFd&) = delete;

    [[nodiscard]] int get() const { return fd_; }
    [[nodiscard]] bool isOpen() const { return fd_ >= 0; }

    // Hands the descriptor to the caller, who closes it.
    [[nodiscard]] int release() {
        const int fd = fd_;
        fd_ = -1;
        return fd;
    }

    void reset(int fd = -1) {
        if (fd_ >= 0) {
            (void)close(fd_);
        }
        fd_ = fd;
    }

  private:
    int fd_;
};
