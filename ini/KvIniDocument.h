// KvIniDocument: what stands behind the face of KvIniUtil: the flags, the sections and keys, how
// they are loaded and how they are written. Look-ups and edits work on its lists.
#pragma once

#include "base/KvScoped.h"
#include "base/KvSimpleString.h"
#include "fileop/KvOpenFile.h"
#include "ini/KvIniNode.h"

struct KvIniDocument {
    KvIniDocument(char comment, bool isCaseSensitive, bool isFromText, char separatorChar,
                  KvLastLink link);

    // Loads the file, or with `fromText` the text itself; once, into the new document. False when
    // there is no memory: the document then lacks something and must not be used.
    [[nodiscard]] bool load(const char* file);

    // The first section of that name, trimmed; null when there is none.
    [[nodiscard]] KvIniSection* _findSection(const char* section) const;
    // The first section that is not the global one; null when there is none.
    [[nodiscard]] KvIniSection* firstNamedSection() const;

    // Null when there is no memory.
    KvIniSection* appendSection(KvIniText name, KvIniText leadingText);
    // With the texts exactly as passed. False without memory: nothing is appended.
    [[nodiscard]] bool appendKey(KvIniSection& section, const char* key, const char* value);
    void freeKeys(KvIniSection& section);

    // Appends the text of the document to `out`; false, with `out` unchanged, without memory.
    [[nodiscard]] bool dumpTo(KvSimpleString& out) const;
    // Rewrites the file. False when the document is not whole, when the file cannot be opened, or
    // when not all of it was written; the cause is noted.
    [[nodiscard]] bool writeTo(const char* file) const;

    // The parser and the writer share them; every document that is made stores them again.
    static char s_LeftSquareBracket;
    static char s_RightSquareBracket;

    bool convertBackslashes = false;  // write every backslash as '/'; no operation sets it
    bool modified = false;
    bool discarded = false;
    bool isWhole = true;  // false: the file could not be read, or an edit found no memory
    bool caseSensitive;
    char commentChar;
    char separator;
    bool fromText;
    KvLastLink lastLink;     // of the paths that are read and written
    KvSimpleString path;     // of the file; empty without one
    KvSimpleString trailer;  // the text behind the last key or header
    // What was loaded; the nodes borrow their texts from it.
    ScopedHeap<char> storage;
    KvIniPool<KvIniSection> sectionPool;
    KvIniPool<KvIniEntry> keyPool;
    KvIniList<KvIniSection> sections;  // the global section comes first, always
};
