// One call that is made to fail, and the walks over all of them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tests/faults/preload/FaultTally.h"

// "open/7/ENOSPC": the 7th open of the run fails with ENOSPC. What can happen to a call, beside the
// name of an error, stands in FaultTally.h.
struct Fault {
    std::string function;
    uint64_t number = 0;
    std::string what;

    [[nodiscard]] std::string text() const;        // as above
    [[nodiscard]] std::string forLibrary() const;  // with the error's number

    [[nodiscard]] bool isKill() const;
    // A call that does less than it was asked for, which is no failure.
    [[nodiscard]] bool isShort() const;
    // Further calls fail after this one.
    [[nodiscard]] bool isLasting() const;
};

// What a walk lets happen to calls of this function, one after the other.
[[nodiscard]] const std::vector<std::string>& whatHappensTo(const std::string& function);

// All functions that calls are counted of.
[[nodiscard]] const std::vector<std::string>& faultFunctions();
// The place of the function in the tally.
[[nodiscard]] size_t tallyIndex(const std::string& function);

// What KV_FAULTS asks for.
struct FaultRequest {
    bool isWhole = false;                 // every call; otherwise a sample of them
    std::optional<std::string> scenario;  // one alone; likewise the others
    std::optional<std::string> function;
    std::optional<uint64_t> number;
    std::optional<std::string> what;

    // Null or "sample": the sample. "all": every call. "scenario[/function[/number[/what]]]": these
    // alone;
    // "*" stands for all.
    [[nodiscard]] static FaultRequest parse(const char* text);
};
