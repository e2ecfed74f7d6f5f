// KvIniList: the sections of an INI document, or the keys of one section, in the order of the file.
//
// The list owns its nodes. Long lists get an index at their first look-up, and keep it up to date
// from then on; short ones are walked.
#pragma once

#include <cstddef>
#include <memory>

#include "ini/KvIniIndex.h"

// The list without knowledge of what its nodes are; it frees nothing.
class KvIniNodeList {
  public:
    [[nodiscard]] size_t size() const { return size_; }
    [[nodiscard]] bool empty() const { return first_ == nullptr; }

    // The first node of that name in list order; null when there is none.
    [[nodiscard]] KvIniNode* find(const KvIniName& name, bool caseSensitive) const;

  protected:
    void append(KvIniNode* node);
    // Takes out a node that is the first of its name.
    void unlink(KvIniNode* node);
    void forgetAll();

    KvIniNode* first_ = nullptr;
    // Stale once the list has become empty: `first_` is what says whether there is a node.
    KvIniNode* last_ = nullptr;

  private:
    void buildIndex(bool caseSensitive) const;

    size_t size_ = 0;
    mutable std::unique_ptr<KvIniIndex> index_;
};

template <typename Node>
class KvIniList : public KvIniNodeList {
  public:
    KvIniList() = default;
    KvIniList(const KvIniList&) = delete;
    KvIniList& operator=(const KvIniList&) = delete;
    ~KvIniList() { clear(); }

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

    // Takes over the node.
    Node* append(std::unique_ptr<Node> node) {
        KvIniNodeList::append(node.get());
        return node.release();
    }

    // Deletes a node that is the first of its name.
    void remove(Node* node) {
        unlink(node);
        delete node;
    }

    void clear() {
        for (Node* node = first(); node != nullptr;) {
            Node* next = after(node);
            delete node;
            node = next;
        }
        forgetAll();
    }
};
