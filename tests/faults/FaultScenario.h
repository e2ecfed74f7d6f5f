// The runs in which calls are made to fail, and what each should do to two destinations,
// "site/app" and "site/lib". All names are relative to the scenario's directory.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "tests/faults/SavedTree.h"
#include "tests/run/PatchScenario.h"

using FileContents = std::map<std::string, std::string>;
using TreeFiles = std::map<std::string, SavedFile>;

// What a run should do, whatever fails.
struct FaultScenario {
    std::string name;
    bool isRollback = false;
    bool isUnattended = false;  // nobody waits for its status; it cleans up behind itself
    unsigned stopsAt = 0;       // the agent stops the run at this file; 0: it does not
    FileContents before;        // the files of both destinations, their stores apart
    FileContents after;         // the same after a success
    FileContents older;         // what a rollback before the run would have given; may be `before`

    // The status of the run when no call fails.
    [[nodiscard]] int status() const { return stopsAt != 0 ? 60 : 0; }
    // Whether the run may make, change or remove this file or directory at all.
    [[nodiscard]] bool mayChange(const std::string& path) const;
};

[[nodiscard]] const std::vector<std::string>& scenarioNames();

// Lays out what is there before the run of this name, with canaries beside every tree and in the
// working directory, and describes the run to `patch`.
[[nodiscard]] FaultScenario layOut(const std::string& name, PatchScenario& patch);

// The files of both destinations, their stores apart.
[[nodiscard]] FileContents installedFiles(const TreeFiles& tree);
// The files of both stores.
[[nodiscard]] FileContents storedFiles(const TreeFiles& tree);

// The runs are made here.
inline constexpr char kWorkingDir[] = "work";
// The tool itself, which no run changes.
inline constexpr char kToolFile[] = "vc/VcPatch";
inline constexpr char kCachedFile[] = "cache/sub/data.bin";
// Of the items that the runs install, below each destination.
inline const std::map<std::string, std::string> kItemStores = {
    {"site/app/", "site/app/VC_Backup/3/5/"}, {"site/lib/", "site/lib/VC_Backup/2/4/"}};
