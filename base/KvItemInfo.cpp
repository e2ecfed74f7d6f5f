#include "base/KvItemInfo.h"

bool IsExpandableItem(const tag_ItemInfo* item) {
    if (item == nullptr) {
        return false;
    }
    if (item->type == kAllTypes) {
        return true;
    }
    // Engines and patterns know no selectors: their type alone says what they are.
    if (item->itemClass == kClassEngine || item->itemClass == kClassPattern) {
        return false;
    }
    return item->firstSelector == kAllTypes || item->secondSelector == kAllTypes;
}
