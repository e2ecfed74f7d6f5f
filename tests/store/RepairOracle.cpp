#include "tests/store/RepairOracle.h"

#include <cstdlib>
#include <map>
#include <optional>
#include <sstream>

namespace {

using Keys = std::map<std::string, std::string>;
using Sections = std::map<std::string, Keys>;

std::string trimmed(const std::string& text) {
    const size_t first = text.find_first_not_of(" \n\r\t\f");
    const size_t last = text.find_last_not_of(" \n\r\t\f");
    return first == std::string::npos ? "" : text.substr(first, last - first + 1);
}

Sections parseSections(const std::string& text) {
    Sections sections;
    std::string current;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        line = trimmed(line);
        const size_t equals = line.find('=');
        if (line.size() >= 2 && line.front() == '[' && line.back() == ']') {
            current = line.substr(1, line.size() - 2);
            sections[current];
        } else if (equals != std::string::npos && equals > 0) {
            sections[current].emplace(line.substr(0, equals), trimmed(line.substr(equals + 1)));
        }
    }
    return sections;
}

std::optional<std::string> get(const Keys& keys, const std::string& key) {
    const auto found = keys.find(key);
    return found != keys.end() ? std::optional<std::string>(found->second) : std::nullopt;
}

// Appends the list to `out`; false when an entry is missing.
bool appendList(const Keys& keys, const std::string& word, std::string& out) {
    const int count = atoi(get(keys, word + ".filecount").value_or("0").c_str());
    out += word + ".filecount=" + std::to_string(count) + "\n";
    for (int i = 0; i < count; ++i) {
        const std::string key = word + "." + std::to_string(i);
        const auto value = get(keys, key);
        if (!value) {
            return false;
        }
        out += key + "=" + *value + "\n";
    }
    return true;
}

// The keys of a rewritten section; nothing when the section is damaged.
std::optional<std::string> rewrittenKeys(const Keys& keys) {
    std::string out;
    for (const char* key : {"class", "type", "origin.version", "result.version"}) {
        const auto value = get(keys, key);
        if (!value) {
            return std::nullopt;
        }
        // A number that was cut off to nothing reads as 0.
        out += std::string(key) + "=" + (value->empty() ? "0" : *value) + "\n";
    }
    const bool complete = appendList(keys, "added", out) && appendList(keys, "written", out);
    return complete ? std::optional<std::string>(out) : std::nullopt;
}

std::string commonText(size_t count, int version, const std::optional<std::string>& file) {
    return "[common]\nitemcount=" + std::to_string(count) +
           "\npatchagent.version=" + std::to_string(version) + "\n" +
           (file ? "patchagent=" + *file + "\n" : "");
}

}  // namespace

RepairedRecord repairedRecord(const std::string& text, int agentVersion,
                              const std::string& agentFile) {
    const Sections sections = parseSections(text);
    const auto commonFound = sections.find("common");
    const Keys common = commonFound != sections.end() ? commonFound->second : Keys();
    const auto count = get(common, "itemcount");
    const auto version = get(common, "patchagent.version");
    if (!count || !version) {
        const auto file = agentFile.empty() ? std::nullopt : std::optional<std::string>(agentFile);
        return {commonText(0, agentVersion, file), {}};
    }
    std::vector<bool> isKept;
    std::string items;
    size_t kept = 0;
    for (int i = 0; i < atoi(count->c_str()); ++i) {
        const auto section = sections.find("item_" + std::to_string(i));
        const auto keys = section != sections.end() ? rewrittenKeys(section->second) : std::nullopt;
        isKept.push_back(keys.has_value());
        if (keys) {
            items += "[item_" + std::to_string(kept++) + "]\n" + *keys;
        }
    }
    if (kept == isKept.size()) {
        return {text, isKept};
    }
    return {commonText(kept, atoi(version->c_str()), get(common, "patchagent")) + items, isKept};
}
