// What was reported, as lines that are easy to read in a failed test: "6 error text".
#pragma once

#include <string>
#include <vector>

#include "tests/support/LogCapture.h"

[[nodiscard]] inline std::vector<std::string> linesOf(const LogCapture& log) {
    std::vector<std::string> lines;
    for (const LogRecord& record : log.records()) {
        const char* const kind = record.kind == LogKind::kError ? " error " : " info ";
        lines.push_back(std::to_string(record.level) + kind + record.text);
    }
    return lines;
}
