// Versions, component classes and engine identifiers, and the small checks of settings that go with
// them. None of these functions keeps state. Null texts are allowed everywhere and count as "";
// numbers in a text are read as far as they are digits.
//
// Where a function writes into `out`, `size` is the capacity in bytes and the result is always
// terminated; a null `out` or a size below 1 writes nothing.
#pragma once

#include <cstdint>

// Patch agents share the record that follows with the tool. The header for their authors stands
// alone and so declares it a second time; the macro lets both headers meet in one source.
#ifndef KV_TAG_VERSION_DECLARED
#define KV_TAG_VERSION_DECLARED
// The version of a product or an engine.
struct tag_Version {
    uint32_t version;   // major number in the high 16 bits, minor in the low 16 (see MakeVersion)
    uint32_t build;     // 0 when the text carries none
    uint32_t reserved;  // always 0, never compared
};
#endif

// What an item updates. The descriptions are in GetClassDescription.
enum ComponentClass : uint32_t {
    kClassProduct = 1,
    kClassEngine = 2,
    kClassPattern = 3,
};

// "major.minor" packed into one number. The minor part is the up to four digits that directly
// follow the first '.', filled up with zeros on the right and read in base 16: "5.2" gives
// 0x00052000, "5.02" gives 0x00050200. So "5.10" (0x00051000) is older than "5.9" (0x00059000).
[[nodiscard]] uint32_t MakeVersion(const char* s);

// MakeVersion and the build: the third of the pieces between dots ("5.2.1234"), or, with fewer than
// three of them, the second piece between dashes ("5.2-1234"); else 0.
[[nodiscard]] tag_Version MakeVersionBuild(const char* s);

// A pattern's version is one decimal number (in `version`); other classes use MakeVersionBuild.
[[nodiscard]] tag_Version MakeVersionByClass(const char* s, unsigned cls);

// Back to text: 0x00052000 is "5.2", 0x00050000 is "5.0"; with build 1234, "5.2.1234".
void MakeVersionString(unsigned v, char* out, int size);
void MakeVersionBuildString(tag_Version v, char* out, unsigned size);
void MakeVersionStringByClass(unsigned cls, tag_Version v, char* out, unsigned size);

// Compare by `version`, then by `build`, both unsigned.
[[nodiscard]] bool operator<(const tag_Version& a, const tag_Version& b);
[[nodiscard]] bool operator>(const tag_Version& a, const tag_Version& b);
[[nodiscard]] bool operator<=(const tag_Version& a, const tag_Version& b);
[[nodiscard]] bool operator>=(const tag_Version& a, const tag_Version& b);
[[nodiscard]] bool operator==(const tag_Version& a, const tag_Version& b);
[[nodiscard]] bool operator!=(const tag_Version& a, const tag_Version& b);

// -1, 0 or 1 by MakeVersion of the two texts: builds play no part. Null comes before every text.
[[nodiscard]] int VersionCompare(const char* a, const char* b);

// A pattern's number as decimal text; the result is what `snprintf` returns (0 when nothing could
// be written), so it tells the length that was wanted.
int PatternVersionToString(int v, char* out, int size);
[[nodiscard]] int StringToPatternVersion(const char* s);

// Between the old pattern numbering (0 to 999) and the new one (above 999): 123 is 112300. A number
// that already is of the wanted kind is returned as it is.
[[nodiscard]] unsigned OldPatternVersionToNew(unsigned v);
[[nodiscard]] unsigned NewPatternVersionToOld(unsigned v);

// Whether at most one bit is set.
[[nodiscard]] bool isOnlyOnePatternType(unsigned mask);

// One row for each scan engine; the name is the key under which the engine's path is looked up.
// Every identifier is a single bit, so that a set of engines is a bit mask.
struct EngineSection {
    const char* name;  // null in the row that ends the table
    uint32_t identifier;
};
extern const EngineSection sectionTableEngine[];

// The name of the row with exactly this identifier; null when there is none. Masks of several bits
// match no row.
[[nodiscard]] const char* EngineIdToString(unsigned id);

// "Product", "Engine", "Pattern", or "Unknown Component".
[[nodiscard]] const char* GetClassDescription(unsigned cls);

// Digits with exactly one '.', which is neither first nor last.
[[nodiscard]] bool isValidVersion(const char* s);
// At least one character, and digits only.
[[nodiscard]] bool isValidNumber(const char* s);

// The leading hexadecimal digits as a number; 0 without any. Too many digits lose the high ones.
[[nodiscard]] unsigned xa2ui(const char* s);

// 0, 1 and 2 are levels.
[[nodiscard]] bool IsValidHttpsLevel(unsigned level);

// Str_Comp for paths: optionally a backslash equals '/', wherever it stands, and ASCII letters are
// compared without their case. Null sorts first.
[[nodiscard]] int Str_Comp_Ex(const char* a, const char* b, bool ignoreSeparatorKind,
                              bool ignoreCase);
