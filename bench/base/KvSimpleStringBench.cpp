// Growth of strings and of lists of strings: the time of n appends must stay proportional to n.
#include <benchmark/benchmark.h>

#include "base/KvSimpleString.h"
#include "base/KvSimpleVector.h"

namespace {

void appendCharacters(benchmark::State& state) {
    for (auto _ : state) {
        KvSimpleString text;
        for (int64_t i = 0; i < state.range(0); ++i) {
            text += 'x';
        }
        benchmark::DoNotOptimize(text.c_str());
    }
    state.SetComplexityN(state.range(0));
}
BENCHMARK(appendCharacters)->RangeMultiplier(16)->Range(256, 1 << 20)->Complexity(benchmark::oN);

void appendLines(benchmark::State& state) {
    for (auto _ : state) {
        KvSimpleString text;
        for (int64_t i = 0; i < state.range(0); ++i) {
            text += "a line of the kind that a document is written back with\n";
        }
        benchmark::DoNotOptimize(text.c_str());
    }
    state.SetComplexityN(state.range(0));
}
BENCHMARK(appendLines)->RangeMultiplier(16)->Range(256, 1 << 16)->Complexity(benchmark::oN);

void pushStrings(benchmark::State& state) {
    for (auto _ : state) {
        KvSimpleStringVector list(0, 0);
        for (int64_t i = 0; i < state.range(0); ++i) {
            list.push_back("element");
        }
        benchmark::DoNotOptimize(list.size());
    }
    state.SetComplexityN(state.range(0));
}
BENCHMARK(pushStrings)->RangeMultiplier(16)->Range(256, 1 << 16)->Complexity(benchmark::oN);

}  // namespace
