// An INI document as simple as it can be written: the reference that the engine is compared with.
// It shares no code with the engine; every operation walks everything.
#pragma once

#include <optional>
#include <string>
#include <vector>

class IniModel {
  public:
    struct Rules {
        char commentChar = ';';
        bool caseSensitive = false;
        char separator = '=';
        // Under these lead bytes a "]" may be the second half of a character.
        bool (*isLead)(unsigned char byte) = nullptr;
    };
    // What may be null in the engine is an optional here.
    using Text = std::optional<std::string>;

    IniModel(const std::string& text, const Rules& rules);

    [[nodiscard]] Text get(const Text& section, const Text& key) const;
    void set(const Text& section, const Text& key, const Text& value);
    void add(const Text& section, const Text& key, const Text& value);
    void del(const Text& section);
    void del(const Text& section, const Text& key);
    [[nodiscard]] std::vector<std::string> find(const Text& pattern, const Text& section) const;
    [[nodiscard]] std::vector<std::string> find(const Text& pattern) const;
    [[nodiscard]] std::vector<std::string> findKey(const Text& prefix, const Text& section) const;
    [[nodiscard]] std::vector<std::string> findSection(const Text& prefix) const;
    [[nodiscard]] bool hasNonGlobalSection() const { return sections_.size() > 1; }
    [[nodiscard]] std::string dump() const;
    [[nodiscard]] bool isModified() const { return modified_; }

  private:
    struct Key {
        std::string name, value, leading, trailing;
    };
    struct Section {
        std::string name, leading, afterHeader;
        std::vector<Key> keys;
    };

    void takeLine(const std::string& line, bool ended, std::string& pending);
    [[nodiscard]] bool isHeader(const std::string& line) const;
    [[nodiscard]] bool same(const std::string& stored, const std::string& wanted) const;
    [[nodiscard]] bool startsWith(const std::string& name, const std::string& prefix) const;
    // Positions; none() when there is no such name.
    [[nodiscard]] size_t sectionAt(const Text& name) const;
    [[nodiscard]] static size_t none() { return static_cast<size_t>(-1); }
    [[nodiscard]] size_t keyAt(size_t section, const std::string& name) const;

    Rules rules_;
    std::vector<Section> sections_{Section{}};
    std::string trailer_;
    bool modified_ = false;
};
