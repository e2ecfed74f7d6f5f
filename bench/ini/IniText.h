// The documents that the benchmarks load: sections of equal size, one line a key.
#pragma once

#include <fstream>
#include <string>
#include <vector>

#include "bench/support/Workplace.h"

class IniText {
  public:
    IniText(int64_t sections, int64_t keysPerSection) {
        std::string text;
        for (int64_t s = 0; s < sections; ++s) {
            sections_.push_back("item_" + std::to_string(s));
            text += "[" + sections_.back() + "]\n";
            for (int64_t k = 0; k < keysPerSection; ++k) {
                text += "file" + std::to_string(k) + "=lib/module" + std::to_string(k) +
                        ".dat,backup." + std::to_string(s) + "\n";
            }
        }
        for (int64_t k = 0; k < keysPerSection; ++k) {
            keys_.push_back("file" + std::to_string(k));
        }
        std::ofstream(path_) << text;
        size_ = static_cast<int64_t>(text.size());
    }

    [[nodiscard]] const char* path() const { return path_.c_str(); }
    [[nodiscard]] int64_t size() const { return size_; }
    [[nodiscard]] const std::vector<std::string>& sections() const { return sections_; }
    // The keys of every section.
    [[nodiscard]] const std::vector<std::string>& keys() const { return keys_; }
    [[nodiscard]] int64_t keyCount() const {
        return static_cast<int64_t>(sections_.size() * keys_.size());
    }

    // Calls `use(section, key)` for every key of the document, in its order.
    template <typename Use>
    void forEachKey(Use use) const {
        for (const std::string& section : sections_) {
            for (const std::string& key : keys_) {
                use(section.c_str(), key.c_str());
            }
        }
    }

  private:
    Workplace place_;
    std::string path_ = place_.path("document.ini");
    int64_t size_ = 0;
    std::vector<std::string> sections_;
    std::vector<std::string> keys_;
};
