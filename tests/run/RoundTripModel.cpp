#include "tests/run/RoundTripModel.h"

#include <algorithm>

#include "fileop/KvDiskNames.h"
#include "tests/run/PatchScenario.h"

namespace {

constexpr int kStatusDone = 0;
constexpr int kStatusRestart = 1;
constexpr int kStatusAccess = 58;

constexpr int kLater = -2;
constexpr int kSkip = 0;
constexpr int kAccept = 1;

constexpr unsigned kBackupNames = 36 * 36 * 36;

std::string storeOf(const std::string& destination) {
    return destination + "/" + kBackupStoreName;
}

std::string recordOf(const std::string& destination) {
    return storeOf(destination) + "/" + kBackupRecordName;
}

std::string backupDirOf(const PlannedItem& item) {
    return storeOf(item.destination) + "/" + std::to_string(item.itemClass) + "/" +
           std::to_string(item.type) + "/";
}

std::string backupName(unsigned number) {
    const std::string digits = "0123456789abcdefghijklmnopqrstuvwxyz";
    return std::string(kBackupFilePrefix) + "." + digits[number / 1296] + digits[number / 36 % 36] +
           digits[number % 36];
}

std::string fileNameOf(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

// Whether the directory lies below the one that everything lies in, which itself is not listed.
bool isOfRoundTrip(const std::string& directory) {
    const std::string top = std::string(kRoundTripDir) + "/";
    return directory.size() > top.size() && directory.compare(0, top.size(), top) == 0;
}

// Whether the agent's answer in a rollback leaves the file where it is. One without meaning is
// taken as the one before it.
bool isLeftBy(int answer, bool wasLeft) {
    switch (answer) {
        case kSkip:
        case kLater:
            return true;
        case kAccept:
            return false;
        default:
            return wasLeft;
    }
}

// In the order seen, if that holds the same files.
void arrangeAs(const std::vector<std::string>& seen, std::vector<std::string>& files) {
    if (std::is_permutation(seen.begin(), seen.end(), files.begin(), files.end())) {
        files = seen;
    }
}

}  // namespace

int RoundTripModel::answerAbout(const PlannedRun& run, const std::string& path) const {
    const auto found = run.answers.find(path);
    return found == run.answers.end() ? kAccept : found->second;
}

ExpectedOutcome RoundTripModel::update(const PlannedRun& run, const TimedTree& seen) {
    deferred_.clear();
    std::vector<Done> all;
    for (const PlannedItem& item : run.items) {
        all.push_back(updateItem(run, item, seen));
    }
    if (run.isBackupWanted) {
        keep(run, all);
    } else {
        keepNothing(all);
    }
    std::sort(deferred_.begin(), deferred_.end());
    return {deferred_.empty() ? kStatusDone : kStatusRestart, deferred_};
}

RoundTripModel::Done RoundTripModel::updateItem(const PlannedRun& run, const PlannedItem& item,
                                                const TimedTree& seen) {
    Done done{&item, {item.itemClass, item.type, item.origin, item.result, {}, {}}};
    for (const auto& staged : item.staged) {
        addDirectories(placeOf(run, item) + "/" + staged.first);
    }
    ListedFiles files = changesOf(run, item);
    const auto record = seen.find(recordOf(item.destination));
    if (record != seen.end()) {
        const ListedFiles listed = listedFiles(record->second.content, item.itemClass, item.type);
        arrangeAs(listed.added, files.added);
        arrangeAs(listed.written, files.written);
    }
    for (const std::string& target : files.written) {
        replace(run, item, target, done.recorded);
    }
    const std::string place = placeOf(run, item) + "/";
    for (const std::string& path : files.added) {
        tree_[relative(path)] = item.staged.at(relative(path).substr(place.size())).copied();
    }
    done.recorded.added = files.added;
    return done;
}

// The files that the item's update adds and replaces, by absolute path.
ListedFiles RoundTripModel::changesOf(const PlannedRun& run, const PlannedItem& item) const {
    ListedFiles files;
    for (const auto& staged : item.staged) {
        const std::string path = placeOf(run, item) + "/" + staged.first;
        if (isDirectory(path) || answerAbout(run, path) == kSkip) {
            continue;
        }
        (tree_.count(path) == 0 ? files.added : files.written).push_back(absolute(path));
    }
    return files;
}

void RoundTripModel::replace(const PlannedRun& run, const PlannedItem& item,
                             const std::string& target, RecordedItem& recorded) {
    save(item, target, recorded);
    const std::string path = relative(target);
    const std::string staged = path.substr(placeOf(run, item).size() + 1);
    if (answerAbout(run, path) == kLater) {
        defer(absolute("staging/" + std::to_string(item.itemClass) + "/" +
                       std::to_string(item.type) + "/" + staged),
              target);
    } else {
        tree_[path] = item.staged.at(staged).copied();
    }
}

void RoundTripModel::keep(const PlannedRun& run, const std::vector<Done>& all) {
    const std::optional<std::string> agent =
        run.isAgentNamed ? std::optional<std::string>(agentFile_) : std::nullopt;
    std::string transaction;
    for (const auto& [item, recorded] : all) {
        RecordModel& record =
            records_.try_emplace(item->destination, run.interfaceVersion, agent).first->second;
        if (const RecordedItem* former = record.find(item->itemClass, item->type)) {
            removeBackups(*item, *former);
        }
        transaction = std::to_string(record.put(recorded)) + ", " + transaction;
    }
    if (run.interfaceVersion == 0) {
        records_.at(all.front().item->destination).setTransaction(transaction);
    }
    for (const Done& done : all) {
        writeRecord(done.item->destination);
    }
}

void RoundTripModel::keepNothing(const std::vector<Done>& all) {
    for (const auto& [item, recorded] : all) {
        removeBackups(*item, recorded);
        const auto record = records_.find(item->destination);
        const RecordedItem* former =
            record == records_.end() ? nullptr : record->second.find(item->itemClass, item->type);
        if (former == nullptr) {
            continue;
        }
        for (const std::string& added : former->added) {
            tree_.erase(backupDirOf(*item) + fileNameOf(added));
        }
        removeBackups(*item, *former);
        record->second.remove(item->itemClass, item->type);
        record->second.nameAgentInAnyCase();
        writeRecord(item->destination);
    }
}

ExpectedOutcome RoundTripModel::rollback(const PlannedRun& run) {
    deferred_.clear();
    putBack_.clear();
    std::vector<Done> all;
    for (auto item = run.items.rbegin(); item != run.items.rend(); ++item) {
        const auto record = records_.find(item->destination);
        const RecordedItem* recorded =
            record == records_.end() ? nullptr : record->second.find(item->itemClass, item->type);
        if (recorded == nullptr) {
            undo(all);
            return {kStatusAccess, {}};
        }
        all.push_back({&*item, {}});
        rollBackItem(run, *recorded, all.back());
    }
    forget(all);
    std::sort(deferred_.begin(), deferred_.end());
    return {deferred_.empty() ? kStatusDone : kStatusRestart, deferred_};
}

void RoundTripModel::rollBackItem(const PlannedRun& run, const RecordedItem& recorded, Done& done) {
    bool isLeft = false;
    for (const std::string& added : recorded.added) {
        save(*done.item, added, done.recorded);
        const int answer = answerAbout(run, relative(added));
        isLeft = isLeftBy(answer, isLeft);
        if (!isLeft) {
            tree_.erase(relative(added));
        } else if (answer == kLater) {
            defer("", added);
        }
    }
    for (const WrittenFile& file : recorded.written) {
        const std::string source = backupDirOf(*done.item) + file.backupName;
        save(*done.item, file.target, done.recorded);
        const int answer = answerAbout(run, relative(file.target));
        isLeft = isLeftBy(answer, isLeft);
        if (!isLeft) {
            // The saved file stays until all items are rolled back, but is put in place only once.
            const auto saved = tree_.find(source);
            if (saved != tree_.end() && putBack_.insert(source).second) {
                tree_[relative(file.target)] = saved->second.copied();
            }
        } else if (answer == kLater) {
            defer(absolute(source), file.target);
        }
    }
}

// A failed rollback puts back what was there before it: of several copies of one file the first one
// made. The saved files stay, so that the rollback can be repeated.
void RoundTripModel::undo(const std::vector<Done>& all) {
    std::set<std::string> restored;
    for (const auto& [item, recorded] : all) {
        for (const WrittenFile& file : recorded.written) {
            if (restored.insert(file.target).second) {
                tree_[relative(file.target)] =
                    tree_.at(backupDirOf(*item) + file.backupName).copied();
            }
        }
        removeBackups(*item, recorded);
    }
}

void RoundTripModel::forget(const std::vector<Done>& all) {
    for (const auto& [item, copies] : all) {
        RecordModel& record = records_.at(item->destination);
        removeBackups(*item, copies);
        removeBackups(*item, *record.find(item->itemClass, item->type));
        record.remove(item->itemClass, item->type);
        writeRecord(item->destination);
    }
}

// Keeps a copy of the file as it is.
void RoundTripModel::save(const PlannedItem& item, const std::string& target,
                          RecordedItem& recorded) {
    const std::string name = newBackup(item);
    const auto present = tree_.find(relative(target));
    tree_[backupDirOf(item) + name] =
        present == tree_.end() ? TimedFile{} : present->second.copied();
    recorded.written.push_back({name, target});
}

// The first name that neither a file has nor the record mentions.
std::string RoundTripModel::newBackup(const PlannedItem& item) {
    const std::string directory = backupDirOf(item);
    addDirectories(directory);
    const auto record = records_.find(item.destination);
    for (unsigned number = 0; number < kBackupNames; ++number) {
        const std::string name = backupName(number);
        const bool isMentioned = record != records_.end() && record->second.mentions(name);
        if (!isMentioned && tree_.count(directory + name) == 0) {
            return name;
        }
    }
    return "";
}

void RoundTripModel::removeBackups(const PlannedItem& item, const RecordedItem& recorded) {
    for (const WrittenFile& file : recorded.written) {
        tree_.erase(backupDirOf(item) + file.backupName);
    }
}

// Those that the path lies in, and itself if it ends with a separator.
void RoundTripModel::addDirectories(const std::string& path) {
    for (size_t end = path.find('/'); end != std::string::npos; end = path.find('/', end + 1)) {
        const std::string directory = path.substr(0, end + 1);
        if (isOfRoundTrip(directory)) {
            tree_[directory] = {};
        }
    }
}

void RoundTripModel::writeRecord(const std::string& destination) {
    const std::string path = recordOf(destination);
    addDirectories(path);
    tree_[path] = {records_.at(destination).text()};
}

void RoundTripModel::defer(const std::string& source, const std::string& target) {
    deferred_.push_back(deferredLine(source, target));
}
