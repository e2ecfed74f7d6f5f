// settleCutOffRuns: finds the journals and puts together whose run is whose.
#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <new>

#include "base/KvFailure.h"
#include "base/KvScoped.h"
#include "fileop/KvDiskNames.h"
#include "journal/KvJournal.h"
#include "journal/KvSettle.h"
#include "journal/KvSettleRun.h"

namespace {

using Opening = JournalFile::Opening;

std::string directoryOf(const std::string& path) {
    return path.substr(0, path.find_last_of('/'));
}

std::string pathIn(std::string directory, const std::string& name) {
    directory += '/';
    directory += name;
    return directory;
}

class Settling {
  public:
    Settling(SettleMode mode, SettleListener& listener) : mode_(mode), listener_(listener) {}

    // False when something that counts cannot be read; that is told.
    bool collect(const std::string& store);
    SettleResult settleAll();

  private:
    enum class Found { kGood, kNothing, kLive, kFailed };

    bool list(const std::string& store, std::vector<std::string>& names);
    Found open(const std::string& path, std::unique_ptr<OpenJournal>& journal);
    Found read(OpenJournal& journal);
    Found assemble(std::unique_ptr<OpenJournal> first, RunJournals& run);
    Found addMaster(RunJournals& run);
    Found addJoined(RunJournals& run);
    Found addFrom(const std::string& store, RunJournals& run);
    std::unique_ptr<OpenJournal> takeOpened(const std::string& path);
    Found noJournal(const std::string& path, const char* reason);
    Found fail(const std::string& path, int error);
    void clearMark(const std::string& store);
    void clearEmpty(OpenJournal& journal);
    void tell(SettleDeed deed, const std::string& path, const char* reason = nullptr) {
        listener_.tell({deed, path.c_str(), reason, ""});
    }

    SettleMode mode_;
    SettleListener& listener_;
    RunJournals opened_;
};

Settling::Found Settling::fail(const std::string& path, int error) {
    tell(SettleDeed::kFailed, path, reasonOf(error));
    return Found::kFailed;
}

Settling::Found Settling::noJournal(const std::string& path, const char* reason) {
    tell(SettleDeed::kNoJournal, path, reason);
    return Found::kNothing;
}

// What the run that made the store has not come to any more.
void Settling::clearMark(const std::string& store) {
    if (mode_ == SettleMode::kSettle && isMarkedStore(store)) {
        listener_.beforeStep();
        unmarkStore(store);
    }
}

// In the order of their names. False when the store is there and cannot be listed.
bool Settling::list(const std::string& store, std::vector<std::string>& names) {
    const ScopedDir dir(opendir(store.c_str()));
    if (!dir) {
        return errno == ENOENT || errno == ENOTDIR || fail(store, errno) == Found::kNothing;
    }
    errno = 0;
    while (const dirent* const entry = readdir(dir.get())) {
        if (isJournalName(entry->d_name)) {
            names.emplace_back(entry->d_name);
        }
        errno = 0;
    }
    if (errno != 0) {
        (void)fail(store, errno);
        return false;
    }
    std::sort(names.begin(), names.end());
    return true;
}

Settling::Found Settling::open(const std::string& path, std::unique_ptr<OpenJournal>& journal) {
    journal = std::make_unique<OpenJournal>();
    const auto access =
        mode_ == SettleMode::kSettle ? JournalFile::Access::kChange : JournalFile::Access::kRead;
    switch (journal->file.open(path, access)) {
        case Opening::kOpened:
            return read(*journal);
        case Opening::kGone:
            return Found::kNothing;
        case Opening::kLive:
            return Found::kLive;
        case Opening::kForeign:
            return noJournal(path, journal->file.why());
        default:
            return fail(path, journal->file.error());
    }
}

Settling::Found Settling::read(OpenJournal& journal) {
    const std::string& path = journal.file.path();
    std::string bytes;
    // What does not even begin like a journal is not read to its end, however long it is.
    int error = journal.file.readStart(bytes, sizeof kJournalStart - 1);
    if (error == 0 && bytes == kJournalStart) {
        error = journal.file.read(bytes);
    }
    if (error != 0) {
        return fail(path, error);
    }
    switch (parseJournal(bytes, journal.text)) {
        case JournalVerdict::kEmpty:
            clearEmpty(journal);
            return Found::kNothing;
        case JournalVerdict::kMalformed:
            return noJournal(
                path,
                ("Line " + std::to_string(journal.text.badLine) + " is none of a journal").c_str());
        default:
            break;
    }
    if (!isSameDir(journal.begin().path, directoryOf(path))) {
        return noJournal(path, "Belongs to another store");
    }
    journal.file.endAt(journal.text.wholeSize);
    return Found::kGood;
}

// Its run has not got as far as its first line.
void Settling::clearEmpty(OpenJournal& journal) {
    if (mode_ == SettleMode::kSettle) {
        listener_.beforeStep();
        (void)journal.file.remove();  // it says nothing, should it stay
        clearMark(directoryOf(journal.file.path()));
    }
}

bool Settling::collect(const std::string& store) {
    std::vector<std::string> names;
    if (!list(store, names)) {
        return false;
    }
    if (names.empty()) {
        clearMark(store);
    }
    for (const std::string& name : names) {
        const std::string path = pathIn(store, name);
        const bool isOpen = std::any_of(opened_.begin(), opened_.end(), [&](const auto& journal) {
            return journal->file.isAt(path);
        });
        if (isOpen) {
            continue;
        }
        std::unique_ptr<OpenJournal> journal;
        const Found found = open(path, journal);
        if (found == Found::kFailed) {
            return false;
        }
        if (found == Found::kLive) {
            tell(SettleDeed::kLiveRun, path);
        } else if (found == Found::kGood) {
            opened_.push_back(std::move(journal));
        }
    }
    return true;
}

std::unique_ptr<OpenJournal> Settling::takeOpened(const std::string& path) {
    const auto found = std::find_if(opened_.begin(), opened_.end(),
                                    [&](const auto& journal) { return journal->file.isAt(path); });
    if (found == opened_.end()) {
        return nullptr;
    }
    std::unique_ptr<OpenJournal> journal = std::move(*found);
    opened_.erase(found);
    return journal;
}

// A master that is gone, or that is another run's by now, leaves the word to the journal itself.
Settling::Found Settling::addMaster(RunJournals& run) {
    const JournalRecord& begin = run.front()->begin();
    if (begin.saved.empty()) {
        return Found::kGood;
    }
    std::unique_ptr<OpenJournal> master = takeOpened(begin.saved);
    Found found = Found::kGood;
    if (!master) {
        found = open(begin.saved, master);
    }
    if (found == Found::kGood && master->begin().content == begin.content &&
        master->begin().saved.empty()) {
        run.insert(run.begin(), std::move(master));
        return Found::kGood;
    }
    if (found == Found::kGood) {
        opened_.push_back(std::move(master));  // settled in its turn
    }
    return found == Found::kNothing ? Found::kGood : found;
}

Settling::Found Settling::addFrom(const std::string& store, RunJournals& run) {
    std::vector<std::string> names;
    if (!list(store, names)) {
        return Found::kFailed;
    }
    for (const std::string& name : names) {
        const std::string path = pathIn(store, name);
        const bool isIn = std::any_of(
            run.begin(), run.end(), [&](const auto& journal) { return journal->file.isAt(path); });
        if (isIn) {
            continue;
        }
        std::unique_ptr<OpenJournal> journal = takeOpened(path);
        const Found found = journal ? Found::kGood : open(path, journal);
        if (found == Found::kFailed) {
            return found;
        }
        if (found != Found::kGood) {
            continue;  // of a live run, and so none of this one, or no journal
        }
        if (journal->begin().content == run.front()->begin().content) {
            run.push_back(std::move(journal));
        } else {
            opened_.push_back(std::move(journal));
        }
    }
    return Found::kGood;
}

Settling::Found Settling::addJoined(RunJournals& run) {
    // The lines move when a journal is added.
    const std::vector<JournalRecord> records = run.front()->text.records;
    for (const JournalRecord& record : records) {
        const Found found =
            record.kind == JournalKind::kJoin ? addFrom(record.path, run) : Found::kGood;
        if (found != Found::kGood) {
            return found;
        }
    }
    return Found::kGood;
}

Settling::Found Settling::assemble(std::unique_ptr<OpenJournal> first, RunJournals& run) {
    run.push_back(std::move(first));
    const Found found = addMaster(run);
    return found == Found::kGood ? addJoined(run) : found;
}

// The latest run first: it has changed what the others have left.
SettleResult Settling::settleAll() {
    SettleResult result = SettleResult::kNothing;
    while (!opened_.empty()) {
        const auto latest = std::max_element(
            opened_.begin(), opened_.end(),
            [](const auto& a, const auto& b) { return a->begin().content < b->begin().content; });
        std::unique_ptr<OpenJournal> first = std::move(*latest);
        opened_.erase(latest);
        const std::string path = first->file.path();
        RunJournals run;
        switch (assemble(std::move(first), run)) {
            case Found::kLive:
                tell(SettleDeed::kLiveRun, path);
                continue;
            case Found::kFailed:
                return SettleResult::kFailed;
            default:
                break;
        }
        result = settleRun(run, mode_, listener_);
        if (result == SettleResult::kFailed) {
            return result;
        }
    }
    return result;
}

}  // namespace

SettleResult settleCutOffRuns(const char* const* destinations, size_t count, SettleMode mode,
                              SettleListener& listener) {
    try {
        Settling settling(mode, listener);
        for (size_t i = 0; i < count; ++i) {
            const std::string path =
                destinations[i] != nullptr ? absolutePath(destinations[i]) : std::string();
            if (!path.empty() && !settling.collect(path + "/" + kBackupStoreName)) {
                return SettleResult::kFailed;
            }
        }
        return settling.settleAll();
    } catch (const std::bad_alloc&) {
        listener.tell({SettleDeed::kFailed, kJournalPrefix, reasonOf(ENOMEM), ""});
        return SettleResult::kFailed;
    }
}
