#include "log/KvLogSettings.h"

#include "base/KvText.h"
#include "fileop/KvDiskNames.h"
#include "ini/KvIniUtil.h"
#include "ini/KvVcCfg.h"

namespace {

constexpr int kDefaultLevel = 5;
constexpr int kHtmlLog = 1;

constexpr uint32_t kMebibyte = 1048576;
constexpr uint32_t kDefaultLogSize = 5 * kMebibyte;
constexpr uint32_t kDefaultExtractLimit = 1024 * kMebibyte;

}  // namespace

// The values before the first reading are those of a missing configuration.
int s_level = kDefaultLevel;
KvLogMode s_mode = kModeLogFile;
bool s_html = false;

char s_vcpath[kPathCapacity];
char s_config_file[kPathCapacity];
char s_log_file[kPathCapacity];

int (*s_callback)(int, void*, void*) = nullptr;
void* s_callback_data = nullptr;

uint32_t g_log_file_size = kDefaultLogSize;
uint32_t g_extract_limit_size = kDefaultExtractLimit;

namespace {

int numberOr(const char* value, int fallback) {
    return value != nullptr ? leadingNumber(value) : fallback;
}

bool beginsWithDigit(const char* value) {
    return value != nullptr && IsDigit(*value);
}

// Wraps in 32 bits, on purpose: the limits have always been kept so.
uint32_t mebibytes(int value) {
    return static_cast<uint32_t>(value) * kMebibyte;
}

bool isLogFileMode() {
    return s_mode == kModeLogFile || s_mode == kModeLogFileToo;
}

// The mode first: HTML counts only where it writes a file.
void readOutput(const KvIniUtil& config) {
    s_level = numberOr(config.get("Debug", "Level"), kDefaultLevel);
    s_mode = static_cast<KvLogMode>(numberOr(config.get("Debug", "log_mode"), kModeLogFile));
    s_html = leadingNumber(config.get("Debug", "html")) == kHtmlLog && isLogFileMode();
}

void readCodePage(const KvIniUtil& config) {
    const char* value = config.get(nullptr, "code_page");
    if (beginsWithDigit(value)) {
        SetCurrentCharType(static_cast<unsigned int>(leadingNumber(value)));
    }
}

void readLimits(const KvIniUtil& config) {
    // Unlike the limit for extraction, where 0 is a limit, a log of no size makes no sense.
    const int logSize = leadingNumber(config.get("Debug", "log_size"));
    g_log_file_size = logSize != 0 ? mebibytes(logSize) : kDefaultLogSize;

    const char* extractLimit = config.get(nullptr, "extract_limit_size");
    g_extract_limit_size = beginsWithDigit(extractLimit) ? mebibytes(leadingNumber(extractLimit))
                                                         : kDefaultExtractLimit;
}

void chooseLogFile() {
    char dataPath[kPathCapacity];
    s_log_file[0] = '\0';
    if (findDataPath(dataPath)) {
        (void)joinLogPath(s_log_file, dataPath, s_html ? kHtmlLogName : kTextLogName);
    }
}

}  // namespace

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

void _reInit() {
    KvIniUtil config = openDocument(s_config_file);
    // The file belongs to the updater: it is never written from here.
    config.discard();
    readOutput(config);
    readCodePage(config);
    readLimits(config);
    chooseLogFile();
}
