// What a run's journal says, and how it is spelled: text, one record a line, written before what it
// tells is done. A line is
//
//     kind TAB number TAB field TAB field ... LF
//
// and a line without its end was not written; one that ends in the byte 0x18 was torn, and
// cancelled later. Records are numbered through all journals of a run, so that the order of its
// changes can be told across them.
//
//     begin   "VcJournal 1", the run (ascending with time), the store, the master's path ("": this
//     journal is the master) join    a store that gets a journal of the same run          (master
//     only) own     a directory made for a journal's sake                (removed with it, when
//     empty) dir     a directory that the run makes over    target, saved copy, before, after (a
//     file is overwritten) new     the same; no file is there before                    ("" for no
//     saved copy) del     the same; no file is there after void    a change: its saved name was
//     another's, nothing was done gave    a change, after: what its target is in truth, against
//     what was announced back    a change: its target is being put back merge   record of the
//     store, before, its former content      ("" where there was none) drop    a saved copy that is
//     superseded once the run is committed done    the run is committed (counts in the master) keep
//     a change: its file was left alone, its saved copies stay undone  everything is back in place
//     (counts in the master) ended   the run ended by itself and could not put back what has a
//     `gave` behind its `back`
//
// A state is "missing" or "size seconds mode", the mode in octal. In names and contents the bytes
// below blank, 0x7F, the backslash and a blank at either end are escaped (\n, \r, \t, \\, \xHH);
// all other bytes stand as they are, whatever their encoding.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

struct FileState {
    bool isThere = false;
    uint64_t size = 0;
    int64_t seconds = 0;  // of the last modification
    uint32_t mode = 0;    // permission bits, at most 0777
};

// Whether both are missing, or have the same size and time. A file system that keeps even seconds
// only has rounded the time of `seen` down.
[[nodiscard]] bool isSameState(const FileState& seen, const FileState& known);

enum class JournalKind {
    kBegin,
    kJoin,
    kOwn,
    kDir,
    kOver,
    kNew,
    kDel,
    kVoid,
    kGave,
    kBack,
    kMerge,
    kDrop,
    kDone,
    kKeep,
    kUndone,
    kEnded,
};

// Each kind uses the members that its line above has a field for.
struct JournalRecord {
    JournalKind kind = JournalKind::kBegin;
    uint64_t number = 0;
    uint64_t change = 0;  // void, gave, back, keep: the number of the change meant
    std::string path;     // target, directory, store, or record of the store; absolute
    std::string saved;    // saved copy; of begin: the master. Absolute or ""
    FileState before;
    FileState after;
    std::string content;  // merge: the former content; begin: the run
};

// The line, with its end.
[[nodiscard]] std::string journalLine(const JournalRecord& record);

// Whether a path can stand for a saved copy: nothing outside of a store is ever deleted as one.
[[nodiscard]] bool isSavedCopyPath(const std::string& path);

enum class JournalVerdict {
    kGood,
    kEmpty,      // its first line was never finished: the run has not changed anything
    kMalformed,  // not a journal, or one that something else has written to
};

struct JournalText {
    std::vector<JournalRecord> records;  // the first is the one and only `begin`
    size_t wholeSize = 0;                // up to the end of the last whole line
    size_t badLine = 0;                  // from 1; kMalformed only
};

// With this each journal begins.
inline constexpr char kJournalStart[] = "begin\t";

// Behind a torn line: ends it and cancels it.
inline constexpr char kCancelledEnd[] = "\x18\n";

// Reads what a journal holds. A torn last line is left out. All paths are absolute, below their
// capacity and no saved copy lies outside of a store, else the text is malformed. Throws
// std::bad_alloc.
[[nodiscard]] JournalVerdict parseJournal(const std::string& bytes, JournalText& text);
