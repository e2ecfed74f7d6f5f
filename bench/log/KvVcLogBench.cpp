// What a message costs: records a second into the text log, the HTML log and nowhere, by the length
// of the message; and the wrapping alone, which must cost in proportion to it.
#include <benchmark/benchmark.h>

#include <fstream>
#include <string>

#include "bench/support/Workplace.h"
#include "log/KvLogRecord.h"
#include "log/KvReport.h"
#include "log/KvVcEventManager.h"

namespace {

constexpr char kModule[] = "KvVcLogBench";
constexpr int64_t kShort = 75;
constexpr int64_t kLong = 20000;

// A velocore directory with this configuration, and the log in it, as long as the object lives.
class LogPlace {
  public:
    explicit LogPlace(const char* config) {
        std::ofstream(place_.path("vccfg.ini")) << config;
        g_pEventManager->resetVCPath(place_.path("").c_str());
    }
    ~LogPlace() { g_pEventManager->redirectToCallback(nullptr, nullptr); }
    LogPlace(const LogPlace&) = delete;
    LogPlace& operator=(const LogPlace&) = delete;

  private:
    Workplace place_;
};

std::string sentence(int64_t length) {
    std::string text;
    while (text.size() < static_cast<size_t>(length)) {
        text += "The file /velocore/data/update.bin was copied. ";
    }
    text.resize(static_cast<size_t>(length));
    return text;
}

void report(benchmark::State& state, const char* config, int level) {
    const LogPlace place(config);
    const std::string message = sentence(state.range(0));
    for (auto _ : state) {
        KV_INFO(level, "%s", message.c_str());
    }
    state.SetItemsProcessed(state.iterations());
}

void textRecords(benchmark::State& state) {
    report(state, "", kLevelProgress);
}
BENCHMARK(textRecords)->Arg(kShort)->Arg(kLong);

void htmlRecords(benchmark::State& state) {
    report(state, "[Debug]\nhtml=1\n", kLevelProgress);
}
BENCHMARK(htmlRecords)->Arg(kShort)->Arg(kLong);

void messagesBelowTheThreshold(benchmark::State& state) {
    report(state, "", kLevelDetail);
}
BENCHMARK(messagesBelowTheThreshold)->Arg(kShort)->Arg(kLong);

void wrapText(benchmark::State& state, const std::string& message) {
    for (auto _ : state) {
        KvSimpleString out;
        appendWrapped(out, message.c_str(), message.size(), "\n        ");
        benchmark::DoNotOptimize(out.length());
    }
    state.SetComplexityN(state.range(0));
}

void wrapSentences(benchmark::State& state) {
    wrapText(state, sentence(state.range(0)));
}
BENCHMARK(wrapSentences)
    ->Arg(kShort)
    ->RangeMultiplier(8)
    ->Range(2500, kLong * 64)
    ->Complexity(benchmark::oN);

void wrapOneWord(benchmark::State& state) {
    wrapText(state, std::string(static_cast<size_t>(state.range(0)), 'x'));
}
BENCHMARK(wrapOneWord)
    ->Arg(kShort)
    ->RangeMultiplier(8)
    ->Range(2500, kLong * 64)
    ->Complexity(benchmark::oN);

}  // namespace
