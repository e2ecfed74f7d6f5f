// Tree operations beside the system's own tools on the same tree, and their growth with the number
// of files in one directory.
//
// The comparisons run both sides in turn, in changing order, and report medians: `ratio` of elapsed
// time and `cpuRatio` of processor time, pair by pair. At or below 1 we are as quick as the tool.
// Elapsed times mean something on an idle machine only.
#include <benchmark/benchmark.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "fileop/KvFileOpUtil.h"

extern char** environ;  // NOLINT: the system's own

namespace fs = std::filesystem;

namespace {

constexpr int64_t kFilesPerDir = 200;

// A directory below the temporary one that is removed with everything in it.
class Workplace {
  public:
    Workplace() {
        std::string pattern = (fs::temp_directory_path() / "kv-bench-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr) {
            abort();
        }
        path_ = pattern;
    }
    ~Workplace() {
        std::error_code ignored;
        fs::remove_all(path_, ignored);
    }
    Workplace(const Workplace&) = delete;
    Workplace& operator=(const Workplace&) = delete;

    [[nodiscard]] std::string path(const std::string& name) const { return path_ + "/" + name; }

  private:
    std::string path_;
};

void writeFile(const std::string& path, int64_t kibibytes) {
    std::ofstream out(path, std::ios::binary);
    std::string block(1024, '\0');
    for (int64_t i = 0; i < kibibytes; ++i) {
        block[0] = static_cast<char>(i);
        out.write(block.data(), static_cast<std::streamsize>(block.size()));
    }
}

void makeTree(const std::string& top, int64_t files, int64_t kibibytes) {
    for (int64_t i = 0; i < files; ++i) {
        const std::string dir = top + "/" + std::to_string(i / kFilesPerDir);
        fs::create_directories(dir);
        writeFile(dir + "/file-number-" + std::to_string(i), kibibytes);
    }
}

void makeFlat(const std::string& dir, int64_t files) {
    fs::create_directories(dir);
    for (int64_t i = 0; i < files; ++i) {
        writeFile(dir + "/" + std::to_string(i), 0);
    }
}

// Runs a program and waits for it; any failure ends the benchmark.
void run(const std::vector<std::string>& words) {
    std::vector<char*> arguments;
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

void check(int result) {
    if (result != KvFileOpUtil::kDone) {
        abort();
    }
}

template <typename Work>
double secondsOf(const Work& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

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

// One side of a comparison: its work, whose processor time that takes, and what was measured.
struct Side {
    std::function<void()> work;
    int whose;
    std::vector<double> elapsed{};
    std::vector<double> processor{};

    void measure() {
        const double before = processorSeconds(whose);
        elapsed.push_back(secondsOf(work));
        processor.push_back(processorSeconds(whose) - before);
    }
};

// Measures both sides in pairs; `prepare` and `tidy` run unmeasured around each measurement.
void comparePairs(benchmark::State& state, Side ours, Side theirs,
                  const std::function<void()>& prepare, const std::function<void()>& tidy) {
    std::vector<double> elapsedRatios;
    std::vector<double> processorRatios;
    for (auto _ : state) {
        const bool oursFirst = elapsedRatios.size() % 2 == 0;
        for (Side* const side : {oursFirst ? &ours : &theirs, oursFirst ? &theirs : &ours}) {
            prepare();
            side->measure();
            tidy();
        }
        elapsedRatios.push_back(ours.elapsed.back() / theirs.elapsed.back());
        processorRatios.push_back(ours.processor.back() / theirs.processor.back());
        state.SetIterationTime(ours.elapsed.back());
    }
    state.counters["theirs"] = median(theirs.elapsed);
    state.counters["ratio"] = median(elapsedRatios);
    state.counters["cpu"] = median(ours.processor);
    state.counters["theirCpu"] = median(theirs.processor);
    state.counters["cpuRatio"] = median(processorRatios);
}

void xcopyBesideCp(benchmark::State& state) {
    const Workplace place;
    const std::string source = place.path("source");
    const std::string target = place.path("target");
    makeTree(source, state.range(0), state.range(1));
    comparePairs(
        state,
        {[&] { check(KvFileOpUtil::xcopy(source.c_str(), target.c_str(), true)); }, RUSAGE_SELF},
        {[&] {
             run({"cp", "-r", "--preserve=timestamps", source, target});
         },
         RUSAGE_CHILDREN},
        [&] { fs::create_directory(target); }, [&] { fs::remove_all(target); });
}
BENCHMARK(xcopyBesideCp)
    ->ArgNames({"files", "KiB"})
    ->Args({16, 4})
    ->Args({2000, 4})
    ->Args({20000, 4})
    ->Args({4, 512 * 1024})
    ->Iterations(5)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

void xunlinkBesideRm(benchmark::State& state) {
    const Workplace place;
    const std::string target = place.path("target");
    comparePairs(
        state, {[&] { check(KvFileOpUtil::xunlink(target.c_str())); }, RUSAGE_SELF},
        {[&] {
             run({"rm", "-r", target});
         },
         RUSAGE_CHILDREN},
        [&] { makeTree(target, state.range(0), state.range(1)); }, [] {});
}
BENCHMARK(xunlinkBesideRm)
    ->ArgNames({"files", "KiB"})
    ->Args({16, 4})
    ->Args({2000, 4})
    ->Args({20000, 4})
    ->Iterations(5)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

// What the operations on all files of one directory cost, as a whole and name by name.
enum class Growth { kCopyTree, kDeleteTree, kDeleteByName, kMoveByName };

void operate(Growth growth, const std::string& from, const std::string& to, int64_t files) {
    if (growth == Growth::kCopyTree) {
        check(KvFileOpUtil::xcopy(from.c_str(), to.c_str(), true));
        return;
    }
    if (growth == Growth::kDeleteTree) {
        check(KvFileOpUtil::xunlink(from.c_str()));
        return;
    }
    for (int64_t i = 0; i < files; ++i) {
        const std::string file = from + "/" + std::to_string(i);
        check(growth == Growth::kDeleteByName ? KvFileOpUtil::xunlink(file.c_str())
                                              : KvFileOpUtil::move(file.c_str(), to.c_str(), true));
    }
}

void grow(benchmark::State& state, Growth growth) {
    const Workplace place;
    const std::string from = place.path("from");
    const std::string to = place.path("to");
    for (auto _ : state) {
        makeFlat(from, state.range(0));
        fs::create_directory(to);
        state.SetIterationTime(secondsOf([&] { operate(growth, from, to, state.range(0)); }));
        fs::remove_all(from);
        fs::remove_all(to);
    }
    state.counters["perFile"] = benchmark::Counter(
        static_cast<double>(state.range(0)),
        benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
    state.SetComplexityN(state.range(0));
}

void withGrowingDirectory(benchmark::internal::Benchmark* bench) {
    bench->Arg(16)->RangeMultiplier(4)->Range(1000, 64000)->UseManualTime()->Iterations(3);
    bench->Complexity(benchmark::oN)->Unit(benchmark::kMillisecond);
}
BENCHMARK_CAPTURE(grow, copyTree, Growth::kCopyTree)->Apply(withGrowingDirectory);
BENCHMARK_CAPTURE(grow, deleteTree, Growth::kDeleteTree)->Apply(withGrowingDirectory);
BENCHMARK_CAPTURE(grow, deleteByName, Growth::kDeleteByName)->Apply(withGrowingDirectory);
BENCHMARK_CAPTURE(grow, moveByName, Growth::kMoveByName)->Apply(withGrowingDirectory);

}  // namespace
