// The file behind an INI document: read at once into one block, and rewritten at once.
#pragma once

#include <cstddef>

#include "base/KvScoped.h"

class KvIniFile {
  public:
    // False when the file cannot be opened for reading.
    [[nodiscard]] bool open(const char* path);

    // Reads the whole file. What cannot be read (a directory, a failing disk) ends the content
    // there. False when there is no memory for it; the content is then empty.
    [[nodiscard]] bool fetch();

    // The content with one NUL behind it; lives until releaseBytes(), null before fetch().
    [[nodiscard]] char* bytes() const { return bytes_.get(); }
    [[nodiscard]] size_t size() const { return size_; }
    // Hands the content to the caller.
    [[nodiscard]] ScopedHeap<char> releaseBytes();

    // Where the next line begins; past size() when the end was reached.
    size_t position = 0;

  private:
    [[nodiscard]] size_t expectedSize() const;
    [[nodiscard]] bool grow(size_t capacity);
    bool readOnce();

    ScopedFd fd_;
    ScopedHeap<char> bytes_;
    size_t size_ = 0;
    size_t capacity_ = 0;
};

// Creates or truncates the file and writes these bytes. False when it cannot be opened, or when
// not all was written: what was written then stays.
[[nodiscard]] bool KvIniRewriteFile(const char* path, const char* bytes, size_t size);
