// Files with content and time, to be compared exactly: what a directory holds, and what a test
// expects it to hold.
#pragma once

#include <filesystem>
#include <map>
#include <string>

#include "tests/support/TempTree.h"

struct TimedFile {
    std::string content;
    std::filesystem::file_time_type time = {};

    // What a copy of the file looks like: a copy keeps whole seconds.
    [[nodiscard]] TimedFile copied() const;
};

// By path; the path of a directory ends with '/'. Directories and backup records, which nobody
// expects to keep a time, have none here.
using TimedTree = std::map<std::string, TimedFile>;

[[nodiscard]] bool isDirectory(const std::string& path);
[[nodiscard]] bool isInStore(const std::string& path);
[[nodiscard]] bool isBackupRecord(const std::string& path);

// Everything below the directory; the paths begin with its name.
[[nodiscard]] TimedTree readTimedTree(const TempTree& tree, const std::string& name);

// Makes the file with its content and time.
void writeTimedFile(const TempTree& tree, const std::string& path, const TimedFile& file);

// A time this many seconds after one about twenty years ago; half a second later if `fraction`.
[[nodiscard]] std::filesystem::file_time_type pastTime(unsigned seconds, bool fraction);

// One line for each path in which the trees differ; "" when they are equal.
[[nodiscard]] std::string difference(const TimedTree& expected, const TimedTree& seen);
