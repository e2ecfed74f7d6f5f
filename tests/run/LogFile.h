// The tool's text log, read back as records: times and numbers removed, wrapped lines joined.
#pragma once

#include <ostream>
#include <string>
#include <vector>

struct LogLine {
    bool isError;
    std::string text;  // without any line end: those of the message are lost with those of the wrap
};

bool operator==(const LogLine& left, const LogLine& right);
std::ostream& operator<<(std::ostream& out, const LogLine& line);

[[nodiscard]] LogLine info(const std::string& text);
[[nodiscard]] LogLine error(const std::string& text);

[[nodiscard]] std::vector<LogLine> parseLog(const std::string& content);
