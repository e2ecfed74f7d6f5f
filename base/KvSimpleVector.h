// KvSimpleVector: the base of the growable pointer arrays. KvSimpleStringVector: a list of strings.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/KvSimpleString.h"

// Counts slots and elements; what the elements are, and who owns them, the derived class says
// through its virtual operations. Not copyable.
class KvSimpleVector {
  public:
    // `capacity` is where the first growth starts from; no array exists before the first element.
    // A `growStep` of 0 to 3 becomes 4; a negative one is kept.
    KvSimpleVector(int capacity, int growStep);
    KvSimpleVector(const KvSimpleVector&) = delete;
    KvSimpleVector& operator=(const KvSimpleVector&) = delete;
    virtual ~KvSimpleVector() = default;

    [[nodiscard]] size_t size() const { return size_; }
    [[nodiscard]] bool empty() const { return size_ == 0; }

    // Deletes all elements and the array. The capacity becomes 0, too, whatever it was at first: a
    // list that is cleared and filled again would else grow with every round. A grow step that was
    // raised stays.
    void clear() { _clear(true); }

  protected:
    // Frees the array, and the elements with it when `deleteElements` is set; size and capacity
    // become 0.
    virtual void _clear(bool deleteElements) = 0;
    // Moves the elements into a zero-filled array of `newCapacity` slots and frees the old one by
    // `_clear(false)`; so size becomes 0, and the caller restores it. Leaves everything as it was
    // when there is no memory.
    virtual void _alloc(unsigned long newCapacity) = 0;

    uint64_t capacity_;
    int32_t growStep_;
    uint64_t size_ = 0;
    void** items_ = nullptr;
};

// Owns heap copies of the strings pushed into it, in the order of the pushes.
class KvSimpleStringVector : public KvSimpleVector {
  public:
    explicit KvSimpleStringVector(int capacity = 16, int growStep = 4);
    ~KvSimpleStringVector() override;

    // Appends a copy. When the array is full the grow step is first raised, for good, to a quarter
    // of the capacity, so that n pushes cost n. Without memory, and for a failed text, the list has
    // failed from then on.
    void push_back(const KvSimpleString& text);

    // Whether a text that was pushed is missing, until clear().
    [[nodiscard]] bool failed() const { return failed_; }

    // The element at `index`; at or past size(), one static empty string that all lists share. An
    // element stays where it is until clear() or destruction.
    KvSimpleString& operator[](size_t index);
    const KvSimpleString& operator[](size_t index) const;

  protected:
    void _clear(bool deleteElements) override;
    void _alloc(unsigned long newCapacity) override;

  private:
    bool failed_ = false;
};
