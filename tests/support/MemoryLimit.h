// Takes memory away from the process that a test runs in; for the body of a death test.
#pragma once

#include <sys/resource.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>

#ifdef __linux__
inline constexpr bool kCanLimitMemory = true;
#else
inline constexpr bool kCanLimitMemory = false;
#endif

// A sanitizer needs memory for itself at any moment.
inline constexpr bool kCanExhaustMemory = kCanLimitMemory && !KV_SANITIZED;

inline constexpr long kMegabyte = 1024L * 1024;

// More than the heap ever keeps of what was released: a block of this size comes from the system.
inline constexpr long kMoreThanTheHeapKeeps = 34 * kMegabyte;

// From here on this process gets no more than `slack` bytes beyond what it has.
inline void limitMemory(long slack) {
    long pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    const auto limit = static_cast<rlim_t>(pages * sysconf(_SC_PAGESIZE) + slack);
    struct rlimit limits {};
    (void)getrlimit(RLIMIT_AS, &limits);
    limits.rlim_cur = limit;
    (void)setrlimit(RLIMIT_AS, &limits);
}

// Ends the shortage, so that the process can tidy up.
inline void restoreMemory() {
    struct rlimit limits {};
    (void)getrlimit(RLIMIT_AS, &limits);
    limits.rlim_cur = limits.rlim_max;
    (void)setrlimit(RLIMIT_AS, &limits);
}

// As limitMemory(), and takes all that earlier work has released to the heap as well.
inline void exhaustMemory(size_t slack) {
    void* const reserve = malloc(slack);
    limitMemory(0);
    for (size_t size = size_t{1} << 20; size >= 16; size /= 2) {
        while (malloc(size) != nullptr) {
        }
    }
    free(reserve);
}
