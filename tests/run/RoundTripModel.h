// What updates and rollbacks should make of the destinations: every file with content and time, the
// backup stores and their records to the letter. A calculation of its own, without the tool's code.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "tests/run/RecordModel.h"
#include "tests/run/RoundTripPlan.h"
#include "tests/run/TimedTree.h"

struct ExpectedOutcome {
    int status = 0;
    std::vector<std::string> deferred;  // lines of the log, sorted
};

class RoundTripModel {
  public:
    // The scenario's directory, the agent's library and what the destinations hold now.
    RoundTripModel(std::string root, std::string agentFile, TimedTree now)
        : root_(std::move(root)), agentFile_(std::move(agentFile)), tree_(std::move(now)) {}

    // The files of an item are visited in the order in which the system lists them, which nobody
    // can know before: it is taken from what the records now hold. All the rest is not.
    ExpectedOutcome update(const PlannedRun& run, const TimedTree& seen);
    ExpectedOutcome rollback(const PlannedRun& run);

    [[nodiscard]] const TimedTree& tree() const { return tree_; }

  private:
    // What an item's update did, or the safety copies of its rollback.
    struct Done {
        const PlannedItem* item;
        RecordedItem recorded;
    };

    [[nodiscard]] std::string absolute(const std::string& path) const { return root_ + "/" + path; }
    [[nodiscard]] std::string relative(const std::string& path) const {
        return path.substr(root_.size() + 1);
    }
    [[nodiscard]] int answerAbout(const PlannedRun& run, const std::string& path) const;

    Done updateItem(const PlannedRun& run, const PlannedItem& item, const TimedTree& seen);
    [[nodiscard]] ListedFiles changesOf(const PlannedRun& run, const PlannedItem& item) const;
    void replace(const PlannedRun& run, const PlannedItem& item, const std::string& target,
                 RecordedItem& recorded);
    void keep(const PlannedRun& run, const std::vector<Done>& all);
    void keepNothing(const std::vector<Done>& all);

    void rollBackItem(const PlannedRun& run, const RecordedItem& recorded, Done& done);
    void save(const PlannedItem& item, const std::string& target, RecordedItem& recorded);
    void undo(const std::vector<Done>& all);
    void forget(const std::vector<Done>& all);

    std::string newBackup(const PlannedItem& item);
    void removeBackups(const PlannedItem& item, const RecordedItem& recorded);
    void addDirectories(const std::string& path);
    void writeRecord(const std::string& destination);
    void defer(const std::string& source, const std::string& target);

    std::string root_;
    std::string agentFile_;
    TimedTree tree_;
    std::map<std::string, RecordModel> records_;  // by destination
    std::vector<std::string> deferred_;           // of the run
    std::set<std::string> putBack_;               // saved files that this rollback has put in place
};
