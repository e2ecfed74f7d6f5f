// A run that was cut off: what its journals say about it, file by file.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "journal/KvJournalFile.h"
#include "journal/KvJournalText.h"
#include "journal/KvSettle.h"

// Open and locked.
struct OpenJournal {
    JournalFile file;
    JournalText text;

    [[nodiscard]] const JournalRecord& begin() const { return text.records.front(); }
};

// The first one speaks for the run: its master, or one whose master is gone.
using RunJournals = std::vector<std::unique_ptr<OpenJournal>>;

struct SavedCopy {
    std::string path;
    FileState original;   // what it is a copy of; of a file that was missing it is empty
    uint64_t change = 0;  // the number of its change
};

// A file that the run has changed, or a record that it has merged into, with all its changes.
struct RunFile {
    std::string target;
    FileState before;       // what it goes back to
    std::string savedCopy;  // its content then; "" when there is none
    std::string content;    // the same of a record
    bool isRecord = false;
    std::vector<FileState> states;  // that it had before the run, or the run has given it
    bool hasTwin = false;           // one that the run gave it looks like the one before
    std::vector<SavedCopy> copies;
    std::vector<uint64_t> changes;  // ascending
    size_t journal = 0;             // that the last change stands in
    bool isInWork = false;          // may be torn: it goes back whatever it looks like
    bool isReturning = false;       // it is the last one that was put back, perhaps not wholly
    bool isUnsaved = false;         // nothing follows its only change: perhaps not even saved
    bool isStuck = false;           // the run's own undoing could not put it back
    bool isKept = false;            // was left alone before everything else was in place
};

enum class RunEnd {
    kCutOff,
    kDone,
    kUndone,
    kEnded,
};

struct RunHistory {
    RunEnd end = RunEnd::kCutOff;
    bool isEnded = false;  // by itself, whatever else has been written behind that
    uint64_t lastNumber = 0;
    uint64_t lastChange = 0;        // of a file or a record
    std::vector<RunFile> files;     // the one returning, then by their last change, last first
    std::vector<std::string> dirs;  // made by the run, the longest path first
    std::vector<std::string> ownDirs;
    std::vector<std::string> drops;
};

// Throws std::bad_alloc.
[[nodiscard]] RunHistory readHistory(const RunJournals& journals);

// Undoes or finishes the run; its journals are gone after kSettled.
[[nodiscard]] SettleResult settleRun(RunJournals& journals, SettleMode mode,
                                     SettleListener& listener);
