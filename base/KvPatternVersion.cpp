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

int PatternVersionToString(int v, char* out, int size) {
    return out != nullptr && size > 0 ? snprintf(out, static_cast<size_t>(size), "%d", v) : 0;
}

int StringToPatternVersion(const char* s) {
    return leadingNumber(s);
}

unsigned OldPatternVersionToNew(unsigned v) {
    return v > kHighestOldNumber ? v : v * kNewPerOld + kNewBase;
}

unsigned NewPatternVersionToOld(unsigned v) {
    return v <= kHighestOldNumber ? v : v / kNewPerOld % kOldNumbers;
}

bool isOnlyOnePatternType(unsigned mask) {
    return (mask & (mask - 1)) == 0;
}
