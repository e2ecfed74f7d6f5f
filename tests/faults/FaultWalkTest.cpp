// Every call of the system fails once, in every kind of run: nothing is lost, nothing else is
// touched, and what the run tells is true.
//
// KV_FAULTS chooses what is walked, see FaultRequest; KV_FAULTS_REPORT names a file that takes a
// line for each run and each broken rule; KV_FAULTS_TOOL a tool other than the built one.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <map>

#include "tests/faults/FaultWorld.h"
#include "tests/faults/Verdict.h"

namespace {

// So many calls of each function does the sample let fail in each way.
constexpr uint64_t kSampleSize = 12;
// So many examples of each broken rule does a failing test show.
constexpr size_t kExamples = 3;

struct WalkCase {
    std::string scenario;
    std::string function;
};

void PrintTo(const WalkCase& each, std::ostream* out) {
    *out << each.scenario << "/" << each.function;
}

const char* requestText() {
    return std::getenv("KV_FAULTS");
}

FaultRequest request() {
    return FaultRequest::parse(requestText());
}

std::vector<WalkCase> walkCases() {
    std::vector<WalkCase> cases;
    const FaultRequest asked = request();
    if (!KV_FAULT_GATE && requestText() == nullptr) {
        return cases;
    }
    for (const std::string& scenario : scenarioNames()) {
        for (const std::string& function : faultFunctions()) {
            if (scenario == asked.scenario.value_or(scenario) &&
                function == asked.function.value_or(function)) {
                cases.push_back({scenario, function});
            }
        }
    }
    return cases;
}

void report(const std::string& line) {
    const char* const file = std::getenv("KV_FAULTS_REPORT");
    if (file != nullptr) {
        std::ofstream(file, std::ios::app) << line + "\n" << std::flush;
    }
}

class FaultWalk : public testing::TestWithParam<WalkCase> {
  protected:
    void SetUp() override {
        if (std::string(KV_FAULT_LIBRARY).empty()) {
            GTEST_SKIP() << "calls are made to fail only on Linux with the GNU C library, and not "
                            "in builds with sanitizers";
        }
        useMemoryForTemporaryFiles();
        world_ = std::make_unique<FaultWorld>(GetParam().scenario);
        world_->startAgain();
        expectedCalls_ = runUntouched().calls[tallyIndex(GetParam().function)];
    }

    void TearDown() override {
        for (const auto& [verdict, examples] : examples_) {
            ADD_FAILURE() << verdict << ": " << counts_[verdict] << " times\n" << examples;
        }
    }

    // Nothing fails: the scenario is what it says it is, and breaks no rule.
    FaultTally runUntouched() {
        const FaultRun run = world_->run(std::nullopt);
        const FaultScenario& scenario = world_->scenario();
        EXPECT_EQ(run.tally.armed, 1U);
        EXPECT_EQ(run.child.exitCode, 0);
        EXPECT_EQ(run.status,
                  scenario.isUnattended ? std::nullopt : std::optional<int>(scenario.status()));
        EXPECT_EQ(installedFiles(world_->now().files()),
                  scenario.stopsAt != 0 ? scenario.before : scenario.after);
        EXPECT_THAT(run.log, testing::Not(testing::HasSubstr(" Cause: ")));
        judge({GetParam().function, 0, "none"}, run);
        return run.tally;
    }

    // One run with this failure; false when the run makes no such call.
    bool let(const Fault& fault) {
        world_->startAgain();
        const FaultRun run = world_->run(fault);
        if (run.tally.struck != 0) {
            judge(fault, run);
        }
        return run.tally.struck != 0;
    }

    // What comes afterwards says nothing new of a run that has broken a rule itself.
    void judge(const Fault& fault, const FaultRun& run) {
        const SavedTree now = world_->now();
        Verdict verdict = judgeRun(world_->scenario(), fault, run, world_->start(), now.files());
        const bool isRight =
            std::all_of(verdict.breaches.begin(), verdict.breaches.end(),
                        [](const Breach& breach) { return breach.verdict == "untold"; });
        if (isRight && (request().isWhole || fault.isKill())) {
            for (const Breach& breach : judgeAfterwards(*world_, fault, run, now)) {
                verdict.breaches.push_back(breach);
            }
        }
        tell(fault, run, verdict.outcome, verdict.breaches, now.files());
    }

    void tell(const Fault& fault, const FaultRun& run, FaultOutcome outcome,
              const std::vector<Breach>& breaches, const TreeFiles& now) {
        const std::string name = world_->scenario().name + "/" + fault.text();
        report("run\t" + name + "\t" + nameOf(outcome) + "\t" + std::to_string(run.tally.struck));
        for (const Breach& breach : breaches) {
            report("breach\t" + name + "\t" + breach.verdict + "\t" + breach.detail);
            if (++counts_[breach.verdict] <= kExamples) {
                examples_[breach.verdict] += "    KV_FAULTS=" + name + "  " + breach.detail + "\n";
            }
        }
        if (request().number) {
            printf("%s: %s, status %d, signal %d\n%s\n", name.c_str(), nameOf(outcome),
                   run.status.value_or(-1), run.child.signal, run.log.c_str());
            showStores(now);
        }
    }

    static void showStores(const TreeFiles& tree) {
        for (const auto& [path, content] : storedFiles(tree)) {
            const bool isRecord = path.find(".ini") != std::string::npos;
            printf("%s: %zu bytes\n%s", path.c_str(), content.size(),
                   isRecord ? content.c_str() : "");
        }
    }

    void walk(const std::string& what) {
        const std::string& function = GetParam().function;
        if (request().number) {
            EXPECT_TRUE(let({function, *request().number, what})) << "there is no such call";
        } else if (request().isWhole) {
            for (uint64_t n = 1; let({function, n, what}); ++n) {
            }
        } else {
            const uint64_t stride = std::max<uint64_t>(1, expectedCalls_ / kSampleSize);
            for (uint64_t n = 1 + firstOf(what) % stride; n <= expectedCalls_; n += stride) {
                (void)let({function, n, what});
            }
        }
    }

    // Each scenario and each failure begins its sample elsewhere.
    [[nodiscard]] uint64_t firstOf(const std::string& what) const {
        uint64_t sum = 0;
        for (const char letter : GetParam().scenario + what) {
            sum = sum * 31 + static_cast<unsigned char>(letter);
        }
        return sum;
    }

  private:
    std::unique_ptr<FaultWorld> world_;
    uint64_t expectedCalls_ = 0;
    std::map<std::string, size_t> counts_;
    std::map<std::string, std::string> examples_;
};

TEST_P(FaultWalk, LosesNothing) {
    const FaultRequest asked = request();
    for (const std::string& what :
         asked.what ? std::vector<std::string>{*asked.what} : whatHappensTo(GetParam().function)) {
        walk(what);
    }
}

INSTANTIATE_TEST_SUITE_P(Each, FaultWalk, testing::ValuesIn(walkCases()), [](const auto& each) {
    return each.param.scenario + "_" + each.param.function;
});

// The walk stands still until KV_FAULT_GATE is on.
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(FaultWalk);

}  // namespace
