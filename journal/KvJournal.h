// KvJournal: what a run changes, written down before it is changed, so that a run that was cut off
// (killed, a crash of the agent, the machine) can be undone, or finished, by the next one
// (journal/KvSettle.h). Its lines: journal/KvJournalText.h; its file: journal/KvJournalFile.h.
//
// The run keeps one journal in each store that it changes; the first one made is the master. What
// the disk holds when the process ends, and what the settling makes of it:
//
//   Opening a store
//    1. Directories are made for the store.      The first store's stay, empty; of a later store
//    the
//                                                master tells before they are made.
//    2. The journal is made, empty.              Nothing was changed: it goes.
//    3. `begin` is in it.                        The same, and the directories go.
//   A file that is there before
//    4. `over` or `del` is written.              The target is as before. The saved name may be
//                                                another's: it is ours when it was made after the
//                                                line.
//    5. The saved copy is made, and grows.       Shorter than the file was, so the target is as
//    before.
//    6. It is whole.                             It goes back, whatever the target looks like.
//    7. The target is opened, torn, written,     The same: the change is the last one.
//       given its time; or deleted.
//    8. Another change follows.                  The target has its new state, or was never written
//                                                (deferred, skipped), or `gave` tells its state:
//                                                the copy goes back. In any other: somebody else's.
//   A new file
//    9. `new` is written.                        Nothing there, or whatever is there goes.
//   10. It is made, torn, whole.                 It goes.
//   11. Another change follows.                  It goes if it is what the run made.
//   The end
//   12. `merge` is written.                      The record is as before, or goes back to that,
//   13. The record is made, torn, rewritten.     whatever it looks like. No saved copy is deleted
//   yet.
//   14. `done` stands in the master, behind      The run is committed in all its stores: it is
//   finished.
//       what it supersedes (`drop`).
//   15. Superseded copies are deleted.           The rest of them is deleted.
//   16. Journals go, the master last.            The rest of them goes.
//   A run that undoes itself
//   17. `back` is written.                       Its copy, if it is still there, goes back whatever
//   18. The target is put back.                  the target looks like. Later targets: as in 8.
//   19. Its copy is deleted.                     Nothing to do for it.
//   20. It could not be put back: `gave`.        Its copy goes back if the target is still like
//   that.
//   21. `undone` stands in the master.           Saved copies and journals go.
//   22. `ended`, when there was a 20.            The copies of those files go back, nothing else.
//
// A rollback makes the same steps; of what it deletes in 15 the saved copies that it has put back
// are a part. An object that ends without `commit` or `endUndone` leaves its journals: that is a
// run that was cut off. Where no journal can be made the run goes on without one.
//
// Relative paths count from the working directory at the call. No exception leaves, nothing is
// logged; what fails is noted (base/KvFailure.h). One thread.
#pragma once

#include <sys/stat.h>

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "journal/KvJournalFile.h"
#include "journal/KvJournalText.h"

[[nodiscard]] FileState stateOf(const struct stat& status);

// The path from the root, by the working directory; "" when it does not fit. Throws std::bad_alloc.
[[nodiscard]] std::string absolutePath(const std::string& path);

// A change of one file. `saved` is the copy that is about to be made under that name; null for
// none.
struct FileChange {
    const char* target;
    const char* saved;
    FileState before;
    FileState after;  // the staged file's size and time in whole seconds
};

class KvJournal {
  public:
    KvJournal();
    ~KvJournal();
    KvJournal(const KvJournal&) = delete;
    KvJournal& operator=(const KvJournal&) = delete;

    // The destination, as the description has it, that the next calls belong to. Its journal is
    // made with the first of them, once for each store however its path is spelled.
    void enter(const char* destination);

    // A directory that is missing is about to be made. Told before the destination itself is there,
    // it is written when the first journal is made.
    void willMakeDir(const char* directory);

    // The change is about to be made: its saved copy first. False: it could not be written down,
    // and must not be made.
    [[nodiscard]] bool willChange(const FileChange& change);

    // The name for the saved copy of the last change is another's. The change has not begun; it is
    // announced anew with another name. False as above.
    [[nodiscard]] bool savedNameWasTaken();

    // The target got another state than announced (its time could not be set), or could not be put
    // back or deleted by the run's own undoing: then its saved copy stays for the next run.
    void changedOtherwise(const char* target);
    void couldNotPutBack(const char* target);

    // The target is about to be put back from its saved copy. The undoing goes on in any case.
    void willPutBack(const char* target);

    // The record of a store is about to be made or rewritten for the first time in this run. False:
    // it could not be read, or written down: it must not be touched.
    [[nodiscard]] bool willMerge(const char* record);

    // A saved copy that goes when the run is committed.
    void willDrop(const char* savedCopy);

    struct DropFailure {
        std::string path;
        int error;
    };
    // After the last merge: commits the run, deletes what it supersedes, removes the journals.
    // Returns the copies that could not be deleted.
    std::vector<DropFailure> commit();

    // After the run's own undoing: removes the journals, or leaves them for the files that could
    // not be put back.
    void endUndone();

  private:
    struct Store {
        std::string path;
        JournalFile file;
        std::vector<std::string> drops;
    };
    struct Change {
        uint64_t number;
        Store* store;
    };

    // --- Making journals
    Store* current();
    Store* open(const std::string& destination);
    Store* findSame(const std::string& path);
    bool makeDirs(const std::string& path);
    bool begin(Store& store, bool isJoining);

    // --- Writing
    [[nodiscard]] bool write(Store& store, const JournalRecord& record);
    [[nodiscard]] bool writeDone();
    void writeAbout(const char* target, JournalRecord record);
    void writeState(const char* target);
    [[nodiscard]] std::vector<std::string> takeDrops();
    void removeJournals();
    void removeOwnDirs();

    std::string destination_;
    bool isEntered_ = false;
    std::unordered_map<std::string, Store*> byDestination_;  // null: none could be made
    std::vector<std::unique_ptr<Store>> stores_;             // the first is the master's
    std::string run_;
    uint64_t number_ = 0;                              // of the next record
    std::unordered_map<std::string, Change> changes_;  // the latest, by target
    Change last_{0, nullptr};
    std::vector<std::string> pendingDirs_;  // told before there was a journal
    std::vector<std::string> ownDirs_;      // made for journals, outermost first
    std::vector<std::string> looseDrops_;   // of destinations without a journal
    std::vector<std::string> merged_;
    bool isStuck_ = false;
};
