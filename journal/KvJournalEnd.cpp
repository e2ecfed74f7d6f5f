// KvJournal: the end of a run.
#include <unistd.h>

#include <cerrno>
#include <new>
#include <utility>

#include "base/KvFailure.h"
#include "journal/KvJournal.h"

void KvJournal::willDrop(const char* savedCopy) {
    if (savedCopy == nullptr) {
        return;
    }
    try {
        Store* const store = current();
        std::string path = absolutePath(savedCopy);
        if (!isSavedCopyPath(path)) {
            return;
        }
        (store != nullptr ? store->drops : looseDrops_).push_back(std::move(path));
    } catch (const std::bad_alloc&) {
        // The copy stays; nothing names it any more.
        noteFailure(savedCopy, ENOMEM);
    }
}

// One line commits all stores. Each journal says itself what its store drops, and repeats the
// commitment for the case that the master's destination is taken away.
bool KvJournal::writeDone() {
    const KvFailureScope goesOn;
    JournalRecord done;
    done.kind = JournalKind::kDone;
    for (size_t i = stores_.size(); i-- > 0;) {
        Store& store = *stores_[i];
        std::string lines;
        for (const std::string& path : store.drops) {
            JournalRecord drop;
            drop.kind = JournalKind::kDrop;
            drop.number = number_++;
            drop.saved = path;
            lines += journalLine(drop);
        }
        if (i == 0) {
            done.number = number_++;
            lines += journalLine(done);
        }
        const bool isWritten = store.file.append(lines) == 0;
        // On a full disk there may be room for the one line.
        if (i == 0 && !isWritten && !write(store, done)) {
            return false;
        }
    }
    for (size_t i = 1; i < stores_.size(); ++i) {
        (void)write(*stores_[i], done);
    }
    return true;
}

std::vector<std::string> KvJournal::takeDrops() {
    std::vector<std::string> drops = std::move(looseDrops_);
    for (const auto& store : stores_) {
        drops.insert(drops.end(), store->drops.begin(), store->drops.end());
    }
    return drops;
}

std::vector<KvJournal::DropFailure> KvJournal::commit() {
    std::vector<DropFailure> failures;
    try {
        const std::vector<std::string> drops = takeDrops();
        const bool isDone = stores_.empty() || writeDone();
        if (!isDone) {
            // Without its last line the run is undone when it is cut off: while it needs its
            // copies.
            removeJournals();
        }
        for (const std::string& path : drops) {
            if (unlink(path.c_str()) != 0 && errno != ENOENT && errno != ENOTDIR) {
                failures.push_back({path, errno});
            }
        }
        removeJournals();
    } catch (const std::bad_alloc&) {
        noteFailure(destination_.c_str(), ENOMEM);
    }
    return failures;
}

void KvJournal::endUndone() {
    if (stores_.empty()) {
        return;
    }
    const KvFailureScope goesOn;
    try {
        JournalRecord end;
        end.kind = isStuck_ ? JournalKind::kEnded : JournalKind::kUndone;
        // Without the line the next run does all of it once more, with the same outcome.
        (void)write(*stores_.front(), end);
    } catch (const std::bad_alloc&) {
        // As for a line that cannot be written.
    }
    if (!isStuck_) {
        removeJournals();
    }
}

// The master last: it speaks for the others.
void KvJournal::removeJournals() {
    byDestination_.clear();
    changes_.clear();
    last_ = {0, nullptr};
    isEntered_ = false;
    while (!stores_.empty()) {
        // A journal that can be neither deleted nor emptied is settled by the next run.
        (void)stores_.back()->file.remove();
        stores_.pop_back();
        removeOwnDirs();
    }
}

void KvJournal::removeOwnDirs() {
    std::vector<std::string> inUse;
    inUse.reserve(stores_.size());
    for (const auto& store : stores_) {
        inUse.push_back(store->path);
    }
    clearOwnDirs(ownDirs_, inUse);
}
