#include "tests/run/LogFile.h"

#include <regex>
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

std::vector<LogLine> parseLog(const std::string& content) {
    static const std::regex prefix(R"((Inf|Err) \d{8} \d\d:\d\d:\d\d \d+ \d+ )");
    std::vector<LogLine> lines;
    size_t indent = 0;
    std::istringstream in(content);
    for (std::string line; std::getline(in, line);) {
        std::smatch match;
        if (std::regex_search(line, match, prefix, std::regex_constants::match_continuous)) {
            indent = static_cast<size_t>(match.length());
            lines.push_back({match[1] == "Err", line.substr(indent)});
        } else if (!lines.empty() && line.compare(0, indent, std::string(indent, ' ')) == 0) {
            lines.back().text += line.substr(indent);
        } else if (!line.empty()) {
            lines.push_back({false, line});
        }
    }
    return lines;
}
