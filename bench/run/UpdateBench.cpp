// A whole update by the built binary, with its default log, beside what one would do by hand, and
// its growth with the number of files.
//
// The first generation of an update finds no backup store; the second one replaces a generation.
// Every file of the update replaces one.
#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>

#include "bench/support/Pairs.h"
#include "bench/support/Workplace.h"
#include "fileop/KvDiskNames.h"

namespace fs = std::filesystem;

namespace {

// A staged update and the product that it is for.
class UpdatePlace {
  public:
    UpdatePlace(int64_t files, int64_t kibibytes) {
        fs::create_directories(place_.path("vc"));
        makeTree(staged(), files, kibibytes);
        makeTree(place_.path("old"), files, kibibytes);
        std::ofstream(staging(kDescriptionName))
            << "[common]\nitemcount=1\npatchagent.version=1\naction=0\nvelocore_path="
            << place_.path("vc") << "\n[item_0]\nclass=3\ntype=5\norigin.version=1\n"
            << "result.version=2\ndestination=" << product() << "\n";
    }

    [[nodiscard]] std::string product() const { return place_.path("product"); }
    [[nodiscard]] std::string staged() const { return place_.path("staging/3/5"); }

    // The product as it was before any update.
    void install() const { fs::copy(place_.path("old"), product(), fs::copy_options::recursive); }

    void update() const {
        runProgram({KV_VCPATCH, place_.path("staging")});
        std::string result;
        std::ifstream(staging(kResultName)) >> result;
        if (result != "result=0") {
            abort();
        }
    }

    void copyByHand() {
        runProgram({"cp", "-r", "--preserve=timestamps", product(), aside()});
        runProgram({"cp", "-r", "--preserve=timestamps", staged() + "/.", product()});
    }

    void synchronize() {
        runProgram({"rsync", "-rt", "--inplace", "--whole-file", "--ignore-times", "--backup",
                    "--backup-dir=" + aside(), staged() + "/", product()});
    }

    void clear() const {
        fs::remove_all(product());
        fs::remove_all(place_.path(std::string("vc/") + kDataDirName));
        fs::remove_all(place_.path("aside"));
        fs::create_directory(place_.path("aside"));
    }

  private:
    [[nodiscard]] std::string staging(const std::string& name) const {
        return place_.path("staging/" + name);
    }
    [[nodiscard]] std::string aside() { return place_.path("aside/" + std::to_string(++copies_)); }

    Workplace place_;
    int copies_ = 0;
};

// A side and the generation that it finds, which it has made itself.
Side sideOf(UpdatePlace& place, int64_t generation, const std::function<void()>& work) {
    const auto prepare = [&place, generation, work] {
        place.clear();
        place.install();
        for (int64_t made = 1; made < generation; ++made) {
            work();
        }
    };
    return {prepare, work, [] {}, RUSAGE_CHILDREN};
}

void compareUpdates(benchmark::State& state, void (UpdatePlace::*byHand)()) {
    UpdatePlace place(state.range(0), state.range(1));
    const int64_t generation = state.range(2);
    comparePairs(state, sideOf(place, generation, [&] { place.update(); }),
                 sideOf(place, generation, [&] { (place.*byHand)(); }));
}

void besideCp(benchmark::State& state) {
    compareUpdates(state, &UpdatePlace::copyByHand);
}

void besideRsync(benchmark::State& state) {
    if (system("command -v rsync > /dev/null") != 0) {  // NOLINT: asks the shell, as a user would
        state.SkipWithError("rsync is not installed");
        return;
    }
    compareUpdates(state, &UpdatePlace::synchronize);
}

void withBothGenerations(benchmark::internal::Benchmark* bench) {
    bench->ArgNames({"files", "KiB", "generation"})->UseManualTime()->Iterations(7);
    for (const int64_t generation : {1, 2}) {
        bench->Args({16, 4, generation});
        bench->Args({10000, 4, generation});
        bench->Args({4, int64_t{256} * 1024, generation});
    }
    bench->Unit(benchmark::kMillisecond);
}
BENCHMARK(besideCp)->Apply(withBothGenerations);
BENCHMARK(besideRsync)->Apply(withBothGenerations);

void grow(benchmark::State& state) {
    UpdatePlace place(state.range(0), 4);
    // The first generation: two of 40,000 files need more names than a backup directory has.
    const Side side = sideOf(place, 1, [&] { place.update(); });
    for (auto _ : state) {
        side.prepare();
        state.SetIterationTime(secondsOf(side.work));
    }
    state.counters["perFile"] = benchmark::Counter(
        static_cast<double>(state.range(0)),
        benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}
BENCHMARK(grow)
    ->ArgName("files")
    ->Arg(16)
    ->Arg(1000)
    ->Arg(5000)
    ->Arg(20000)
    ->Arg(40000)
    ->UseManualTime()
    ->Iterations(5)
    ->Unit(benchmark::kMillisecond);

}  // namespace
