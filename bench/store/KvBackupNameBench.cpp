// Handing out n names of a run, in one directory or in three in turn, against a record of as many
// entries, beside what the file system alone needs to make n files. The time of all must stay
// proportional to n.
#include <benchmark/benchmark.h>
#include <fcntl.h>

#include <memory>

#include "bench/store/BenchStore.h"

namespace {

constexpr int64_t kItems = 8;

void makeFilesAlone(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        auto store = std::make_unique<BenchStore>();
        const std::string directory = store->directory();
        state.ResumeTiming();
        for (int64_t i = 0; i < state.range(0); ++i) {
            const std::string path = directory + BenchStore::name(static_cast<uint64_t>(i));
            close(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0644));
        }
        state.PauseTiming();
        store.reset();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
    state.SetComplexityN(state.range(0));
}

void handOut(benchmark::State& state, int64_t directories) {
    for (auto _ : state) {
        state.PauseTiming();
        auto store = std::make_unique<BenchStore>();
        store->writeRecord(BenchStore::record(kItems, state.range(0) / kItems));
        char path[4096];
        state.ResumeTiming();
        BackupNames names;
        for (int64_t i = 0; i < state.range(0); ++i) {
            const std::string directory = store->directory() + std::to_string(i % directories);
            if (!names.make(directory.c_str(), path, sizeof path)) {
                state.SkipWithError("no name");
                break;
            }
        }
        state.PauseTiming();
        store.reset();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
    state.SetComplexityN(state.range(0));
}

void handOutNames(benchmark::State& state) {
    handOut(state, 1);
}

void handOutNamesInTurn(benchmark::State& state) {
    handOut(state, 3);
}

BENCHMARK(makeFilesAlone)
    ->Arg(400)
    ->Arg(4000)
    ->Arg(40000)
    ->Iterations(1)
    ->Complexity(benchmark::oN)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(handOutNames)
    ->Arg(400)
    ->Arg(4000)
    ->Arg(40000)
    ->Iterations(1)
    ->Complexity(benchmark::oN)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(handOutNamesInTurn)
    ->Arg(400)
    ->Arg(4000)
    ->Arg(40000)
    ->Iterations(1)
    ->Complexity(benchmark::oN)
    ->Unit(benchmark::kMillisecond);

}  // namespace
