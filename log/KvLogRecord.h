// The records of the log, byte for byte, and the rules that shape their texts.
//
// Text: "\n", then "Inf" or "Err", the time, process and thread number, and the message, wrapped,
// with the continuation lines indented to line up under it. No line feed ends the record: the next
// one begins with it. HTML: spans for the same fields, the message escaped and not wrapped.
//
// A message of only '-' characters is a separator line: it stands alone in the text log and is
// "<hr>" in the HTML log.
#pragma once

#include <cstddef>
#include <ctime>

#include "base/KvSimpleString.h"

// The fields that stand before the message.
struct KvLogFields {
    bool isError;
    const char* stamp;  // "YYYYMMDD HH:MM:SS"; only its first 17 characters are used
    unsigned int process;
    unsigned int thread;
    const char* fileAndLine;  // always empty today
};

[[nodiscard]] KvSimpleString makeTextRecord(const KvLogFields& fields, const char* message);
[[nodiscard]] KvSimpleString makeHtmlRecord(const KvLogFields& fields, const char* message);

// Whether the message is a separator line: not empty, and only '-'.
[[nodiscard]] bool isSeparatorLine(const char* message);

// What a new HTML log begins with: its style hides all fields but the message. Nothing closes it at
// its end, because records are appended for ever.
extern const char kHtmlLogHeader[];

// Time stamps: "YYYYMMDD HH:MM:SS", "\n" and the NUL.
inline constexpr size_t kStampCapacity = 19;
inline constexpr int kStampLength = 17;  // without the "\n"

// Writes the stamp of a local time; "20380118 00:00:00\n" when `local` is null.
void formatStamp(char (&stamp)[kStampCapacity], const tm* local);

// The stamp of now, in a static buffer that the next call and the next record overwrite.
[[nodiscard]] const char* GetTime();

// False for letters, digits and '_' of ASCII, true for every other character.
[[nodiscard]] bool IsWordSeparator(char c);

// Appends `message` to `out`, broken into lines of at most 75 characters, with `lineBreak` in place
// of each line feed: those of the message and those that are put in. Linear in the length.
//
// A line that is too long is broken
//   - before the next word, when its 76th character is a separator: all separators there, line
//     feeds included, stay at its end, however many they are;
//   - before the word that crosses the limit, when that word has at most 15 characters;
//   - inside the word, after 75 characters, when it is longer.
// What separates words says IsWordSeparator. Nothing is put in at the end of the message.
void appendWrapped(KvSimpleString& out, const char* message, size_t length, const char* lineBreak);

// Escapes a text for the HTML log: '&', '<' and '>' become numbers, a space before another space
// "&nbsp" (without a semicolon, kept so), a line feed "<br>", a tab four "&nbsp".
void ConvertHtmlCode(KvSimpleString& text);

// The same, appended to `out`, which `text` is not a part of.
void appendHtml(KvSimpleString& out, const char* text, size_t length);
