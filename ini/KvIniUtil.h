// KvIniUtil: an INI document in memory, bound to its file.
//
// The whole file is loaded at once, with every comment and blank line kept at its place; look-ups
// and edits work on the document; the whole document is written back. A document that was edited
// and not discarded is written back when it is destroyed.
//
// Shape of the text:
//   - A line is trimmed at both ends before it is judged. "[name]" opens a section; a line with the
//     separator at its second character or later, and no comment character in front, is a key;
//     every other line is text that stays attached to the key or header that follows it.
//   - A value is everything behind the first separator, trimmed: no quoting, no escapes, no
//     comment behind a value.
//   - What stands before the first header belongs to the global section, whose name is empty.
//   - Sections and keys of the same name may stand side by side; each look-up takes the first.
//   - Written back, lines end in "\n" alone and the separator is always "=" without blanks.
//
// In every operation a null section name, like "", means the global section. Names that are looked
// up are trimmed first and compared with or without ASCII case, as the constructor was told.
// A document is used by one thread at a time. No operation throws.
//
// A document is never written back unless it is whole. It is not when its file is there but could
// not be read to its end (no permission, a failing disk, no regular file), and reads as an empty
// one then; nor when an edit found no memory. A document for which there was no memory at all
// answers like an empty one and takes no edits. Whatever failed is noted as a cause
// (base/KvFailure.h).
#pragma once

#include <memory>

#include "base/KvSimpleString.h"
#include "base/KvSimpleVector.h"
#include "fileop/KvOpenFile.h"

struct KvIniDocument;

class KvIniUtil {
  public:
    // `file` is the name of the file, or with `fromText` the INI text itself (copied). A file that
    // cannot be opened gives an empty document; the first flush creates the file. A null or empty
    // name gives an empty document that only an explicit flushTo() writes. `lastLink` says through
    // which links files are opened, for reading and for writing.
    KvIniUtil(const char* file, char commentChar, bool caseSensitive, bool fromText, char separator,
              KvLastLink lastLink = KvLastLink::kFollow);
    // Writes a modified document back, unless it was discarded or came from text.
    ~KvIniUtil();
    KvIniUtil(const KvIniUtil&) = delete;
    KvIniUtil& operator=(const KvIniUtil&) = delete;

    // False when there was no memory for the document.
    [[nodiscard]] bool isMade() const;

    // Whether the document holds all that its file held and all edits.
    [[nodiscard]] bool isWhole() const;

    // The value of the first key of that name in the first section of that name; null when there
    // is none, or when `key` is null or empty. The document owns the characters: they stay valid
    // until that key is changed or deleted, or the document is destroyed.
    [[nodiscard]] const char* get(const char* section, const char* key) const;

    // Replaces the value of the first key of that name, or appends a new key (and a new section)
    // with the names and the value exactly as passed, untrimmed. A null `value` is "". A null or
    // empty `key` changes nothing.
    void set(const char* section, const char* key, const char* value);

    // As set(), but always appends, even when a key of that name exists.
    void add(const char* section, const char* key, const char* value);

    // Deletes the first section of that name with its keys and all its comments. The global
    // section loses its keys only. An unknown name changes nothing.
    void del(const char* section);

    // Deletes the first key of that name. The comments above it stay: they move behind the key
    // before it, or behind the section's header when it was the first key.
    void del(const char* section, const char* key);

    // All four clear `out` first and push names in the order of the document.
    // The keys of one section whose value contains the pattern (always case-sensitive).
    void find(const char* valuePattern, const char* section, KvSimpleStringVector& out) const;
    // The sections, without the global one, in which some key's value contains the pattern.
    void find(const char* valuePattern, KvSimpleStringVector& out) const;
    // The keys of one section, or the sections without the global one, whose name begins with the
    // trimmed prefix; compared with the document's case rule. A null prefix finds nothing.
    void findKey(const char* prefix, const char* section, KvSimpleStringVector& out) const;
    void findSection(const char* prefix, KvSimpleStringVector& out) const;

    // Calls `visit` with every value of every section but the global one, doubles included, in the
    // order of the document; `context` is handed through. Null `visit`: nothing.
    using ValueVisitor = void (*)(const char* value, void* context);
    void visitValues(ValueVisitor visit, void* context) const;

    // Whether any section besides the global one exists.
    [[nodiscard]] bool hasNonGlobalSection() const;

    // Appends the text of the whole document to `out`.
    void dump(KvSimpleString& out) const;

    // Rewrites the file at `path` with the whole document. False for a null or empty path, when
    // the file cannot be opened for writing, or when not all of it was written (what was written
    // then stays).
    [[nodiscard]] bool flushTo(const char* path) const;

    // flushTo() the document's own file. False when it has none or came from text; without
    // `force` also when it was not modified, or was discarded. The document stays modified: its
    // destruction writes once more unless discard() follows.
    [[nodiscard]] bool flush(bool force) const;

    // From now on nothing is written but by flushTo() and by a forced flush.
    void discard();

  private:
    std::unique_ptr<KvIniDocument> document_;  // null when there was no memory for it
};

// The document of the file at `path`, as the system opens every file it reads or writes: comments
// begin with ';', names match without regard to case. What the tool itself writes is opened through
// no foreign link (KvLastLink::kFollowOwn).
[[nodiscard]] KvIniUtil openDocument(const char* path, KvLastLink lastLink = KvLastLink::kFollow);

// The same on the heap; null when there is no memory.
[[nodiscard]] std::unique_ptr<KvIniUtil> newDocument(const char* path,
                                                     KvLastLink lastLink = KvLastLink::kFollow);
