// Settling the runs that were cut off: what a run has left half-done in the stores of these
// destinations is undone, or finished when the run was committed. The states that are met, and what
// becomes of each, stand in journal/KvJournal.h.
//
// An update or rollback calls this before its first word to the agent and before any record is
// read; a person may call it at any time. No agent is asked. Done twice it does the same as done
// once, and it can be cut off itself:
//
//   1. A journal that can be locked belongs to a run that is gone. Its master, and from there all
//      journals of that run, are locked too; if one of them is locked already the run is alive.
//   2. If the journal's last change had not begun because its saved name was another's, `void` says
//      so before anything else is written.
//   3. Once a file, last change first: `back` is written, then the copy goes back. Only the file of
//      the last `back` can be torn when the process ends; it is the first to go back again, so that
//      there is never a second one.
//   4. What was left alone (`keep`) and `undone` are written, in one write.
//   5. The saved copies of the run are deleted, but for those of 4, and the directories it made.
//   6. The journals go, the master last.
//
// A committed run (`done`) takes only 5, for what it supersedes, and 6.
//
// Left alone and told, with its saved copies: a file that somebody else has changed since (its size
// or time are neither what the run gave it nor what it had before; the change in work excepted),
// that is gone, or is a directory now, or whose saved copy is gone or short.
#pragma once

#include <cstddef>

enum class SettleMode {
    kSettle,
    kLookOnly,  // tells what would be done and changes nothing
};

enum class SettleResult {
    kNothing,  // no run was cut off here
    kSettled,
    kFailed,  // something cannot be put back: the journals and all copies stay for the next time
};

enum class SettleDeed {
    kUndoRun,  // `path` is the journal, as in the next three
    kFinishRun,
    kLiveRun,     // belongs to a run that is alive
    kNoJournal,   // does not count, for this reason; left alone
    kPutBack,     // `path` is the file, as in all below
    kRemoved,     // the run had added it
    kLeftAlone,   // for this reason; `copy` is its saved copy, which stays
    kNotDeleted,  // a saved copy that has no use any more, for this reason
    kFailed,      // for this reason; the settling ends
};

struct SettleEvent {
    SettleDeed deed;
    const char* path;
    const char* reason;  // null where there is none
    const char* copy;    // kLeftAlone; "" when there is none
};

class SettleListener {
  public:
    virtual ~SettleListener() = default;

    // Called behind each deed.
    virtual void tell(const SettleEvent& event) = 0;

    // Called before every single change of the disk.
    virtual void beforeStep() {}
};

// Says it in the log: a line for each run and for each file that is put back, removed or left
// alone, behind the cause where there is one. Of live runs it says nothing.
class SettleLog : public SettleListener {
  public:
    void tell(const SettleEvent& event) override;
};

// Settles the cut-off runs of these destinations' stores, with all destinations that those runs
// have changed. Null and repeated destinations are allowed.
[[nodiscard]] SettleResult settleCutOffRuns(const char* const* destinations, size_t count,
                                            SettleMode mode, SettleListener& listener);
