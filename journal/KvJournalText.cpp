#include "journal/KvJournalText.h"

#include <algorithm>
#include <charconv>
#include <cstring>

#include "fileop/KvDiskNames.h"
#include "fileop/KvPath.h"

namespace {

constexpr char kFormat[] = "VcJournal 1";
constexpr char kMissing[] = "missing";
constexpr char kSeparator = '\t';
constexpr char kLineEnd = '\n';
constexpr int kDecimal = 10;
constexpr int kOctal = 8;
constexpr int kHexadecimal = 16;

// The fields of a line, a letter each.
enum Field : char {
    kFormatField = 'F',
    kContentField = 'T',
    kPathField = 'P',
    kSavedField = 'S',
    kSavedOrNoneField = 's',
    kBeforeField = 'B',
    kAfterField = 'A',
    kChangeField = 'C',
};

struct KindWords {
    JournalKind kind;
    const char* word;
    const char* fields;
};

constexpr KindWords kKinds[] = {
    {JournalKind::kBegin, "begin", "FTPs"}, {JournalKind::kJoin, "join", "P"},
    {JournalKind::kOwn, "own", "P"},        {JournalKind::kDir, "dir", "P"},
    {JournalKind::kOver, "over", "PsBA"},   {JournalKind::kNew, "new", "PsBA"},
    {JournalKind::kDel, "del", "PsBA"},     {JournalKind::kVoid, "void", "C"},
    {JournalKind::kGave, "gave", "CA"},     {JournalKind::kBack, "back", "C"},
    {JournalKind::kMerge, "merge", "PBT"},  {JournalKind::kDrop, "drop", "S"},
    {JournalKind::kDone, "done", ""},       {JournalKind::kKeep, "keep", "C"},
    {JournalKind::kUndone, "undone", ""},   {JournalKind::kEnded, "ended", ""},
};

const KindWords& wordsOf(JournalKind kind) {
    return *std::find_if(std::begin(kKinds), std::end(kKinds),
                         [=](const KindWords& words) { return words.kind == kind; });
}

bool isPlain(unsigned char byte) {
    return byte >= ' ' && byte != 0x7F && byte != '\\';
}

void appendEscaped(std::string& line, unsigned char byte) {
    constexpr char kDigits[] = "0123456789abcdef";
    line += '\\';
    switch (byte) {
        case '\\':
            line += '\\';
            break;
        case '\n':
            line += 'n';
            break;
        case '\r':
            line += 'r';
            break;
        case '\t':
            line += 't';
            break;
        default:
            line += 'x';
            line += kDigits[byte / kHexadecimal];
            line += kDigits[byte % kHexadecimal];
    }
}

void appendText(std::string& line, const std::string& text) {
    for (size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        const bool isOuterBlank = byte == ' ' && (i == 0 || i + 1 == text.size());
        if (isPlain(byte) && !isOuterBlank) {
            line += text[i];
        } else {
            appendEscaped(line, byte);
        }
    }
}

void appendState(std::string& line, const FileState& state) {
    if (!state.isThere) {
        line += kMissing;
        return;
    }
    char mode[kHexadecimal];
    const auto end = std::to_chars(mode, mode + sizeof mode, state.mode, kOctal);
    line += std::to_string(state.size) + ' ' + std::to_string(state.seconds) + ' ';
    line.append(mode, end.ptr);
}

void appendField(std::string& line, char field, const JournalRecord& record) {
    switch (field) {
        case kFormatField:
            line += kFormat;
            break;
        case kContentField:
            appendText(line, record.content);
            break;
        case kPathField:
            appendText(line, record.path);
            break;
        case kBeforeField:
            appendState(line, record.before);
            break;
        case kAfterField:
            appendState(line, record.after);
            break;
        case kChangeField:
            line += std::to_string(record.change);
            break;
        default:
            appendText(line, record.saved);
    }
}

struct Span {
    const char* begin;
    const char* end;

    [[nodiscard]] bool equals(const char* text) const {
        const auto length = static_cast<size_t>(end - begin);
        return length == strlen(text) && memcmp(begin, text, length) == 0;
    }
};

template <typename Number>
bool parseNumber(Span span, Number& number, int base = kDecimal) {
    const auto result = std::from_chars(span.begin, span.end, number, base);
    return result.ec == std::errc() && result.ptr == span.end;
}

// Takes what stands behind a backslash.
bool parseEscape(Span& rest, std::string& text) {
    if (rest.begin == rest.end) {
        return false;
    }
    unsigned value = 0;
    switch (*rest.begin++) {
        case '\\':
            text += '\\';
            return true;
        case 'n':
            text += '\n';
            return true;
        case 'r':
            text += '\r';
            return true;
        case 't':
            text += '\t';
            return true;
        case 'x':
            if (rest.end - rest.begin < 2 ||
                !parseNumber({rest.begin, rest.begin + 2}, value, kHexadecimal)) {
                return false;
            }
            text += static_cast<char>(value);
            rest.begin += 2;
            return true;
        default:
            return false;
    }
}

bool parseText(Span span, std::string& text) {
    while (span.begin != span.end) {
        const char letter = *span.begin++;
        if (isPlain(static_cast<unsigned char>(letter))) {
            text += letter;
        } else if (letter != '\\' || !parseEscape(span, text)) {
            return false;
        }
    }
    return true;
}

bool parsePath(Span span, std::string& path) {
    return parseText(span, path) && path.size() < kLongPathCapacity && path[0] == '/' &&
           path.find('\0') == std::string::npos;
}

bool parseSaved(Span span, std::string& path) {
    return parsePath(span, path) && isSavedCopyPath(path);
}

Span cutAt(Span& rest, char separator) {
    const char* const found = std::find(rest.begin, rest.end, separator);
    const Span piece{rest.begin, found};
    rest.begin = found == rest.end ? rest.end : found + 1;
    return piece;
}

bool parseState(Span span, FileState& state) {
    if (span.equals(kMissing)) {
        return true;
    }
    state.isThere = true;
    constexpr uint32_t kMostBits = 0777;
    const Span size = cutAt(span, ' ');
    const Span seconds = cutAt(span, ' ');
    return parseNumber(size, state.size) && parseNumber(seconds, state.seconds) &&
           parseNumber(span, state.mode, kOctal) && state.mode <= kMostBits;
}

bool parseField(Span span, char field, JournalRecord& record) {
    switch (field) {
        case kFormatField:
            return span.equals(kFormat);
        case kContentField:
            return parseText(span, record.content);
        case kPathField:
            return parsePath(span, record.path);
        case kBeforeField:
            return parseState(span, record.before);
        case kAfterField:
            return parseState(span, record.after);
        case kChangeField:
            return parseNumber(span, record.change) && record.change < record.number;
        case kSavedOrNoneField:
            return span.begin == span.end || parseSaved(span, record.saved);
        default:
            return parseSaved(span, record.saved);
    }
}

bool parseLine(Span line, JournalRecord& record) {
    // Each field has a separator in front of it, so that a missing one is not taken for empty.
    const auto separators = static_cast<size_t>(std::count(line.begin, line.end, kSeparator));
    const Span word = cutAt(line, kSeparator);
    const auto* const words =
        std::find_if(std::begin(kKinds), std::end(kKinds),
                     [&](const KindWords& candidate) { return word.equals(candidate.word); });
    if (words == std::end(kKinds) || separators != strlen(words->fields) + 1 ||
        !parseNumber(cutAt(line, kSeparator), record.number)) {
        return false;
    }
    record.kind = words->kind;
    for (const char* field = words->fields; *field != '\0'; ++field) {
        if (!parseField(cutAt(line, kSeparator), *field, record)) {
            return false;
        }
    }
    return true;
}

// Begins come first and nowhere else, and numbers ascend.
bool isInPlace(const JournalRecord& record, const std::vector<JournalRecord>& before) {
    if (before.empty()) {
        return record.kind == JournalKind::kBegin;
    }
    return record.kind != JournalKind::kBegin && record.number > before.back().number;
}

// Whether a journal could begin with these bytes, which end before its first line does.
bool isTornBegin(const std::string& bytes) {
    const std::string begin = kJournalStart;
    return bytes.compare(0, begin.size(), begin, 0, bytes.size()) == 0;
}

}  // namespace

bool isSameState(const FileState& seen, const FileState& known) {
    if (!seen.isThere || !known.isThere) {
        return seen.isThere == known.isThere;
    }
    const bool isRounded = seen.seconds % 2 == 0 && seen.seconds == known.seconds - 1;
    return seen.size == known.size && (seen.seconds == known.seconds || isRounded);
}

bool isSavedCopyPath(const std::string& path) {
    const std::string store = std::string("/") + kBackupStoreName + "/";
    const size_t found = path.rfind(store);
    return found != std::string::npos && path.find("/../", found) == std::string::npos;
}

std::string journalLine(const JournalRecord& record) {
    const KindWords& words = wordsOf(record.kind);
    std::string line = words.word;
    line += kSeparator;
    line += std::to_string(record.number);
    for (const char* field = words.fields; *field != '\0'; ++field) {
        line += kSeparator;
        appendField(line, *field, record);
    }
    line += kLineEnd;
    return line;
}

JournalVerdict parseJournal(const std::string& bytes, JournalText& text) {
    size_t line = 0;
    for (size_t end = 0; (end = bytes.find(kLineEnd, text.wholeSize)) != std::string::npos;
         text.wholeSize = end + 1) {
        ++line;
        if (end > 0 && bytes[end - 1] == kCancelledEnd[0]) {
            continue;
        }
        JournalRecord record;
        if (!parseLine({bytes.data() + text.wholeSize, bytes.data() + end}, record) ||
            !isInPlace(record, text.records)) {
            text.badLine = line;
            return JournalVerdict::kMalformed;
        }
        text.records.push_back(std::move(record));
    }
    if (text.records.empty()) {
        text.badLine = 1;
        return isTornBegin(bytes) ? JournalVerdict::kEmpty : JournalVerdict::kMalformed;
    }
    return JournalVerdict::kGood;
}
