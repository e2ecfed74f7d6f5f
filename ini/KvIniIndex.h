// KvIniIndex: finds the first node of a name in a list of the INI document without walking it.
//
// A hash table with one slot for each distinct name. The nodes of one name form a ring in list
// order through `nextSame`; the slot points at the last of them, so that both the first (the one
// that every look-up takes) and the end (where every new node goes) are one step away.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "base/KvScoped.h"
#include "ini/KvIniName.h"
#include "ini/KvIniText.h"

// What sections and keys have in common.
struct KvIniNode {
    KvIniText name;
    KvIniNode* next = nullptr;
    KvIniNode* previous = nullptr;
    bool caseSensitive = false;
    // Kept by the index, for the nodes that it holds:
    bool isFirstOfName = false;
    KvIniNode* nextSame = nullptr;
};

class KvIniIndex {
  public:
    explicit KvIniIndex(bool caseSensitive) : caseSensitive_(caseSensitive) {}

    // Makes room for this many names; false when there is no memory.
    [[nodiscard]] bool reserve(size_t names);

    // Adds a node that stands behind all nodes in the index. False when there is no memory: the
    // index then lacks the node and is of no further use.
    [[nodiscard]] bool add(KvIniNode* node);

    // Takes out a node that is the first of its name.
    void remove(KvIniNode* node);

    // The first node of that name; null when there is none.
    [[nodiscard]] KvIniNode* first(const KvIniName& name) const;

  private:
    // The hash stands beside the node, so that only the node that is meant gets touched.
    struct Slot {
        KvIniNode* last;  // of its name; null: the slot is free
        uint32_t hash;
    };

    [[nodiscard]] Slot* slots() const { return slots_.get(); }
    [[nodiscard]] size_t home(uint32_t hash) const { return hash & (slotCount_ - 1); }
    [[nodiscard]] size_t after(size_t slot) const { return (slot + 1) & (slotCount_ - 1); }
    [[nodiscard]] size_t freeSlot(uint32_t hash) const;
    [[nodiscard]] size_t slotOf(const KvIniText& name, uint32_t hash) const;
    void vacate(size_t slot);

    ScopedHeap<Slot> slots_;
    size_t slotCount_ = 0;  // a power of two; at most four fifths are in use
    size_t names_ = 0;
    bool caseSensitive_;
};
