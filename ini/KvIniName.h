// KvIniName: a name that is looked up in the INI document.
#pragma once

#include <cstddef>
#include <cstdint>

#include "ini/KvIniText.h"

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
