// One journal on the disk: `D/VC_Backup/VcJournal.<number>`, mode 0600, locked by the run that
// writes it for as long as that run lives.
//
// The lock is `flock`. It belongs to the open file, so that no other close in the process drops it,
// as it would one of `fcntl`: an agent runs in this process and may open what it likes. It goes
// with the process, however that ends. A program that an agent starts does not get the descriptor,
// and a process that it forks without starting a program closes it at once, so that no child holds
// the lock beyond its owner's end.
//
// Errors are an `errno`, 0 for none. Functions with a std::string throw std::bad_alloc.
#pragma once

#include <sys/types.h>

#include <ctime>
#include <string>
#include <vector>

#include "base/KvScoped.h"

// Whether a file of a store bears the name of a journal.
[[nodiscard]] bool isJournalName(const char* name);

// Whether both paths lead to one directory.
[[nodiscard]] bool isSameDir(const std::string& a, const std::string& b);

// A store that is made for its journal's sake bears a mark, the sticky bit, for as long as the run
// lasts: found empty and without a journal it is what a run has left that was cut off just then.
//
// Makes a store. An errno, or 0.
[[nodiscard]] int makeMarkedStore(const std::string& path);
// Deletes a marked store when it is empty, else takes its mark away. Stores of others and stores
// without the mark stay as they are.
void unmarkStore(const std::string& path);
[[nodiscard]] bool isMarkedStore(const std::string& path);
// Deletes those of the directories, given outermost first, that are empty, and takes marks away.
// Those that lead to a store that still has its journal stay as they are.
void clearOwnDirs(const std::vector<std::string>& directories,
                  const std::vector<std::string>& storesInUse);

class JournalFile {
  public:
    enum class Opening {
        kOpened,
        kGone,
        kLive,     // its run is alive: it is locked
        kForeign,  // it does not count; `why` tells
        kFailed,   // it counts and cannot be opened; `error` tells
    };
    enum class Access { kRead, kChange };

    JournalFile();
    ~JournalFile();  // leaves the file as it is, without its lock
    JournalFile(const JournalFile&) = delete;
    JournalFile& operator=(const JournalFile&) = delete;

    // Makes and locks an empty journal under the first free number.
    [[nodiscard]] int create(const std::string& store);

    // Opens and locks one that a run has left. It counts when it is a regular file with one name
    // that belongs to the user or to root and that nobody else may write.
    [[nodiscard]] Opening open(const std::string& path, Access access);
    [[nodiscard]] const char* why() const { return why_; }
    [[nodiscard]] int error() const { return error_; }

    // All that it holds; at most `most` bytes, counted from the start.
    [[nodiscard]] int read(std::string& bytes) const;
    [[nodiscard]] int readStart(std::string& bytes, size_t most) const;

    // Tells, of an opened journal, how long its whole lines are: what follows them is a torn one.
    void endAt(size_t size) { hasTail_ = static_cast<off_t>(size) != size_; }

    // Appends whole lines in one write. After a failure the last of them that was begun may be
    // torn; the next call cancels it. Nothing is ever taken out of a journal, so that a line that
    // was begun goes on telling that the change before it was finished.
    [[nodiscard]] int append(const std::string& lines);

    // Deletes the file, or empties it where it cannot be deleted, so that it says nothing any more.
    // What made the deletion fail is left in `error`; the result is 0 all the same when it is
    // empty.
    [[nodiscard]] int remove();

    [[nodiscard]] bool isOpen() const { return fd_.isOpen(); }
    [[nodiscard]] const std::string& path() const { return path_; }
    // Whether that path leads to this very file.
    [[nodiscard]] bool isAt(const std::string& path) const;
    // When it was last written to, as it was opened.
    [[nodiscard]] const timespec& writtenAt() const { return writtenAt_; }
    // Whether there is a torn line behind the whole ones.
    [[nodiscard]] bool hasTail() const { return hasTail_; }

  private:
    static void closeAllInChild();
    [[nodiscard]] int createAs(const std::string& path);
    [[nodiscard]] Opening refuse(const char* why);
    [[nodiscard]] Opening fail(int error);
    [[nodiscard]] Opening lock();

    ScopedFd fd_;
    std::string path_;
    dev_t device_ = 0;
    ino_t inode_ = 0;
    off_t size_ = 0;  // as it was opened
    bool hasTail_ = false;
    timespec writtenAt_{};
    const char* why_ = "";
    int error_ = 0;
    // All objects of the process, for the child of a fork.
    JournalFile* next_ = nullptr;
    JournalFile** link_ = nullptr;
};
