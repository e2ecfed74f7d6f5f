#include "tests/faults/SavedTree.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <stdexcept>
#include <vector>

#include "base/KvScoped.h"

namespace fs = std::filesystem;

namespace {

constexpr mode_t kFileMode = 0644;

std::string readWhole(const std::string& path) {
    const ScopedFd file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
    struct stat status {};
    if (!file.isOpen() || fstat(file.get(), &status) != 0) {
        return "";
    }
    std::string content(static_cast<size_t>(status.st_size), '\0');
    const ssize_t got = read(file.get(), content.data(), content.size());
    content.resize(got > 0 ? static_cast<size_t>(got) : 0);
    return content;
}

bool isWithin(const std::string& name, const std::string& part) {
    return part.empty() || name == part || name.compare(0, part.size() + 1, part + "/") == 0;
}

SavedFile saved(const fs::directory_entry& entry) {
    SavedFile file;
    if (entry.is_symlink()) {
        file.content = "-> " + fs::read_symlink(entry.path()).string();
    } else if (entry.is_directory()) {
        file.isDirectory = true;
    } else {
        file.content = readWhole(entry.path().string());
        file.time = entry.last_write_time();
    }
    return file;
}

}  // namespace

bool operator==(const SavedFile& left, const SavedFile& right) {
    return left.isDirectory == right.isDirectory && left.time == right.time &&
           left.content == right.content;
}

SavedTree::SavedTree(std::string root, std::string passedOver)
    : root_(std::move(root)), passedOver_(std::move(passedOver)) {
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(root_)) {
        const std::string name = entry.path().string().substr(root_.size() + 1);
        if (name != passedOver_) {
            files_[name] = saved(entry);
        }
    }
}

std::map<std::string, std::string> SavedTree::contents(const std::string& directory) const {
    std::map<std::string, std::string> below;
    const std::string start = directory + "/";
    for (auto it = files_.lower_bound(start);
         it != files_.end() && it->first.compare(0, start.size(), start) == 0; ++it) {
        if (!it->second.isDirectory) {
            below[it->first.substr(start.size())] = it->second.content;
        }
    }
    return below;
}

void SavedTree::putBack(const std::string& part) const {
    removeAll(part);
    for (const auto& [name, file] : files_) {
        if (isWithin(name, part)) {
            write(name, file);
        }
    }
}

void SavedTree::removeAll(const std::string& part) const {
    if (!part.empty()) {
        fs::remove_all(root_ + "/" + part);
        return;
    }
    std::vector<fs::path> old;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(root_)) {
        old.push_back(entry.path());
    }
    // Contents before their directory; the one that holds what is passed over stays.
    for (auto it = old.rbegin(); it != old.rend(); ++it) {
        std::error_code notEmpty;
        if (*it != root_ + "/" + passedOver_) {
            fs::remove(*it, notEmpty);
        }
    }
}

void SavedTree::write(const std::string& name, const SavedFile& file) const {
    const std::string path = root_ + "/" + name;
    if (file.isDirectory) {
        fs::create_directory(path);
        return;
    }
    const ScopedFd out(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, kFileMode));
    if (::write(out.get(), file.content.data(), file.content.size()) !=
        static_cast<ssize_t>(file.content.size())) {
        throw std::runtime_error("cannot put back " + path);
    }
    fs::last_write_time(path, file.time);
}
