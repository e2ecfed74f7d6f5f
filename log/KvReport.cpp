#include "log/KvReport.h"

#include <cstdarg>

#include "base/KvFailure.h"
#include "base/KvText.h"
#include "log/KvEventPublisher.h"
#include "log/KvLogSettings.h"

int s_type = kLogInfo;
int s_line = 0;
KvSimpleString s_file;

namespace {

constexpr char kModule[] = "KvReport";

// Also bounds what one message costs: agents pass on texts of any length.
constexpr size_t kMessageCapacity = 20480;

// A kind that nobody knows is dropped rather than shown under a wrong label.
void publish(const char* text, int level) {
    if (s_type == kLogInfo) {
        KvInfoEvent(text, level).publish();
    } else if (s_type == kLogError) {
        KvErrorEvent(text, level).publish();
    }
}

}  // namespace

void Log_Set(const char* /*file*/, int line, VcLogType_t type) {
    s_line = line;
    s_type = type;
}

void Throw_Event(int level, const char* format, ...) {
    if (format == nullptr) {
        return;
    }
    char text[kMessageCapacity];
    va_list args;
    va_start(args, format);
    (void)Vsnprintf(text, sizeof text, format, args);  // a longer message is cut, as documented
    va_end(args);
    publish(text, level);
}

void reportCause(const char* subject, const char* reason) {
    KV_ERROR(kLevelProgress, "Cause: %s: %s", subject != nullptr ? subject : "",
             reason != nullptr ? reason : "");
}

void reportCauseErrno(const char* path, int error) {
    reportCause(path, reasonOf(error));
}

bool reportNotedCause() {
    KvFailure failure;
    if (!takeFailure(failure)) {
        return false;
    }
    reportCause(failure.subject, reasonOf(failure));
    return true;
}
