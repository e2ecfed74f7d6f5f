#include "log/KvLogTime.h"

#include "base/KvText.h"
#include "log/KvVcLog.h"

void formatStamp(char (&stamp)[kStampCapacity], const tm* local) {
    if (local == nullptr) {
        (void)Strncpy(stamp, "20380118 00:00:00\n", kStampCapacity);
        return;
    }
    // The limit leaves room for the "\n" whatever the year is.
    (void)Snprintf(stamp, kStampCapacity - 1, "%04d%02d%02d %02d:%02d:%02d", local->tm_year + 1900,
                   local->tm_mon + 1, local->tm_mday, local->tm_hour, local->tm_min, local->tm_sec);
    stamp[kStampLength] = '\n';
    stamp[kStampLength + 1] = '\0';
}

const char* GetTime() {
    // Shared by all callers, who pass the text on at once: one record is written at a time.
    static char strtime[kStampCapacity];
    static time_t stamped = 0;
    const time_t now = time(nullptr);
    if (now != stamped || *strtime == '\0') {
        tm local{};
        // Unlike `localtime` it does not look at the time zone's file again each time.
        formatStamp(strtime, localtime_r(&now, &local));
        stamped = now;
    }
    return strtime;
}
