// The paths and names of the run, published to every step. All start empty, are set once by the
// run sequence and hold NUL-terminated text that is cut to the capacity.
#pragma once

#include "fileop/KvPath.h"

inline constexpr int kLibraryNameCapacity = 21;

// The staging directory: holds `VcPatch.ini`, `VcResult.ini` and the payload of each item.
extern char g_VCTempPath[kPathCapacity];

// The installation root of the updater product.
extern char g_VelocorePath[kPathCapacity];

// The data directory: the installation root itself under the old directory organisation, else
// `VC_Data` below it.
extern char g_VelocoreDataPath[kPathCapacity];

// Library names carried for other components; nothing in this program reads them.
extern char g_VelocoreLib[kLibraryNameCapacity];
extern char g_SavFileLib[kLibraryNameCapacity];
extern char g_RstFileLib[kLibraryNameCapacity];

extern const char* const KvVelocoreVersion;

// The program's version text, a static constant.
[[nodiscard]] const char* KvGetVersion();
