// A fresh directory that lives as long as the object, and the few words that tests need to fill it
// and to look at it. Names are relative to the directory.
#pragma once

#include <ctime>
#include <map>
#include <string>

class TempTree {
  public:
    TempTree();
    ~TempTree();  // removes everything, whatever its permissions have become
    TempTree(const TempTree&) = delete;
    TempTree& operator=(const TempTree&) = delete;

    // The directory itself, without a trailing separator.
    [[nodiscard]] const std::string& path() const { return path_; }
    [[nodiscard]] std::string path(const std::string& name) const { return path_ + "/" + name; }

    // Make a directory, or a file with this content, with all missing parents; return its path.
    std::string makeDir(const std::string& name) const;
    std::string write(const std::string& name, const std::string& content) const;

    [[nodiscard]] std::string read(const std::string& name) const;
    [[nodiscard]] bool exists(const std::string& name) const;

    // Modification time in whole seconds.
    void setTime(const std::string& name, time_t seconds) const;
    [[nodiscard]] time_t time(const std::string& name) const;

    // Everything below `name`: each file's content by its relative path; a directory's path ends
    // with '/' and has no content.
    [[nodiscard]] std::map<std::string, std::string> snapshot(const std::string& name = "") const;

  private:
    std::string path_;
};
