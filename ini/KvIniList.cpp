#include "ini/KvIniList.h"

#include <new>

namespace {

// Up to here a walk costs no more than the hash of a name and the memory of an index.
constexpr size_t kLongestWalk = 16;

}  // namespace

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
