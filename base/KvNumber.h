// Reading numbers out of texts.
#pragma once

#include <cstdlib>

// What `atoi` gives, but defined for every text: null is 0, and a number too large for an int keeps
// its low bits, as the platforms' own `atoi` does.
[[nodiscard]] inline int leadingNumber(const char* text) {
    return text != nullptr ? static_cast<int>(strtol(text, nullptr, 10)) : 0;
}
