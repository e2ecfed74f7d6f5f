// tag_ItemInfo: one item of an update, as the patch description gives it.
#pragma once

#include <cstdint>

#include "base/KvVersion.h"

// A type of this value means every type of the class.
inline constexpr uint32_t kAllTypes = 0xFFFFFFFF;

// The fields from `itemClass` to `zipFile` are those that an item section fills, in its order.
//
// The two selector words stand after them. They belong to the shared vocabulary of items, are read
// by IsExpandableItem alone, and no section of a description fills them: placed last, they move no
// field that a reader of the first part knows. Whoever makes a record zeroes it whole, so that they
// are 0 and select nothing.
struct tag_ItemInfo {
    uint32_t itemClass;         // a ComponentClass
    uint32_t type;              // within the class; kAllTypes is every one
    tag_Version originVersion;  // before the patch
    tag_Version resultVersion;  // after the patch
    uint32_t forceUpdate;       // non-zero: update even where the versions would not require it
    char* destination;          // heap; the directory that takes the item's files
    char* zipFile;              // heap or null; the name of the item's archive, for the record only
    uint32_t firstSelector;     // kAllTypes makes an item that is no engine or pattern expandable
    uint32_t secondSelector;    // the same
};

// Whether the item stands for all types: an engine or a pattern when its type is kAllTypes, any
// other class also when one of its selector words is. Null is false.
[[nodiscard]] inline bool IsExpandableItem(const tag_ItemInfo* item) {
    if (item == nullptr) {
        return false;
    }
    if (item->type == kAllTypes) {
        return true;
    }
    // Engines and patterns know no selectors: their type alone says what they are.
    const bool knowsSelectors = item->itemClass != kClassEngine && item->itemClass != kClassPattern;
    return knowsSelectors &&
           (item->firstSelector == kAllTypes || item->secondSelector == kAllTypes);
}
