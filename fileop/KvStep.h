// KvStep: how a tree operation asks its callback about one step after the other.
#pragma once

#include "fileop/KvFileOpUtil.h"

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
