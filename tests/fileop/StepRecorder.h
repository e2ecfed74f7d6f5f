// Writes down every call that a tree operation makes to its callback, and answers as told.
//
// A step reads "before new s/a > d/a", "after make d/", "before visit-file s/a": when, what, the
// path and, for copies, the destination, both relative to the tree.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "fileop/KvFileOpUtil.h"
#include "tests/support/TempTree.h"

class StepRecorder {
  public:
    using Entry = KvFileOpUtil::CallbackEntry;

    explicit StepRecorder(const TempTree& tree) : prefix_(tree.path() + "/") {
        entry.cbSize = sizeof(entry);
        entry.userData = this;
    }

    static int callback(Entry* entry) {
        return static_cast<StepRecorder*>(entry->userData)->note(*entry);
    }

    Entry entry{};
    std::vector<std::string> steps;
    std::map<std::string, int> answers;                 // by step; kGoOn for all others
    std::function<void(const std::string&)> meanwhile;  // runs inside each call when set

  private:
    int note(const Entry& seen) {
        static const char* const kActions[] = {"new",    "over",      "delete",    "make",
                                               "remove", "visit-dir", "visit-file"};
        std::string step = seen.phase == KvFileOpUtil::kBefore ? "before " : "after ";
        step += seen.action < 7 ? kActions[seen.action] : "?";
        step += " " + relative(seen.path);
        if (seen.destination != nullptr) {
            step += " > " + relative(seen.destination);
        }
        steps.push_back(step);
        if (meanwhile) {
            meanwhile(step);
        }
        const auto answer = answers.find(step);
        return answer == answers.end() ? static_cast<int>(KvFileOpUtil::kGoOn) : answer->second;
    }

    [[nodiscard]] std::string relative(const std::string& path) const {
        if (path == prefix_) {
            return "./";
        }
        return path.rfind(prefix_, 0) == 0 ? path.substr(prefix_.size()) : path;
    }

    std::string prefix_;
};
