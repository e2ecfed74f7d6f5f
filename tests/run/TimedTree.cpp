#include "tests/run/TimedTree.h"

#include <algorithm>
#include <chrono>

#include "fileop/KvDiskNames.h"

namespace fs = std::filesystem;

namespace {

constexpr size_t kShownContent = 300;
constexpr size_t kShownBefore = 60;

bool endsWith(const std::string& text, const std::string& end) {
    return text.size() >= end.size() &&
           text.compare(text.size() - end.size(), std::string::npos, end) == 0;
}

std::string shown(const TimedFile& file, size_t from) {
    const auto time =
        std::chrono::duration_cast<std::chrono::milliseconds>(file.time.time_since_epoch());
    return std::to_string(file.content.size()) + " bytes, from " + std::to_string(from) + " [" +
           file.content.substr(from, kShownContent) + "], time " + std::to_string(time.count()) +
           "\n";
}

// Of both, what stands around the first byte that differs.
std::string shown(const TimedFile& expected, const TimedFile& seen) {
    size_t same = 0;
    while (same < expected.content.size() && same < seen.content.size() &&
           expected.content[same] == seen.content[same]) {
        ++same;
    }
    const size_t from = same - std::min(same, kShownBefore);
    return "is " + shown(seen, from) + "and should be " + shown(expected, from);
}

bool isSame(const TimedFile& left, const TimedFile& right) {
    return left.content == right.content && left.time == right.time;
}

}  // namespace

TimedFile TimedFile::copied() const {
    return {content, std::chrono::time_point_cast<fs::file_time_type::duration>(
                         std::chrono::floor<std::chrono::seconds>(time))};
}

bool isDirectory(const std::string& path) {
    return endsWith(path, "/");
}

bool isInStore(const std::string& path) {
    return path.find(std::string("/") + kBackupStoreName + "/") != std::string::npos;
}

bool isBackupRecord(const std::string& path) {
    return endsWith(path, std::string("/") + kBackupStoreName + "/" + kBackupRecordName);
}

TimedTree readTimedTree(const TempTree& tree, const std::string& name) {
    TimedTree all;
    for (const auto& [relative, content] : tree.snapshot(name)) {
        const std::string path = name + "/" + relative;
        TimedFile& file = all[path];
        file.content = content;
        if (!isDirectory(path) && !isBackupRecord(path)) {
            file.time = fs::last_write_time(tree.path(path));
        }
    }
    return all;
}

void writeTimedFile(const TempTree& tree, const std::string& path, const TimedFile& file) {
    tree.write(path, file.content);
    fs::last_write_time(tree.path(path), file.time);
}

fs::file_time_type pastTime(unsigned seconds, bool fraction) {
    // The file clock's own zero may lie anywhere; the present is on its scale.
    static const fs::file_time_type start =
        std::chrono::time_point_cast<fs::file_time_type::duration>(
            std::chrono::floor<std::chrono::hours>(fs::file_time_type::clock::now()) -
            std::chrono::hours(24 * 365 * 20));
    return start + std::chrono::seconds(seconds) + std::chrono::milliseconds(fraction ? 500 : 0);
}

std::string difference(const TimedTree& expected, const TimedTree& seen) {
    std::string lines;
    for (const auto& [path, file] : expected) {
        const auto found = seen.find(path);
        if (found == seen.end()) {
            lines += path + " is missing\n";
        } else if (!isSame(file, found->second)) {
            lines += path + " " + shown(file, found->second);
        }
    }
    for (const auto& entry : seen) {
        if (expected.count(entry.first) == 0) {
            lines += entry.first + " should not be there\n";
        }
    }
    return lines;
}
