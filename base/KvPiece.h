// Texts that are lists: pieces between separators.
#pragma once

#include "base/KvSimpleString.h"

// Stores piece number `index`, counted from 0, of `text` split at every `separator`. Pieces may be
// empty, but nothing behind the last separator is no piece: "a,,b," has three. False, with `piece`
// untouched, when there is no such piece; a null `text` has none.
[[nodiscard]] bool Str_Piece(const char* text, char separator, int index, KvSimpleString& piece);
