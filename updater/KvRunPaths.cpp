#include "updater/KvRunPaths.h"

char g_VCTempPath[kPathCapacity];
char g_VelocorePath[kPathCapacity];
char g_VelocoreDataPath[kPathCapacity];
char g_VelocoreLib[kLibraryNameCapacity];
char g_SavFileLib[kLibraryNameCapacity];
char g_RstFileLib[kLibraryNameCapacity];

const char* const KvVelocoreVersion = "1.0.0.1027";

const char* KvGetVersion() {
    return KvVelocoreVersion;
}
