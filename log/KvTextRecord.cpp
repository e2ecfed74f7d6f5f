// The records of the text log (log/KvLogRecord.h).
#include <cstring>

#include "base/KvText.h"
#include "log/KvLogRecord.h"
#include "log/KvLogTime.h"
#include "log/KvLogWrap.h"

bool isSeparatorLine(const char* message) {
    return *message != '\0' && message[strspn(message, "-")] == '\0';
}

KvSimpleString makeTextRecord(const KvLogFields& fields, const char* message) {
    KvSimpleString record("\n");
    if (isSeparatorLine(message)) {
        return record += message;
    }
    // Wide enough for the longest numbers; its real width is the indent.
    char prefix[64];
    const int width =
        Snprintf(prefix, sizeof prefix, "%s %.*s %u %u%s ", fields.isError ? "Err" : "Inf",
                 kStampLength, fields.stamp, fields.process, fields.thread, fields.fileAndLine);
    // Given to the wrapping, so that the message is copied once.
    KvSimpleString lineBreak("\n");
    lineBreak.append(width, ' ');

    record += prefix;
    appendWrapped(record, message, strlen(message), lineBreak.c_str());
    return record;
}
