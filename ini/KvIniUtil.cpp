// Look-ups and edits of a KvIniUtil document.
#include "ini/KvIniUtil.h"

#include <cerrno>
#include <new>
#include <utility>

#include "base/KvFailure.h"
#include "ini/KvIniDocument.h"

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

KvIniUtil::KvIniUtil(const char* file, char commentChar, bool caseSensitive, bool fromText,
                     char separator, KvLastLink lastLink)
    : document_(new (std::nothrow)
                    KvIniDocument(commentChar, caseSensitive, fromText, separator, lastLink)) {
    if (document_ != nullptr && !document_->load(file)) {
        document_.reset();
    }
    if (document_ == nullptr) {
        noteFailure(fromText ? nullptr : file, ENOMEM);
    }
}

// Also after a flush, with the same content once more: flushing does not take the mark of a
// modified document away. Kept so; who wants exactly one write discards after it.
KvIniUtil::~KvIniUtil() {
    if (document_ != nullptr && document_->modified && !document_->discarded &&
        !document_->fromText) {
        (void)flush(true);  // nobody is left to be told
    }
}

const char* KvIniUtil::get(const char* section, const char* key) const {
    if (document_ == nullptr || isMissing(key)) {
        return nullptr;
    }
    const KvIniSection* found = document_->_findSection(section);
    const KvIniEntry* entry = found != nullptr ? findKeyOf(*found, key) : nullptr;
    return entry != nullptr ? entry->value.c_str() : nullptr;
}

void KvIniUtil::set(const char* section, const char* key, const char* value) {
    if (document_ == nullptr || isMissing(key)) {
        return;
    }
    // A value that turns out to be the same as before counts as an edit, too.
    document_->modified = true;
    KvIniSection* found = document_->_findSection(section);
    if (found == nullptr) {
        add(section, key, value);
        return;
    }
    KvIniEntry* entry = findKeyOf(*found, key);
    if (entry == nullptr) {
        // Untrimmed, while every look-up is trimmed: a key with blanks around it is never found
        // again and appended each time. Kept so; files must come out as they always did.
        document_->isWhole &= document_->appendKey(*found, key, value);
    } else {
        document_->isWhole &= entry->value.copy(value);
    }
}

void KvIniUtil::add(const char* section, const char* key, const char* value) {
    if (document_ == nullptr || isMissing(key)) {
        return;
    }
    document_->modified = true;
    KvIniSection* found = document_->_findSection(section);
    if (found == nullptr) {
        // Untrimmed, while every look-up is trimmed: a name with blanks around it is never found
        // again and makes a new section each time. Kept so; files must come out as they always did.
        KvIniText name;
        found =
            name.copy(section) ? document_->appendSection(std::move(name), KvIniText()) : nullptr;
    }
    document_->isWhole &= found != nullptr && document_->appendKey(*found, key, value);
}

void KvIniUtil::del(const char* section) {
    KvIniSection* found = document_ != nullptr ? document_->_findSection(section) : nullptr;
    if (found == nullptr) {
        return;
    }
    const bool isGlobal = found == document_->sections.first();
    // The global section stays, as it must always be there; so do its texts.
    if (isGlobal && found->keys.empty()) {
        return;
    }
    document_->modified = true;
    document_->freeKeys(*found);
    if (!isGlobal) {
        document_->sections.unlink(found);
        document_->sectionPool.giveBack(found);
    }
}

void KvIniUtil::del(const char* section, const char* key) {
    if (document_ == nullptr || key == nullptr) {
        return;
    }
    KvIniSection* found = document_->_findSection(section);
    KvIniEntry* entry = found != nullptr ? findKeyOf(*found, key) : nullptr;
    if (entry == nullptr) {
        return;
    }
    document_->modified = true;
    KvIniEntry* previous = found->keys.before(entry);
    KvSimpleString& heir = previous != nullptr ? previous->trailingText : found->afterHeaderText;
    handTextsOver(*entry, heir);
    document_->isWhole &= !heir.failed();
    found->keys.unlink(entry);
    document_->keyPool.giveBack(entry);
}

bool KvIniUtil::hasNonGlobalSection() const {
    return document_ != nullptr && document_->firstNamedSection() != nullptr;
}

void KvIniUtil::discard() {
    if (document_ != nullptr) {
        document_->discarded = true;
    }
}

bool KvIniUtil::isMade() const {
    return document_ != nullptr;
}

bool KvIniUtil::isWhole() const {
    return document_ != nullptr && document_->isWhole;
}

KvIniUtil openDocument(const char* path, KvLastLink lastLink) {
    return KvIniUtil(path, ';', false, false, '=', lastLink);
}

std::unique_ptr<KvIniUtil> newDocument(const char* path, KvLastLink lastLink) {
    std::unique_ptr<KvIniUtil> document(new (std::nothrow) KvIniUtil(openDocument(path, lastLink)));
    if (document != nullptr && !document->isMade()) {
        document.reset();
    }
    return document;
}
