// An update of two items on two destinations that tests let fail: each item replaces a file, one in
// a subdirectory too, and adds one. What the destinations hold before and after.
#pragma once

#include <gtest/gtest.h>

#include <ctime>
#include <map>
#include <string>
#include <vector>

#include "tests/run/PatchScenario.h"

using FileTimes = std::map<std::string, time_t>;

inline constexpr time_t kLongAgo = 1000000000;

// What the update replaces, holding "old " and the name; what it puts there; and all that it
// touches.
inline const std::vector<std::string> kOldFiles = {"app/a.dat", "app/sub/b.dat", "lib/c.dat",
                                                   "lib/sub/d.dat"};
inline const std::vector<std::string> kNewContents = {"new a", "new b", "new c", "new d", "new"};
inline const std::vector<std::string> kTouchedFiles = {
    "app/a.dat", "app/sub/b.dat", "app/added.dat", "lib/c.dat", "lib/sub/d.dat", "lib/added.dat"};

// The contents and times of both destinations, the stores apart.
struct Destinations {
    explicit Destinations(const PatchScenario& patch);

    FileTree app;
    FileTree lib;
    FileTimes appTimes;
    FileTimes libTimes;
};

void planTwoItems(PatchScenario& patch);

// This content is somewhere, in a destination or in a store.
void expectKept(const PatchScenario& patch, const std::string& content);
// All that the update replaces is.
void expectOldFilesKept(const PatchScenario& patch);

void expectSame(const Destinations& before, const Destinations& after);

// No backup file is left behind, and no record was begun.
void expectEmptyStore(const ScenarioDir& dir);
