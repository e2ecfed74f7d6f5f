// Takes memory away from the process that a test runs in; for the body of a death test.
#pragma once

#include <sys/resource.h>
#include <unistd.h>

#include <fstream>

#ifdef __linux__
inline constexpr bool kCanLimitMemory = true;
#else
inline constexpr bool kCanLimitMemory = false;
#endif

inline constexpr long kMegabyte = 1024L * 1024;

// More than the heap ever keeps of what was released: a block of this size comes from the system.
inline constexpr long kMoreThanTheHeapKeeps = 34 * kMegabyte;

// From here on this process gets no more than `slack` bytes beyond what it has.
inline void limitMemory(long slack) {
    long pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    const auto limit = static_cast<rlim_t>(pages * sysconf(_SC_PAGESIZE) + slack);
    const struct rlimit limits = {limit, limit};
    (void)setrlimit(RLIMIT_AS, &limits);
}
