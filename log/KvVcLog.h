// The log writer: how a message becomes a record of the log file.
//
// A message is reported with log/KvReport.h and travels as an event (log/KvEventPublisher.h) to the
// log listeners (log/KvVcEventManager.h). They filter by the level that is set
// (log/KvLogSettings.h) and hand the text to `Log_Write`, which makes a record of it
// (log/KvLogRecord.h).
//
// Logging never fails towards its caller: a record that cannot be written is lost. One thread at a
// time; other processes may append to the same file, each record is one write.
#pragma once

#include "log/KvReport.h"

// Appends one record to the log file at `path`, with one open, one write and one close; makes the
// file's directory when it is missing. The kind last set labels the record. Null or empty `path`:
// nothing; a null `message` is "". A file that is not a regular one, or that only a link of another
// user leads to, cannot be opened.
//
// A new HTML file begins with a header, except when its directory did not exist either: that file
// has no header, and is kept so.
void Log_Write(const char* path, bool html, const char* message);

// Whether the log at `path` must be started anew: it cannot be opened, or it was larger than
// `g_log_file_size` and has just been deleted. Looks at the file only on calls 1, 101, 201, ... of
// the process and answers false on all others.
[[nodiscard]] bool checkLogFileSize(const char* path);
