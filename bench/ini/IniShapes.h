// The shapes of document that every benchmark runs through.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <utility>

#ifdef __GLIBC__
#include <malloc.h>
#endif

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

// Bytes of the heap in use, where the C library tells; else 0.
inline double heapInUse() {
#ifdef __GLIBC__
    const struct mallinfo2 heap = mallinfo2();
    return static_cast<double>(heap.uordblks + heap.hblkhd);
#else
    return 0;
#endif
}

// Shows what the heap has gained since `before` for each key.
inline void countBytes(benchmark::State& state, double before, int64_t keys) {
    state.counters["bytes_per_key"] = (heapInUse() - before) / static_cast<double>(keys);
}
