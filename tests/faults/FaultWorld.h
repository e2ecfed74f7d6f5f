// One scenario on the disk: runs of the tool in it, with and without a call that fails, each from
// the same start.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "tests/faults/Fault.h"
#include "tests/faults/FaultScenario.h"
#include "tests/faults/SavedTree.h"

// What came of one run.
struct FaultRun {
    ChildResult child;
    std::optional<int> status;  // of VcResult.ini
    std::string log;            // all of it
    FaultTally tally = {};
};

class FaultWorld {
  public:
    // Lays the scenario out in a temporary directory, in memory where the system has such. The tool
    // is the built one, or the one that KV_FAULTS_TOOL names.
    explicit FaultWorld(const std::string& scenario);

    [[nodiscard]] const FaultScenario& scenario() const { return scenario_; }
    [[nodiscard]] const TreeFiles& start() const { return start_->files(); }
    [[nodiscard]] SavedTree now() const;

    // Puts everything back as it was before the run.
    void startAgain() const { start_->putBack(); }

    // The scenario's run, with this call failing, or with none but counted all the same.
    FaultRun run(const std::optional<Fault>& fault);

    // What a caller does afterwards, with no call failing and no agent stopping: stages the same
    // again and runs it, or rolls back. What the destinations hold then.
    FileContents repeat();
    FileContents rollBack();

  private:
    ChildResult runTool(const std::map<std::string, std::string>& environment);
    FileContents runAfterwards(const std::string& action);

    PatchScenario patch_;
    FaultScenario scenario_;
    TempTree tallyDir_;
    std::unique_ptr<SavedTree> start_;
};

// Chooses the temporary directory of this process: one in memory where it can be had and nobody
// asked for another.
void useMemoryForTemporaryFiles();
