// Parsing, repairing and merging records of n entries, all in one item or one in each item. The
// time must stay proportional to n.
#include <benchmark/benchmark.h>

#include "bench/store/BenchStore.h"
#include "store/KvBackupMerge.h"
#include "store/KvBackupRecord.h"

namespace {

enum Shape : int64_t {
    kOneItem,
    kManyItems,
};

std::string recordOf(int64_t entries, int64_t shape) {
    return shape == kOneItem ? BenchStore::record(1, entries) : BenchStore::record(entries, 1);
}

void parse(benchmark::State& state) {
    const BenchStore store;
    store.writeRecord(recordOf(state.range(0), state.range(1)));
    for (auto _ : state) {
        RecordDocument document = openRecord(store.recordPath().c_str());
        OwnedBackupStru contents;
        if (!parseRecord(document, contents)) {
            state.SkipWithError("not parsed");
        }
    }
    state.SetComplexityN(state.range(0));
}

// Every second entry of the one item, or every second item, lacks what it needs.
void repair(benchmark::State& state) {
    const BenchStore store;
    std::string text = recordOf(state.range(0), state.range(1));
    const std::string key = state.range(1) == kOneItem ? "written." : "type=";
    size_t found = text.find(key);
    for (int64_t i = 0; found != std::string::npos; ++i) {
        if (i % 2 == 1) {
            text[found] = 'x';
        }
        found = text.find(key, found + key.size());
    }
    const backupStru fallback{};
    for (auto _ : state) {
        state.PauseTiming();
        store.writeRecord(text);
        state.ResumeTiming();
        RecordDocument document = openRecord(store.recordPath().c_str());
        OwnedBackupStru contents;
        if (!repairRecord(document, store.recordPath().c_str(), fallback, contents)) {
            state.SkipWithError("not repaired");
        }
    }
    state.SetComplexityN(state.range(0));
}

void merge(benchmark::State& state) {
    const BenchStore store;
    OwnedBackupStru run;
    store.writeRecord(recordOf(state.range(0), state.range(1)));
    {
        RecordDocument document = openRecord(store.recordPath().c_str());
        if (!parseRecord(document, run)) {
            state.SkipWithError("not parsed");
        }
    }
    // The last item is folded into the record again and again.
    backupStru last = run;
    last.items += last.itemCount - 1;
    last.itemCount = 1;
    std::string destination = store.destination();
    last.items->destination = destination.data();
    for (auto _ : state) {
        mergeBackupIni(&last, 1);
    }
    last.items->destination = nullptr;
    state.SetComplexityN(state.range(0));
}

void shapes(benchmark::internal::Benchmark* bench) {
    bench->ArgNames({"entries", "items"});
    bench->Unit(benchmark::kMillisecond);
    for (const Shape shape : {kOneItem, kManyItems}) {
        for (const int64_t entries : {400, 4000, 40000}) {
            bench->Args({entries, shape});
        }
    }
}

BENCHMARK(parse)->Apply(shapes);
BENCHMARK(repair)->Apply(shapes);
BENCHMARK(merge)->Apply(shapes);

}  // namespace
