// The files of the house as the rules see them: names, lines and includes.
#pragma once

#include <string>
#include <vector>

struct IncludeLine {
    int line;          // from 1
    bool quoted;       // "name" rather than <name>
    std::string name;  // what stands between the delimiters
};

// One floor of the house. Floors of the same level are its halves, which do not see each other.
struct Floor {
    std::string name;  // "base"
    int level;         // 1 for the ground floor
};

struct SourceFile {
    std::string name;  // from the root: "base/KvText.h"
    const Floor* floor;
    int lineCount;
    std::vector<IncludeLine> includes;

    [[nodiscard]] bool isHeader() const;
    // The name without its suffix: "base/KvText".
    [[nodiscard]] std::string stem() const;
};

// Every floor, the lowest level first.
[[nodiscard]] const std::vector<Floor>& floors();

// The floor on which the named file lies; null for none.
[[nodiscard]] const Floor* floorOf(const std::string& name);

// Every header and source of the floors, by name.
[[nodiscard]] std::vector<SourceFile> readSources(const std::string& root);

[[nodiscard]] std::vector<std::string> readLines(const std::string& file);
