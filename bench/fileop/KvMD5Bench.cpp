// Speed of the digest: of bytes in memory, of files, and, beside them on the same files, of the
// system's own tool where there is one (its start is part of its time, so only the large file is
// a fair race).
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "bench/support/Workplace.h"
#include "fileop/KvMD5.h"

namespace {

constexpr int64_t kSmall = 4096;
constexpr int64_t kLarge = int64_t{1} << 28U;

// A file of so many bytes that lives as long as the object.
class BenchFile {
  public:
    explicit BenchFile(int64_t size) {
        std::string content(static_cast<size_t>(size), '\0');
        for (size_t i = 0; i < content.size(); ++i) {
            content[i] = static_cast<char>(i * 31 + i / 251);
        }
        std::ofstream out(path_, std::ios::binary);
        isComplete_ = out.write(content.data(), size).flush().good();
    }

    [[nodiscard]] const std::string& path() const { return path_; }
    [[nodiscard]] bool isComplete() const { return isComplete_; }

  private:
    Workplace place_;
    std::string path_ = place_.path("file");
    bool isComplete_ = false;
};

void countBytes(benchmark::State& state) {
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

void digestMemory(benchmark::State& state) {
    const std::vector<unsigned char> bytes(static_cast<size_t>(state.range(0)), 'x');
    unsigned char digest[KvMD5::kDigestSize];
    for (auto _ : state) {
        KvMD5::MD5_CTX context;
        KvMD5::MD5Init(&context);
        KvMD5::MD5Update(&context, bytes.data(), static_cast<unsigned int>(bytes.size()));
        KvMD5::MD5Final(digest, &context);
        benchmark::DoNotOptimize(digest);
    }
    countBytes(state);
}
BENCHMARK(digestMemory)->Arg(64)->Arg(kSmall)->Arg(1 << 20);

void digestFile(benchmark::State& state) {
    const BenchFile file(state.range(0));
    if (!file.isComplete()) {
        state.SkipWithError("no room for the file");
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(KvMD5::MD5File(file.path().c_str()));
    }
    countBytes(state);
}
BENCHMARK(digestFile)->Arg(kSmall)->Arg(1 << 20)->Arg(kLarge)->UseRealTime();

void digestFileBySystem(benchmark::State& state) {
    const BenchFile file(state.range(0));
    const std::string command = "openssl dgst -md5 '" + file.path() + "' >/dev/null 2>&1";
    for (auto _ : state) {
        if (!file.isComplete() || system(command.c_str()) != 0) {
            state.SkipWithError("no tool to compare with");
        }
    }
    countBytes(state);
}
BENCHMARK(digestFileBySystem)->Arg(kLarge)->UseRealTime();

}  // namespace
