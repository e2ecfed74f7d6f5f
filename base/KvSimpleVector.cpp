#include "base/KvSimpleVector.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

namespace {

constexpr int32_t kMinGrowStep = 4;

// What an index past the end refers to; whatever was written to it is gone at the next look.
KvSimpleString& blankElement() {
    static KvSimpleString s_blank;
    s_blank = "";
    return s_blank;
}

}  // namespace

// A negative capacity would be a huge unsigned one.
KvSimpleVector::KvSimpleVector(int capacity, int growStep)
    : capacity_(static_cast<uint64_t>(std::max(capacity, 0))),
      growStep_(growStep >= 0 ? std::max(growStep, kMinGrowStep) : growStep) {}

KvSimpleStringVector::KvSimpleStringVector(int capacity, int growStep)
    : KvSimpleVector(capacity, growStep) {}

KvSimpleStringVector::~KvSimpleStringVector() {
    // Named with its class: a virtual call would already miss a class derived from this one.
    KvSimpleStringVector::_clear(true);
}

void KvSimpleStringVector::push_back(const KvSimpleString& text) {
    // _alloc() sets the size to 0, as every clearing does.
    const uint64_t size = size_;
    // The copy is made before the array moves: `text` may be an element of this list.
    auto* copy = new (std::nothrow) KvSimpleString(text);
    if (copy == nullptr || copy->failed()) {
        delete copy;
        failed_ = true;
        return;
    }
    if (size >= capacity_ || items_ == nullptr) {
        const auto quarter = static_cast<int32_t>(std::min<uint64_t>(capacity_ / 4, INT32_MAX));
        // For good, also for the time after clear(): a step in proportion to the size is what keeps
        // n pushes linear.
        growStep_ = std::max(growStep_, quarter);
        // A grow step that was made negative is raised to 0 for small arrays: one more slot then.
        _alloc(std::max(capacity_ + static_cast<uint64_t>(growStep_), size + 1));
        if (capacity_ <= size || items_ == nullptr) {
            delete copy;
            failed_ = true;
            return;
        }
    }
    items_[size] = copy;
    size_ = size + 1;
}

KvSimpleString& KvSimpleStringVector::operator[](size_t index) {
    return index < size_ ? *static_cast<KvSimpleString*>(items_[index]) : blankElement();
}

const KvSimpleString& KvSimpleStringVector::operator[](size_t index) const {
    return index < size_ ? *static_cast<const KvSimpleString*>(items_[index]) : blankElement();
}

void KvSimpleStringVector::_clear(bool deleteElements) {
    if (deleteElements) {
        failed_ = false;
        for (uint64_t i = 0; i < size_; ++i) {
            delete static_cast<KvSimpleString*>(items_[i]);
        }
    }
    free(items_);
    items_ = nullptr;
    size_ = 0;
    // A list that is cleared and filled again starts small, else each round would grow it further.
    capacity_ = 0;
}

void KvSimpleStringVector::_alloc(unsigned long newCapacity) {
    // Zeroed, so that no slot ever holds a pointer that nobody put there.
    auto** grown = static_cast<void**>(calloc(newCapacity, sizeof(void*)));
    if (grown == nullptr) {
        return;
    }
    if (items_ != nullptr) {
        memcpy(grown, items_, std::min<uint64_t>(size_, newCapacity) * sizeof(void*));
    }
    _clear(false);
    items_ = grown;
    capacity_ = newCapacity;
}
