// The log writer: how code reports a message, and how a message becomes a record of the log file.
//
// A message is reported with two calls, `Log_Set` for its kind and `Throw_Event` for its text;
// log/KvReport.h says both in one line. The event reaches the log listeners
// (log/KvVcEventManager.h), which filter by level and hand the text to `Log_Write`.
//
// The settings come from "vccfg.ini" in the velocore directory and are read by `_reInit`:
//
//   section   key                 meaning                                    missing or unusable
//   Debug     Level               lowest level that is logged                5
//   Debug     log_mode            1 standard output, 2 or 3 the log file,    2
//                                 4 the callback, any other nowhere
//   Debug     html                1: HTML log (only with log_mode 2 or 3)    text log
//   (global)  code_page           the current code page                      unchanged
//   Debug     log_size            limit of the log file in MiB; 0 counts     5
//                                 as missing
//   (global)  extract_limit_size  limit for extraction in MiB                1024
//
// "code_page" and "extract_limit_size" count only when they begin with a digit; every other value
// is read as far as it is a decimal number (so "abc" is 0). Both limits are kept in 32 bits of
// bytes: 4096 MiB and more wrap.
//
// The log file is "VC_Log/KvuDump.txt" ("VC_Log/KvuDump.htm" in HTML) under "VC_Data" in the
// velocore directory, or in that directory itself under the old directory organisation.
//
// Logging never fails towards its caller: a record that cannot be written is lost. One thread at a
// time; other processes may append to the same file, each record is one write.
#pragma once

#include <cstdint>

#include "base/KvSimpleString.h"
#include "log/KvLogStartup.h"

// The kind of a message.
enum VcLogType_t : int {
    kLogInfo = 0,
    kLogError = 1,
};

// Size limit of the log file, and the limit for extraction that other modules read here; in bytes.
extern uint32_t g_log_file_size;
extern uint32_t g_extract_limit_size;

// Chooses the kind of the next messages, until the next call. `file` (the module's base name) is
// ignored and `line` only stored: neither is written to the log.
void Log_Set(const char* file, int line, VcLogType_t type);

// Formats the message, cut to 20,479 characters, and publishes it as an event of the kind last set;
// a kind that is neither of the two publishes nothing. A null `format` is ignored.
void Throw_Event(int level, const char* format, ...) __attribute__((format(printf, 2, 3)));

// Appends one record to the log file at `path`, with one open, one write and one close; makes the
// file's directory when it is missing. The kind last set labels the record. Null or empty `path`:
// nothing; a null `message` is "".
//
// Text: "\n", then "Inf" or "Err", the time, process and thread number, and the message, wrapped at
// 75 characters with the continuation lines indented to line up. A message of only '-' characters
// is a separator line and stands alone.
// HTML: spans for the same fields, the message escaped and not wrapped; a separator line is "<hr>".
// A new HTML file begins with a header that hides all fields but the message, except when its
// directory did not exist either: that file has no header, and is kept so.
void Log_Write(const char* path, bool html, const char* message);

// Whether the log at `path` must be started anew: it cannot be opened, or it was larger than
// `g_log_file_size` and has just been deleted. Looks at the file only on calls 1, 101, 201, ... of
// the process and answers false on all others.
[[nodiscard]] bool checkLogFileSize(const char* path);

// Escapes a text for the HTML log: '&', '<' and '>' become numbers, a space before another space
// "&nbsp" (without a semicolon, kept so), a line feed "<br>", a tab four "&nbsp".
void ConvertHtmlCode(KvSimpleString& text);

// False for letters, digits and '_' of ASCII, true for every other character.
[[nodiscard]] bool IsWordSeparator(char c);

// The local time as "YYYYMMDD HH:MM:SS\n" in a static buffer that the next call and the next record
// overwrite. "20380118 00:00:00\n" when the system cannot tell the local time.
[[nodiscard]] const char* GetTime();

// Reads the settings anew, from the file that the event manager has named.
void _reInit();
