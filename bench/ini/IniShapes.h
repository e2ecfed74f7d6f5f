// The shapes of document that every benchmark runs through.
#pragma once

#include <benchmark/benchmark.h>

// {sections, keys per section}: a small document of either shape, and the very large ones that
// must cost the same for each key.
inline void allShapes(benchmark::internal::Benchmark* bench) {
    for (const auto& [sections, keys] : {std::pair<int, int>{1, 2000},
                                         {200, 10},
                                         {1, 20000},
                                         {2000, 10},
                                         {1, 200000},
                                         {20000, 10}}) {
        bench->Args({sections, keys});
    }
    bench->Unit(benchmark::kMicrosecond);
}

inline void countKeys(benchmark::State& state, int64_t keys) {
    state.counters["per_key"] =
        benchmark::Counter(static_cast<double>(state.iterations() * keys),
                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}
