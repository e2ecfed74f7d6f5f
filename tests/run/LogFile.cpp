#include "tests/run/LogFile.h"

#include <cstdio>
#include <sstream>

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

std::vector<std::string> parseLog(const std::string& content) {
    constexpr size_t kKindLength = 4;  // "Inf " or "Err "
    std::vector<std::string> lines;
    size_t indent = 0;
    std::istringstream in(content);
    for (std::string line; std::getline(in, line);) {
        if (const size_t length = prefixLength(line); length > 0) {
            indent = length;
            lines.push_back(line.substr(0, kKindLength) + line.substr(indent));
        } else if (!lines.empty() && line.compare(0, indent, std::string(indent, ' ')) == 0) {
            lines.back() += line.substr(indent);
        } else if (!line.empty()) {
            lines.push_back(line);
        }
    }
    return lines;
}
