#include "tests/structure/SourceTree.h"

#include <algorithm>
#include <filesystem>
#include <fstream>

namespace fs = std::filesystem;

namespace {

bool isSource(const fs::path& file) {
    const std::string suffix = file.extension().string();
    return suffix == ".h" || suffix == ".cpp";
}

// Removes `word` and the blanks before it from the front of `text`.
bool take(std::string& text, const std::string& word) {
    const size_t start = text.find_first_not_of(" \t");
    if (start == std::string::npos || text.compare(start, word.size(), word) != 0) {
        return false;
    }
    text.erase(0, start + word.size());
    return true;
}

void addInclude(std::string text, int line, std::vector<IncludeLine>& includes) {
    if (!take(text, "#") || !take(text, "include")) {
        return;
    }
    const bool quoted = take(text, "\"");
    if (!quoted && !take(text, "<")) {
        return;
    }
    includes.push_back({line, quoted, text.substr(0, text.find(quoted ? '"' : '>'))});
}

SourceFile readSource(const std::string& root, const std::string& name) {
    SourceFile source{name, floorOf(name), 0, {}};
    for (const std::string& line : readLines(root + "/" + name)) {
        addInclude(line, ++source.lineCount, source.includes);
    }
    return source;
}

}  // namespace

bool SourceFile::isHeader() const {
    return fs::path(name).extension() == ".h";
}

std::string SourceFile::stem() const {
    return fs::path(name).replace_extension().string();
}

const std::vector<Floor>& floors() {
    static const std::vector<Floor> all{{"base", 1},  {"fileop", 2}, {"ini", 3},   {"log", 4},
                                        {"patch", 5}, {"agent", 6},  {"store", 6}, {"updater", 7}};
    return all;
}

const Floor* floorOf(const std::string& name) {
    const auto hit = std::find_if(floors().begin(), floors().end(), [&](const Floor& floor) {
        return floor.name == name.substr(0, name.find('/'));
    });
    return hit == floors().end() ? nullptr : &*hit;
}

std::vector<SourceFile> readSources(const std::string& root) {
    std::vector<SourceFile> sources;
    for (const Floor& floor : floors()) {
        std::error_code missing;
        for (const auto& entry :
             fs::recursive_directory_iterator(root + "/" + floor.name, missing)) {
            if (entry.is_regular_file() && isSource(entry.path())) {
                sources.push_back(
                    readSource(root, entry.path().lexically_relative(root).generic_string()));
            }
        }
    }
    std::sort(sources.begin(), sources.end(),
              [](const SourceFile& a, const SourceFile& b) { return a.name < b.name; });
    return sources;
}

std::vector<std::string> readLines(const std::string& file) {
    std::ifstream in(file);
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);) {
        lines.push_back(line);
    }
    return lines;
}
