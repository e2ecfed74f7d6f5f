// Heap blocks for plain records: what they own comes from `malloc` and is freed
// by explicit functions.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "base/KvScoped.h"
#include "base/KvText.h"

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
    kCopyFailed,
};

// Stores in `out` a heap copy of `text` in a block of exactly its size; a null text is kCopyFailed.
// After a failure `out` is null.
[[nodiscard]] inline HeapCopy copyToHeap(const char* text, char*& out) {
    out = nullptr;
    if (text == nullptr) {
        return HeapCopy::kCopyFailed;
    }
    const size_t size = strlen(text) + 1;
    ScopedHeap<char> block(static_cast<char*>(malloc(size)));
    if (!block) {
        return HeapCopy::kNoMemory;
    }
    if (Strncpy(block.get(), text, size) == nullptr) {
        return HeapCopy::kCopyFailed;
    }
    out = block.release();
    return HeapCopy::kDone;
}
