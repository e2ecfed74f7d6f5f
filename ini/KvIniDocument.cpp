// The document's sections and keys, and how they are loaded.
#include "ini/KvIniDocument.h"

#include <fcntl.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "base/KvDescriptor.h"
#include "base/KvFailure.h"
#include "base/KvText.h"

char KvIniDocument::s_LeftSquareBracket = '[';
char KvIniDocument::s_RightSquareBracket = ']';

namespace {

// Nearly always there is nothing to trim: all white space is at or below the blank.
TextSpan trimmed(const char* text, size_t length) {
    const auto isText = [](char ch) { return static_cast<unsigned char>(ch) > ' '; };
    return length > 0 && isText(text[0]) && isText(text[length - 1])
               ? TextSpan{0, length}
               : Str_TrimmedSpan(text, length);
}

// The line at hand, inside the loaded bytes, which are changed in place: a trimmed line never needs
// more room than it had.
struct Line {
    char* text = nullptr;  // the byte behind the line is the line's own to overwrite
    size_t length = 0;
    size_t separator = 0;  // where the first separator stands, once the line is known as a key

    // Drops the white space at both ends and puts a NUL behind the rest.
    void trim() {
        const TextSpan kept = trimmed(text, length);
        // Of a line of white space nothing is kept: its end may be the start of the next line.
        text += kept.begin < kept.end ? kept.begin : 0;
        length = kept.end - kept.begin;
        text[length] = '\0';
    }

    // The trimmed part from `begin` up to `end`, with a NUL behind it: overwrites the byte at
    // `end`, or one before it.
    [[nodiscard]] KvIniText part(size_t begin, size_t end) const {
        const TextSpan kept = trimmed(text + begin, end - begin);
        char* first = text + begin + kept.begin;
        first[kept.end - kept.begin] = '\0';
        return KvIniText::borrowed(first, kept.end - kept.begin);
    }
};

// The text that waits for the next key or header, gathered in place as well.
struct Pending {
    char* begin = nullptr;
    char* end = nullptr;

    void append(const Line& line, bool withNewline) {
        if (begin == nullptr) {
            begin = line.text;
            end = line.text;
        }
        // What was trimmed off the lines before has left gaps; the text closes up over them.
        memmove(end, line.text, line.length);
        end += line.length;
        if (withNewline) {
            *end++ = '\n';
        }
    }

    // Hands the text over and starts anew.
    [[nodiscard]] KvIniText take() {
        const Pending taken = std::exchange(*this, Pending());
        return taken.begin != taken.end
                   ? KvIniText::borrowed(taken.begin, static_cast<size_t>(taken.end - taken.begin))
                   : KvIniText();
    }
};

// How the reading of one line ended.
enum class LineEnd {
    kNewline,   // a line ended by a newline
    kLastLine,  // the last line, possibly empty: the text ended instead
    kNoMore,    // there was nothing left to read
};

// From a file a line comes without its newline, and may hold NULs. `position` is where the next
// line begins, past the size once the end was reached.
LineEnd _getline(const FileContent& file, size_t& position, Line& line) {
    if (position > file.size) {
        return LineEnd::kNoMore;
    }
    line.text = file.bytes.get() + position;
    const size_t left = file.size - position;
    const auto* newline = static_cast<const char*>(memchr(line.text, '\n', left));
    line.length = newline != nullptr ? static_cast<size_t>(newline - line.text) : left;
    position += line.length + 1;
    return newline != nullptr ? LineEnd::kNewline : LineEnd::kLastLine;
}

// From a text a line comes with its newline, and ends at the NUL at the latest.
LineEnd _getline(const ScopedHeap<char>& text, size_t& position, Line& line) {
    if (text.get()[position] == '\0') {
        return LineEnd::kNoMore;
    }
    line.text = text.get() + position;
    const char* newline = strchr(line.text, '\n');
    line.length =
        newline != nullptr ? static_cast<size_t>(newline - line.text) + 1 : strlen(line.text);
    position += line.length;
    return newline != nullptr ? LineEnd::kNewline : LineEnd::kLastLine;
}

// Under a double-byte code page a "]" may be the second half of a character.
bool _isSectionDefine(const Line& line) {
    return line.length >= 2 && line.text[0] == KvIniDocument::s_LeftSquareBracket &&
           line.text[line.length - 1] == KvIniDocument::s_RightSquareBracket &&
           !IsTrailingByteOfDBC(line.text, line.text + line.length - 1);
}

KvIniText _getKey(const Line& line) {
    return line.part(0, line.separator);
}

KvIniText _getValue(const Line& line) {
    return line.part(line.separator + 1, line.length);
}

KvIniText _getSectionName(const Line& line) {
    return line.part(1, line.length - 1);
}

// Fills a document line by line.
class Loader {
  public:
    explicit Loader(KvIniDocument& document) : document_(document) {}

    // Takes all lines of a file's content or of a text.
    template <typename Source>
    [[nodiscard]] bool takeAll(const Source& source) {
        Line line;
        LineEnd end = LineEnd::kNewline;
        for (size_t position = 0; end == LineEnd::kNewline;) {
            end = _getline(source, position, line);
            if (!takeLine(line, end)) {
                return false;
            }
        }
        pending_.take().appendTo(document_.trailer);
        return !document_.trailer.failed();
    }

  private:
    // False without memory for a section or a key.
    bool takeLine(Line& line, LineEnd end) {
        if (end == LineEnd::kNoMore) {
            return true;
        }
        line.trim();
        if (_isSectionDefine(line)) {
            return document_.appendSection(_getSectionName(line), pending_.take()) != nullptr;
        }
        if (_isKeyValuePair(line)) {
            return takeKey(line);
        }
        pending_.append(line, end == LineEnd::kNewline);
        return true;
    }

    // Notes in the line where the separator stands.
    [[nodiscard]] bool _isKeyValuePair(Line& line) const {
        if (line.length == 0 || line.text[0] == document_.commentChar) {
            return false;
        }
        // Like every search in a string, this one ends at an embedded NUL.
        const char* hit = strchr(line.text, document_.separator);
        line.separator = hit != nullptr ? static_cast<size_t>(hit - line.text) : line.length;
        return line.separator >= 1 && line.separator < line.length;
    }

    bool takeKey(const Line& line) {
        KvIniSection* section = document_.sections.last();
        KvIniEntry* entry = document_.keyPool.make();
        if (section == nullptr || entry == nullptr) {
            return false;
        }
        // The value first: the NUL behind the key may take the separator's place.
        entry->value = _getValue(line);
        entry->name = _getKey(line);
        entry->leadingText = pending_.take();
        entry->caseSensitive = section->caseSensitive;
        section->keys.append(entry);
        return true;
    }

    KvIniDocument& document_;
    Pending pending_;
};

bool loadText(KvIniDocument& document, const char* text) {
    document.storage.reset(Str_Dup(text));
    return document.storage != nullptr && Loader(document).takeAll(document.storage);
}

bool loadFile(KvIniDocument& document, const char* path) {
    document.path = path;
    const ScopedFd fd(openRegularFile(path, O_RDONLY, document.lastLink));
    if (!fd.isOpen()) {
        // A file that is not there yet is one that the first flush makes; nothing else is.
        document.isWhole = errno == ENOENT || errno == ENOTDIR;
        if (!document.isWhole) {
            noteFailure(path, errno);
        }
        return true;
    }
    FileContent content = readToEnd(fd.get());
    if (content.end == FileContent::End::kBroken) {
        // Half a file is none: it must neither be believed nor written back as if it were all.
        noteFailure(path, errno);
        document.isWhole = false;
        return true;
    }
    if (content.end == FileContent::End::kNoMemory) {
        return false;
    }
    const bool isLoaded = Loader(document).takeAll(content);
    // Whatever was loaded borrows from it.
    document.storage = std::move(content.bytes);
    return isLoaded;
}

}  // namespace

KvIniDocument::KvIniDocument(char comment, bool isCaseSensitive, bool isFromText,
                             char separatorChar, KvLastLink link)
    : caseSensitive(isCaseSensitive),
      commentChar(comment),
      separator(separatorChar),
      fromText(isFromText),
      lastLink(link) {
    // Shared by all documents and never anything else, whoever may have touched them.
    s_LeftSquareBracket = '[';
    s_RightSquareBracket = ']';
    appendSection(KvIniText(), KvIniText());
}

bool KvIniDocument::load(const char* file) {
    if (sections.empty() || KvSimpleString::isFailed(file)) {
        return false;
    }
    const bool nothing = file == nullptr || *file == '\0';
    discarded = fromText || nothing;
    if (nothing) {
        return true;
    }
    return (fromText ? loadText(*this, file) : loadFile(*this, file)) && !path.failed();
}

KvIniSection* KvIniDocument::_findSection(const char* section) const {
    const KvIniName name(section);
    // The global section is the first to have the empty name.
    return name.empty() ? sections.first() : sections.find(name, caseSensitive);
}

KvIniSection* KvIniDocument::firstNamedSection() const {
    return sections.empty() ? nullptr : sections.after(sections.first());
}

KvIniSection* KvIniDocument::appendSection(KvIniText name, KvIniText leadingText) {
    KvIniSection* section = sectionPool.make();
    if (section != nullptr) {
        section->name = std::move(name);
        section->leadingText = std::move(leadingText);
        section->caseSensitive = caseSensitive;
        sections.append(section);
    }
    return section;
}

bool KvIniDocument::appendKey(KvIniSection& section, const char* key, const char* value) {
    KvIniEntry* entry = keyPool.make();
    if (entry == nullptr) {
        return false;
    }
    if (!entry->name.copy(key) || !entry->value.copy(value)) {
        keyPool.giveBack(entry);
        return false;
    }
    entry->caseSensitive = section.caseSensitive;
    section.keys.append(entry);
    return true;
}

void KvIniDocument::freeKeys(KvIniSection& section) {
    for (KvIniEntry* key = section.keys.first(); key != nullptr;) {
        keyPool.giveBack(std::exchange(key, section.keys.after(key)));
    }
    section.keys.clear();
}
