// The files of the house as the rules see them: names, lines and includes.
#pragma once

#include <string>
#include <vector>

struct IncludeLine {
    int line;          // from 1
    bool quoted;       // "name" rather than <name>
    std::string name;  // what stands between the delimiters
};

struct SourceFile {
    std::string name;  // from the root: "base/KvText.h"
    int floor;         // see floorOf
    int lineCount;
    std::vector<IncludeLine> includes;

    [[nodiscard]] bool isHeader() const;
    // The name without its suffix: "base/KvText".
    [[nodiscard]] std::string stem() const;
};

// The floors from the ground up.
[[nodiscard]] const std::vector<std::string>& floorNames();

// The number of the floor on which the named file lies, 0 for the ground floor; -1 for none.
[[nodiscard]] int floorOf(const std::string& name);

// Every header and source of the floors, by name.
[[nodiscard]] std::vector<SourceFile> readSources(const std::string& root);

[[nodiscard]] std::vector<std::string> readLines(const std::string& file);
