#include "base/DList.h"

#include <cstdlib>
#include <cstring>

namespace {

// The lists of a run hold a few listeners and deferred copies: a fixed step wastes little.
constexpr int32_t kGrowSlots = 8;

}  // namespace

DList::~DList() {
    free(items);
}

int DList::Add(void* p) {
    if (p == nullptr || (count == capacity && !grow())) {
        return -1;
    }
    items[count] = p;
    return count++;
}

int DList::Remove(void* p) {
    const int index = p != nullptr ? indexOf(p) : -1;
    if (index >= 0) {
        Remove(index);
    }
    return index;
}

void* DList::Remove(int index) {
    if (index < 0 || index >= count) {
        return nullptr;
    }
    void* removed = items[index];
    --count;
    memmove(items + index, items + index + 1, static_cast<size_t>(count - index) * sizeof(void*));
    // An empty list holds no array, whichever way it became empty.
    if (count == 0) {
        Clear();
    }
    return removed;
}

bool DList::Has(const void* p) const {
    return indexOf(p) >= 0;
}

int DList::Merge(void* p) {
    const int index = indexOf(p);
    return index >= 0 ? index : Add(p);
}

// The number of elements is taken before the loop, because `other` may be this list and grow.
void DList::AddList(const DList* other) {
    const int last = other != nullptr ? other->count : 0;
    for (int i = 0; i < last; ++i) {
        Add(other->items[i]);
    }
}

void DList::MergeList(const DList* other) {
    const int last = other != nullptr ? other->count : 0;
    for (int i = 0; i < last; ++i) {
        Merge(other->items[i]);
    }
}

void DList::RemoveList(const DList* other) {
    // Removing from the list that is walked would skip every second element.
    if (other == this) {
        Clear();
        return;
    }
    const int last = other != nullptr ? other->count : 0;
    for (int i = 0; i < last; ++i) {
        Remove(other->items[i]);
    }
}

void DList::qSort(Compare compare) {
    // qsort must not be handed a null array, not even for no elements.
    if (count > 1 && compare != nullptr) {
        qsort(items, static_cast<size_t>(count), sizeof(void*), compare);
    }
}

void DList::Clear() {
    free(items);
    items = nullptr;
    capacity = 0;
    count = 0;
}

int DList::indexOf(const void* p) const {
    for (int i = 0; i < count; ++i) {
        if (items[i] == p) {
            return i;
        }
    }
    return -1;
}

bool DList::grow() {
    if (capacity > INT32_MAX - kGrowSlots) {
        return false;
    }
    const size_t slots = static_cast<size_t>(capacity) + static_cast<size_t>(kGrowSlots);
    // A realloc that fails leaves the old block, and so the list, as it was.
    auto** grown = static_cast<void**>(realloc(items, slots * sizeof(void*)));
    if (grown == nullptr) {
        return false;
    }
    items = grown;
    capacity += kGrowSlots;
    return true;
}
