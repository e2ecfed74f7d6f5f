// Runs that are ended at each of their changes of the disk, and settlings that are ended in turn:
// what is left is the tree from before the run, or from behind it, name for name, with its times.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>

#include "journal/KvSettle.h"
#include "tests/journal/JournalledRun.h"
#include "tests/support/TempTree.h"

namespace {

constexpr time_t kOld = 1500000000;
constexpr time_t kNew = 1600000001;

class QuietListener : public SettleListener {
  public:
    explicit QuietListener(Steps* steps = nullptr) : steps_(steps) {}
    void tell(const SettleEvent& event) override {
        if (event.deed == SettleDeed::kLeftAlone || event.deed == SettleDeed::kNoJournal ||
            event.deed == SettleDeed::kFailed || event.deed == SettleDeed::kNotDeleted) {
            ADD_FAILURE() << event.path << ": " << (event.reason != nullptr ? event.reason : "");
        }
    }
    void beforeStep() override {
        if (steps_ != nullptr) {
            steps_->next();
        }
    }

  private:
    Steps* steps_;
};

using Body = std::function<void(const std::string& root, Steps& steps)>;

// All pairs of cuts take minutes: a sample of them, unless this variable is set.
int strideOf(int usual) {
    return getenv("KV_EVERY_CUT") != nullptr ? 1 : usual;
}

// What one kind of run begins with and does. The tree may be settled from any of its destinations.
struct Scenario {
    const char* name;
    std::function<void(const TempTree& tree)> setUp;
    Body run;
    std::vector<std::string> destinations;
};

void writeAt(const TempTree& tree, const std::string& name, const std::string& content,
             time_t time) {
    tree.write(name, content);
    tree.setTime(name, time);
}

void setUpProduct(const TempTree& tree) {
    writeAt(tree, "d/a", "old content of a", kOld);
    writeAt(tree, "d/b, \n ", "old b", kOld + 1);
    writeAt(tree, "d/empty", "", kOld);
    writeAt(tree, "d/twin", "1234", kNew);
}

void setUpSecond(const TempTree& tree) {
    setUpProduct(tree);
    writeAt(tree, "d/VC_Backup/VcBackup.ini", "written.0=backup.000, d/a\n", kOld + 2);
    writeAt(tree, "d/VC_Backup/3/backup.000", "a of the first generation", kOld - 5);
    writeAt(tree, "d/VC_Backup/3/backup.001", "somebody's", kOld);
}

void setUpTwo(const TempTree& tree) {
    setUpProduct(tree);
    writeAt(tree, "e/c", "old c", kOld);
    writeAt(tree, "d/inner/x", "old x", kOld);
    writeAt(tree, "e/VC_Backup/VcBackup.ini", "record of e", kOld);
}

const Scenario kScenarios[] = {
    {"FirstUpdate",
     setUpProduct,
     [](const std::string& root, Steps& steps) {
         JournalledRun run(root, steps);
         run.in("d")
             .makeDir("d/sub")
             .add("d/sub/n", "new file", kNew)
             .overwrite("d/a", "new a", kNew)
             .overwrite("d/b, \n ", "longer than the old b", kNew)
             .overwrite("d/empty", "not any more", kNew)
             .overwrite("d/twin", "abcd", kNew)
             .add("d/n", "n", kNew)
             .merge("the first record")
             .commit();
     },
     {"d"}},
    {"SecondUpdate",
     setUpSecond,
     [](const std::string& root, Steps& steps) {
         JournalledRun run(root, steps);
         run.in("d")
             .overwrite("d/a", "new a", kNew)
             .defer("d/b, \n ", "not written now", kNew)
             .overwrite("d/a", "once more, by another item", kNew + 1)
             .merge("a longer record than the one before")
             .drop("d/VC_Backup/3/backup.000")
             .commit();
     },
     {"d"}},
    {"Rollback",
     setUpSecond,
     [](const std::string& root, Steps& steps) {
         JournalledRun run(root, steps);
         run.in("d").remove("d/b, \n ");
         const std::string first = run.savedCopy();
         run.overwrite("d/a", "a of the first generation", kOld - 5);
         run.merge("short").drop(first).drop(run.savedCopy()).drop("d/VC_Backup/3/backup.000");
         run.commit();
     },
     {"d"}},
    {"SeveralStores",
     setUpTwo,
     [](const std::string& root, Steps& steps) {
         JournalledRun run(root, steps);
         run.in("d").overwrite("d/a", "new a", kNew).overwrite("d/inner/x", "x of d", kNew);
         run.in("e").overwrite("e/c", "new c", kNew).add("e/n", "n", kNew);
         run.in("d/inner").overwrite("d/inner/x", "x of the inner one", kNew + 1);
         run.in("d//").overwrite("d/empty", "full", kNew);
         run.in("d").merge("record of d");
         run.in("e").merge("new record of e");
         run.in("d/inner").merge("record of the inner one");
         run.commit();
     },
     {"e", "d"}},
    {"FailingUpdate",
     setUpSecond,
     [](const std::string& root, Steps& steps) {
         JournalledRun run(root, steps);
         run.in("d")
             .overwrite("d/a", "new a", kNew)
             .add("d/n", "n", kNew)
             .overwrite("d/b, \n ", "new b", kNew)
             .overwrite("d/empty", "x", kNew)
             .removeAdded("d/n")
             .putBack("d/a")
             .putBack("d/b, \n ")
             .putBack("d/empty")
             .endUndone();
     },
     {"d"}},
    {"FailingRollback",
     setUpSecond,
     [](const std::string& root, Steps& steps) {
         JournalledRun run(root, steps);
         run.in("d")
             .remove("d/b, \n ")
             .overwrite("d/a", "a of the first generation", kOld - 5)
             .putBack("d/b, \n ")
             .putBack("d/a")
             .endUndone();
     },
     {"d"}},
    {"NotPutBack",
     setUpSecond,
     [](const std::string& root, Steps& steps) {
         JournalledRun run(root, steps);
         run.in("d")
             .overwrite("d/a", "new a", kNew)
             .overwrite("d/b, \n ", "new b", kNew)
             .putBack("d/a", "d/a")
             .putBack("d/b, \n ")
             .endUndone();
     },
     {"d"}},
};

class KvSettleCutOff : public testing::TestWithParam<Scenario> {
  protected:
    // The tree of the scenario, in which the run has been ended before that step.
    struct CutTree {
        TempTree tree;
        bool isCut = false;
    };

    static std::unique_ptr<CutTree> cutAt(int step) {
        auto cut = std::make_unique<CutTree>();
        GetParam().setUp(cut->tree);
        cut->isCut = endsAt(step, [&](Steps& steps) { GetParam().run(cut->tree.path(), steps); });
        return cut;
    }

    static SettleResult settle(const TempTree& tree, SettleListener& listener,
                               SettleMode mode = SettleMode::kSettle) {
        std::vector<std::string> paths;
        std::vector<const char*> destinations;
        for (const std::string& name : GetParam().destinations) {
            paths.push_back(tree.path(name));
        }
        for (const std::string& path : paths) {
            destinations.push_back(path.c_str());
        }
        return settleCutOffRuns(destinations.data(), destinations.size(), mode, listener);
    }

    static TimedNames before() {
        const TempTree tree;
        GetParam().setUp(tree);
        return rooted(tree);
    }

    static TimedNames rooted(const TempTree& tree) { return timedNames(tree); }
};

TEST_P(KvSettleCutOff, LeavesTheFormerTreeOrTheNewOne) {
    const TimedNames former = before();
    int cuts = 0;
    for (int step = 1;; ++step) {
        SCOPED_TRACE(step);
        const auto cut = cutAt(step);
        QuietListener listener;
        const SettleResult result = settle(cut->tree, listener);
        EXPECT_NE(result, SettleResult::kFailed);
        if (!cut->isCut) {
            break;
        }
        ++cuts;
        EXPECT_EQ(timedNames(cut->tree), former);
        // Done twice it does the same as done once.
        EXPECT_EQ(settle(cut->tree, listener), SettleResult::kNothing);
        EXPECT_EQ(timedNames(cut->tree), former);
    }
    EXPECT_GT(cuts, 10);
}

TEST_P(KvSettleCutOff, CanBeCutOffItself) {
    const TimedNames former = before();
    for (int step = 1;; step += strideOf(4)) {
        bool isCut = false;
        for (int inner = 1 + step % strideOf(7);; inner += strideOf(7)) {
            SCOPED_TRACE(std::to_string(step) + ", " + std::to_string(inner));
            const auto cut = cutAt(step);
            isCut = cut->isCut;
            const auto settleCut = [&](Steps& steps) {
                QuietListener listener(&steps);
                (void)settle(cut->tree, listener);
            };
            const bool isEnded = isCut && endsAt(inner, settleCut);
            // And once more, a few steps later.
            if (isEnded) {
                (void)endsAt(inner / 2 + 2, settleCut);
            }
            QuietListener listener;
            EXPECT_NE(settle(cut->tree, listener), SettleResult::kFailed);
            if (isCut) {
                EXPECT_EQ(timedNames(cut->tree), former);
            }
            if (!isEnded || HasFailure()) {
                break;
            }
        }
        if (!isCut || HasFailure()) {
            break;
        }
    }
}

TEST_P(KvSettleCutOff, OnlyLookedAtStaysAsItIs) {
    for (int step = 1;; step += 3) {
        const auto cut = cutAt(step);
        if (!cut->isCut) {
            break;
        }
        const TimedNames left = timedNames(cut->tree);
        QuietListener listener;
        EXPECT_EQ(settle(cut->tree, listener, SettleMode::kLookOnly), SettleResult::kSettled);
        EXPECT_EQ(timedNames(cut->tree), left);
    }
}

INSTANTIATE_TEST_SUITE_P(Runs, KvSettleCutOff, testing::ValuesIn(kScenarios),
                         [](const auto& scenario) { return scenario.param.name; });

}  // namespace
