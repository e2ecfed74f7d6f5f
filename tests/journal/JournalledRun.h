// A run made of its single changes of the disk, in the order that journal/KvJournal.h describes,
// and what a tree looks like before and after it. Each change of the disk is a step, at which the
// run can be ended; what is written comes in two halves.
#pragma once

#include <sys/types.h>

#include <ctime>
#include <functional>
#include <map>
#include <string>

#include "journal/KvJournal.h"
#include "tests/support/TempTree.h"

// Ends what runs before the step of that number, from 1, by an exception: like a kill it leaves the
// disk as it is and all files closed.
class Steps {
  public:
    explicit Steps(int last) : left_(last) {}
    void next();

  private:
    int left_;
};

class JournalledRun {
  public:
    JournalledRun(const std::string& root, Steps& steps) : root_(root), steps_(steps) {}

    // A destination, below the root; the saved copies of its files go there from now on.
    JournalledRun& in(const std::string& destination);

    JournalledRun& makeDir(const std::string& name);
    JournalledRun& overwrite(const std::string& name, const std::string& content, time_t time);
    JournalledRun& add(const std::string& name, const std::string& content, time_t time);
    JournalledRun& remove(const std::string& name);
    // Saved, but left as it is.
    JournalledRun& defer(const std::string& name, const std::string& content, time_t time);
    JournalledRun& merge(const std::string& content);
    JournalledRun& drop(const std::string& savedCopy);
    void commit();

    // The run's own undoing, in the order of the changes; `stuck` cannot be put back.
    JournalledRun& putBack(const std::string& name, const std::string& stuck = "");
    JournalledRun& removeAdded(const std::string& name);
    void endUndone() { journal_.endUndone(); }

    // The saved copy that was made last, below the root.
    [[nodiscard]] const std::string& savedCopy() const { return saved_; }

  private:
    std::string save(const std::string& name, const FileState& after);
    void write(const std::string& path, int flags, mode_t mode, const std::string& content);
    [[nodiscard]] std::string path(const std::string& name) const { return root_ + "/" + name; }

    std::string root_;
    Steps& steps_;
    KvJournal journal_;
    std::string destination_;
    std::string saved_;
    std::map<std::string, std::string> copies_;
};

// Names, contents and times; a directory has neither.
using TimedNames = std::map<std::string, std::string>;
[[nodiscard]] TimedNames timedNames(const TempTree& tree);

// Runs `body`, which ends before the step of that number. Whether it came to that step.
[[nodiscard]] bool endsAt(int step, const std::function<void(Steps&)>& body);
