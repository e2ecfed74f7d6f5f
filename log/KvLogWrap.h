// Breaks the messages of the text log into lines.
#pragma once

#include <cstddef>

#include "base/KvSimpleString.h"

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
