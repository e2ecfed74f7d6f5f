// Tree operations beside the system's own tools on the same tree, and their growth with the number
// of files in one directory.
#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <filesystem>
#include <string>

#include "bench/support/Pairs.h"
#include "bench/support/Workplace.h"
#include "fileop/KvFileOpUtil.h"

namespace fs = std::filesystem;

namespace {

void makeFlat(const std::string& dir, int64_t files) {
    fs::create_directories(dir);
    for (int64_t i = 0; i < files; ++i) {
        writeFile(dir + "/" + std::to_string(i), 0);
    }
}

void check(int result) {
    if (result != KvFileOpUtil::kDone) {
        abort();
    }
}

void xcopyBesideCp(benchmark::State& state) {
    const Workplace place;
    const std::string source = place.path("source");
    const std::string target = place.path("target");
    makeTree(source, state.range(0), state.range(1));
    const auto prepare = [&] { fs::create_directory(target); };
    const auto tidy = [&] { fs::remove_all(target); };
    const auto ours = [&] { check(KvFileOpUtil::xcopy(source.c_str(), target.c_str(), true)); };
    const auto theirs = [&] { runProgram({"cp", "-r", "--preserve=timestamps", source, target}); };
    comparePairs(state, {prepare, ours, tidy, RUSAGE_SELF},
                 {prepare, theirs, tidy, RUSAGE_CHILDREN});
}
BENCHMARK(xcopyBesideCp)
    ->ArgNames({"files", "KiB"})
    ->Args({16, 4})
    ->Args({2000, 4})
    ->Args({20000, 4})
    ->Args({4, 512 * 1024})
    ->Iterations(5)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

void xunlinkBesideRm(benchmark::State& state) {
    const Workplace place;
    const std::string target = place.path("target");
    const auto prepare = [&] { makeTree(target, state.range(0), state.range(1)); };
    const auto ours = [&] { check(KvFileOpUtil::xunlink(target.c_str())); };
    const auto theirs = [&] { runProgram({"rm", "-r", target}); };
    comparePairs(state, {prepare, ours, [] {}, RUSAGE_SELF},
                 {prepare, theirs, [] {}, RUSAGE_CHILDREN});
}
BENCHMARK(xunlinkBesideRm)
    ->ArgNames({"files", "KiB"})
    ->Args({16, 4})
    ->Args({2000, 4})
    ->Args({20000, 4})
    ->Iterations(5)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

// What the operations on all files of one directory cost, as a whole and name by name.
enum class Growth { kCopyTree, kDeleteTree, kDeleteByName, kMoveByName };

void operate(Growth growth, const std::string& from, const std::string& to, int64_t files) {
    if (growth == Growth::kCopyTree) {
        check(KvFileOpUtil::xcopy(from.c_str(), to.c_str(), true));
        return;
    }
    if (growth == Growth::kDeleteTree) {
        check(KvFileOpUtil::xunlink(from.c_str()));
        return;
    }
    for (int64_t i = 0; i < files; ++i) {
        const std::string file = from + "/" + std::to_string(i);
        check(growth == Growth::kDeleteByName ? KvFileOpUtil::xunlink(file.c_str())
                                              : KvFileOpUtil::move(file.c_str(), to.c_str(), true));
    }
}

void grow(benchmark::State& state, Growth growth) {
    const Workplace place;
    const std::string from = place.path("from");
    const std::string to = place.path("to");
    for (auto _ : state) {
        makeFlat(from, state.range(0));
        fs::create_directory(to);
        state.SetIterationTime(secondsOf([&] { operate(growth, from, to, state.range(0)); }));
        fs::remove_all(from);
        fs::remove_all(to);
    }
    state.counters["perFile"] = benchmark::Counter(
        static_cast<double>(state.range(0)),
        benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
    state.SetComplexityN(state.range(0));
}

void withGrowingDirectory(benchmark::internal::Benchmark* bench) {
    bench->Arg(16)->RangeMultiplier(4)->Range(1000, 64000)->UseManualTime()->Iterations(3);
    bench->Complexity(benchmark::oN)->Unit(benchmark::kMillisecond);
}
BENCHMARK_CAPTURE(grow, copyTree, Growth::kCopyTree)->Apply(withGrowingDirectory);
BENCHMARK_CAPTURE(grow, deleteTree, Growth::kDeleteTree)->Apply(withGrowingDirectory);
BENCHMARK_CAPTURE(grow, deleteByName, Growth::kDeleteByName)->Apply(withGrowingDirectory);
BENCHMARK_CAPTURE(grow, moveByName, Growth::kMoveByName)->Apply(withGrowingDirectory);

}  // namespace
