// What the tree operations share: which entries they handle for one path (KvMatchList), and how
// they ask the callback about one step after the other (KvStep).
#pragma once

#include <optional>

#include "base/KvSimpleString.h"
#include "fileop/KvDirList.h"
#include "fileop/KvFileOpUtil.h"

// Whether a link to a directory is that directory.
enum class KvLinks {
    kFollowed,
    kAreEntries,  // no: it is an entry like a file
};

// Whether the path names a directory by that rule. One '/' at its end must have been removed where
// links are entries.
[[nodiscard]] bool isDirByRule(const KvSimpleString& path, KvLinks links);

// The entries of a `KvDirList` of the path, less the directories whose names do not match its
// filter. For a plainly named path that is no directory the only possible match is looked up
// instead: handling n named files of one directory costs n, not n times the listing. A listed
// directory that is gone when its turn comes is passed over.
class KvMatchList {
  public:
    // `path` has '/' as its only separator.
    KvMatchList(const KvSimpleString& path, KvLinks links);

    // Moves on to the next match (to the first at the first call); false when there is none.
    bool next();

    // Of the current match: the path with its directory part, the name alone, and whether it is a
    // directory now, told by its path.
    [[nodiscard]] const KvSimpleString& path() const { return path_; }
    [[nodiscard]] const KvSimpleString& name() const { return name_; }
    [[nodiscard]] bool isDir() const { return isDir_; }

    // 0 when all matches were handed out, otherwise the errno that ended the list early; it is
    // noted then (base/KvFailure.h).
    [[nodiscard]] int finish() const;

  private:
    void lookUp(const KvSimpleString& path);
    [[nodiscard]] bool isGone() const;

    KvLinks links_;
    int error_ = 0;
    KvSimpleString whole_;           // what the caller named
    std::optional<KvDirList> list_;  // absent where looking the name up told enough
    bool isFound_ = false;           // the named file was found and not yet handed out
    KvSimpleString path_;
    KvSimpleString name_;
    bool isDir_ = false;
};

// Borrows the callback and the entry of the operation; either may be null, and then nobody is asked
// and every step is done. Without a callback a given entry is filled all the same.
class KvStep {
  public:
    KvStep(KvFileOpUtil::Callback asked, KvFileOpUtil::CallbackEntry* record)
        : callback_(asked), entry_(record) {}

    // Whether anybody learns of the steps.
    [[nodiscard]] bool isWatched() const { return entry_ != nullptr; }

    // Starts a step: both texts must last until it is over.
    void begin(const char* path, const char* destination) const {
        if (entry_ != nullptr) {
            entry_->path = path;
            entry_->destination = destination;
            entry_->phase = KvFileOpUtil::kBefore;
        }
    }

    // The answer before the step, as it is: kGoOn, kSkip, or a value that stops the operation.
    [[nodiscard]] int before(KvFileOpUtil::Action action) const {
        if (entry_ != nullptr) {
            entry_->action = action;
        }
        return ask();
    }

    // Marks the step as tried, whether or not after() follows.
    void end() const {
        if (entry_ != nullptr) {
            entry_->phase = KvFileOpUtil::kAfter;
        }
    }

    // Ends the step with success: kDone, or a value that stops the operation.
    [[nodiscard]] int after() const {
        end();
        return resultOf(ask());
    }

    // What an answer makes of a step that the callback has let happen or left out.
    [[nodiscard]] static int resultOf(int answer) {
        const bool goesOn = answer == KvFileOpUtil::kGoOn || answer == KvFileOpUtil::kSkip;
        return goesOn ? static_cast<int>(KvFileOpUtil::kDone) : answer;
    }

    [[nodiscard]] KvFileOpUtil::Callback callback() const { return callback_; }
    [[nodiscard]] KvFileOpUtil::CallbackEntry* entry() const { return entry_; }

  private:
    [[nodiscard]] int ask() const {
        const bool somebody = callback_ != nullptr && entry_ != nullptr;
        return somebody ? callback_(entry_) : static_cast<int>(KvFileOpUtil::kGoOn);
    }

    KvFileOpUtil::Callback callback_;
    KvFileOpUtil::CallbackEntry* entry_;
};
