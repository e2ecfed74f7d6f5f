// The settings of the log and the state that its rooms share: plain globals for one thread at a
// time, with constant start values, so that they exist before any code runs.
//
// The settings come from "vccfg.ini" in the velocore directory:
//
//   section   key                 meaning                                    missing or unusable
//   Debug     Level               lowest level that is logged                5
//   Debug     log_mode            where messages go, a KvLogMode             2
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
#pragma once

#include <cstdint>

#include "base/KvSimpleString.h"
#include "fileop/KvPath.h"

// Where messages go. Any other number means nowhere.
enum KvLogMode : int {
    kModeStandardOutput = 1,  // the text and a line feed
    kModeLogFile = 2,
    kModeLogFileToo = 3,  // the same as 2
    kModeCallback = 4,
};

extern int s_type;  // of the next message: a VcLogType_t, or a number that stands for none
extern int s_line;  // stored, never written to the log
extern KvSimpleString s_file;  // reserved for the source file's name; stays empty

extern int s_level;  // lowest level that is logged
extern KvLogMode s_mode;
extern bool s_html;

extern char s_vcpath[kPathCapacity];       // the velocore directory
extern char s_config_file[kPathCapacity];  // "vccfg.ini" in it; empty when the name does not fit
extern char s_log_file[kPathCapacity];     // empty when the name does not fit: nothing is written

extern int (*s_callback)(int, void*, void*);  // null: events of kModeCallback go nowhere
extern void* s_callback_data;

// Size limit of the log file, and the limit for extraction that other modules read here; in bytes.
extern uint32_t g_log_file_size;
extern uint32_t g_extract_limit_size;

// Reads the settings anew from `s_config_file` and names the log file after them.
void _reInit();

// The data directory: "VC_Data" in `s_vcpath`, or that directory itself under the old directory
// organisation. False, with `path` empty, when it does not fit.
bool findDataPath(char (&path)[kPathCapacity]);

// Joins two names; false, with `path` empty, when they do not fit: a cut name would be another
// file's.
bool joinLogPath(char (&path)[kPathCapacity], const char* base, const char* name);
