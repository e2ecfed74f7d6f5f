// Joins must cost in proportion to the text, matching at most pattern times name.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "base/KvText.h"
#include "fileop/KvPath.h"

namespace {

// A base of n two-byte characters that end in the byte of a backslash.
void joinDoubleByte(benchmark::State& state) {
    std::string base = "/";
    for (int64_t i = 0; i < state.range(0); ++i) {
        base += "\x95\x5C";
    }
    std::vector<char> out(base.size() + 16);
    SetCurrentCharType(932);
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            CatURIWithPath(out.data(), static_cast<int>(out.size()), base.c_str(), "name.dat"));
    }
    SetCurrentCharType(0);
    state.SetComplexityN(state.range(0));
}
BENCHMARK(joinDoubleByte)->RangeMultiplier(16)->Range(16, 1 << 16)->Complexity(benchmark::oN);

void joinOrdinary(benchmark::State& state) {
    char out[kPathCapacity];
    const std::string base(static_cast<size_t>(state.range(0)), 'd');
    for (auto _ : state) {
        benchmark::DoNotOptimize(CatURIWithPath(out, sizeof out, base.c_str(), "name.dat"));
    }
}
BENCHMARK(joinOrdinary)->Arg(16)->Arg(100);

// n stars that all find their letter, and none the last one.
void matchManyStars(benchmark::State& state) {
    std::string pattern;
    for (int64_t i = 0; i < state.range(0); ++i) {
        pattern += "*a";
    }
    pattern += "*b";
    const std::string name(static_cast<size_t>(4 * state.range(0)), 'a');
    for (auto _ : state) {
        benchmark::DoNotOptimize(_fnmatch(pattern.c_str(), name.c_str()));
    }
    state.SetComplexityN(state.range(0));
}
BENCHMARK(matchManyStars)->RangeMultiplier(4)->Range(16, 4096)->Complexity(benchmark::oN);

}  // namespace
