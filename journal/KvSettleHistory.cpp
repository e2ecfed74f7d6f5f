// readHistory.
#include <stdlib.h>

#include <algorithm>
#include <map>
#include <set>
#include <unordered_map>

#include "base/KvScoped.h"
#include "journal/KvSettleRun.h"

namespace {

struct Line {
    const JournalRecord* record;
    size_t journal;
};

// In the order in which the run has written them.
std::vector<Line> linesOf(const RunJournals& journals) {
    std::vector<Line> lines;
    for (size_t i = 0; i < journals.size(); ++i) {
        for (const JournalRecord& record : journals[i]->text.records) {
            lines.push_back({&record, i});
        }
    }
    std::stable_sort(lines.begin(), lines.end(), [](const Line& a, const Line& b) {
        return a.record->number < b.record->number;
    });
    return lines;
}

// One text for one file, however its directory was spelled.
class Spelling {
  public:
    std::string of(const std::string& path) {
        const size_t slash = path.find_last_of('/');
        const std::string parent = path.substr(0, slash + 1);
        auto known = parents_.find(parent);
        if (known == parents_.end()) {
            const ScopedHeap<char> real(realpath(parent.c_str(), nullptr));
            known = parents_.emplace(parent, real ? std::string(real.get()) + "/" : parent).first;
        }
        return known->second + path.substr(slash + 1);
    }

  private:
    std::unordered_map<std::string, std::string> parents_;
};

class HistoryReader {
  public:
    explicit HistoryReader(const RunJournals& journals) : lines_(linesOf(journals)) {}

    RunHistory read();

  private:
    void take(const Line& line);
    void takeChange(const Line& line);
    void takeNote(const JournalRecord& record);
    void takeEnd(const Line& line);
    RunFile* fileOf(uint64_t change);
    void markInWork();
    void finish();

    std::vector<Line> lines_;
    RunHistory history_;
    Spelling spelling_;
    std::unordered_map<std::string, size_t> byTarget_;
    std::unordered_map<uint64_t, size_t> byChange_;
    std::set<uint64_t> voided_;
    std::map<size_t, uint64_t> backs_;  // the latest `back` of a file
    uint64_t lastBack_ = 0;             // the change that it was about
    std::set<size_t> stuck_;
};

RunFile* HistoryReader::fileOf(uint64_t change) {
    const auto found = byChange_.find(change);
    return found != byChange_.end() ? &history_.files[found->second] : nullptr;
}

void HistoryReader::takeChange(const Line& line) {
    const JournalRecord& record = *line.record;
    history_.lastChange = record.number;
    if (voided_.count(record.number) > 0) {
        return;
    }
    const auto place =
        byTarget_.emplace(spelling_.of(record.path), history_.files.size()).first->second;
    if (place == history_.files.size()) {
        RunFile file;
        file.target = record.path;
        file.before = record.before;
        file.savedCopy = record.saved;
        file.content = record.content;
        file.isRecord = record.kind == JournalKind::kMerge;
        history_.files.push_back(std::move(file));
    }
    RunFile& file = history_.files[place];
    byChange_[record.number] = place;
    file.journal = line.journal;
    file.changes.push_back(record.number);
    file.states.push_back(record.before);
    if (file.isRecord) {
        return;
    }
    file.states.push_back(record.after);
    file.hasTwin = file.hasTwin || isSameState(record.after, file.before);
    if (!record.saved.empty()) {
        file.copies.push_back({record.saved, record.before, record.number});
    }
}

// A journal whose master is gone has only its own word about the end.
void HistoryReader::takeEnd(const Line& line) {
    if (line.journal != 0) {
        return;
    }
    switch (line.record->kind) {
        case JournalKind::kDone:
            history_.end = RunEnd::kDone;
            break;
        case JournalKind::kUndone:
            history_.end = RunEnd::kUndone;
            break;
        default:
            history_.end = RunEnd::kEnded;
            history_.isEnded = true;
            for (const size_t file : stuck_) {
                history_.files[file].isStuck = true;
            }
    }
}

// What is written about a change; one of another store may be missing with its journal.
void HistoryReader::takeNote(const JournalRecord& record) {
    const auto known = byChange_.find(record.change);
    if (known == byChange_.end()) {
        return;
    }
    const size_t place = known->second;
    switch (record.kind) {
        case JournalKind::kBack:
            lastBack_ = record.change;
            backs_[place] = record.number;
            stuck_.erase(place);
            break;
        case JournalKind::kGave:
            history_.files[place].states.push_back(record.after);
            stuck_.insert(place);
            break;
        case JournalKind::kKeep:
            history_.files[place].isKept = true;
            break;
        default:
            break;
    }
}

void HistoryReader::take(const Line& line) {
    const JournalRecord& record = *line.record;
    switch (record.kind) {
        case JournalKind::kOver:
        case JournalKind::kNew:
        case JournalKind::kDel:
        case JournalKind::kMerge:
            takeChange(line);
            break;
        case JournalKind::kOwn:
            history_.ownDirs.push_back(record.path);
            break;
        case JournalKind::kDir:
            history_.dirs.push_back(record.path);
            break;
        case JournalKind::kDrop:
            history_.drops.push_back(record.saved);
            break;
        case JournalKind::kDone:
        case JournalKind::kUndone:
        case JournalKind::kEnded:
            takeEnd(line);
            break;
        case JournalKind::kBegin:
        case JournalKind::kJoin:
            break;
        default:
            takeNote(record);
    }
}

// The last change, until it has been put back, and the last putting back.
void HistoryReader::markInWork() {
    const JournalRecord& last = *lines_.back().record;
    RunFile* const changed = fileOf(history_.lastChange);
    if (changed != nullptr) {
        const auto back = backs_.find(byChange_[history_.lastChange]);
        changed->isInWork = back == backs_.end() || back->second < history_.lastChange;
        changed->isUnsaved = last.number == history_.lastChange && changed->changes.size() == 1;
    }
    RunFile* const returning = fileOf(lastBack_);
    if (returning != nullptr) {
        returning->isInWork = true;
        returning->isReturning = true;
    }
    for (RunFile& file : history_.files) {
        file.isInWork = file.isInWork || file.isRecord;
    }
}

void HistoryReader::finish() {
    history_.lastNumber = lines_.back().record->number;
    std::sort(history_.files.begin(), history_.files.end(), [](const RunFile& a, const RunFile& b) {
        return a.isReturning != b.isReturning ? a.isReturning : a.changes.back() > b.changes.back();
    });
    std::stable_sort(
        history_.dirs.begin(), history_.dirs.end(),
        [](const std::string& a, const std::string& b) { return a.size() > b.size(); });
}

RunHistory HistoryReader::read() {
    for (const Line& line : lines_) {
        if (line.record->kind == JournalKind::kVoid) {
            voided_.insert(line.record->change);
        }
    }
    for (const Line& line : lines_) {
        take(line);
    }
    markInWork();
    finish();
    return std::move(history_);
}

}  // namespace

RunHistory readHistory(const RunJournals& journals) {
    return HistoryReader(journals).read();
}
