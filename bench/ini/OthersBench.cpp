// What other readers of such files need for the same documents: a general key-file parser that
// builds a tree and looks up, and a bare line parser that hands each key over and keeps nothing.
#include <benchmark/benchmark.h>

#include "bench/ini/IniShapes.h"
#include "bench/ini/IniText.h"

#ifdef KV_WITH_GLIB
#include <glib.h>
#endif
#ifdef KV_WITH_INIH
#include <ini.h>
#endif

namespace {

#ifdef KV_WITH_GLIB
GKeyFile* glibLoad(const IniText& text) {
    GKeyFile* file = g_key_file_new();
    if (g_key_file_load_from_file(file, text.path(), G_KEY_FILE_KEEP_COMMENTS, nullptr) == 0) {
        g_key_file_free(file);
        return nullptr;
    }
    return file;
}

// Looking up copies the value; that is how this parser answers.
void glibLoadAndLookUpEveryKey(benchmark::State& state) {
    const IniText text(state.range(0), state.range(1));
    for (auto _ : state) {
        GKeyFile* file = glibLoad(text);
        text.forEachKey([&](const char* section, const char* key) {
            char* value = g_key_file_get_value(file, section, key, nullptr);
            benchmark::DoNotOptimize(value);
            g_free(value);
        });
        g_key_file_free(file);
    }
    countKeys(state, text.keyCount());
    const double before = heapInUse();
    GKeyFile* held = glibLoad(text);
    countBytes(state, before, text.keyCount());
    g_key_file_free(held);
}
BENCHMARK(glibLoadAndLookUpEveryKey)->Apply(allShapes);
#endif

#ifdef KV_WITH_INIH
int takeKey(void* sum, const char* section, const char* name, const char* value) {
    benchmark::DoNotOptimize(section);
    benchmark::DoNotOptimize(name);
    benchmark::DoNotOptimize(value);
    ++*static_cast<int64_t*>(sum);
    return 1;
}

void inihParse(benchmark::State& state) {
    const IniText text(state.range(0), state.range(1));
    for (auto _ : state) {
        int64_t seen = 0;
        if (ini_parse(text.path(), takeKey, &seen) != 0 || seen != text.keyCount()) {
            state.SkipWithError("cannot parse");
        }
    }
    countKeys(state, text.keyCount());
}
BENCHMARK(inihParse)->Apply(allShapes);
#endif

}  // namespace
