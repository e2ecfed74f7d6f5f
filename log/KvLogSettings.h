// The state that the rooms of the log share. Plain globals for one thread at a time, with constant
// start values, so that they exist before any code runs.
#pragma once

#include "base/KvSimpleString.h"
#include "fileop/KvPath.h"

// Where accepted events go (the setting "log_mode"). Any other number means nowhere.
enum KvLogMode : int {
    kModeStandardOutput = 1,  // the text and a line feed
    kModeLogFile = 2,
    kModeLogFileToo = 3,  // the same as 2
    kModeCallback = 4,
};

extern int s_type;             // a VcLogType_t, or a number that stands for none
extern int s_line;             // stored, never written to the log
extern KvSimpleString s_file;  // reserved for the source file's name; stays empty

extern int s_level;  // lowest level that is logged
extern int s_mode;   // a KvLogMode; any other number: nowhere
extern bool s_html;

extern char s_vcpath[kPathCapacity];       // the velocore directory
extern char s_config_file[kPathCapacity];  // "vccfg.ini" in it; empty when the name does not fit
extern char s_log_file[kPathCapacity];     // empty when the name does not fit: nothing is written

extern int (*s_callback)(int, void*, void*);  // null: events of kModeCallback go nowhere
extern void* s_callback_data;

// The data directory: "VC_Data" in `s_vcpath`, or that directory itself under the old directory
// organisation. False, with `path` empty, when it does not fit.
bool findDataPath(char (&path)[kPathCapacity]);

// Joins two names; false, with `path` empty, when they do not fit: a cut name would be another
// file's.
bool joinLogPath(char (&path)[kPathCapacity], const char* base, const char* name);
