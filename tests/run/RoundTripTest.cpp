// Round trips over random trees: updates and their rollbacks, by the real binary with real agents.
// After each run all files, their contents and times, the backup stores and the records are what a
// calculation of the test's own says; after a rollback the tree is what it was before the update.
//
// A failure names its start value. KV_ROUND_TRIP=<start value> runs that one alone, also one that
// is in no block.
#include <gtest/gtest.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <map>

#include "tests/run/PatchScenario.h"
#include "tests/run/RoundTripModel.h"
#include "tests/run/RoundTripPlan.h"
#include "tests/run/TimedTree.h"

namespace {

constexpr unsigned kBlock = 50;  // start values in a test
constexpr unsigned kBlocks = 12;

const std::map<unsigned, std::string> kPathEntries = {
    {1, "GetProductPath"}, {2, "GetEnginePath"}, {3, "GetPatternPath"}};

class RoundTripRun {
  public:
    explicit RoundTripRun(unsigned startValue);

    void run();

  private:
    void describe(const PlannedRun& run);
    void describeItem(const PlannedItem& item);
    void instruct(const PlannedRun& run);
    [[nodiscard]] TimedTree now() const { return readTimedTree(patch_.tree(), kRoundTripDir); }

    RoundTripPlan plan_;
    PatchScenario patch_;
    ScriptedAgent* agent_ = nullptr;
    std::vector<TimedTree> before_;  // each run, and after the last
};

RoundTripRun::RoundTripRun(unsigned startValue) : plan_(drawRoundTrip(startValue)) {
    for (const std::string& directory : plan_.directories) {
        patch_.tree().makeDir(directory);
    }
    for (const auto& [path, file] : plan_.files) {
        writeTimedFile(patch_.tree(), path, file);
    }
    if (plan_.agent != PlannedAgent::kNone) {
        agent_ = &patch_.agent(plan_.agent == PlannedAgent::kOld ? ScriptedAgent::kOld
                                                                 : ScriptedAgent::kNew);
    }
}

// What of a tree a rollback brings back: the files, to the second. Directories stay.
TimedTree restorable(const TimedTree& tree) {
    TimedTree files;
    for (const auto& [path, file] : tree) {
        if (!isDirectory(path) && !isInStore(path)) {
            files[path] = file.copied();
        }
    }
    return files;
}

void expectSame(const TimedTree& expected, const TimedTree& seen) {
    const std::string differences = difference(expected, seen);
    EXPECT_TRUE(differences.empty()) << differences;
}

std::vector<std::string> deferredOf(const RunOutcome& outcome) {
    std::vector<std::string> deferred;
    for (const std::string& line : outcome.log) {
        if (line.compare(0, 8, "Inf src[") == 0) {
            deferred.push_back(line);
        }
    }
    std::sort(deferred.begin(), deferred.end());
    return deferred;
}

void RoundTripRun::run() {
    RoundTripModel model(patch_.tree().path(), agent_ != nullptr ? agent_->path() : "", now());
    before_.push_back(model.tree());
    for (const PlannedRun& planned : plan_.runs) {
        SCOPED_TRACE("run " + std::to_string(before_.size()) +
                     (planned.isUpdate ? ", an update" : ", a rollback"));
        describe(planned);
        const RunOutcome outcome = planned.isUpdate ? patch_.update() : patch_.rollback();
        const TimedTree seen = now();
        before_.push_back(seen);
        const ExpectedOutcome expected =
            planned.isUpdate ? model.update(planned, seen) : model.rollback(planned);
        EXPECT_EQ(outcome.exitCode, 0);
        EXPECT_EQ(outcome.status, expected.status);
        EXPECT_EQ(deferredOf(outcome), expected.deferred);
        expectSame(model.tree(), seen);
        if (planned.undoes) {
            expectSame(restorable(before_.at(*planned.undoes)), restorable(seen));
        }
        if (testing::Test::HasFailure()) {
            return;
        }
    }
}

void RoundTripRun::describe(const PlannedRun& run) {
    patch_.clearStaging();
    for (const PlannedItem& item : run.items) {
        describeItem(item);
    }
    patch_.set("patchagent.version", std::to_string(run.interfaceVersion));
    if (!run.isBackupWanted) {
        patch_.set("backup", "0");
    }
    if (!run.isAgentNamed) {
        patch_.without("patchagent");
    } else {
        instruct(run);
    }
}

void RoundTripRun::describeItem(const PlannedItem& item) {
    const std::string destination =
        patch_.tree().path(item.destination) + (item.isEndedWithSeparator ? "/" : "");
    patch_.item(item.itemClass, item.type)
        .set("destination", destination)
        .versions(item.givenOrigin, item.givenResult);
    const std::string staging =
        "staging/" + std::to_string(item.itemClass) + "/" + std::to_string(item.type) + "/";
    for (const auto& [path, file] : item.staged) {
        if (isDirectory(path)) {
            patch_.tree().makeDir(staging + path);
        } else {
            writeTimedFile(patch_.tree(), staging + path, file);
        }
    }
}

// A path as a pattern that fits nothing else.
std::string patternOf(const std::string& path) {
    std::string pattern;
    for (const char each : path) {
        if (each == '[' || each == ']') {
            pattern += '\\';
        }
        pattern += each;
    }
    return pattern;
}

void RoundTripRun::instruct(const PlannedRun& run) {
    const std::string entry = run.interfaceVersion == 0 ? "CheckFile " : "CheckFileEx ";
    std::string rules;
    for (const auto& [path, answer] : run.answers) {
        rules +=
            entry + patternOf(patch_.tree().path(path)) + " = " + std::to_string(answer) + "\n";
    }
    for (const auto& [itemClass, place] : run.moved) {
        rules += kPathEntries.at(itemClass) + " = " + patch_.tree().path(place) + "\n";
    }
    agent_->forgetScript();
    agent_->script(rules);
}

// The start values that one test runs; none where KV_ROUND_TRIP names no start value.
struct StartValues {
    unsigned first;
    unsigned count;
};

void PrintTo(const StartValues& values, std::ostream* out) {
    *out << values.count << " from " << values.first;
}

StartValues startValueNamed(const char* text) {
    unsigned value = 0;
    const char* const end = text + strlen(text);
    const auto [rest, error] = std::from_chars(text, end, value);
    return {value, error == std::errc() && rest == end ? 1U : 0U};
}

std::vector<StartValues> startValuesToRun() {
    if (const char* const only = std::getenv("KV_ROUND_TRIP")) {
        return {startValueNamed(only)};
    }
    std::vector<StartValues> blocks;
    for (unsigned block = 0; block < kBlocks; ++block) {
        blocks.push_back({block * kBlock, kBlock});
    }
    return blocks;
}

class RoundTrip : public testing::TestWithParam<StartValues> {};

TEST_P(RoundTrip, LeadsBackToTheFirstTree) {
    const auto [first, count] = GetParam();
    ASSERT_GT(count, 0U) << "KV_ROUND_TRIP must be a number";
    for (unsigned i = 0; i < count; ++i) {
        const unsigned value = first + i;
        SCOPED_TRACE("KV_ROUND_TRIP=" + std::to_string(value) + " runs this start value alone");
        RoundTripRun(value).run();
        if (HasFailure()) {
            return;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Block, RoundTrip, testing::ValuesIn(startValuesToRun()));

template <class Predicate>
bool hasRun(const RoundTripPlan& plan, Predicate isSuch) {
    return std::any_of(plan.runs.begin(), plan.runs.end(), isSuch);
}

struct Trait {
    const char* name;
    bool (*isIn)(const RoundTripPlan& plan);
};

const Trait kTraits[] = {
    {"no agent", [](const RoundTripPlan& plan) { return plan.agent == PlannedAgent::kNone; }},
    {"an old agent", [](const RoundTripPlan& plan) { return plan.agent == PlannedAgent::kOld; }},
    {"a new agent", [](const RoundTripPlan& plan) { return plan.agent == PlannedAgent::kNew; }},
    {"several destinations",
     [](const RoundTripPlan& plan) { return plan.directories.size() >= 3; }},
    {"several items",
     [](const RoundTripPlan& plan) { return plan.runs.front().items.size() >= 3; }},
    {"two updates before the rollback",
     [](const RoundTripPlan& plan) { return plan.runs.size() >= 3 && plan.runs[1].isUpdate; }},
    {"an update after the rollback",
     [](const RoundTripPlan& plan) { return plan.runs.size() >= 4 && plan.runs[3].isUpdate; }},
    {"a second rollback",
     [](const RoundTripPlan& plan) { return plan.runs.size() == 4 && !plan.runs[3].isUpdate; }},
    {"a rollback to the first tree",
     [](const RoundTripPlan& plan) {
         return hasRun(plan, [](const PlannedRun& run) { return run.undoes.has_value(); });
     }},
    {"an update without a backup",
     [](const RoundTripPlan& plan) {
         return hasRun(plan, [](const PlannedRun& run) { return !run.isBackupWanted; });
     }},
    {"an item that no record knows",
     [](const RoundTripPlan& plan) {
         return plan.runs.back().items.size() > plan.runs.front().items.size();
     }},
    {"a class that goes elsewhere",
     [](const RoundTripPlan& plan) {
         return hasRun(plan, [](const PlannedRun& run) { return !run.moved.empty(); });
     }},
    {"an update that some files are left out of",
     [](const RoundTripPlan& plan) {
         return hasRun(plan,
                       [](const PlannedRun& run) { return run.isUpdate && !run.answers.empty(); });
     }},
    {"a rollback that some files are left out of",
     [](const RoundTripPlan& plan) {
         return hasRun(plan,
                       [](const PlannedRun& run) { return !run.isUpdate && !run.answers.empty(); });
     }},
};

TEST(RoundTripPlans, HaveSomeOfEverything) {
    std::map<std::string, int> counts;
    for (unsigned value = 0; value < kBlocks * kBlock; ++value) {
        const RoundTripPlan plan = drawRoundTrip(value);
        for (const Trait& trait : kTraits) {
            counts[trait.name] += trait.isIn(plan) ? 1 : 0;
        }
    }
    for (const auto& [name, count] : counts) {
        EXPECT_GE(count, 20) << name;
    }
}

}  // namespace
