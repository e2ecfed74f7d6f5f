#include "journal/KvSettleRun.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "base/KvFailure.h"
#include "journal/KvSettleFile.h"

namespace {

constexpr char kNoCopy[] = "";

bool isBefore(const timespec& a, const timespec& b) {
    return a.tv_sec != b.tv_sec ? a.tv_sec < b.tv_sec : a.tv_nsec < b.tv_nsec;
}

const char* wordsFor(const SeenFile& seen) {
    switch (seen.kind) {
        case SeenFile::Kind::kMissing:
            return "Gone";
        case SeenFile::Kind::kDirectory:
            return "Is a directory now";
        case SeenFile::Kind::kOdd:
            return "Not a regular file any more";
        default:
            return "Changed by somebody else";
    }
}

bool isKnown(const RunFile& file, const SeenFile& seen) {
    return std::any_of(file.states.begin(), file.states.end(),
                       [&](const FileState& state) { return isSameState(seen.state, state); });
}

bool isPlain(const SeenFile& seen) {
    return seen.kind == SeenFile::Kind::kMissing || seen.kind == SeenFile::Kind::kFile;
}

class RunSettling {
  public:
    RunSettling(RunJournals& journals, SettleMode mode, SettleListener& listener)
        : journals_(journals), isReal_(mode == SettleMode::kSettle), listener_(listener) {}

    bool run();

  private:
    // False: the settling ends, and that is told.
    bool undo();
    bool putBackAll();
    bool settleFile(RunFile& file);
    bool removeAdded(RunFile& file, const SeenFile& seen);
    bool restoreRecord(RunFile& file, const SeenFile& seen);
    bool restoreFile(RunFile& file, const SeenFile& seen);
    bool copyBack(RunFile& file);
    bool passOver(RunFile& file, const char* reason);
    bool fail(const std::string& path, int error);
    bool write(size_t journal, const std::vector<JournalRecord>& records);
    bool writeUndone();
    bool refuseTakenName();
    bool isSavedBefore(const SavedCopy& copy) const;
    void deleteCopies();
    bool isOwnCopy(const SavedCopy& copy, const SeenFile& seen) const;
    void deleteCopy(const std::string& path);
    void removeDirs(const std::vector<std::string>& directories);
    bool removeJournals();
    void step() { listener_.beforeStep(); }
    void tell(SettleDeed deed, const std::string& path, const char* reason = nullptr,
              const std::string& copy = kNoCopy) {
        listener_.tell({deed, path.c_str(), reason, copy.c_str()});
    }

    RunJournals& journals_;
    bool isReal_;
    SettleListener& listener_;
    RunHistory history_;
};

bool RunSettling::fail(const std::string& path, int error) {
    tell(SettleDeed::kFailed, path, reasonOf(error));
    return false;
}

bool RunSettling::write(size_t journal, const std::vector<JournalRecord>& records) {
    if (!isReal_) {
        return true;
    }
    std::string lines;
    for (JournalRecord record : records) {
        record.number = ++history_.lastNumber;
        lines += journalLine(record);
    }
    step();
    JournalFile& file = journals_[journal]->file;
    const int error = file.append(lines);
    return error == 0 || fail(file.path(), error);
}

JournalRecord aboutChange(JournalKind kind, uint64_t change) {
    JournalRecord record;
    record.kind = kind;
    record.change = change;
    return record;
}

// The run chose a name for the saved copy and wrote it down; what bears that name was there before
// that line when the exclusive creation has failed or never came. It is not ours.
bool RunSettling::refuseTakenName() {
    const auto newest = std::find_if(history_.files.begin(), history_.files.end(),
                                     [](const RunFile& file) { return file.isInWork; });
    if (newest == history_.files.end() || newest->changes.back() != history_.lastNumber ||
        newest->copies.empty() || newest->copies.back().change != history_.lastNumber) {
        return true;
    }
    const JournalFile& journal = journals_[newest->journal]->file;
    const SavedCopy& copy = newest->copies.back();
    const SeenFile seen = lookAt(copy.path);
    const bool isOurs = seen.kind == SeenFile::Kind::kFile && !seen.isLink &&
                        !isBefore(seen.changedAt, journal.writtenAt()) && !isSavedBefore(copy);
    if (seen.kind == SeenFile::Kind::kMissing || isOurs || journal.hasTail()) {
        return true;
    }
    JournalRecord record = aboutChange(JournalKind::kVoid, history_.lastNumber);
    if (!write(newest->journal, {record})) {
        return false;
    }
    record.number = history_.lastNumber;
    journals_[newest->journal]->text.records.push_back(record);
    history_ = readHistory(journals_);
    return true;
}

// Whether an earlier change of the run has made the file of that name.
bool RunSettling::isSavedBefore(const SavedCopy& copy) const {
    for (const RunFile& file : history_.files) {
        for (const SavedCopy& other : file.copies) {
            if (other.change < copy.change && other.path == copy.path) {
                return true;
            }
        }
    }
    return false;
}

bool RunSettling::run() {
    history_ = readHistory(journals_);
    const bool isDone = history_.end == RunEnd::kDone;
    tell(isDone ? SettleDeed::kFinishRun : SettleDeed::kUndoRun, journals_.front()->file.path());
    if (isDone) {
        for (const std::string& path : history_.drops) {
            deleteCopy(path);
        }
    } else if (!undo()) {
        return false;
    }
    return removeJournals();
}

bool RunSettling::undo() {
    if (history_.end != RunEnd::kUndone &&
        (!refuseTakenName() || !putBackAll() || !writeUndone())) {
        return false;
    }
    deleteCopies();
    if (!history_.isEnded) {
        removeDirs(history_.dirs);
    }
    return true;
}

bool RunSettling::putBackAll() {
    for (RunFile& file : history_.files) {
        file.isKept = false;
        if ((!history_.isEnded || file.isStuck) && !settleFile(file)) {
            return false;
        }
    }
    return true;
}

bool RunSettling::passOver(RunFile& file, const char* reason) {
    file.isKept = true;
    tell(SettleDeed::kLeftAlone, file.target, reason, file.savedCopy);
    return true;
}

bool RunSettling::settleFile(RunFile& file) {
    const SeenFile seen = lookAt(file.target);
    if (seen.kind == SeenFile::Kind::kFailed) {
        return fail(file.target, seen.error);
    }
    if (!isPlain(seen)) {
        return passOver(file, wordsFor(seen));
    }
    if (file.isRecord) {
        return restoreRecord(file, seen);
    }
    return file.before.isThere ? restoreFile(file, seen) : removeAdded(file, seen);
}

bool RunSettling::removeAdded(RunFile& file, const SeenFile& seen) {
    if (seen.kind == SeenFile::Kind::kMissing) {
        return true;
    }
    if (seen.isLink || (!file.isInWork && !isKnown(file, seen))) {
        return passOver(file, wordsFor(seen));
    }
    if (isReal_) {
        step();
        if (unlink(file.target.c_str()) != 0 && errno != ENOENT) {
            return fail(file.target, errno);
        }
    }
    tell(SettleDeed::kRemoved, file.target);
    return true;
}

bool RunSettling::restoreRecord(RunFile& file, const SeenFile& seen) {
    if (!file.before.isThere) {
        return removeAdded(file, seen);
    }
    if (seen.isForeignLink) {
        return passOver(file, "Link of another user");
    }
    if (isSameState(seen.state, file.before) && holds(file.target, file.content)) {
        return true;
    }
    if (isReal_) {
        const int error = writeBack(file.content, file.target, file.before, [this] { step(); });
        if (error != 0) {
            return fail(file.target, error);
        }
    }
    tell(SettleDeed::kPutBack, file.target);
    return true;
}

bool RunSettling::restoreFile(RunFile& file, const SeenFile& seen) {
    const bool isBack = isSameState(seen.state, file.before);
    if (isBack && !file.isInWork && !file.hasTwin) {
        return true;
    }
    const bool isAsKnown = isKnown(file, seen);
    const bool isGone = seen.kind == SeenFile::Kind::kMissing;
    if (!isAsKnown && (!file.isInWork || isGone)) {
        return passOver(file, wordsFor(seen));
    }
    const SeenFile copy = lookAt(file.savedCopy);
    if (copy.kind == SeenFile::Kind::kFailed) {
        return fail(file.savedCopy, copy.error);
    }
    const bool isThere = copy.kind == SeenFile::Kind::kFile && !copy.isLink;
    if (!isThere || copy.state.size != file.before.size) {
        // Before its copy is whole the run does not touch a file.
        const bool isUntouched = isBack || file.isUnsaved;
        return isUntouched ||
               passOver(file, isThere ? "Its saved copy is not whole" : "Its saved copy is gone");
    }
    if (seen.isForeignLink && !isAsKnown) {
        return passOver(file, "Link of another user");
    }
    return copyBack(file);
}

bool RunSettling::copyBack(RunFile& file) {
    if (!write(file.journal, {aboutChange(JournalKind::kBack, file.changes.back())})) {
        return false;
    }
    if (isReal_) {
        bool isTimeSet = false;
        const int error =
            putBack(file.savedCopy, file.target, file.before, isTimeSet, [this] { step(); });
        if (error != 0) {
            return fail(file.target, error);
        }
        if (!isTimeSet) {
            JournalRecord gave = aboutChange(JournalKind::kGave, file.changes.back());
            gave.after = lookAt(file.target).state;
            if (!write(file.journal, {gave})) {
                return false;
            }
        }
    }
    tell(SettleDeed::kPutBack, file.target);
    return true;
}

bool RunSettling::writeUndone() {
    std::vector<JournalRecord> records;
    for (const RunFile& file : history_.files) {
        if (file.isKept) {
            records.push_back(aboutChange(JournalKind::kKeep, file.changes.front()));
        }
    }
    records.push_back(aboutChange(JournalKind::kUndone, 0));
    return write(0, records);
}

// Whether what bears the name is still what the run has saved. Only the copy in work may be short,
// or without its time.
bool RunSettling::isOwnCopy(const SavedCopy& copy, const SeenFile& seen) const {
    if (seen.kind != SeenFile::Kind::kFile || seen.isLink) {
        return false;
    }
    if (!copy.original.isThere) {
        return seen.state.size == 0;
    }
    return copy.change == history_.lastChange ? seen.state.size <= copy.original.size
                                              : isSameState(seen.state, copy.original);
}

void RunSettling::deleteCopies() {
    for (const RunFile& file : history_.files) {
        if (file.isKept || (history_.isEnded && !file.isStuck)) {
            continue;
        }
        for (const SavedCopy& copy : file.copies) {
            const SeenFile seen = lookAt(copy.path);
            if (seen.kind == SeenFile::Kind::kMissing) {
                continue;
            }
            if (isOwnCopy(copy, seen)) {
                deleteCopy(copy.path);
            } else {
                tell(SettleDeed::kNotDeleted, copy.path, "Not what the run has saved");
            }
        }
    }
}

void RunSettling::deleteCopy(const std::string& path) {
    if (!isReal_) {
        return;
    }
    step();
    // What has no use any more does not stop anybody.
    if (unlink(path.c_str()) != 0 && errno != ENOENT && errno != ENOTDIR) {
        tell(SettleDeed::kNotDeleted, path, reasonOf(errno));
    }
}

void RunSettling::removeDirs(const std::vector<std::string>& directories) {
    for (const std::string& directory : directories) {
        if (isReal_) {
            step();
            (void)rmdir(directory.c_str());  // one that is not empty stays
        }
    }
}

bool RunSettling::removeJournals() {
    if (!isReal_) {
        return true;
    }
    std::vector<std::string> inUse;
    for (const auto& journal : journals_) {
        inUse.push_back(journal->begin().path);
    }
    for (auto journal = journals_.rbegin(); journal != journals_.rend(); ++journal) {
        JournalFile& file = (*journal)->file;
        step();
        const int error = file.remove();
        if (error != 0) {
            return fail(file.path(), error);
        }
        if (file.error() != 0) {
            tell(SettleDeed::kNotDeleted, file.path(), reasonOf(file.error()));
        }
        inUse.pop_back();
        step();
        clearOwnDirs(history_.ownDirs, inUse);
    }
    return true;
}

}  // namespace

SettleResult settleRun(RunJournals& journals, SettleMode mode, SettleListener& listener) {
    return RunSettling(journals, mode, listener).run() ? SettleResult::kSettled
                                                       : SettleResult::kFailed;
}
