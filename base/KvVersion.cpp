#include "base/KvVersion.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "base/KvScoped.h"
#include "base/KvSimpleString.h"
#include "base/KvText.h"

namespace {

constexpr unsigned kMajorShift = 16;
constexpr uint32_t kMinorMask = 0xFFFF;
constexpr size_t kMinorDigits = 4;
// One digit of the minor part always stays: "5.0" and not "5.".
constexpr size_t kMaxZerosRemoved = 3;
constexpr size_t kVersionTextCapacity = 32;
constexpr size_t kBuildTextCapacity = 256;

uint32_t buildOf(const char* text) {
    KvSimpleString piece;
    if (!Str_Piece(text, '.', 2, piece) && !Str_Piece(text, '-', 1, piece)) {
        return 0;
    }
    Str_TrimAll(piece);
    return static_cast<uint32_t>(leadingNumber(piece.c_str()));
}

constexpr unsigned kHighestOldNumber = 999;
constexpr unsigned kNewPerOld = 100;
constexpr unsigned kNewBase = 100000;
constexpr unsigned kOldNumbers = 1000;

constexpr unsigned kHighestHttpsLevel = 2;
constexpr int kNoHexDigit = -1;

int hexDigit(char ch) {
    if (IsDigit(ch)) {
        return ch - '0';
    }
    if (ch >= 'a' && ch <= 'f') {
        return ch - 'a' + 10;
    }
    return ch >= 'A' && ch <= 'F' ? ch - 'A' + 10 : kNoHexDigit;
}

// Every backslash, also one that is half of a character: both sides are changed alike, so equal
// paths stay equal.
ScopedHeap<char> withSlashes(const char* text) {
    ScopedHeap<char> copy(Str_Dup(text));
    if (copy != nullptr) {
        std::replace(copy.get(), copy.get() + strlen(copy.get()), '\\', '/');
    }
    return copy;
}

}  // namespace

uint32_t MakeVersion(const char* s) {
    const uint32_t major = static_cast<uint32_t>(leadingNumber(s)) << kMajorShift;
    const char* dot = s != nullptr ? strchr(s, '.') : nullptr;
    if (dot == nullptr) {
        return major;
    }
    // Aligned left: ".2" is the field 2000 and ".02" the field 0200. A fifth digit does not count.
    char minor[kMinorDigits + 1] = "0000";
    for (size_t i = 0; i < kMinorDigits && IsDigit(dot[i + 1]); ++i) {
        minor[i] = dot[i + 1];
    }
    // Decimal digits read in base 16: stored records and agents compare these very numbers.
    return major | static_cast<uint32_t>(strtoul(minor, nullptr, 16));
}

tag_Version MakeVersionBuild(const char* s) {
    if (s == nullptr) {
        return {0, 0, 0};
    }
    return {MakeVersion(s), buildOf(s), 0};
}

tag_Version MakeVersionByClass(const char* s, unsigned cls) {
    if (cls == kClassPattern) {
        return {static_cast<uint32_t>(StringToPatternVersion(s)), 0, 0};
    }
    return MakeVersionBuild(s);
}

void MakeVersionString(unsigned v, char* out, int size) {
    if (size < 1) {
        return;
    }
    char text[kVersionTextCapacity];
    auto length = static_cast<size_t>(Snprintf(text, sizeof(text), "%d.%04x",
                                               static_cast<int>(v >> kMajorShift), v & kMinorMask));
    for (size_t i = 0; i < kMaxZerosRemoved && text[length - 1] == '0'; ++i) {
        text[--length] = '\0';
    }
    (void)Strncpy(out, text, static_cast<size_t>(size));  // a null buffer takes nothing
}

void MakeVersionBuildString(tag_Version v, char* out, unsigned size) {
    if (v.build == 0) {
        MakeVersionString(v.version, out, static_cast<int>(std::min<unsigned>(size, INT32_MAX)));
        return;
    }
    char text[kBuildTextCapacity];
    MakeVersionString(v.version, text, static_cast<int>(sizeof(text)));
    Str_TrimAll(text);
    Snprintf(out, size, "%s.%u", text, v.build);
}

void MakeVersionStringByClass(unsigned cls, tag_Version v, char* out, unsigned size) {
    if (cls == kClassPattern) {
        PatternVersionToString(static_cast<int>(v.version), out,
                               static_cast<int>(std::min<unsigned>(size, INT32_MAX)));
        return;
    }
    MakeVersionBuildString(v, out, size);
}

// The reserved word takes no part in any of the comparisons.
bool operator<(const tag_Version& a, const tag_Version& b) {
    return a.version != b.version ? a.version < b.version : a.build < b.build;
}

bool operator>(const tag_Version& a, const tag_Version& b) {
    return b < a;
}

bool operator<=(const tag_Version& a, const tag_Version& b) {
    return !(a > b);
}

bool operator>=(const tag_Version& a, const tag_Version& b) {
    return !(a < b);
}

bool operator==(const tag_Version& a, const tag_Version& b) {
    return a.version == b.version && a.build == b.build;
}

bool operator!=(const tag_Version& a, const tag_Version& b) {
    return !(a == b);
}

// Builds are left out on purpose: two texts that differ only in them are the same version here.
int VersionCompare(const char* a, const char* b) {
    if (a == nullptr || b == nullptr) {
        return static_cast<int>(a != nullptr) - static_cast<int>(b != nullptr);
    }
    const uint32_t left = MakeVersion(a);
    const uint32_t right = MakeVersion(b);
    return static_cast<int>(left > right) - static_cast<int>(left < right);
}

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

// Searched from the top; 0x20000 stands before 0x10000.
const EngineSection sectionTableEngine[] = {
    {"Path_ZELTA32_95", 0x1},          {"Path_ZELTA32_VXD", 0x2},
    {"Path_ZELTA32_NT_I386", 0x4},     {"Path_ZELTA32_NT_ALPHA", 0x8},
    {"Path_ZELTA32_NT_KD", 0x10},      {"Path_ZELTA32_NLM", 0x20},
    {"Path_ZELTA32_OS2", 0x40},        {"Path_ZELTA32_DOS4G", 0x80},
    {"Path_ZELTA32_SOLARIS", 0x100},   {"Path_ZELTA32_HPUX", 0x200},
    {"Path_ZELTA32_AIX", 0x400},       {"Path_ZELTA16", 0x800},
    {"Path_PREZELTA32_95", 0x1000},    {"Path_PREZELTA32_NT", 0x2000},
    {"Path_PREZELTA16", 0x4000},       {"Path_ZELTA_ALL", 0x8000},
    {"Path_ZELTA32_LINUX", 0x20000},   {"Path_ZELTA32_SOLARIS_SPARC", 0x10000},
    {"Path_ZELTA_MIPS_4926", 0x40000}, {"Path_ZELTA32_S390", 0x80000},
    {"Path_ZELTA32_AS400", 0x100000},  {nullptr, 0},
};

const char* EngineIdToString(unsigned id) {
    const EngineSection* row = sectionTableEngine;
    while (row->name != nullptr && row->identifier != id) {
        ++row;
    }
    return row->name;
}

const char* GetClassDescription(unsigned cls) {
    switch (cls) {
        case kClassProduct:
            return "Product";
        case kClassEngine:
            return "Engine";
        case kClassPattern:
            return "Pattern";
        default:
            return "Unknown Component";
    }
}

bool isValidVersion(const char* s) {
    const char* dot = s != nullptr ? strchr(s, '.') : nullptr;
    // A second dot is no digit of the number that follows the first.
    return dot != nullptr && dot != s && isValidNumber(dot + 1) && std::all_of(s, dot, IsDigit);
}

bool isValidNumber(const char* s) {
    return s != nullptr && *s != '\0' && std::all_of(s, s + strlen(s), IsDigit);
}

unsigned xa2ui(const char* s) {
    unsigned value = 0;
    for (; s != nullptr && hexDigit(*s) != kNoHexDigit; ++s) {
        // Unsigned, so that too many digits wrap around instead of overflowing.
        value = value * 16 + static_cast<unsigned>(hexDigit(*s));
    }
    return value;
}

bool IsValidHttpsLevel(unsigned level) {
    return level <= kHighestHttpsLevel;
}

int Str_Comp_Ex(const char* a, const char* b, bool ignoreSeparatorKind, bool ignoreCase) {
    if (!ignoreSeparatorKind || a == nullptr || b == nullptr) {
        return Str_Comp(a, b, !ignoreCase);
    }
    const ScopedHeap<char> left = withSlashes(a);
    const ScopedHeap<char> right = withSlashes(b);
    if (left == nullptr || right == nullptr) {
        // Without memory for the copies an answer that minds the separators is the best one left.
        return Str_Comp(a, b, !ignoreCase);
    }
    return Str_Comp(left.get(), right.get(), !ignoreCase);
}
