// Writes one record (log/KvVcLog.h).
#include <cstring>

#include "fileop/KvFileOpUtil.h"
#include "log/KvLogFile.h"
#include "log/KvLogRecord.h"
#include "log/KvLogSettings.h"
#include "log/KvVcLog.h"

namespace {

KvSimpleString makeRecord(bool html, const char* message) {
    const KvLogFields fields{s_type == kLogError, GetTime(), VcGetProcessID(), VcGetThreadId(),
                             s_file.c_str()};
    return html ? makeHtmlRecord(fields, message) : makeTextRecord(fields, message);
}

}  // namespace

void Log_Write(const char* path, bool html, const char* message) {
    if (path == nullptr || *path == '\0') {
        return;
    }
    const KvSimpleString record = makeRecord(html, message != nullptr ? message : "");
    if (checkLogFileSize(path) && html) {
        (void)appendToLog(path, kHtmlLogHeader, strlen(kHtmlLogHeader));
    }
    // The directory is made after the header, which is kept so: where it is missing too, the first
    // record of the new file stands without a header.
    if (appendToLog(path, record.c_str(), record.length()) == LogAppend::kNotOpened &&
        KvFileOpUtil::createDir(KvFileOpUtil::getDirName(path).c_str()) == KvFileOpUtil::kDone) {
        // What is lost all the same is lost quietly: the run goes on without its log.
        (void)appendToLog(path, record.c_str(), record.length());
    }
}
