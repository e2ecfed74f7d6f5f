// KvIniPool: where the nodes of an INI document live.
//
// A document has many small nodes of one kind, made one after the other and freed all at once; the
// pool takes them from few large blocks. What is given back is used again.
#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>
#include <utility>

#include "base/KvScoped.h"

template <typename Node>
class KvIniPool {
  public:
    KvIniPool() = default;
    KvIniPool(const KvIniPool&) = delete;
    KvIniPool& operator=(const KvIniPool&) = delete;

    // Destroys all nodes, given back or not.
    ~KvIniPool() {
        while (newest_ != nullptr) {
            Block* block = std::exchange(newest_, newest_->older);
            std::destroy_n(block->nodes(), block->used);
            free(block);
        }
    }

    // A new node, which belongs to the pool; null when there is no memory.
    [[nodiscard]] Node* make() {
        if (spare_ != nullptr) {
            Node* node = std::exchange(spare_, static_cast<Node*>(spare_->next));
            node->next = nullptr;
            return node;
        }
        if ((newest_ == nullptr || newest_->used == newest_->capacity) && !addBlock()) {
            return nullptr;
        }
        return new (newest_->nodes() + newest_->used++) Node;
    }

    // Takes a node back; what it held is released now.
    void giveBack(Node* node) {
        node->~Node();
        new (node) Node;
        node->next = spare_;
        spare_ = node;
    }

  private:
    struct alignas(Node) Block {
        Block* older;
        size_t capacity;
        size_t used;

        Node* nodes() { return reinterpret_cast<Node*>(this + 1); }
    };

    static constexpr size_t kSmallestBlock = 8;
    static constexpr size_t kLargestBlock = 1024;

    bool addBlock() {
        const size_t before = newest_ != nullptr ? newest_->capacity : kSmallestBlock / 2;
        const size_t capacity = std::min(2 * before, kLargestBlock);
        void* room = malloc(sizeof(Block) + capacity * sizeof(Node));
        if (room == nullptr) {
            return false;
        }
        newest_ = new (room) Block{newest_, capacity, 0};
        return true;
    }

    Block* newest_ = nullptr;
    Node* spare_ = nullptr;
};
