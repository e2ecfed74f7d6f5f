// How code reports a message: with two calls, `Log_Set` for its kind and `Throw_Event` for its
// text, or with one line that stands for both. A source that reports names its module once, in
// front of its first message:
//
//     static constexpr char kModule[] = "KvVcUpdater";
//
// and then says
//
//     KV_INFO(kLevelProgress, "VcPatch Action: update.");
//     KV_ERROR(kLevelProgress, "getBackup: cannot open %s.", path);
//
// A failure that system, memory or loader caused has two messages: the cause, in the one form that
// `reportCause` gives it, and right behind it the message of the step that failed because of it.
//
// Reporting never fails towards its caller. One thread at a time.
#pragma once

#include "log/KvLogStartup.h"

// The kind of a message.
enum VcLogType_t : int {
    kLogInfo = 0,
    kLogError = 1,
};

// What a message's level says. A message is logged when its level is at least the configured one,
// 5 unless configured otherwise.
enum KvLogLevel : int {
    kLevelCallbackOnly = -1,  // only for a callback installed with `redirectToCallback`
    kLevelDetail = 3,         // hidden by default: dumps of parsed files
    kLevelProgress = 6,       // ordinary progress and failure messages
    kLevelAlways = 9,         // must always show: agent answers, refusals
};

// Chooses the kind of the next messages, until the next call. `file` (the module's base name) is
// ignored and `line` only stored: neither is written to the log.
void Log_Set(const char* file, int line, VcLogType_t type);

// Formats the message, cut to 20,479 characters, and publishes it as an event of the kind last set
// (log/KvEventPublisher.h); a kind that is neither of the two publishes nothing. A null `format` is
// ignored.
void Throw_Event(int level, const char* format, ...) __attribute__((format(printf, 2, 3)));

// Type, level, then a printf-style format with its arguments; a format that does not match them is
// a compile error.
#define KV_REPORT(type, level, ...)         \
    do {                                    \
        Log_Set(kModule, __LINE__, (type)); \
        Throw_Event((level), __VA_ARGS__);  \
    } while (false)

#define KV_INFO(level, ...) KV_REPORT(kLogInfo, level, __VA_ARGS__)
#define KV_ERROR(level, ...) KV_REPORT(kLogError, level, __VA_ARGS__)

// Reports "Cause: ", the path or name concerned, ": " and the reason, as an error of
// kLevelProgress. A null text is "".
void reportCause(const char* subject, const char* reason);

// The same with the system's words for an `errno`, or those of a KvErrorNumber (base/KvFailure.h).
void reportCauseErrno(const char* path, int error);

// Reports the failure that a lower room noted (base/KvFailure.h), if there is one, and takes it: a
// failure is told once. Whether there was one.
bool reportNotedCause();
