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

void makeLogDir(const char* path) {
    const KvSimpleString dir = KvFileOpUtil::getDirName(path);
    if (!KvFileOpUtil::isDir(dir.c_str())) {
        (void)KvFileOpUtil::createDir(dir.c_str());  // without it the record is lost, quietly
    }
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
    // After the header, which is kept so: where the directory is missing too, the first record of
    // the new file stands without a header.
    makeLogDir(path);
    (void)appendToLog(path, record.c_str(), record.length());  // the run goes on without its log
}
