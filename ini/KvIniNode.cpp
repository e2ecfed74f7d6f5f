#include "ini/KvIniNode.h"

namespace {

// Up to here a walk costs no more than the hash of a name and the memory of an index.
constexpr size_t kLongestWalk = 16;

// Room for the shortest list that is indexed, so that it does not grow at once.
constexpr size_t kFewestSlots = 32;

}  // namespace

// Finds the first node of a name in a list without walking it.
//
// A hash table with one slot for each distinct name. The nodes of one name form a ring in list
// order through `nextSame`; the slot points at the last of them, so that both the first (the one
// that every look-up takes) and the end (where every new node goes) are one step away.
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

bool KvIniIndex::reserve(size_t names) {
    size_t wanted = kFewestSlots;
    while (wanted / 5 * 4 < names) {
        wanted *= 2;
    }
    if (wanted <= slotCount_) {
        return true;
    }
    ScopedHeap<Slot> old(static_cast<Slot*>(calloc(wanted, sizeof(Slot))));
    if (old == nullptr) {
        return false;
    }
    const size_t oldCount = slotCount_;
    slots_.swap(old);
    slotCount_ = wanted;
    for (size_t i = 0; i < oldCount; ++i) {
        const Slot& moved = old.get()[i];
        if (moved.last != nullptr) {
            slots()[freeSlot(moved.hash)] = moved;
        }
    }
    return true;
}

bool KvIniIndex::add(KvIniNode* node) {
    if (!reserve(names_ + 1)) {
        return false;
    }
    // The ring stays in list order because a list only ever grows at its end.
    const uint32_t hash = KvIniName::hash(node->name, caseSensitive_);
    Slot& slot = slots()[slotOf(node->name, hash)];
    node->isFirstOfName = slot.last == nullptr;
    if (node->isFirstOfName) {
        node->nextSame = node;
        ++names_;
    } else {
        node->nextSame = slot.last->nextSame;
        slot.last->nextSame = node;
    }
    slot = {node, hash};
    return true;
}

void KvIniIndex::remove(KvIniNode* node) {
    const size_t slot = slotOf(node->name, KvIniName::hash(node->name, caseSensitive_));
    KvIniNode* last = slots()[slot].last;
    if (last == node) {
        vacate(slot);
        --names_;
    } else {
        // Only the first of a name is ever deleted, so nobody has to look for the one before it.
        last->nextSame = node->nextSame;
        node->nextSame->isFirstOfName = true;
    }
}

KvIniNode* KvIniIndex::first(const KvIniName& name) const {
    if (slotCount_ == 0) {
        return nullptr;
    }
    const uint32_t hash = name.hash(caseSensitive_);
    for (size_t slot = home(hash);; slot = after(slot)) {
        const Slot& probe = slots()[slot];
        if (probe.last == nullptr) {
            return nullptr;
        }
        if (probe.hash == hash && name.matches(probe.last->name, caseSensitive_)) {
            return probe.last->nextSame;
        }
    }
}

size_t KvIniIndex::freeSlot(uint32_t hash) const {
    size_t slot = home(hash);
    while (slots()[slot].last != nullptr) {
        slot = after(slot);
    }
    return slot;
}

// The slot of a name, or the free slot where it belongs.
size_t KvIniIndex::slotOf(const KvIniText& name, uint32_t hash) const {
    for (size_t slot = home(hash);; slot = after(slot)) {
        const Slot& probe = slots()[slot];
        if (probe.last == nullptr ||
            (probe.hash == hash && KvIniName::equal(probe.last->name, name, caseSensitive_))) {
            return slot;
        }
    }
}

// Frees a slot and moves up those behind it that were pushed past it, so that no walk from a home
// slot meets a gap before its name.
void KvIniIndex::vacate(size_t slot) {
    const size_t mask = slotCount_ - 1;
    for (size_t probe = after(slot); slots()[probe].last != nullptr; probe = after(probe)) {
        const size_t walked = (probe - home(slots()[probe].hash)) & mask;
        if (walked >= ((probe - slot) & mask)) {
            slots()[slot] = slots()[probe];
            slot = probe;
        }
    }
    slots()[slot].last = nullptr;
}

KvIniNodeList::KvIniNodeList() = default;

KvIniNodeList::~KvIniNodeList() = default;

KvIniNode* KvIniNodeList::find(const KvIniName& name, bool caseSensitive) const {
    if (index_ == nullptr && size_ > kLongestWalk) {
        buildIndex(caseSensitive);
    }
    if (index_ != nullptr) {
        KvIniNode* found = findByHint(name, caseSensitive);
        found = found != nullptr ? found : index_->first(name);
        lastFound_ = found != nullptr ? found : lastFound_;
        return found;
    }
    KvIniNode* node = first_;
    while (node != nullptr && !name.matches(node->name, caseSensitive)) {
        node = node->next;
    }
    return node;
}

// Most documents are asked for the same section again and again, and for its keys in their order:
// that spares the walk through the index, which in large documents is the dearest part.
KvIniNode* KvIniNodeList::findByHint(const KvIniName& name, bool caseSensitive) const {
    const auto isWanted = [&](const KvIniNode* node) {
        return node != nullptr && node->isFirstOfName && name.matches(node->name, caseSensitive);
    };
    if (lastFound_ == nullptr) {
        return nullptr;
    }
    return isWanted(lastFound_->next) ? lastFound_->next
           : isWanted(lastFound_)     ? lastFound_
                                      : nullptr;
}

void KvIniNodeList::append(KvIniNode* node) {
    if (first_ == nullptr) {
        first_ = node;
    } else {
        node->previous = last_;
        last_->next = node;
    }
    last_ = node;
    ++size_;
    if (index_ != nullptr && !index_->add(node)) {
        index_.reset();
    }
}

void KvIniNodeList::unlink(KvIniNode* node) {
    if (index_ != nullptr) {
        index_->remove(node);
    }
    if (lastFound_ == node) {
        lastFound_ = node->previous;
    }
    if (node->previous == nullptr) {
        first_ = node->next;
    } else {
        node->previous->next = node->next;
        if (node->next == nullptr) {
            last_ = node->previous;
        }
    }
    if (node->next != nullptr) {
        node->next->previous = node->previous;
    }
    --size_;
}

void KvIniNodeList::clear() {
    first_ = nullptr;
    last_ = nullptr;
    size_ = 0;
    index_.reset();
    lastFound_ = nullptr;
}

// Without memory for it there is no index, and the list is walked.
void KvIniNodeList::buildIndex(bool caseSensitive) const {
    std::unique_ptr<KvIniIndex> index(new (std::nothrow) KvIniIndex(caseSensitive));
    if (index == nullptr || !index->reserve(size_)) {
        return;
    }
    for (KvIniNode* node = first_; node != nullptr; node = node->next) {
        if (!index->add(node)) {
            return;
        }
    }
    index_ = std::move(index);
}
