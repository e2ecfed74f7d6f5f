// What the file tests ask of the process itself.
#pragma once

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

constexpr int kChildFailed = 1000;

// Runs `work` in a child process that permissions apply to (root becomes nobody there) and returns
// its result, -128 to 127; kChildFailed when the child ended in another way.

template <typename Work>
int resultInChild(const Work& work) {
    const pid_t child = fork();
    if (child == 0) {
        constexpr unsigned int kNobody = 65534;
        if (geteuid() == 0 && (setgid(kNobody) != 0 || setuid(kNobody) != 0)) {
            abort();
        }
        _exit(work() & 0xFF);
    }
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child || !WIFEXITED(status)) {
        return kChildFailed;
    }
    return static_cast<signed char>(WEXITSTATUS(status));
}

// The number that the next descriptor would get: it stays the same when nothing is left open.
inline int nextDescriptor() {
    const int fd = dup(0);
    (void)close(fd);
    return fd;
}

// At most `count` descriptors for the lifetime of the object.
class FewDescriptors {
  public:
    explicit FewDescriptors(int count) {
        (void)getrlimit(RLIMIT_NOFILE, &before_);
        const rlimit few{static_cast<rlim_t>(count), before_.rlim_max};
        (void)setrlimit(RLIMIT_NOFILE, &few);
    }
    ~FewDescriptors() { (void)setrlimit(RLIMIT_NOFILE, &before_); }
    FewDescriptors(const FewDescriptors&) = delete;
    FewDescriptors& operator=(const FewDescriptors&) = delete;

  private:
    rlimit before_{};
};

// The working directory for the lifetime of the object.
class WorkingDir {
  public:
    explicit WorkingDir(const std::string& path) {
        char buffer[4096];
        before_ = getcwd(buffer, sizeof(buffer)) != nullptr ? buffer : "/";
        (void)!chdir(path.c_str());
    }
    ~WorkingDir() { (void)!chdir(before_.c_str()); }
    WorkingDir(const WorkingDir&) = delete;
    WorkingDir& operator=(const WorkingDir&) = delete;

  private:
    std::string before_;
};
