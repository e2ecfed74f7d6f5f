// A character buffer of an exact capacity with canary bytes on both sides.
#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

class GuardedBuffer {
  public:
    explicit GuardedBuffer(size_t capacity)
        : bytes_(capacity + 2 * kGuard, kCanary), capacity_(capacity) {}

    [[nodiscard]] char* data() { return bytes_.data() + kGuard; }
    [[nodiscard]] size_t capacity() const { return capacity_; }
    [[nodiscard]] int size() const { return static_cast<int>(capacity_); }

    // Whether no byte outside the capacity has changed.
    [[nodiscard]] bool isIntact() const {
        const auto isCanary = [](char byte) { return byte == kCanary; };
        return std::all_of(bytes_.begin(), bytes_.begin() + kGuard, isCanary) &&
               std::all_of(bytes_.end() - kGuard, bytes_.end(), isCanary);
    }

  private:
    static constexpr char kCanary = '\x5A';
    static constexpr std::ptrdiff_t kGuard = 64;

    std::vector<char> bytes_;
    size_t capacity_;
};
