// The two numberings of patterns.
#include <cstdio>

#include "base/KvNumber.h"
#include "base/KvVersion.h"

namespace {

constexpr unsigned kHighestOldNumber = 999;
constexpr unsigned kNewPerOld = 100;
constexpr unsigned kNewBase = 100000;
constexpr unsigned kOldNumbers = 1000;

}  // namespace

// Plain snprintf with its result, so that a number cut short can be noticed.
int PatternVersionToString(int v, char* out, int size) {
    return out != nullptr && size > 0 ? snprintf(out, static_cast<size_t>(size), "%d", v) : 0;
}

int StringToPatternVersion(const char* s) {
    return leadingNumber(s);
}

unsigned OldPatternVersionToNew(unsigned v) {
    // The two numberings do not overlap, so a number tells by itself which one it is of.
    return v > kHighestOldNumber ? v : v * kNewPerOld + kNewBase;
}

unsigned NewPatternVersionToOld(unsigned v) {
    return v <= kHighestOldNumber ? v : v / kNewPerOld % kOldNumbers;
}

bool isOnlyOnePatternType(unsigned mask) {
    // Taking one away clears the lowest bit that is set, and nothing else.
    return (mask & (mask - 1)) == 0;
}
