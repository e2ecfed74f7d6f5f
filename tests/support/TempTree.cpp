#include "tests/support/TempTree.h"

#include <sys/stat.h>
#include <utime.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace fs = std::filesystem;

namespace {

std::string readFile(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    std::ostringstream content;
    content << in.rdbuf();
    return content.str();
}

}  // namespace

TempTree::TempTree() {
    std::string pattern = (fs::temp_directory_path() / "kv-test-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) {
        throw std::runtime_error("no temporary directory: " + pattern);
    }
    path_ = pattern;
}

TempTree::~TempTree() {
    std::error_code ignored;
    // What a test made unreadable is made readable again, top down.
    fs::permissions(path_, fs::perms::owner_all, fs::perm_options::add, ignored);
    for (fs::recursive_directory_iterator it(path_, ignored), end; it != end;
         it.increment(ignored)) {
        if (it->is_directory(ignored) && !it->is_symlink(ignored)) {
            fs::permissions(it->path(), fs::perms::owner_all, fs::perm_options::add, ignored);
        }
    }
    fs::remove_all(path_, ignored);
}

std::string TempTree::makeDir(const std::string& name) const {
    fs::create_directories(path(name));
    return path(name);
}

std::string TempTree::write(const std::string& name, const std::string& content) const {
    const fs::path file(path(name));
    fs::create_directories(file.parent_path());
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    out << content;
    out.close();
    if (!out) {
        throw std::runtime_error("cannot write " + file.string());
    }
    return file.string();
}

std::string TempTree::read(const std::string& name) const {
    return readFile(path(name));
}

bool TempTree::exists(const std::string& name) const {
    return fs::exists(fs::symlink_status(path(name)));
}

void TempTree::setTime(const std::string& name, time_t seconds) const {
    const utimbuf times{seconds, seconds};
    if (utime(path(name).c_str(), &times) != 0) {
        throw std::runtime_error("cannot set the time of " + name);
    }
}

time_t TempTree::time(const std::string& name) const {
    struct stat status {};
    return stat(path(name).c_str(), &status) == 0 ? status.st_mtime : -1;
}

std::map<std::string, std::string> TempTree::snapshot(const std::string& name) const {
    std::map<std::string, std::string> entries;
    const fs::path top(name.empty() ? path_ : path(name));
    if (!fs::exists(top)) {
        return entries;
    }
    for (const auto& entry : fs::recursive_directory_iterator(top)) {
        const std::string relative = entry.path().lexically_relative(top).string();
        if (entry.is_directory() && !entry.is_symlink()) {
            entries[relative + "/"] = "";
        } else {
            entries[relative] = readFile(entry.path());
        }
    }
    return entries;
}
