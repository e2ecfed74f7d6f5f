#include "bench/support/Pairs.h"

#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>

extern char** environ;  // NOLINT: the system's own

namespace {

// Seconds of processor time, user and system: what a busy machine distorts least.
double processorSeconds(int whose) {
    rusage usage{};
    (void)getrusage(whose, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

// A side and what was measured of it, in seconds.
struct Measured {
    const Side& side;
    std::vector<double> elapsed{};
    std::vector<double> processor{};

    void measure() {
        side.prepare();
        sync();
        const double before = processorSeconds(side.whose);
        elapsed.push_back(secondsOf(side.work));
        processor.push_back(processorSeconds(side.whose) - before);
        side.tidy();
    }
};

}  // namespace

void runProgram(const std::vector<std::string>& words) {
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (const std::string& word : words) {
        arguments.push_back(const_cast<char*>(word.c_str()));
    }
    arguments.push_back(nullptr);
    pid_t child = 0;
    int status = 0;
    if (posix_spawnp(&child, arguments[0], nullptr, nullptr, arguments.data(), environ) != 0 ||
        waitpid(child, &status, 0) != child || status != 0) {
        abort();
    }
}

void comparePairs(benchmark::State& state, const Side& ours, const Side& theirs) {
    Measured our{ours};
    Measured their{theirs};
    std::vector<double> elapsedRatios;
    std::vector<double> processorRatios;
    for (auto _ : state) {
        const bool oursFirst = elapsedRatios.size() % 2 == 0;
        (oursFirst ? our : their).measure();
        (oursFirst ? their : our).measure();
        elapsedRatios.push_back(our.elapsed.back() / their.elapsed.back());
        processorRatios.push_back(our.processor.back() / their.processor.back());
        state.SetIterationTime(our.elapsed.back());
    }
    state.counters["theirs"] = median(their.elapsed);
    state.counters["ratio"] = median(elapsedRatios);
    state.counters["cpu"] = median(our.processor);
    state.counters["theirCpu"] = median(their.processor);
    state.counters["cpuRatio"] = median(processorRatios);
}
