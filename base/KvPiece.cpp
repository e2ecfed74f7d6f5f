#include "base/KvPiece.h"

#include <cstring>

bool Str_Piece(const char* text, char separator, int index, KvSimpleString& piece) {
    const char* begin = text;
    for (int i = 0; begin != nullptr && *begin != '\0'; ++i) {
        // The terminator ends a text and is never between two pieces.
        const char* end = separator != '\0' ? strchr(begin, separator) : nullptr;
        if (i == index) {
            piece.assign(begin, end != nullptr ? end : begin + strlen(begin));
            return true;
        }
        begin = end != nullptr ? end + 1 : nullptr;
    }
    return false;
}
