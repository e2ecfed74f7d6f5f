#include "log/KvLogRecord.h"

#include <cstring>

#include "base/KvText.h"

void formatStamp(char (&stamp)[kStampCapacity], const tm* local) {
    if (local == nullptr) {
        (void)Strncpy(stamp, "20380118 00:00:00\n", kStampCapacity);
        return;
    }
    // The limit leaves room for the "\n" whatever the year is.
    (void)Snprintf(stamp, kStampCapacity - 1, "%04d%02d%02d %02d:%02d:%02d", local->tm_year + 1900,
                   local->tm_mon + 1, local->tm_mday, local->tm_hour, local->tm_min, local->tm_sec);
    stamp[kStampLength] = '\n';
    stamp[kStampLength + 1] = '\0';
}

const char* GetTime() {
    // Shared by all callers, who pass the text on at once: one record is written at a time.
    static char strtime[kStampCapacity];
    static time_t stamped = 0;
    const time_t now = time(nullptr);
    if (now != stamped || *strtime == '\0') {
        tm local{};
        // Unlike `localtime` it does not look at the time zone's file again each time.
        formatStamp(strtime, localtime_r(&now, &local));
        stamped = now;
    }
    return strtime;
}

// By hand: `isalnum` follows the locale, and the log of a machine must not.
bool IsWordSeparator(char c) {
    const bool isLetter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
    return !(isLetter || IsDigit(c) || c == '_');
}

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

bool isSeparatorLine(const char* message) {
    return *message != '\0' && message[strspn(message, "-")] == '\0';
}

KvSimpleString makeTextRecord(const KvLogFields& fields, const char* message) {
    KvSimpleString record("\n");
    if (isSeparatorLine(message)) {
        return record += message;
    }
    // Wide enough for the longest numbers; its real width is the indent.
    char prefix[64];
    const int width =
        Snprintf(prefix, sizeof prefix, "%s %.*s %u %u%s ", fields.isError ? "Err" : "Inf",
                 kStampLength, fields.stamp, fields.process, fields.thread, fields.fileAndLine);
    // Given to the wrapping, so that the message is copied once.
    KvSimpleString lineBreak("\n");
    lineBreak.append(width, ' ');

    record += prefix;
    appendWrapped(record, message, strlen(message), lineBreak.c_str());
    return record;
}
