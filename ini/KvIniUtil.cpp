// Look-ups and edits of a KvIniUtil document.
#include "ini/KvIniUtil.h"

#include <new>
#include <utility>

namespace {

bool isMissing(const char* text) {
    return text == nullptr || *text == '\0';
}

KvIniEntry* findKeyOf(const KvIniSection& section, const char* key) {
    return section.keys.find(KvIniName(key), section.caseSensitive);
}

// No comment vanishes with its key: its texts move to what stands before it.
void handTextsOver(const KvIniEntry& entry, KvSimpleString& to) {
    entry.leadingText.appendTo(to);
    if (!entry.trailingText.empty()) {
        to.append(entry.trailingText);
    }
}

}  // namespace

// Also after a flush, with the same content once more: flushing does not take the mark of a
// modified document away. Kept so; who wants exactly one write discards after it.
KvIniUtil::~KvIniUtil() {
    if (modified_ && !discarded_ && !fromText_) {
        (void)flush(true);  // nobody is left to be told
    }
}

const char* KvIniUtil::get(const char* section, const char* key) const {
    const KvIniSection* found = isMissing(key) ? nullptr : _findSection(section);
    const KvIniEntry* entry = found != nullptr ? findKeyOf(*found, key) : nullptr;
    return entry != nullptr ? entry->value.c_str() : nullptr;
}

void KvIniUtil::set(const char* section, const char* key, const char* value) {
    if (isMissing(key)) {
        return;
    }
    // Also when the value turns out to be the same: nobody compares.
    modified_ = true;
    KvIniSection* found = _findSection(section);
    if (found == nullptr) {
        add(section, key, value);
        return;
    }
    KvIniEntry* entry = findKeyOf(*found, key);
    if (entry == nullptr) {
        _appendKey(*found, key, value);
    } else {
        (void)entry->value.copy(value);  // without memory the old value stays
    }
}

void KvIniUtil::add(const char* section, const char* key, const char* value) {
    if (isMissing(key)) {
        return;
    }
    modified_ = true;
    KvIniSection* found = _findSection(section);
    if (found == nullptr) {
        // Untrimmed, while every look-up is trimmed: a name with blanks around it is never found
        // again and makes a new section each time. Kept so; files must come out as they always did.
        KvIniText name;
        found = name.copy(section) ? _appendSection(std::move(name), KvIniText()) : nullptr;
    }
    if (found != nullptr) {
        _appendKey(*found, key, value);
    }
}

void KvIniUtil::del(const char* section) {
    KvIniSection* found = _findSection(section);
    if (found == nullptr) {
        return;
    }
    const bool isGlobal = found == sections_.first();
    // The global section stays, as it must always be there; so do its texts.
    if (isGlobal && found->keys.empty()) {
        return;
    }
    modified_ = true;
    _freeKeys(*found);
    if (!isGlobal) {
        sections_.unlink(found);
        sectionPool_.giveBack(found);
    }
}

void KvIniUtil::del(const char* section, const char* key) {
    KvIniSection* found = key != nullptr ? _findSection(section) : nullptr;
    KvIniEntry* entry = found != nullptr ? findKeyOf(*found, key) : nullptr;
    if (entry == nullptr) {
        return;
    }
    modified_ = true;
    KvIniEntry* previous = found->keys.before(entry);
    handTextsOver(*entry, previous != nullptr ? previous->trailingText : found->afterHeaderText);
    found->keys.unlink(entry);
    keyPool_.giveBack(entry);
}

bool KvIniUtil::hasNonGlobalSection() const {
    return sections_.size() > 1;
}

void KvIniUtil::discard() {
    discarded_ = true;
}

KvIniSection* KvIniUtil::_findSection(const char* section) const {
    const KvIniName name(section);
    // The global section is the first to have the empty name.
    return name.empty() ? sections_.first() : sections_.find(name, caseSensitive_);
}

KvIniSection* KvIniUtil::_appendSection(KvIniText name, KvIniText leadingText) {
    KvIniSection* section = sectionPool_.make();
    if (section != nullptr) {
        section->name = std::move(name);
        section->leadingText = std::move(leadingText);
        section->caseSensitive = caseSensitive_;
        sections_.append(section);
    }
    return section;
}

// Untrimmed as well, with the same consequence.
void KvIniUtil::_appendKey(KvIniSection& section, const char* key, const char* value) {
    KvIniEntry* entry = keyPool_.make();
    if (entry == nullptr) {
        return;
    }
    if (!entry->name.copy(key) || !entry->value.copy(value)) {
        keyPool_.giveBack(entry);
        return;
    }
    entry->caseSensitive = section.caseSensitive;
    section.keys.append(entry);
}

void KvIniUtil::_freeKeys(KvIniSection& section) {
    for (KvIniEntry* key = section.keys.first(); key != nullptr;) {
        keyPool_.giveBack(std::exchange(key, section.keys.after(key)));
    }
    section.keys.clear();
}

KvIniUtil openDocument(const char* path) {
    return KvIniUtil(path, ';', false, false, '=');
}

std::unique_ptr<KvIniUtil> newDocument(const char* path) {
    return std::unique_ptr<KvIniUtil>(new (std::nothrow) KvIniUtil(openDocument(path)));
}
