#include "tests/updater/UpdatedApp.h"

#include "store/KvBackupName.h"

namespace {

std::string number(unsigned value) {
    return std::to_string(value);
}

void appendList(std::string& text, const std::string& key, const std::vector<std::string>& list) {
    text += key + ".filecount=" + std::to_string(list.size()) + "\n";
    for (size_t i = 0; i < list.size(); ++i) {
        text += key + "." + std::to_string(i) + "=" + list[i] + "\n";
    }
}

}  // namespace

UpdatedApp::UpdatedApp(const TempTree& tree, const std::string& name)
    : tree_(tree), name_(name), path_(tree.makeDir(name)) {}

UpdatedApp& UpdatedApp::item(unsigned itemClass, unsigned type) {
    items_.push_back({itemClass, type, {}, {}});
    writeRecord();
    return *this;
}

UpdatedApp& UpdatedApp::added(const std::string& name) {
    tree_.write(name_ + "/" + name, "added " + name);
    items_.back().added.push_back(path(name));
    writeRecord();
    return *this;
}

UpdatedApp& UpdatedApp::written(const std::string& name) {
    char digits[4];
    r36tostr(copies_++, digits, sizeof digits);
    const std::string copy = std::string("backup.") + digits;
    tree_.write(name_ + "/" + name, "new " + name);
    tree_.write(name_ + "/" + store() + copy, "old " + name);
    return entry(copy + ", " + path(name));
}

UpdatedApp& UpdatedApp::entry(const std::string& text) {
    items_.back().written.push_back(text);
    writeRecord();
    return *this;
}

std::string UpdatedApp::read(const std::string& name) const {
    return tree_.read(name_ + "/" + name);
}

bool UpdatedApp::has(const std::string& name) const {
    return tree_.exists(name_ + "/" + name);
}

std::string UpdatedApp::store() const {
    const Item& last = items_.back();
    return "VC_Backup/" + number(last.itemClass) + "/" + number(last.type) + "/";
}

std::vector<std::string> UpdatedApp::files() const {
    std::vector<std::string> files;
    for (const auto& entry : tree_.snapshot(name_)) {
        if (entry.first.compare(0, 9, "VC_Backup") != 0) {
            files.push_back(entry.first + "=" + entry.second);
        }
    }
    return files;
}

void UpdatedApp::writeRecord() const {
    std::string text =
        "[common]\nitemcount=" + std::to_string(items_.size()) + "\npatchagent.version=1\n";
    for (size_t i = 0; i < items_.size(); ++i) {
        const Item& item = items_[i];
        const bool isPattern = item.itemClass == 3;
        text += "[item_" + std::to_string(i) + "]\nclass=" + number(item.itemClass) +
                "\ntype=" + number(item.type) +
                (isPattern ? "\norigin.version=100\nresult.version=101\n"
                           : "\norigin.version=5.2\nresult.version=6.0\n");
        appendList(text, "added", item.added);
        appendList(text, "written", item.written);
    }
    tree_.write(name_ + "/VC_Backup/VcBackup.ini", text);
}
