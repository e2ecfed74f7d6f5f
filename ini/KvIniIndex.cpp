#include "ini/KvIniIndex.h"

#include <cstdlib>

namespace {

constexpr size_t kFewestSlots = 64;

}  // namespace

bool KvIniIndex::reserve(size_t names) {
    size_t wanted = kFewestSlots;
    while (wanted < 2 * names) {
        wanted *= 2;
    }
    if (wanted <= slotCount_) {
        return true;
    }
    ScopedHeap<KvIniNode*> old(static_cast<KvIniNode**>(calloc(wanted, sizeof(void*))));
    if (old == nullptr) {
        return false;
    }
    const size_t oldCount = slotCount_;
    slots_.swap(old);
    slotCount_ = wanted;
    for (size_t i = 0; i < oldCount; ++i) {
        KvIniNode* last = old.get()[i];
        if (last != nullptr) {
            // The names are distinct: the first free slot is the right one.
            size_t slot = home(last->hash);
            while (slots_.get()[slot] != nullptr) {
                slot = after(slot);
            }
            slots_.get()[slot] = last;
        }
    }
    return true;
}

bool KvIniIndex::add(KvIniNode* node) {
    if (!reserve(names_ + 1)) {
        return false;
    }
    node->hash = KvIniName::hash(node->name, caseSensitive_);
    KvIniNode*& last = slots_.get()[slotOf(node)];
    if (last == nullptr) {
        node->nextSame = node;
        ++names_;
    } else {
        node->nextSame = last->nextSame;
        last->nextSame = node;
    }
    last = node;
    return true;
}

void KvIniIndex::remove(KvIniNode* node) {
    const size_t slot = slotOf(node);
    KvIniNode* last = slots_.get()[slot];
    if (last == node) {
        vacate(slot);
        --names_;
    } else {
        last->nextSame = node->nextSame;
    }
}

KvIniNode* KvIniIndex::first(const KvIniName& name) const {
    if (slotCount_ == 0) {
        return nullptr;
    }
    const uint32_t hash = name.hash(caseSensitive_);
    for (size_t slot = home(hash);; slot = after(slot)) {
        const KvIniNode* last = slots_.get()[slot];
        if (last == nullptr) {
            return nullptr;
        }
        if (last->hash == hash && name.matches(last->name, caseSensitive_)) {
            return last->nextSame;
        }
    }
}

// The slot of the node's name, or the free slot where it belongs.
size_t KvIniIndex::slotOf(const KvIniNode* node) const {
    size_t slot = home(node->hash);
    for (;; slot = after(slot)) {
        const KvIniNode* last = slots_.get()[slot];
        if (last == nullptr || (last->hash == node->hash &&
                                KvIniName::equal(last->name, node->name, caseSensitive_))) {
            return slot;
        }
    }
}

// Frees a slot and moves up those behind it that were pushed past it, so that no walk from a home
// slot meets a gap before its name.
void KvIniIndex::vacate(size_t slot) {
    KvIniNode** slots = slots_.get();
    for (size_t probe = after(slot); slots[probe] != nullptr; probe = after(probe)) {
        const size_t mask = slotCount_ - 1;
        const size_t walked = (probe - home(slots[probe]->hash)) & mask;
        if (walked >= ((probe - slot) & mask)) {
            slots[slot] = slots[probe];
            slot = probe;
        }
    }
    slots[slot] = nullptr;
}
