// The texts of the INI document as they are stored (KvIniText) and as they are looked up
// (KvIniName).
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <utility>

#include "base/KvSimpleString.h"

// A text inside a node, two words wide.
//
// Most texts of a document are never touched: they stay where they were loaded, in the document's
// own copy of the file, and the node only borrows them. A text that is set later gets a heap block
// of exactly its size. The empty text has no block at all. (A KvSimpleString of any length takes a
// block of 255 characters; with four of them a key would cost more than a kilobyte.)
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

// A name that is looked up.
class KvIniName {
  public:
    // Refers to `text` without its white space at both ends; null is "". `text` outlives the name.
    explicit KvIniName(const char* text);

    [[nodiscard]] bool empty() const { return length_ == 0; }

    // Whether the stored name equals this one, exactly as Str_Equal judges it: ASCII case folding
    // only, and a stored name ends at its first NUL. The stored name itself is not trimmed.
    [[nodiscard]] bool matches(const KvIniText& stored, bool caseSensitive) const {
        return stored.length() >= length_ && stored.c_str()[length_] == '\0' &&
               sameBytes(stored.c_str(), text_, length_, caseSensitive);
    }

    [[nodiscard]] uint32_t hash(bool caseSensitive) const;

    // Equal for all names that match each other.
    [[nodiscard]] static uint32_t hash(const KvIniText& stored, bool caseSensitive);

    // Whether two stored names are equal in the same sense.
    [[nodiscard]] static bool equal(const KvIniText& a, const KvIniText& b, bool caseSensitive);

  private:
    [[nodiscard]] static bool sameBytes(const char* a, const char* b, size_t length,
                                        bool caseSensitive);

    KvIniName(const char* text, size_t length) : text_(text), length_(length) {}

    const char* text_;
    size_t length_;
};
