// A directory of one measurement, and trees to fill it with.
#pragma once

#include <cstdint>
#include <string>

// Where benchmarks keep their files: what TMPDIR names, the system's temporary directory otherwise.
[[nodiscard]] std::string benchDirectory();

// Lies below `benchDirectory` and is removed with everything in it.
class Workplace {
  public:
    Workplace();
    ~Workplace();
    Workplace(const Workplace&) = delete;
    Workplace& operator=(const Workplace&) = delete;

    [[nodiscard]] std::string path(const std::string& name) const { return path_ + "/" + name; }

  private:
    std::string path_;
};

void writeFile(const std::string& path, int64_t kibibytes);

// As many files of that size, two hundred a directory, below `top`.
void makeTree(const std::string& top, int64_t files, int64_t kibibytes);
