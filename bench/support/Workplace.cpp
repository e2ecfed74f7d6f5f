#include "bench/support/Workplace.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace fs = std::filesystem;

namespace {

constexpr int64_t kFilesPerDir = 200;

}  // namespace

std::string benchDirectory() {
    return fs::temp_directory_path().string();
}

Workplace::Workplace() {
    std::string pattern = benchDirectory() + "/kv-bench-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) {
        abort();
    }
    path_ = pattern;
}

Workplace::~Workplace() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

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
