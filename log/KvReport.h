// The one short way to report a message. A source that reports names its module once, in front of
// its first message:
//
//     static constexpr char kModule[] = "KvVcUpdater";
//
// and then says
//
//     KV_INFO(kLevelProgress, "VcPatch Action: update.");
//     KV_ERROR(kLevelProgress, "getBackup: cannot open %s.", path);
//
// Each is `Log_Set` with the module and the line of the message, then `Throw_Event`. A format that
// does not match its arguments is a compile error. The kind stays in force until the next message.
#pragma once

#include "log/KvVcLog.h"

// What a message's level says. A message is logged when its level is at least the configured one,
// 5 unless configured otherwise.
enum KvLogLevel : int {
    kLevelCallbackOnly = -1,  // only for a callback installed with `redirectToCallback`
    kLevelDetail = 3,         // hidden by default: dumps of parsed files
    kLevelProgress = 6,       // ordinary progress and failure messages
    kLevelAlways = 9,         // must always show: agent answers, refusals
};

// Type, level, then a printf-style format with its arguments.
#define KV_REPORT(type, level, ...)         \
    do {                                    \
        Log_Set(kModule, __LINE__, (type)); \
        Throw_Event((level), __VA_ARGS__);  \
    } while (false)

#define KV_INFO(level, ...) KV_REPORT(kLogInfo, level, __VA_ARGS__)
#define KV_ERROR(level, ...) KV_REPORT(kLogError, level, __VA_ARGS__)
