// What a key costs in documents of every size and shape; it must not depend on them. The column
// "per_key" is the time of one key.
#include <benchmark/benchmark.h>

#include "bench/ini/IniShapes.h"
#include "bench/ini/IniText.h"
#include "ini/KvIniUtil.h"

namespace {

void load(benchmark::State& state) {
    const IniText text(state.range(0), state.range(1));
    for (auto _ : state) {
        const KvIniUtil document(text.path(), ';', false, false, '=');
        benchmark::DoNotOptimize(document.hasNonGlobalSection());
    }
    countKeys(state, text.keyCount());
    state.SetBytesProcessed(state.iterations() * text.size());
    const double before = heapInUse();
    const KvIniUtil held(text.path(), ';', false, false, '=');
    countBytes(state, before, text.keyCount());
}
BENCHMARK(load)->Apply(allShapes);

void loadAndLookUpEveryKey(benchmark::State& state) {
    const IniText text(state.range(0), state.range(1));
    for (auto _ : state) {
        const KvIniUtil document(text.path(), ';', false, false, '=');
        text.forEachKey([&](const char* section, const char* key) {
            benchmark::DoNotOptimize(document.get(section, key));
        });
    }
    countKeys(state, text.keyCount());
    const double before = heapInUse();
    const KvIniUtil held(text.path(), ';', false, false, '=');
    text.forEachKey([&](const char* section, const char* key) {
        benchmark::DoNotOptimize(held.get(section, key));
    });
    countBytes(state, before, text.keyCount());
}
BENCHMARK(loadAndLookUpEveryKey)->Apply(allShapes);

void lookUpEveryKey(benchmark::State& state) {
    const IniText text(state.range(0), state.range(1));
    const KvIniUtil document(text.path(), ';', false, false, '=');
    for (auto _ : state) {
        text.forEachKey([&](const char* section, const char* key) {
            benchmark::DoNotOptimize(document.get(section, key));
        });
    }
    countKeys(state, text.keyCount());
}
BENCHMARK(lookUpEveryKey)->Apply(allShapes);

void addEveryKey(benchmark::State& state) {
    const IniText text(state.range(0), state.range(1));
    for (auto _ : state) {
        KvIniUtil document(nullptr, ';', false, false, '=');
        text.forEachKey([&](const char* section, const char* key) {
            document.add(section, key, "a value of usual length");
        });
    }
    countKeys(state, text.keyCount());
}
BENCHMARK(addEveryKey)->Apply(allShapes);

void setEveryKey(benchmark::State& state) {
    const IniText text(state.range(0), state.range(1));
    for (auto _ : state) {
        KvIniUtil document(nullptr, ';', false, false, '=');
        text.forEachKey([&](const char* section, const char* key) {
            document.set(section, key, "a value of usual length");
        });
    }
    countKeys(state, text.keyCount());
}
BENCHMARK(setEveryKey)->Apply(allShapes);

void loadAndDeleteEveryKey(benchmark::State& state) {
    const IniText text(state.range(0), state.range(1));
    for (auto _ : state) {
        KvIniUtil document(text.path(), ';', false, false, '=');
        text.forEachKey([&](const char* section, const char* key) { document.del(section, key); });
        document.discard();
    }
    countKeys(state, text.keyCount());
}
BENCHMARK(loadAndDeleteEveryKey)->Apply(allShapes);

void dump(benchmark::State& state) {
    const IniText text(state.range(0), state.range(1));
    const KvIniUtil document(text.path(), ';', false, false, '=');
    for (auto _ : state) {
        KvSimpleString out;
        document.dump(out);
        benchmark::DoNotOptimize(out.c_str());
    }
    countKeys(state, text.keyCount());
    state.SetBytesProcessed(state.iterations() * text.size());
}
BENCHMARK(dump)->Apply(allShapes);

}  // namespace
