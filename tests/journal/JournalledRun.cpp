#include "tests/journal/JournalledRun.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <stdexcept>

namespace {

struct CutOff {};

void check(bool isDone, const std::string& what) {
    if (!isDone) {
        throw std::runtime_error("cannot " + what);
    }
}

FileState lookAtFile(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 ? stateOf(status) : FileState();
}

FileState staged(const std::string& content, time_t time) {
    FileState state;
    state.isThere = true;
    state.size = content.size();
    state.seconds = time;
    state.mode = 0644;
    return state;
}

std::string readFile(const std::string& path) {
    const ScopedFd fd(open(path.c_str(), O_RDONLY));
    std::string content;
    char block[4096];
    for (ssize_t count = 0; (count = read(fd.get(), block, sizeof block)) > 0;) {
        content.append(block, static_cast<size_t>(count));
    }
    return content;
}

void setTime(const std::string& path, time_t time) {
    const timespec times[2] = {{time, 0}, {time, 0}};
    check(utimensat(AT_FDCWD, path.c_str(), times, 0) == 0, "set the time of " + path);
}

}  // namespace

void Steps::next() {
    if (--left_ == 0) {
        throw CutOff();
    }
}

void JournalledRun::write(const std::string& path, int flags, mode_t mode,
                          const std::string& content) {
    steps_.next();
    const ScopedFd fd(open(path.c_str(), O_WRONLY | flags, mode));
    check(fd.isOpen(), "open " + path);
    const size_t half = content.size() / 2;
    steps_.next();
    check(::write(fd.get(), content.data(), half) >= 0, "write " + path);
    steps_.next();
    check(::write(fd.get(), content.data() + half, content.size() - half) >= 0, "write " + path);
}

JournalledRun& JournalledRun::in(const std::string& destination) {
    destination_ = destination;
    journal_.enter(path(destination).c_str());
    return *this;
}

JournalledRun& JournalledRun::makeDir(const std::string& name) {
    journal_.willMakeDir(path(name).c_str());
    steps_.next();
    check(mkdir(path(name).c_str(), 0755) == 0, "make " + name);
    return *this;
}

std::string JournalledRun::save(const std::string& name, const FileState& after) {
    const std::string store = destination_ + "/VC_Backup";
    if (access(path(store + "/3").c_str(), F_OK) != 0) {
        makeDir(store + "/3");
    }
    const FileState before = lookAtFile(path(name));
    int fd = -1;
    for (int number = 0; fd < 0; ++number) {
        saved_ = store + "/3/backup.00" + std::to_string(number);
        const std::string target = path(name);
        const std::string copy = path(saved_);
        check(journal_.willChange({target.c_str(), copy.c_str(), before, after}), "announce");
        steps_.next();
        fd = open(copy.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0644);
        check(fd >= 0 || journal_.savedNameWasTaken(), "void");
    }
    (void)close(fd);
    write(path(saved_), 0, 0, readFile(path(name)));
    steps_.next();
    setTime(path(saved_), before.seconds);
    copies_[name] = saved_;
    return path(saved_);
}

JournalledRun& JournalledRun::overwrite(const std::string& name, const std::string& content,
                                        time_t time) {
    (void)save(name, staged(content, time));
    write(path(name), O_TRUNC, 0, content);
    steps_.next();
    setTime(path(name), time);
    return *this;
}

JournalledRun& JournalledRun::defer(const std::string& name, const std::string& content,
                                    time_t time) {
    (void)save(name, staged(content, time));
    return *this;
}

JournalledRun& JournalledRun::add(const std::string& name, const std::string& content,
                                  time_t time) {
    const std::string target = path(name);
    check(journal_.willChange({target.c_str(), nullptr, {}, staged(content, time)}), "announce");
    write(target, O_CREAT | O_EXCL, 0644, content);
    steps_.next();
    setTime(target, time);
    return *this;
}

JournalledRun& JournalledRun::remove(const std::string& name) {
    (void)save(name, {});
    steps_.next();
    check(unlink(path(name).c_str()) == 0, "delete " + name);
    return *this;
}

JournalledRun& JournalledRun::merge(const std::string& content) {
    const std::string record = path(destination_ + "/VC_Backup/VcBackup.ini");
    check(journal_.willMerge(record.c_str()), "announce");
    write(record, O_CREAT | O_TRUNC, 0644, content);
    return *this;
}

JournalledRun& JournalledRun::drop(const std::string& savedCopy) {
    journal_.willDrop(path(savedCopy).c_str());
    return *this;
}

void JournalledRun::commit() {
    EXPECT_TRUE(journal_.commit().empty());
}

JournalledRun& JournalledRun::putBack(const std::string& name, const std::string& stuck) {
    const std::string copy = path(copies_.at(name));
    const FileState original = lookAtFile(copy);
    journal_.willPutBack(path(name).c_str());
    if (name == stuck) {
        write(path(name), O_CREAT | O_TRUNC, 0644, "tor");
        journal_.couldNotPutBack(path(name).c_str());
        return *this;
    }
    write(path(name), O_CREAT | O_TRUNC, 0644, readFile(copy));
    steps_.next();
    setTime(path(name), original.seconds);
    steps_.next();
    check(unlink(copy.c_str()) == 0, "delete " + copy);
    return *this;
}

JournalledRun& JournalledRun::removeAdded(const std::string& name) {
    steps_.next();
    check(unlink(path(name).c_str()) == 0, "delete " + name);
    return *this;
}

TimedNames timedNames(const TempTree& tree) {
    TimedNames names;
    for (const auto& [name, content] : tree.snapshot()) {
        const bool isDirectory = name.back() == '/';
        names[name] = isDirectory ? "" : std::to_string(tree.time(name)) + ": " + content;
    }
    return names;
}

bool endsAt(int step, const std::function<void(Steps&)>& body) {
    try {
        Steps steps(step);
        body(steps);
    } catch (const CutOff&) {
        return true;
    }
    return false;
}
