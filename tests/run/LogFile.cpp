#include "tests/run/LogFile.h"

#include <cstdio>
#include <sstream>

bool operator==(const LogLine& left, const LogLine& right) {
    return left.isError == right.isError && left.text == right.text;
}

std::ostream& operator<<(std::ostream& out, const LogLine& line) {
    return out << (line.isError ? "error: " : "info: ") << line.text;
}

LogLine info(const std::string& text) {
    return {false, text};
}
LogLine error(const std::string& text) {
    return {true, text};
}

namespace {

// How long kind, time, process and thread number in front of a message are, with the blank behind
// them; 0 for a line that does not begin so.
size_t prefixLength(const std::string& line) {
    int length = 0;
    (void)sscanf(line.c_str(), "%*[InfEr] %*8[0-9] %*2[0-9]:%*2[0-9]:%*2[0-9] %*[0-9] %*[0-9]%n",
                 &length);
    const auto end = static_cast<size_t>(length);
    return end > 0 && end < line.size() && line[end] == ' ' ? end + 1 : 0;
}

}  // namespace

std::vector<LogLine> parseLog(const std::string& content) {
    std::vector<LogLine> lines;
    size_t indent = 0;
    std::istringstream in(content);
    for (std::string line; std::getline(in, line);) {
        if (const size_t length = prefixLength(line); length > 0) {
            indent = length;
            lines.push_back({line.compare(0, 3, "Err") == 0, line.substr(indent)});
        } else if (!lines.empty() && line.compare(0, indent, std::string(indent, ' ')) == 0) {
            lines.back().text += line.substr(indent);
        } else if (!line.empty()) {
            lines.push_back({false, line});
        }
    }
    return lines;
}
