// Every name under which the system keeps something on the disk. Callers, support people and older
// versions know them: they never change.
#pragma once

// In the staging directory.
inline constexpr char kDescriptionName[] = "VcPatch.ini";
inline constexpr char kResultName[] = "VcResult.ini";

// In the velocore directory; the data directory below it holds the log and what is kept with it.
inline constexpr char kConfigName[] = "vccfg.ini";
inline constexpr char kDataDirName[] = "VC_Data";

// In the data directory.
inline constexpr char kLogDirName[] = "VC_Log";
inline constexpr char kTempSaveName[] = "TempSave";  // in the log's directory
inline constexpr char kTextLogName[] = "VC_Log/KvuDump.txt";
inline constexpr char kHtmlLogName[] = "VC_Log/KvuDump.htm";

// In each destination: the backup store, its record, and how the name of each saved file begins.
inline constexpr char kBackupStoreName[] = "VC_Backup";
inline constexpr char kBackupRecordName[] = "VcBackup.ini";
inline constexpr char kBackupFilePrefix[] = "backup";
inline constexpr char kJournalPrefix[] = "VcJournal.";  // in the store, while a run is on

// Behind the path of what is locked.
inline constexpr char kLockSuffix[] = ".lock";
