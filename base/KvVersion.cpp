// Versions to numbers and back, and their order.
#include "base/KvVersion.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "base/KvNumber.h"
#include "base/KvPiece.h"
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
