// A patch description of a test: a complete one with as many items as wanted, from which a test
// drops or changes single keys, and the structure that it is read into.
#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "ini/KvIniUtil.h"
#include "patch/KvUpdateStru.h"

class DescriptionText {
  public:
    explicit DescriptionText(int items = 1) {
        common_ = {{"itemcount", std::to_string(items)},
                   {"patchagent.version", "1"},
                   {"action", "0"},
                   {"velocore_path", "/opt/velocore"}};
        for (int i = 0; i < items; ++i) {
            items_.push_back({{"class", "1"},
                              {"type", "7"},
                              {"origin.version", "5.2.1234"},
                              {"result.version", "5.3"},
                              {"destination", "/opt/app"}});
        }
    }

    DescriptionText& set(const std::string& key, const std::string& value) {
        common_[key] = value;
        return *this;
    }
    DescriptionText& setItem(size_t index, const std::string& key, const std::string& value) {
        items_[index][key] = value;
        return *this;
    }
    DescriptionText& drop(const std::string& key) {
        common_.erase(key);
        return *this;
    }
    DescriptionText& dropItem(size_t index, const std::string& key) {
        items_[index].erase(key);
        return *this;
    }

    [[nodiscard]] std::string text() const {
        std::string text = section("common", common_);
        for (size_t i = 0; i < items_.size(); ++i) {
            text += section("item_" + std::to_string(i), items_[i]);
        }
        return text;
    }

  private:
    using Keys = std::map<std::string, std::string>;

    static std::string section(const std::string& name, const Keys& keys) {
        std::string text = "[" + name + "]\n";
        for (const auto& key : keys) {
            text += key.first + "=" + key.second + "\n";
        }
        return text;
    }

    Keys common_;
    std::vector<Keys> items_;
};

// What is read from a description, released at the end.
class ReadDescription {
  public:
    explicit ReadDescription(const std::string& text) {
        const KvIniUtil document(text.c_str(), ';', false, true, '=');
        result_ = phaseIniForUpdate(&document, &stru_);
    }
    explicit ReadDescription(const DescriptionText& text) : ReadDescription(text.text()) {}
    ~ReadDescription() { freeUpdateStru(&stru_); }
    ReadDescription(const ReadDescription&) = delete;
    ReadDescription& operator=(const ReadDescription&) = delete;

    [[nodiscard]] int32_t result() const { return result_; }
    [[nodiscard]] updateStru* stru() { return &stru_; }
    const updateStru* operator->() const { return &stru_; }

  private:
    updateStru stru_{};
    int32_t result_;
};
