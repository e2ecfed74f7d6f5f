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
        return index_->first(name);
    }
    KvIniNode* node = first_;
    while (node != nullptr && !name.matches(node->name, caseSensitive)) {
        node = node->next;
    }
    return node;
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
