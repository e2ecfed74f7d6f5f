// One file of a cut-off run: what it is now, and how it gets its former content back.
#pragma once

#include <ctime>
#include <functional>
#include <string>

#include "journal/KvJournalText.h"

struct SeenFile {
    enum class Kind {
        kMissing,
        kFile,
        kDirectory,
        kOdd,     // neither of these, or a link that leads nowhere
        kFailed,  // cannot be looked at; `error` tells
    };

    Kind kind = Kind::kMissing;
    FileState state;             // of a file; of what a link leads to
    bool isLink = false;         // the last place of the path is a link
    bool isForeignLink = false;  // that belongs to neither the user nor root
    timespec changedAt{};        // when its content or its entry last changed
    int error = 0;
};

[[nodiscard]] SeenFile lookAt(const std::string& path);

using BeforeStep = std::function<void()>;

// These write in place, so that the file keeps its owner, its permissions and its other names, or
// make it anew with the permissions of `former`; then it has the size and the time of `former`. 0,
// or an errno; what was written before an error stays. `isTimeSet`: whether the time could be
// given.
[[nodiscard]] int putBack(const std::string& copy, const std::string& target,
                          const FileState& former, bool& isTimeSet, const BeforeStep& before);
[[nodiscard]] int writeBack(const std::string& content, const std::string& target,
                            const FileState& former, const BeforeStep& before);

// Whether the file holds exactly these bytes.
[[nodiscard]] bool holds(const std::string& path, const std::string& content);
