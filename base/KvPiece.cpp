#include "base/KvPiece.h"

#include <cstring>

bool Str_Piece(const char* text, char separator, int index, KvSimpleString& piece) {
    const char* begin = text;
    for (int i = 0; begin != nullptr && *begin != '\0'; ++i) {
        const char* end = strchr(begin, separator);
        if (i == index) {
            piece.assign(begin, end != nullptr ? end : begin + strlen(begin));
            return true;
        }
        begin = end != nullptr ? end + 1 : nullptr;
    }
    return false;
}
