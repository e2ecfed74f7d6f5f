// KvIniText: a text inside a node of the INI document, two words wide.
//
// Most texts of a document are never touched: they stay where they were loaded, in the document's
// own copy of the file, and the node only borrows them. A text that is set later gets a heap block
// of exactly its size. The empty text has no block at all. (A KvSimpleString of any length takes a
// block of 255 characters; with four of them a key would cost more than a kilobyte.)
#pragma once

#include <cstddef>
#include <cstdlib>
#include <utility>

#include "base/KvSimpleString.h"

class KvIniText {
  public:
    // The empty text.
    KvIniText() = default;

    // Refers to `length` bytes that outlive this object. Where c_str() will be asked for, a NUL
    // stands behind them.
    static KvIniText borrowed(const char* bytes, size_t length) {
        KvIniText text;
        text.bytes_ = bytes;
        text.tagged_ = length << 1U;
        return text;
    }

    // Takes a copy of a NUL-terminated text (null is ""), which may be a part of the present one.
    // False, with nothing changed, when there is no memory.
    [[nodiscard]] bool copy(const char* text);

    KvIniText(KvIniText&& other) noexcept { swap(other); }
    KvIniText& operator=(KvIniText&& other) noexcept {
        swap(other);
        return *this;
    }
    KvIniText(const KvIniText&) = delete;
    KvIniText& operator=(const KvIniText&) = delete;
    ~KvIniText() {
        if (isOwned()) {
            free(const_cast<char*>(bytes_));
        }
    }

    [[nodiscard]] const char* c_str() const { return bytes_; }
    [[nodiscard]] size_t length() const { return tagged_ >> 1; }
    [[nodiscard]] bool empty() const { return length() == 0; }

    // Appends exactly these bytes. Nothing, not even an empty block, for the empty text.
    void appendTo(KvSimpleString& out) const;

  private:
    void swap(KvIniText& other) {
        std::swap(bytes_, other.bytes_);
        std::swap(tagged_, other.tagged_);
    }
    [[nodiscard]] bool isOwned() const { return (tagged_ & 1U) != 0; }

    const char* bytes_ = "";
    size_t tagged_ = 0;  // the length, and in the lowest bit whether the bytes are a heap block
};
