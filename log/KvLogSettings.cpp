#include "log/KvLogSettings.h"

#include "base/KvText.h"
#include "fileop/KvDiskNames.h"
#include "ini/KvVcCfg.h"

// The values before the first reading are those of a missing configuration.

int s_level = 5;
int s_mode = kModeLogFile;
bool s_html = false;

char s_vcpath[kPathCapacity];
char s_config_file[kPathCapacity];
char s_log_file[kPathCapacity];

int (*s_callback)(int, void*, void*) = nullptr;
void* s_callback_data = nullptr;

bool joinLogPath(char (&path)[kPathCapacity], const char* base, const char* name) {
    if (CatURIWithPath(path, kPathCapacity, base, name) != 0) {
        path[0] = '\0';
    }
    return path[0] != '\0';
}

bool findDataPath(char (&path)[kPathCapacity]) {
    // Asked of the file each time: the directory may have changed since the last question.
    if (KvVcCfg(s_vcpath).UseOldDirOrganization()) {
        (void)Strncpy(path, s_vcpath, kPathCapacity);  // of equal capacity: always fits
        return true;
    }
    const bool fits = CatPathWithPath(path, kPathCapacity, s_vcpath, kDataDirName) == 0;
    if (!fits) {
        path[0] = '\0';
    }
    return fits;
}
