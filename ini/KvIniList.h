// KvIniList: the sections of an INI document, or the keys of one section, in the order of the file.
//
// The nodes belong to the document's pool. Long lists get an index at their first look-up, and keep
// it up to date from then on; short ones are walked.
#pragma once

#include <cstddef>
#include <memory>

#include "ini/KvIniIndex.h"

// The list without knowledge of what its nodes are.
class KvIniNodeList {
  public:
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
