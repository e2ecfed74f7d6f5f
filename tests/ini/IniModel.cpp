#include "tests/ini/IniModel.h"

#include <algorithm>

namespace {

const char* const kSpace = "\n \r\t\f";

std::string trimmed(const std::string& text) {
    const size_t first = text.find_first_not_of(kSpace);
    if (first == std::string::npos) {
        return "";
    }
    return text.substr(first, text.find_last_not_of(kSpace) - first + 1);
}

// As a C text: up to the first NUL.
std::string visible(const std::string& text) {
    return text.substr(0, text.find('\0'));
}

std::string lower(std::string text) {
    for (char& ch : text) {
        if (ch >= 'A' && ch <= 'Z') {
            ch = static_cast<char>(ch + 32);
        }
    }
    return text;
}

}  // namespace

IniModel::IniModel(const std::string& text, const Rules& rules) : rules_(rules) {
    std::string pending;
    size_t begin = 0;
    for (size_t end = text.find('\n'); end != std::string::npos; end = text.find('\n', begin)) {
        takeLine(text.substr(begin, end - begin), true, pending);
        begin = end + 1;
    }
    takeLine(text.substr(begin), false, pending);
    trailer_ = pending;
}

void IniModel::takeLine(const std::string& line, bool ended, std::string& pending) {
    const std::string kept = trimmed(line);
    const size_t separator = visible(kept).find(rules_.separator);
    if (isHeader(kept)) {
        sections_.push_back({trimmed(kept.substr(1, kept.size() - 2)), pending, "", {}});
        pending.clear();
    } else if (!kept.empty() && kept[0] != rules_.commentChar && separator > 0 &&
               separator != std::string::npos) {
        sections_.back().keys.push_back(
            {trimmed(kept.substr(0, separator)), trimmed(kept.substr(separator + 1)), pending, ""});
        pending.clear();
    } else {
        pending += kept + (ended ? "\n" : "");
    }
}

bool IniModel::isHeader(const std::string& line) const {
    if (line.size() < 2 || line.front() != '[' || line.back() != ']') {
        return false;
    }
    if (rules_.isLead == nullptr || line.find('\0') != std::string::npos) {
        return true;
    }
    // An odd run of lead bytes right before the bracket takes it as its second half.
    size_t run = 0;
    while (rules_.isLead(static_cast<unsigned char>(line[line.size() - 2 - run]))) {
        ++run;
    }
    return run % 2 == 0;
}

bool IniModel::same(const std::string& stored, const std::string& wanted) const {
    const std::string a = visible(stored);
    return rules_.caseSensitive ? a == wanted : lower(a) == lower(wanted);
}

bool IniModel::startsWith(const std::string& name, const std::string& prefix) const {
    return same(visible(name).substr(0, prefix.size()), prefix);
}

size_t IniModel::sectionAt(const Text& name) const {
    const std::string wanted = trimmed(name.value_or(""));
    for (size_t i = 0; i < sections_.size(); ++i) {
        if (same(sections_[i].name, wanted)) {
            return i;
        }
    }
    return none();
}

size_t IniModel::keyAt(size_t section, const std::string& name) const {
    const std::string wanted = trimmed(name);
    for (size_t i = 0; section != none() && i < sections_[section].keys.size(); ++i) {
        if (same(sections_[section].keys[i].name, wanted)) {
            return i;
        }
    }
    return none();
}

IniModel::Text IniModel::get(const Text& section, const Text& key) const {
    if (key.value_or("").empty()) {
        return std::nullopt;
    }
    const size_t s = sectionAt(section);
    const size_t k = keyAt(s, *key);
    return k == none() ? Text() : Text(visible(sections_[s].keys[k].value));
}

void IniModel::set(const Text& section, const Text& key, const Text& value) {
    if (key.value_or("").empty()) {
        return;
    }
    const size_t s = sectionAt(section);
    const size_t k = keyAt(s, *key);
    if (k == none()) {
        add(section, key, value);
    } else {
        sections_[s].keys[k].value = value.value_or("");
        modified_ = true;
    }
}

void IniModel::add(const Text& section, const Text& key, const Text& value) {
    if (key.value_or("").empty()) {
        return;
    }
    size_t s = sectionAt(section);
    if (s == none()) {
        s = sections_.size();
        sections_.push_back({*section, "", "", {}});
    }
    sections_[s].keys.push_back({*key, value.value_or(""), "", ""});
    modified_ = true;
}

void IniModel::del(const Text& section) {
    const size_t s = sectionAt(section);
    if (s == none() || (s == 0 && sections_[0].keys.empty())) {
        return;
    }
    modified_ = true;
    if (s == 0) {
        sections_[0].keys.clear();
    } else {
        sections_.erase(sections_.begin() + static_cast<std::ptrdiff_t>(s));
    }
}

void IniModel::del(const Text& section, const Text& key) {
    const size_t s = sectionAt(section);
    const size_t k = key ? keyAt(s, *key) : none();
    if (k == none()) {
        return;
    }
    modified_ = true;
    std::vector<Key>& keys = sections_[s].keys;
    std::string& heir = k == 0 ? sections_[s].afterHeader : keys[k - 1].trailing;
    heir += keys[k].leading + keys[k].trailing;
    keys.erase(keys.begin() + static_cast<std::ptrdiff_t>(k));
}

std::vector<std::string> IniModel::find(const Text& pattern, const Text& section) const {
    std::vector<std::string> found;
    const size_t s = sectionAt(section);
    for (size_t k = 0; pattern && s != none() && k < sections_[s].keys.size(); ++k) {
        const Key& key = sections_[s].keys[k];
        if (visible(key.value).find(*pattern) != std::string::npos) {
            found.push_back(key.name);
        }
    }
    return found;
}

std::vector<std::string> IniModel::find(const Text& pattern) const {
    std::vector<std::string> found;
    for (size_t s = 1; pattern && s < sections_.size(); ++s) {
        const std::vector<Key>& keys = sections_[s].keys;
        if (std::any_of(keys.begin(), keys.end(), [&](const Key& key) {
                return visible(key.value).find(*pattern) != std::string::npos;
            })) {
            found.push_back(sections_[s].name);
        }
    }
    return found;
}

std::vector<std::string> IniModel::findKey(const Text& prefix, const Text& section) const {
    std::vector<std::string> found;
    const size_t s = sectionAt(section);
    for (size_t k = 0; prefix && s != none() && k < sections_[s].keys.size(); ++k) {
        if (startsWith(sections_[s].keys[k].name, trimmed(*prefix))) {
            found.push_back(sections_[s].keys[k].name);
        }
    }
    return found;
}

std::vector<std::string> IniModel::findSection(const Text& prefix) const {
    std::vector<std::string> found;
    for (size_t s = 1; prefix && s < sections_.size(); ++s) {
        if (startsWith(sections_[s].name, trimmed(*prefix))) {
            found.push_back(sections_[s].name);
        }
    }
    return found;
}

std::string IniModel::dump() const {
    std::string text;
    for (const Section& section : sections_) {
        text += section.leading;
        text += section.name.empty() ? "" : "[" + section.name + "]\n";
        text += section.afterHeader;
        for (const Key& key : section.keys) {
            text += key.leading + key.name + "=" + key.value + "\n" + key.trailing;
        }
    }
    return text + trailer_;
}
