#include "ini/KvIniIndex.h"

#include <cstdlib>

namespace {

// Room for the shortest list that is indexed, so that it does not grow at once.
constexpr size_t kFewestSlots = 32;

}  // namespace

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
