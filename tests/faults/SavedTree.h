// A directory as it was at one moment, to be compared with what it is now, and to be put back.
#pragma once

#include <filesystem>
#include <map>
#include <string>

struct SavedFile {
    bool isDirectory = false;
    std::string content;                        // of a link, where it leads
    std::filesystem::file_time_type time = {};  // none for a directory
};

bool operator==(const SavedFile& left, const SavedFile& right);

class SavedTree {
  public:
    // Everything below `root`, except the file `passedOver`, which is neither looked at nor put
    // back.
    SavedTree(std::string root, std::string passedOver);

    // By path below the root, without a separator at either end.
    [[nodiscard]] const std::map<std::string, SavedFile>& files() const { return files_; }

    // The regular files below this directory, by path below it.
    [[nodiscard]] std::map<std::string, std::string> contents(const std::string& directory) const;

    // Makes the disk the same again, below `part` or ("") everywhere. The order in which the system
    // lists a directory is the same after each putting back.
    void putBack(const std::string& part = "") const;

  private:
    void removeAll(const std::string& part) const;
    void write(const std::string& name, const SavedFile& file) const;

    std::string root_;
    std::string passedOver_;
    std::map<std::string, SavedFile> files_;
};
