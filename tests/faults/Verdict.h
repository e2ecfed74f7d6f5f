// What must hold after every run, whichever call failed in it.
#pragma once

#include <string>
#include <vector>

#include "tests/faults/Fault.h"
#include "tests/faults/FaultWorld.h"

// A rule that was broken, and how.
struct Breach {
    std::string verdict;
    std::string detail;
};

// What came of the run, from the outside.
enum class FaultOutcome {
    kDone,    // the destinations are as a success leaves them
    kUndone,  // they are as they were before
    kKept,    // neither
    kKilled   // the process was killed as asked
};

[[nodiscard]] const char* nameOf(FaultOutcome outcome);

struct Verdict {
    FaultOutcome outcome = FaultOutcome::kKept;
    std::vector<Breach> breaches;
};

// The verdicts by name:
//     crash       the process ended by a signal, unless it was to be killed
//     hang        it did not end in 20 seconds
//     outside     something was touched that is none of the run's business
//     status      the exit code or the status is none that exists; or a call that did only half of
//                 what it was asked for, which is no failure, changed what came of the run
//     in place    a success was told, and the destinations are not as they should be
//     go back     after a success a rollback has nothing to put back from
//     kept        a file that was there before is neither in place nor whole in the store
//     undone      one call failed, the run with it, and the destinations are not as they were
//     untold      one call made the run fail, or lose something, and no error of the log says why
[[nodiscard]] Verdict judgeRun(const FaultScenario& scenario, const Fault& fault,
                               const FaultRun& run, const TreeFiles& before, const TreeFiles& now);

// Of what a caller does afterwards, which is really done here:
//     repeat      the same once more, with nothing failing, does not end as it should
//     go back     a rollback does not give back what was there before
//     tidy        the store holds what no record names, after a killed run was repeated
// Leaves the world in any state.
[[nodiscard]] std::vector<Breach> judgeAfterwards(FaultWorld& world, const Fault& fault,
                                                  const FaultRun& run, const SavedTree& now);
