// The double-byte rule: one question, and whole texts, must cost in proportion to the length.
#include <benchmark/benchmark.h>

#include <string>

#include "base/KvText.h"

namespace {

constexpr unsigned kJapanese = 932;

// Pairs whose second byte is a backslash, with a real backslash now and then.
std::string doubleByteText(int64_t length) {
    std::string text;
    for (int64_t i = 0; i < length; i += 2) {
        text += i % 16 == 0 ? "a\\" : "\x83\\";
    }
    return text;
}

void askForTheLastByte(benchmark::State& state) {
    SetCurrentCharType(kJapanese);
    const std::string text = doubleByteText(state.range(0));
    const char* last = text.c_str() + text.size() - 1;
    for (auto _ : state) {
        benchmark::DoNotOptimize(IsTrailingByteOfDBC(text.c_str(), last));
    }
    state.SetComplexityN(state.range(0));
}
BENCHMARK(askForTheLastByte)->RangeMultiplier(16)->Range(256, 1 << 20)->Complexity(benchmark::oN);

void askForEveryByteInOneWalk(benchmark::State& state) {
    SetCurrentCharType(kJapanese);
    const std::string text = doubleByteText(state.range(0));
    for (auto _ : state) {
        TrailingByteWalk walk;
        int trailing = 0;
        for (const char byte : text) {
            trailing += static_cast<int>(walk.isTrailing(byte));
        }
        benchmark::DoNotOptimize(trailing);
    }
    state.SetComplexityN(state.range(0));
}
BENCHMARK(askForEveryByteInOneWalk)
    ->RangeMultiplier(16)
    ->Range(256, 1 << 20)
    ->Complexity(benchmark::oN);

void replaceSeparators(benchmark::State& state) {
    SetCurrentCharType(kJapanese);
    std::string text = doubleByteText(state.range(0));
    for (auto _ : state) {
        benchmark::DoNotOptimize(strrepchr(text.data(), '\\', '/'));
        benchmark::DoNotOptimize(strrepchr(text.data(), '/', '\\'));
    }
    state.SetComplexityN(state.range(0));
}
BENCHMARK(replaceSeparators)->RangeMultiplier(16)->Range(256, 1 << 20)->Complexity(benchmark::oN);

}  // namespace
