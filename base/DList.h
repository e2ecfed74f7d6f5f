// DList: a growable array of untyped pointers, in the order in which they were added.
//
// The list does not own what the pointers point to; it owns only the array. Not copyable.
#pragma once

#include <cstdint>

class DList {
  public:
    // As `qsort` takes it: the arguments point at two slots of the array, not at the things.
    using Compare = int (*)(const void* left, const void* right);

    DList() = default;
    virtual ~DList();
    DList(const DList&) = delete;
    DList& operator=(const DList&) = delete;

    // Plain reads for everybody; only the operations below change them.
    void** items = nullptr;  // null while the list is empty
    int32_t capacity = 0;    // slots
    int32_t count = 0;       // used slots

    // Appends `p` and returns its index. -1, with nothing changed, for null and when there is no
    // memory. A full array grows by exactly 8 slots.
    int Add(void* p);

    // Takes the first occurrence of `p` out, closes the gap in order and returns its former index;
    // -1 for null and when `p` is not there.
    int Remove(void* p);

    // Takes the slot out in the same way and returns what it held; null when `index` is negative or
    // not below `count`.
    void* Remove(int index);

    [[nodiscard]] bool Has(const void* p) const;

    // The index of `p`, which is added first when it is not there yet; -1 where Add gives -1.
    int Merge(void* p);

    // Add, Merge or Remove for every element of `other`, in its order. `other` may be null, empty,
    // or this list itself (every element that it had at the call is then meant).
    void AddList(const DList* other);
    void MergeList(const DList* other);
    void RemoveList(const DList* other);

    // Sorts in place; a null `compare` leaves the order alone.
    void qSort(Compare compare);

    // Frees the array; capacity and count become 0.
    void Clear();

  private:
    [[nodiscard]] int indexOf(const void* p) const;
    [[nodiscard]] bool grow();
};
