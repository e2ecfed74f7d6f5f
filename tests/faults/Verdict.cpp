#include "tests/faults/Verdict.h"

#include <algorithm>
#include <set>
#include <sstream>

namespace {

const std::set<int> kStatuses = {0, 1, 3, 4, 5, 12, 48, 57, 58, 60};

using Breaches = std::vector<Breach>;

constexpr size_t kShownContent = 40;

// The first path whose files differ, and how; "" when they are the same.
std::string firstDifference(const FileContents& expected, const FileContents& seen) {
    for (const auto& [path, content] : expected) {
        const auto found = seen.find(path);
        if (found == seen.end()) {
            return path + " is missing";
        }
        if (found->second != content) {
            const std::string line = found->second.substr(0, found->second.find('\n'));
            return path + " holds " + std::to_string(found->second.size()) +
                   " bytes: " + line.substr(0, kShownContent);
        }
    }
    for (const auto& file : seen) {
        if (expected.count(file.first) == 0) {
            return file.first + " should not be there";
        }
    }
    return "";
}

// Whether a record of one item says all that a rollback asks for, each once.
bool isIntact(const std::string& record) {
    for (const char* const key : {"itemcount=1\n", "patchagent.version=", "class=", "type=",
                                  "origin.version=", "result.version=", "written.filecount="}) {
        const size_t first = record.find(std::string("\n") + key);
        if (first == std::string::npos ||
            record.find(std::string("\n") + key, first + 1) != std::string::npos) {
            return false;
        }
    }
    return true;
}

// What the records name as the saved copies: by the path of the file, the path of its copy.
FileContents namedCopies(const TreeFiles& tree) {
    FileContents copies;
    for (const auto& [destination, store] : kItemStores) {
        const auto record = tree.find(destination + "VC_Backup/VcBackup.ini");
        if (record == tree.end() || !isIntact(record->second.content)) {
            continue;
        }
        std::istringstream lines(record->second.content);
        for (std::string line; std::getline(lines, line);) {
            const size_t name = line.find('=');
            const size_t target = line.find(", ");
            const size_t place = line.find("/" + destination);
            if (line.compare(0, 8, "written.") == 0 && place != std::string::npos) {
                copies[line.substr(place + 1)] = store + line.substr(name + 1, target - name - 1);
            }
        }
    }
    return copies;
}

// The replaced files of which the records name no whole copy.
FileContents filesWithoutCopy(const FaultScenario& scenario, const TreeFiles& tree) {
    FileContents lost;
    const FileContents named = namedCopies(tree);
    for (const auto& [path, content] : scenario.before) {
        const auto name = named.find(path);
        const auto copy = name != named.end() ? tree.find(name->second) : tree.end();
        if (scenario.after.at(path) != content &&
            (copy == tree.end() || copy->second.content != content)) {
            lost[path] = content;
        }
    }
    return lost;
}

std::string destinationOf(const std::string& path) {
    for (const auto& each : kItemStores) {
        if (path.compare(0, each.first.size(), each.first) == 0) {
            return each.first;
        }
    }
    return "";
}

bool hasFileOf(const FileContents& files, const std::string& destination) {
    const auto found = files.lower_bound(destination);
    return found != files.end() && destinationOf(found->first) == destination;
}

bool isSomewhere(const TreeFiles& tree, const std::string& content) {
    const auto holds = [&](const auto& file) { return file.second == content; };
    const FileContents installed = installedFiles(tree);
    const FileContents stored = storedFiles(tree);
    return std::any_of(installed.begin(), installed.end(), holds) ||
           std::any_of(stored.begin(), stored.end(), holds);
}

class Judge {
  public:
    Judge(const FaultScenario& scenario, const Fault& fault, const FaultRun& run,
          const TreeFiles& before, const TreeFiles& now)
        : scenario_(scenario),
          fault_(fault),
          run_(run),
          before_(before),
          now_(now),
          installed_(installedFiles(now)),
          isDone_(installed_ == scenario.after) {}

    Verdict run() {
        verdict_.outcome = outcome();
        judgeEnd();
        judgeOutside();
        if (claimsSuccess() || (isDone_ && !claimsFailure() && !fault_.isKill())) {
            judgeSuccess();
        } else {
            judgeFailure();
        }
        judgeShort();
        return verdict_;
    }

  private:
    void fail(const std::string& verdict, const std::string& detail) {
        verdict_.breaches.push_back({verdict, detail});
    }

    [[nodiscard]] bool isKilled() const { return fault_.isKill() && run_.child.signal != 0; }

    // Whether all that went wrong in the run is the one call that failed.
    [[nodiscard]] bool isSingle() const {
        return !fault_.isLasting() && !fault_.isKill() && scenario_.stopsAt == 0;
    }

    [[nodiscard]] FaultOutcome outcome() const {
        if (isKilled()) {
            return FaultOutcome::kKilled;
        }
        if (isDone_) {
            return FaultOutcome::kDone;
        }
        return installed_ == scenario_.before ? FaultOutcome::kUndone : FaultOutcome::kKept;
    }

    // A cached download is thrown away only after a success.
    [[nodiscard]] bool claimsSuccess() const {
        return run_.status ? *run_.status < 2
                           : scenario_.isUnattended && now_.count(kCachedFile) == 0;
    }

    [[nodiscard]] bool claimsFailure() const { return run_.status && *run_.status >= 2; }

    [[nodiscard]] bool tellsCause() const { return run_.log.find(" Cause: ") != std::string::npos; }

    void judgeEnd() {
        if (run_.child.timedOut) {
            fail("hang", "20 seconds");
        } else if (run_.child.signal != 0 && !isKilled()) {
            fail("crash", "signal " + std::to_string(run_.child.signal));
        } else if (!isKilled() && run_.child.exitCode != 0 && run_.child.exitCode != 1) {
            fail("status", "exit code " + std::to_string(run_.child.exitCode));
        }
        if (run_.status && kStatuses.count(*run_.status) == 0) {
            fail("status", "status " + std::to_string(*run_.status));
        }
    }

    void judgeOutside() {
        for (const auto& [path, file] : before_) {
            const auto found = now_.find(path);
            if (!scenario_.mayChange(path) && (found == now_.end() || !(found->second == file))) {
                fail("outside", path + (found == now_.end() ? " is gone" : " is changed"));
                return;
            }
        }
        for (const auto& file : now_) {
            if (before_.count(file.first) == 0 && !scenario_.mayChange(file.first)) {
                fail("outside", file.first + " is new");
                return;
            }
        }
    }

    void judgeSuccess() {
        if (!isDone_) {
            fail("in place", firstDifference(scenario_.after, installed_));
        } else if (!scenario_.isRollback) {
            judgeCopies();
        }
    }

    // Every replaced file has a copy that the record names. Where the record could not be written,
    // the copies must be there all the same, those that the former record names too, and the log
    // must say why.
    void judgeCopies() {
        const FileContents lost = filesWithoutCopy(scenario_, now_);
        for (const auto& [path, content] : lost) {
            if (!isSomewhere(now_, content)) {
                fail("go back", "no whole copy of " + path);
                return;
            }
        }
        for (const auto& [path, copy] : namedCopies(before_)) {
            const bool isRewritten = !hasFileOf(lost, destinationOf(path));
            if (!isRewritten && !isSomewhere(now_, before_.at(copy).content)) {
                fail("go back", "the former copy of " + path + " is lost");
                return;
            }
        }
        if (!lost.empty() && isSingle() && !tellsCause()) {
            fail("untold", "no record names a copy of " + lost.begin()->first);
        }
    }

    void judgeFailure() {
        judgeKept();
        const bool isUndone = installed_ == scenario_.before;
        if (isSingle() && !isUndone) {
            fail("undone", firstDifference(scenario_.before, installed_));
        }
        if (isSingle() && claimsFailure() && !tellsCause()) {
            fail("untold", "status " + std::to_string(*run_.status) + " without a cause");
        }
    }

    void judgeKept() {
        const bool isRolledBack = isDone_ && scenario_.isRollback && !claimsFailure();
        for (const auto& [path, content] : scenario_.before) {
            if (!isRolledBack && !isSomewhere(now_, content)) {
                fail("kept", path + " is lost");
                return;
            }
        }
        for (const auto& [path, copy] : namedCopies(before_)) {
            if (!isDone_ && !isSomewhere(now_, before_.at(copy).content)) {
                fail("kept", "the former copy of " + path + " is lost");
                return;
            }
        }
    }

    void judgeShort() {
        if (fault_.isShort() && !scenario_.isUnattended && run_.status != scenario_.status()) {
            fail("status", "status " + (run_.status ? std::to_string(*run_.status) : "none") +
                               " after half a call");
        }
    }

    const FaultScenario& scenario_;
    const Fault& fault_;
    const FaultRun& run_;
    const TreeFiles& before_;
    const TreeFiles& now_;
    FileContents installed_;
    bool isDone_;
    Verdict verdict_;
};

// A file of the stores that neither is a record nor is named by one; "" when there is none.
std::string untidy(const TreeFiles& tree) {
    std::set<std::string> named;
    for (const auto& copy : namedCopies(tree)) {
        named.insert(copy.second);
    }
    for (const auto& file : storedFiles(tree)) {
        const bool isRecord = file.first.find("/VcBackup.ini") != std::string::npos;
        if (!isRecord && named.count(file.first) == 0) {
            return file.first;
        }
    }
    return "";
}

// After a kill: the rollback gives back what was there before the run or, where the run had not got
// far, before the one ahead of it.
void judgeRollbackAfterKill(FaultWorld& world, const SavedTree& now, Breaches& breaches) {
    const FaultScenario& scenario = world.scenario();
    now.putBack();
    const FileContents seen = world.rollBack();
    if (seen != scenario.before && seen != scenario.older) {
        breaches.push_back({"go back", "killed: " + firstDifference(scenario.older, seen)});
    }
}

// The same once more; then, for an update, a rollback.
void judgeRepeat(FaultWorld& world, const Fault& fault, Breaches& breaches) {
    const FaultScenario& scenario = world.scenario();
    const FileContents repeated = world.repeat();
    if (repeated != scenario.after) {
        breaches.push_back({"repeat", firstDifference(scenario.after, repeated)});
        return;
    }
    const std::string stray = fault.isKill() ? untidy(world.now().files()) : "";
    if (!stray.empty()) {
        breaches.push_back({"tidy", stray});
    }
    if (scenario.isRollback) {
        return;
    }
    // What was finished already counts as a generation of its own.
    const FileContents seen = world.rollBack();
    if (seen != scenario.before && (!fault.isKill() || seen != scenario.after)) {
        breaches.push_back({"go back", "repeated: " + firstDifference(scenario.before, seen)});
    }
}

}  // namespace

const char* nameOf(FaultOutcome outcome) {
    switch (outcome) {
        case FaultOutcome::kDone:
            return "done";
        case FaultOutcome::kUndone:
            return "undone";
        case FaultOutcome::kKilled:
            return "killed";
        case FaultOutcome::kKept:
            break;
    }
    return "kept";
}

Verdict judgeRun(const FaultScenario& scenario, const Fault& fault, const FaultRun& run,
                 const TreeFiles& before, const TreeFiles& now) {
    return Judge(scenario, fault, run, before, now).run();
}

std::vector<Breach> judgeAfterwards(FaultWorld& world, const Fault& fault, const FaultRun& run,
                                    const SavedTree& now) {
    const FaultScenario& scenario = world.scenario();
    Breaches breaches;
    const bool isDone = installedFiles(now.files()) == scenario.after;
    if (fault.isKill() && run.child.signal != 0) {
        judgeRepeat(world, fault, breaches);
        if (!scenario.isRollback) {
            judgeRollbackAfterKill(world, now, breaches);
        }
    } else if (!isDone) {
        judgeRepeat(world, fault, breaches);
    } else if (!scenario.isRollback && filesWithoutCopy(scenario, now.files()).empty()) {
        const FileContents seen = world.rollBack();
        if (seen != scenario.before) {
            breaches.push_back({"go back", firstDifference(scenario.before, seen)});
        }
    }
    return breaches;
}
