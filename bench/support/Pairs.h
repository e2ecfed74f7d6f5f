// Comparisons with the system's own tools: both sides run in turn, in changing order, and are
// compared pair by pair, so that whatever else the machine does hits both alike. At or below 1 we
// are as quick as the tool. Elapsed times mean something on an idle machine only.
#pragma once

#include <benchmark/benchmark.h>

#include <chrono>
#include <functional>
#include <string>
#include <vector>

// Runs a program and waits for it; any failure ends the benchmark.
void runProgram(const std::vector<std::string>& words);

template <typename Work>
double secondsOf(const Work& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// One side of a comparison: its work, which alone is measured, with what comes before and after it;
// whose processor time it takes (RUSAGE_SELF or RUSAGE_CHILDREN).
struct Side {
    std::function<void()> prepare;
    std::function<void()> work;
    std::function<void()> tidy;
    int whose;
};

// Measures both sides, pair by pair; what the preparation has left to the disk is written out
// first. Reports medians: `ratio` of elapsed and `cpuRatio` of processor time, and the seconds of
// both sides.
void comparePairs(benchmark::State& state, const Side& ours, const Side& theirs);
