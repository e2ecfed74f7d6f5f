// What a round trip does: a tree, and the updates and rollbacks that it goes through, drawn at
// random from a start value. The same value draws the same on every platform.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "tests/run/TimedTree.h"

enum class PlannedAgent { kNone, kOld, kNew };

// Paths are relative to the scenario's directory, except those of staged files.
struct PlannedItem {
    unsigned itemClass = 0;
    unsigned type = 0;
    std::string destination;            // without a separator at its end
    bool isEndedWithSeparator = false;  // in the description
    std::string givenOrigin;            // versions as the description has them,
    std::string givenResult;
    std::string origin;  // and as the record has them
    std::string result;
    TimedTree staged;  // relative to the item's staging directory; for updates only
};

struct PlannedRun {
    bool isUpdate = true;
    unsigned interfaceVersion = 0;
    bool isAgentNamed = false;
    bool isBackupWanted = true;
    std::vector<PlannedItem> items;
    std::map<std::string, int> answers;     // of the agent about a file; all others it accepts
    std::map<unsigned, std::string> moved;  // where an old agent wants a class instead
    // The run, by its index, before which the tree was what it should be again after this one.
    std::optional<size_t> undoes;
};

struct RoundTripPlan {
    PlannedAgent agent = PlannedAgent::kNone;
    std::vector<std::string> directories;  // that exist from the beginning
    TimedTree files;                       // likewise
    std::vector<PlannedRun> runs;
};

// All that a round trip touches lies below this directory.
inline constexpr char kRoundTripDir[] = "dest";

[[nodiscard]] RoundTripPlan drawRoundTrip(unsigned startValue);

// Where an item's files go: the agent may send a class elsewhere, and of the old interface all
// items of a class go where the first one does.
[[nodiscard]] std::string placeOf(const PlannedRun& run, const PlannedItem& item);
