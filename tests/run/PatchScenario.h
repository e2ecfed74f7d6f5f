// A whole run of the real binary: a directory of its own with an updater, a staging directory and
// destinations; an update or a rollback; and what came of it.
//
//     PatchScenario patch;
//     patch.destination().write("a.dat", "old");
//     patch.item(3, 5).stage("a.dat", "new").stage("b.dat", "more");
//     const RunOutcome run = patch.update();
//     EXPECT_EQ(run.status, 0);
//     EXPECT_EQ(patch.destination().read("b.dat"), "more");
//     EXPECT_THAT(run.log, LogHas({"Inf VcPatch end."}));
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tests/run/LogFile.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/LogMatchers.h"
#include "tests/support/ScriptedAgent.h"
#include "tests/support/TempTree.h"

using FileTree = std::map<std::string, std::string>;

// A run that a sanitizer complains about fails the test.
struct RunOutcome {
    int exitCode = -1;
    bool timedOut = false;
    std::optional<int> status;     // of the result file; empty when there is none
    std::vector<std::string> log;  // of this run alone, as LogMatchers.h writes lines
};

// What the log says of a file that waits for the restart.
[[nodiscard]] std::string deferredLine(const std::string& source, const std::string& target);

// A run that goes on beside the test.
struct RunningPatch {
    ChildProcess process;
    size_t logStart;  // what the log held before
};

// One item of the description and its staged files.
class ScenarioItem {
  public:
    ScenarioItem(const TempTree& tree, unsigned itemClass, unsigned type);

    // Stages a file at this path below the item's destination.
    ScenarioItem& stage(const std::string& name, const std::string& content);
    // A key of the item's section, in place of what it has by default.
    ScenarioItem& set(const std::string& key, const std::string& value);
    // Leaves the key out.
    ScenarioItem& unset(const std::string& key);
    // The destination, below the scenario's directory; "app" by default.
    ScenarioItem& to(const std::string& destination);
    ScenarioItem& versions(const std::string& origin, const std::string& result);

    // The staged files lie here.
    [[nodiscard]] std::string stagingDir() const;
    [[nodiscard]] std::string section(size_t index) const;

  private:
    const TempTree& tree_;
    std::string place_;  // below the staging directory
    std::map<std::string, std::string> keys_;
};

// The name of a saved file in a store, by its item and number: "3/5/000".
[[nodiscard]] std::string savedName(const std::string& number);

// A directory of the scenario, by name.
class ScenarioDir {
  public:
    ScenarioDir(const TempTree& tree, std::string name) : tree_(tree), name_(std::move(name)) {}

    [[nodiscard]] std::string path(const std::string& name = "") const;
    void write(const std::string& name, const std::string& content) const;
    [[nodiscard]] std::string read(const std::string& name) const;
    [[nodiscard]] bool has(const std::string& name) const;
    // All files and directories, without the backup store.
    [[nodiscard]] FileTree files() const;

    // The backup store that it has as a destination: alone, relative to it; its record; and its
    // saved files, each by its item and number: "3/5/000".
    [[nodiscard]] FileTree store() const;
    [[nodiscard]] std::string storePath(const std::string& name = "") const;
    [[nodiscard]] std::string record() const;
    [[nodiscard]] std::string recordPath() const;
    void writeRecord(const std::string& content) const;
    [[nodiscard]] bool hasSaved(const std::string& number) const;
    [[nodiscard]] std::string saved(const std::string& number) const;
    [[nodiscard]] std::string savedPath(const std::string& number) const;
    [[nodiscard]] time_t savedTime(const std::string& number) const;

  private:
    const TempTree& tree_;
    std::string name_;
};

class PatchScenario {
  public:
    // The updater lies in "vc", its binary too; the staging directory is "staging"; the destination
    // "app" exists and is empty.
    PatchScenario();

    [[nodiscard]] const TempTree& tree() const { return tree_; }
    [[nodiscard]] ScenarioDir destination(const std::string& name = "app") const;
    [[nodiscard]] ScenarioDir staging() const { return {tree_, "staging"}; }
    [[nodiscard]] ScenarioDir velocore() const { return {tree_, "vc"}; }
    // The name of the data directory that an updater with this root has; "" is the scenario's own.
    [[nodiscard]] static std::string dataDir(const std::string& root = "vc");
    // Where the staging directory of a failed run that nobody waits for is saved, and with which
    // name its description is then found there.
    [[nodiscard]] ScenarioDir saveDir(const std::string& dataDir = PatchScenario::dataDir()) const;
    [[nodiscard]] static std::string savedDescription();

    [[nodiscard]] std::string lockPath() const;
    [[nodiscard]] std::string resultPath() const;
    // What the result file holds; "" when there is none.
    [[nodiscard]] std::string result() const;

    // Adds an item to the description.
    ScenarioItem& item(unsigned itemClass, unsigned type);
    // A key of `[common]`, in place of what it has by default; `without` leaves it out.
    void set(const std::string& key, const std::string& value);
    void without(const std::string& key);
    // Lines behind the description: more sections.
    void append(const std::string& lines);
    // The configuration of the updater.
    void configure(const std::string& content) const;

    // Names an agent of this interface in the description; without one the tool's defaults stand
    // in.
    ScriptedAgent& agent(ScriptedAgent::Interface which);

    // Forgets items and staged files, the description's own keys and the result, as a downloader
    // does before it stages the next update. Destinations, agent and log stay.
    void clearStaging();

    // Writes the description and runs the binary with action 0 or 1.
    RunOutcome update();
    RunOutcome rollback();
    // The same with the `action` that was set, if any.
    RunOutcome run();
    // Runs the binary on arguments of one's own; nothing is written first.
    RunOutcome runWith(const std::vector<std::string>& arguments);

    // Writes the description for runs that do not do it themselves.
    void writeDescription() const;
    // Runs the binary on the staging directory as it is, beside the test; and waits for its end.
    [[nodiscard]] std::unique_ptr<RunningPatch> start();
    RunOutcome finish(RunningPatch& running);
    // What a run would execute.
    [[nodiscard]] ChildCommand command(const std::vector<std::string>& arguments) const;

    // From now on the binary runs in this directory; the scenario's own by default.
    void workIn(const std::string& directory) { workDir_ = directory; }

    // From now on the binary runs without privileges, as the owner of everything but itself: then
    // permissions count, even when the test is run by root.
    void asOrdinaryUser() { ordinary_ = true; }

    // All that was ever logged below this data directory.
    [[nodiscard]] std::vector<std::string> logIn(const std::string& dataDir) const;

  private:
    [[nodiscard]] std::unique_ptr<RunningPatch> start(const std::vector<std::string>& arguments);
    [[nodiscard]] std::string logText() const;
    void giveAway() const;

    TempTree tree_;
    std::map<std::string, std::string> common_;
    std::vector<std::unique_ptr<ScenarioItem>> items_;
    std::string appended_;
    std::unique_ptr<ScriptedAgent> agent_;
    std::string workDir_;
    bool ordinary_ = false;
};
