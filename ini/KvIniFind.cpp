// The searches in a KvIniUtil document.
#include "ini/KvIniUtil.h"

#include "base/KvText.h"
#include "ini/KvIniDocument.h"

namespace {

// Values are searched with regard to case in every document: they are file names and the like.
bool contains(const KvIniEntry& entry, const KvSimpleString& pattern) {
    return Str_Find(entry.value.c_str(), pattern.c_str(), true) >= 0;
}

bool anyContains(const KvIniSection& section, const KvSimpleString& pattern) {
    const KvIniEntry* key = section.keys.first();
    while (key != nullptr && !contains(*key, pattern)) {
        key = section.keys.after(key);
    }
    return key != nullptr;
}

// The C text of the name is what counts, as in every comparison.
bool startsWith(const KvIniNode& node, const KvSimpleString& prefix, bool caseSensitive) {
    return Str_Find(node.name.c_str(), prefix.c_str(), caseSensitive) == 0;
}

KvSimpleString trimmed(const char* text) {
    KvSimpleString copy(text);
    Str_TrimAll(copy);
    return copy;
}

// Pushes the names of those nodes from `node` on that are wanted.
template <typename Node, typename Wanted>
void pushNames(const Node* node, KvSimpleStringVector& out, Wanted isWanted) {
    for (; node != nullptr; node = KvIniList<Node>::after(node)) {
        if (isWanted(*node)) {
            KvSimpleString name;
            node->name.appendTo(name);
            out.push_back(name);
        }
    }
}

}  // namespace

// The texts are copied, and the section is looked up, before the list is cleared: the caller may
// have taken them from that very list.

void KvIniUtil::find(const char* valuePattern, const char* section,
                     KvSimpleStringVector& out) const {
    const KvSimpleString pattern(valuePattern);
    const KvIniSection* found = document_ != nullptr && valuePattern != nullptr
                                    ? document_->_findSection(section)
                                    : nullptr;
    out.clear();
    if (found != nullptr) {
        pushNames(found->keys.first(), out,
                  [&](const KvIniEntry& key) { return contains(key, pattern); });
    }
}

void KvIniUtil::find(const char* valuePattern, KvSimpleStringVector& out) const {
    const KvSimpleString pattern(valuePattern);
    out.clear();
    if (document_ != nullptr && valuePattern != nullptr) {
        pushNames(document_->firstNamedSection(), out,
                  [&](const KvIniSection& each) { return anyContains(each, pattern); });
    }
}

void KvIniUtil::findKey(const char* prefix, const char* section, KvSimpleStringVector& out) const {
    const KvSimpleString wanted = trimmed(prefix);
    const KvIniSection* found =
        document_ != nullptr && prefix != nullptr ? document_->_findSection(section) : nullptr;
    out.clear();
    if (found != nullptr) {
        pushNames(found->keys.first(), out, [&](const KvIniEntry& key) {
            return startsWith(key, wanted, document_->caseSensitive);
        });
    }
}

void KvIniUtil::findSection(const char* prefix, KvSimpleStringVector& out) const {
    const KvSimpleString wanted = trimmed(prefix);
    out.clear();
    if (document_ != nullptr && prefix != nullptr) {
        pushNames(document_->firstNamedSection(), out, [&](const KvIniSection& each) {
            return startsWith(each, wanted, document_->caseSensitive);
        });
    }
}

void KvIniUtil::visitValues(ValueVisitor visit, void* context) const {
    if (document_ == nullptr || visit == nullptr) {
        return;
    }
    const KvIniSection* section = document_->firstNamedSection();
    for (; section != nullptr; section = document_->sections.after(section)) {
        const KvIniEntry* key = section->keys.first();
        for (; key != nullptr; key = section->keys.after(key)) {
            visit(key->value.c_str(), context);
        }
    }
}
