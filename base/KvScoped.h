// Scope objects for the plain C resources that the tool holds: each releases what it owns when it
// leaves its scope, so that no return path can leak. And how the heap blocks are made that plain
// records own, which explicit functions free.
#pragma once

#include <dirent.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "base/KvSimpleString.h"

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

// No array of a record is larger than this many bytes.
inline constexpr uint64_t kHeapArrayLimit = 4294967295U;

// A zeroed array of `count` elements; null when there is no memory or it would pass the limit. The
// block is taken zeroed from the system, so a large one costs nothing until it is written to.
template <typename T>
[[nodiscard]] T* allocZeroed(uint64_t count) {
    if (count > kHeapArrayLimit / sizeof(T)) {
        return nullptr;
    }
    return static_cast<T*>(calloc(static_cast<size_t>(count), sizeof(T)));
}

enum class HeapCopy {
    kDone,
    kNoMemory,
    kCopyFailed,  // there was nothing to copy
};

// Stores in `out` a heap copy of `text` in a block of exactly its size; a null text is kCopyFailed.
// After a failure `out` is null.
[[nodiscard]] inline HeapCopy copyToHeap(const char* text, char*& out) {
    out = nullptr;
    if (text == nullptr) {
        return HeapCopy::kCopyFailed;
    }
    if (KvSimpleString::isFailed(text)) {
        return HeapCopy::kNoMemory;
    }
    const size_t size = strlen(text) + 1;
    ScopedHeap<char> block(static_cast<char*>(malloc(size)));
    if (!block) {
        return HeapCopy::kNoMemory;
    }
    memcpy(block.get(), text, size);
    out = block.release();
    return HeapCopy::kDone;
}
