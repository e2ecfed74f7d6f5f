#include "log/KvLogWrap.h"

#include <cstring>

#include "log/KvVcLog.h"

namespace {

constexpr size_t kLineLength = 75;
constexpr size_t kLongestMovedWord = 15;

struct Message {
    const char* text;
    size_t length;

    [[nodiscard]] bool isWordAt(size_t at) const { return !IsWordSeparator(text[at]); }

    // The end of the line that `from` is in: its line feed, or the end of the text.
    [[nodiscard]] size_t findLineEnd(size_t from) const {
        const void* found = memchr(text + from, '\n', length - from);
        return found != nullptr ? static_cast<size_t>(static_cast<const char*>(found) - text)
                                : length;
    }
};

size_t skipSeparators(const Message& message, size_t at) {
    while (at < message.length && !message.isWordAt(at)) {
        ++at;
    }
    return at;
}

// Looks no further than it takes to know that the word is too long to be moved: a text of one word
// would otherwise be searched through for each of its lines.
size_t breakAtWord(const Message& message, size_t at) {
    size_t first = at;
    while (first > 0 && at - first <= kLongestMovedWord && message.isWordAt(first - 1)) {
        --first;
    }
    size_t end = at + 1;
    while (end < message.length && end - first <= kLongestMovedWord && message.isWordAt(end)) {
        ++end;
    }
    return end - first > kLongestMovedWord ? at : first;
}

size_t findBreak(const Message& message, size_t lineStart) {
    const size_t at = lineStart + kLineLength;
    return message.isWordAt(at) ? breakAtWord(message, at) : skipSeparators(message, at);
}

// A piece may hold line feeds of its own, where separators were passed over at its end.
void appendLines(KvSimpleString& out, const char* text, size_t length, const char* lineBreak) {
    const Message lines{text, length};
    for (size_t start = 0; start <= length;) {
        const size_t end = lines.findLineEnd(start);
        out.append(text + start, end - start);
        if (end < length) {
            out.append(lineBreak);
        }
        start = end + 1;
    }
}

}  // namespace

void appendWrapped(KvSimpleString& out, const char* message, size_t length, const char* lineBreak) {
    const Message whole{message, length};
    size_t lineEnd = whole.findLineEnd(0);
    for (size_t start = 0; start < length;) {
        // Kept over the lines that end before it, so that each byte is looked at once.
        if (lineEnd < start) {
            lineEnd = whole.findLineEnd(start);
        }
        const bool fits = lineEnd - start <= kLineLength;
        const size_t end = fits ? lineEnd : findBreak(whole, start);
        appendLines(out, message + start, end - start, lineBreak);
        if (end < length) {
            out.append(lineBreak);
        }
        start = fits ? end + 1 : end;
    }
}
