#include "tests/run/RecordModel.h"

#include <algorithm>
#include <map>
#include <sstream>

#include "fileop/KvDiskNames.h"

namespace {

using SectionText = std::map<std::string, std::string>;

std::vector<SectionText> parseSections(const std::string& text) {
    std::vector<SectionText> sections(1);
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        const size_t equals = line.find('=');
        if (!line.empty() && line[0] == '[') {
            sections.emplace_back();
        } else if (equals != std::string::npos) {
            sections.back()[line.substr(0, equals)] = line.substr(equals + 1);
        }
    }
    return sections;
}

std::vector<std::string> listOf(const SectionText& section, const std::string& name) {
    std::vector<std::string> values;
    for (;;) {
        const auto found = section.find(name + "." + std::to_string(values.size()));
        if (found == section.end()) {
            return values;
        }
        values.push_back(found->second);
    }
}

}  // namespace

RecordedItem& RecordedItem::adds(const std::string& path) {
    added.push_back(path);
    return *this;
}

RecordedItem& RecordedItem::saves(const std::string& number, const std::string& path) {
    written.push_back({kBackupFilePrefix + ("." + number), path});
    return *this;
}

std::string writtenLine(const std::string& number, const std::string& path) {
    return std::string("written.0=") + kBackupFilePrefix + "." + number + ", " + path + "\n";
}

RecordedItem recordedItem(unsigned itemClass, unsigned type) {
    return {itemClass, type, "100", "101", {}, {}};
}

std::string recordOf(const std::vector<RecordedItem>& items) {
    RecordModel record(1, std::nullopt);
    for (const RecordedItem& item : items) {
        (void)record.put(item);  // their numbers are their places
    }
    return record.text();
}

RecordModel::RecordModel(unsigned interfaceVersion, std::optional<std::string> agent)
    : interfaceVersion_(interfaceVersion), agent_(std::move(agent)) {}

const RecordedItem* RecordModel::find(unsigned itemClass, unsigned type) const {
    for (const Section& section : sections_) {
        if (section.item.itemClass == itemClass && section.item.type == type) {
            return &section.item;
        }
    }
    return nullptr;
}

unsigned RecordModel::put(const RecordedItem& item) {
    unsigned number = itemCount_;
    const auto former = std::find_if(sections_.begin(), sections_.end(), [&](const Section& each) {
        return each.item.itemClass == item.itemClass && each.item.type == item.type;
    });
    if (former == sections_.end()) {
        ++itemCount_;
    } else {
        number = former->number;
        sections_.erase(former);
    }
    sections_.push_back({number, item});
    // What was read from the file has lost the blank at its end.
    if (transaction_) {
        transaction_->erase(transaction_->find_last_not_of(' ') + 1);
    }
    return number;
}

void RecordModel::remove(unsigned itemClass, unsigned type) {
    sections_.erase(std::remove_if(sections_.begin(), sections_.end(),
                                   [&](const Section& each) {
                                       return each.item.itemClass == itemClass &&
                                              each.item.type == type;
                                   }),
                    sections_.end());
    std::sort(sections_.begin(), sections_.end(),
              [](const Section& left, const Section& right) { return left.number < right.number; });
    itemCount_ = 0;
    for (Section& section : sections_) {
        section.number = itemCount_++;
    }
    transaction_.reset();
}

void RecordModel::nameAgentInAnyCase() {
    agent_ = agent_.value_or("");
}

std::vector<std::pair<std::string, RecordModel::Keys>> RecordModel::sections() const {
    Keys common = {{"itemcount", std::to_string(itemCount_)},
                   {"patchagent.version", std::to_string(interfaceVersion_)}};
    if (agent_) {
        common.emplace_back("patchagent", *agent_);
    }
    if (transaction_) {
        common.emplace_back("transaction", *transaction_);
    }
    std::vector<std::pair<std::string, Keys>> all = {{"common", common}};
    for (const auto& [number, item] : sections_) {
        Keys keys = {{"class", std::to_string(item.itemClass)},
                     {"type", std::to_string(item.type)},
                     {"origin.version", item.origin},
                     {"result.version", item.result},
                     {"added.filecount", std::to_string(item.added.size())}};
        for (size_t i = 0; i < item.added.size(); ++i) {
            keys.emplace_back("added." + std::to_string(i), item.added[i]);
        }
        keys.emplace_back("written.filecount", std::to_string(item.written.size()));
        for (size_t i = 0; i < item.written.size(); ++i) {
            keys.emplace_back("written." + std::to_string(i),
                              item.written[i].backupName + ", " + item.written[i].target);
        }
        all.emplace_back("item_" + std::to_string(number), keys);
    }
    return all;
}

std::string RecordModel::text() const {
    std::string lines;
    for (const auto& [name, keys] : sections()) {
        lines += "[" + name + "]\n";
        for (const auto& [key, value] : keys) {
            lines += key + "=" + value + "\n";
        }
    }
    return lines;
}

bool RecordModel::mentions(const std::string& what) const {
    for (const auto& section : sections()) {
        for (const auto& key : section.second) {
            if (key.second.find(what) != std::string::npos) {
                return true;
            }
        }
    }
    return false;
}

ListedFiles listedFiles(const std::string& recordText, unsigned itemClass, unsigned type) {
    for (SectionText& section : parseSections(recordText)) {
        if (section["class"] == std::to_string(itemClass) &&
            section["type"] == std::to_string(type)) {
            ListedFiles files{listOf(section, "added"), listOf(section, "written")};
            for (std::string& entry : files.written) {
                entry = entry.substr(std::min(entry.size(), entry.find(", ") + 2));
            }
            return files;
        }
    }
    return {};
}
