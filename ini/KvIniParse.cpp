// Loading of a KvIniUtil document.
#include "ini/KvIniParse.h"

#include <cstring>
#include <utility>

#include "base/KvText.h"
#include "ini/KvIniFile.h"
#include "ini/KvIniUtil.h"

char KvIniUtil::s_LeftSquareBracket = '[';
char KvIniUtil::s_RightSquareBracket = ']';

namespace {

// Nearly always there is nothing to trim: all white space is at or below the blank.
TextSpan trimmed(const char* text, size_t length) {
    const auto isText = [](char ch) { return static_cast<unsigned char>(ch) > ' '; };
    return length > 0 && isText(text[0]) && isText(text[length - 1])
               ? TextSpan{0, length}
               : Str_TrimmedSpan(text, length);
}

}  // namespace

void KvIniLine::trim() {
    const TextSpan kept = trimmed(text, length);
    // Of a line of white space nothing is kept: its end may be the start of the next line.
    text += kept.begin < kept.end ? kept.begin : 0;
    length = kept.end - kept.begin;
    text[length] = '\0';
}

KvIniText KvIniLine::part(size_t begin, size_t end) const {
    const TextSpan kept = trimmed(text + begin, end - begin);
    char* first = text + begin + kept.begin;
    first[kept.end - kept.begin] = '\0';
    return KvIniText::borrowed(first, kept.end - kept.begin);
}

void KvIniPending::append(const KvIniLine& line, bool withNewline) {
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

KvIniText KvIniPending::take() {
    const KvIniPending taken = std::exchange(*this, KvIniPending());
    return taken.begin != taken.end
               ? KvIniText::borrowed(taken.begin, static_cast<size_t>(taken.end - taken.begin))
               : KvIniText();
}

KvIniUtil::KvIniUtil(const char* file, char commentChar, bool caseSensitive, bool fromText,
                     char separator)
    : caseSensitive_(caseSensitive),
      commentChar_(commentChar),
      separator_(separator),
      fromText_(fromText) {
    // Shared by all documents and never anything else, whoever may have touched them.
    s_LeftSquareBracket = '[';
    s_RightSquareBracket = ']';
    _appendSection(KvIniText(), KvIniText());
    const bool nothing = file == nullptr || *file == '\0';
    discarded_ = fromText || nothing;
    if (nothing) {
        return;
    }
    if (fromText) {
        _loadText(file);
    } else {
        _loadFile(file);
    }
}

void KvIniUtil::_loadText(const char* text) {
    storage_.reset(Str_Dup(text));
    if (storage_ == nullptr) {
        return;
    }
    KvIniLine line;
    KvIniPending pending;
    LineEnd end = LineEnd::kNewline;
    for (size_t position = 0; end == LineEnd::kNewline;) {
        end = _getline(storage_.get(), position, line);
        _takeLine(line, end, pending);
    }
    pending.take().appendTo(trailer_);
}

void KvIniUtil::_loadFile(const char* path) {
    path_ = path;
    KvIniFile file;
    if (!file.open(path)) {
        return;
    }
    if (!file.fetch()) {
        // What could not be held must not be written back as if it were all.
        discarded_ = true;
        return;
    }
    KvIniLine line;
    KvIniPending pending;
    LineEnd end = LineEnd::kNewline;
    while (end == LineEnd::kNewline) {
        end = _getline(file, line);
        _takeLine(line, end, pending);
    }
    pending.take().appendTo(trailer_);
    storage_ = file.releaseBytes();
}

// From a file a line comes without its newline, and may hold NULs.
KvIniUtil::LineEnd KvIniUtil::_getline(KvIniFile& file, KvIniLine& line) {
    if (file.position > file.size()) {
        return LineEnd::kNoMore;
    }
    line.text = file.bytes() + file.position;
    const size_t left = file.size() - file.position;
    const auto* newline = static_cast<const char*>(memchr(line.text, '\n', left));
    line.length = newline != nullptr ? static_cast<size_t>(newline - line.text) : left;
    file.position += line.length + 1;
    return newline != nullptr ? LineEnd::kNewline : LineEnd::kLastLine;
}

// From a text a line comes with its newline, and ends at the NUL at the latest.
KvIniUtil::LineEnd KvIniUtil::_getline(char* text, size_t& position, KvIniLine& line) {
    if (text[position] == '\0') {
        return LineEnd::kNoMore;
    }
    line.text = text + position;
    const char* newline = strchr(line.text, '\n');
    line.length =
        newline != nullptr ? static_cast<size_t>(newline - line.text) + 1 : strlen(line.text);
    position += line.length;
    return newline != nullptr ? LineEnd::kNewline : LineEnd::kLastLine;
}

void KvIniUtil::_takeLine(KvIniLine& line, LineEnd end, KvIniPending& pending) {
    if (end == LineEnd::kNoMore) {
        return;
    }
    line.trim();
    if (_isSectionDefine(line)) {
        _appendSection(_getSectionName(line), pending.take());
    } else if (_isKeyValuePair(line)) {
        _takeKey(line, pending);
    } else {
        pending.append(line, end == LineEnd::kNewline);
    }
}

void KvIniUtil::_takeKey(const KvIniLine& line, KvIniPending& pending) {
    KvIniSection* section = sections_.last();
    KvIniEntry* entry = keyPool_.make();
    if (section == nullptr || entry == nullptr) {
        return;
    }
    // The value first: the NUL behind the key may take the separator's place.
    entry->value = _getValue(line);
    entry->name = _getKey(line);
    entry->leadingText = pending.take();
    entry->caseSensitive = section->caseSensitive;
    section->keys.append(entry);
}

// Under a double-byte code page a "]" may be the second half of a character.
bool KvIniUtil::_isSectionDefine(const KvIniLine& line) {
    return line.length >= 2 && line.text[0] == s_LeftSquareBracket &&
           line.text[line.length - 1] == s_RightSquareBracket &&
           !IsTrailingByteOfDBC(line.text, line.text + line.length - 1);
}

// Notes in the line where the separator stands.
bool KvIniUtil::_isKeyValuePair(KvIniLine& line) const {
    if (line.length == 0 || line.text[0] == commentChar_) {
        return false;
    }
    // Like every search in a string, this one ends at an embedded NUL.
    const char* hit = strchr(line.text, separator_);
    line.separator = hit != nullptr ? static_cast<size_t>(hit - line.text) : line.length;
    return line.separator >= 1 && line.separator < line.length;
}

KvIniText KvIniUtil::_getKey(const KvIniLine& line) {
    return line.part(0, line.separator);
}

KvIniText KvIniUtil::_getValue(const KvIniLine& line) {
    return line.part(line.separator + 1, line.length);
}

KvIniText KvIniUtil::_getSectionName(const KvIniLine& line) {
    return line.part(1, line.length - 1);
}
