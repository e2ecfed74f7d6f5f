// tag_ErrorInfo: an error as a record of numbers with room for a text.
#pragma once

#include <cstddef>
#include <cstdint>

inline constexpr size_t kErrorTextCapacity = 1024;

struct tag_ErrorInfo {
    uint32_t category;
    uint32_t combinedCode;          // category in the high 16 bits, the code in the low 16
    char text[kErrorTextCapacity];  // NUL-terminated; MakeErrorInfo leaves it empty
    uint32_t firstDetail;           // for the reporter's own use; MakeErrorInfo leaves 0
    uint32_t secondDetail;          // the same
};

// Sets the whole record from the two numbers. A null `info` does nothing.
inline void MakeErrorInfo(tag_ErrorInfo* info, unsigned short category, unsigned short code) {
    constexpr unsigned kCategoryShift = 16;
    if (info != nullptr) {
        *info = tag_ErrorInfo{};
        info->category = category;
        info->combinedCode = (static_cast<uint32_t>(category) << kCategoryShift) + code;
    }
}
