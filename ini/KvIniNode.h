// The sections and keys that an INI document consists of, and the lists, the index and the pool
// that hold them.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <new>
#include <utility>

#include "base/KvScoped.h"
#include "base/KvSimpleString.h"
#include "ini/KvIniText.h"

// What sections and keys have in common.
struct KvIniNode {
    KvIniText name;
    KvIniNode* next = nullptr;
    KvIniNode* previous = nullptr;
    bool caseSensitive = false;
    // Kept by the index of a long list, for the nodes that it holds:
    bool isFirstOfName = false;
    KvIniNode* nextSame = nullptr;
};

class KvIniIndex;

// A list of nodes in the order of the file, without knowledge of what they are. The nodes belong to
// the document's pool. A long list gets an index at its first look-up and keeps it up to date from
// then on; a short one is walked.
class KvIniNodeList {
  public:
    KvIniNodeList();
    ~KvIniNodeList();
    KvIniNodeList(const KvIniNodeList&) = delete;
    KvIniNodeList& operator=(const KvIniNodeList&) = delete;

    [[nodiscard]] size_t size() const { return size_; }
    [[nodiscard]] bool empty() const { return first_ == nullptr; }

    // The first node of that name in list order; null when there is none.
    [[nodiscard]] KvIniNode* find(const KvIniName& name, bool caseSensitive) const;

    void append(KvIniNode* node);
    // Takes out a node that is the first of its name.
    void unlink(KvIniNode* node);
    // Takes out all nodes.
    void clear();

  protected:
    KvIniNode* first_ = nullptr;
    // Stale once the list has become empty: `first_` is what says whether there is a node.
    KvIniNode* last_ = nullptr;

  private:
    [[nodiscard]] KvIniNode* findByHint(const KvIniName& name, bool caseSensitive) const;
    void buildIndex(bool caseSensitive) const;

    size_t size_ = 0;
    mutable std::unique_ptr<KvIniIndex> index_;
    mutable KvIniNode* lastFound_ = nullptr;
};

// The same for nodes of one kind.
template <typename Node>
class KvIniList : public KvIniNodeList {
  public:
    [[nodiscard]] Node* first() const { return static_cast<Node*>(first_); }
    // Null for an empty list.
    [[nodiscard]] Node* last() const { return empty() ? nullptr : static_cast<Node*>(last_); }

    [[nodiscard]] static Node* after(const Node* node) { return static_cast<Node*>(node->next); }
    [[nodiscard]] static Node* before(const Node* node) {
        return static_cast<Node*>(node->previous);
    }

    [[nodiscard]] Node* find(const KvIniName& name, bool caseSensitive) const {
        return static_cast<Node*>(KvIniNodeList::find(name, caseSensitive));
    }
};

// Leading text is what stood in the file between the key or header before and this one: comments,
// blank lines and whatever else is no key, each line with its "\n". The other texts are empty after
// loading; they receive the texts of deleted keys.
struct KvIniEntry : KvIniNode {
    KvIniText value;
    KvIniText leadingText;
    KvSimpleString trailingText;  // takes over the text of a deleted key that followed
};

struct KvIniSection : KvIniNode {
    KvIniList<KvIniEntry> keys;
    KvIniText leadingText;
    KvSimpleString afterHeaderText;  // takes over the text of a deleted first key
};

// Where the nodes live. A document has many small ones of one kind, made one after the other and
// freed all at once; the pool takes them from few large blocks. What is given back is used again.
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
