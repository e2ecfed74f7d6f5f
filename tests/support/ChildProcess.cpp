#include "tests/support/ChildProcess.h"

#include <fcntl.h>
#include <grp.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <thread>

extern char** environ;

namespace {

constexpr int kNotRun = 127;

struct Pipe {
    ScopedFd reader;
    ScopedFd writer;

    Pipe() {
        int fds[2];
        if (pipe(fds) != 0) {
            throw std::runtime_error("no pipe");
        }
        reader.reset(fds[0]);
        writer.reset(fds[1]);
        // Nobody but the child may hold an end: the end of the output would not be seen.
        (void)fcntl(fds[0], F_SETFD, FD_CLOEXEC);
        (void)fcntl(fds[1], F_SETFD, FD_CLOEXEC);
    }
};

// Texts in the shape that execve wants. The texts must outlive the pointers.
std::vector<char*> pointersTo(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (std::string& text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

std::vector<std::string> environmentWith(const std::map<std::string, std::string>& added) {
    std::vector<std::string> variables;
    for (char** variable = environ; *variable != nullptr; ++variable) {
        const std::string text(*variable);
        if (added.count(text.substr(0, text.find('='))) == 0) {
            variables.push_back(text);
        }
    }
    for (const auto& [name, value] : added) {
        variables.push_back(name + "=" + value);
    }
    return variables;
}

// Everything that the child needs, made before the fork: after it only plain system calls are safe.
struct Prepared {
    explicit Prepared(const ChildCommand& command)
        : directory(command.directory),
          user(geteuid() == 0 ? command.user : 0),
          texts{std::filesystem::absolute(command.executable).string()},
          variables(environmentWith(command.environment)) {
        texts.insert(texts.end(), command.arguments.begin(), command.arguments.end());
        arguments = pointersTo(texts);
        environment = pointersTo(variables);
    }

    std::string directory;
    uid_t user;
    std::vector<std::string> texts;
    std::vector<std::string> variables;
    std::vector<char*> arguments;
    std::vector<char*> environment;
};

bool becomeUser(uid_t user) {
    return user == 0 || (setgroups(0, nullptr) == 0 && setgid(user) == 0 && setuid(user) == 0);
}

// Runs in the child. What fails is reported through `failure`, which a successful exec closes.
[[noreturn]] void become(const Prepared& prepared, int out, int err, int failure) {
    (void)setpgid(0, 0);
    const int in = open("/dev/null", O_RDONLY);
    const bool ready = dup2(in, STDIN_FILENO) >= 0 && dup2(out, STDOUT_FILENO) >= 0 &&
                       dup2(err, STDERR_FILENO) >= 0 &&
                       (prepared.directory.empty() || chdir(prepared.directory.c_str()) == 0) &&
                       becomeUser(prepared.user);
    if (ready) {
        (void)execve(prepared.arguments[0], prepared.arguments.data(), prepared.environment.data());
    }
    const int reason = errno;
    const ssize_t told = write(failure, &reason, sizeof(reason));
    _exit(told > 0 ? kNotRun : kNotRun - 1);
}

// The error number that the child reports, 0 when it runs its executable.
int failureOf(int reader) {
    int reason = 0;
    ssize_t got = 0;
    do {
        got = read(reader, &reason, sizeof(reason));
    } while (got < 0 && errno == EINTR);
    return got == static_cast<ssize_t>(sizeof(reason)) ? reason : 0;
}

// Reads what is there; closes the file at its end.
void readSome(ScopedFd& file, std::string& text) {
    char block[65536];
    const ssize_t got = read(file.get(), block, sizeof(block));
    if (got > 0) {
        text.append(block, static_cast<size_t>(got));
    } else if (got == 0 || errno != EINTR) {
        file.reset();
    }
}

}  // namespace

ChildProcess::ChildProcess(const ChildCommand& command) : end_(Clock::now() + command.limit) {
    const Prepared prepared(command);
    Pipe out;
    Pipe err;
    Pipe failure;
    id_ = fork();
    if (id_ == 0) {
        become(prepared, out.writer.get(), err.writer.get(), failure.writer.get());
    }
    failure.writer.reset();
    const int reason = id_ < 0 ? errno : failureOf(failure.reader.get());
    if (reason != 0) {
        if (id_ > 0) {
            (void)waitpid(id_, nullptr, 0);
        }
        throw std::runtime_error("cannot run " + command.executable + ": " + strerror(reason));
    }
    out_.reset(out.reader.release());
    err_.reset(err.reader.release());
}

ChildProcess::~ChildProcess() {
    if (id_ > 0) {
        kill();
        (void)waitpid(id_, nullptr, 0);
    }
}

void ChildProcess::kill() const {
    if (id_ > 0) {
        (void)::kill(-id_, SIGKILL);
    }
}

void ChildProcess::timeOut(ChildResult& result) const {
    result.timedOut = true;
    kill();
}

void ChildProcess::collect(ChildResult& result) {
    while (out_.isOpen() || err_.isOpen()) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(end_ - Clock::now()).count();
        if (left <= 0) {
            timeOut(result);
            return;
        }
        // A closed file has the number -1, which poll passes over.
        pollfd files[] = {{out_.get(), POLLIN, 0}, {err_.get(), POLLIN, 0}};
        (void)poll(files, 2, static_cast<int>(std::min<long long>(left, 1000)));
        if (files[0].revents != 0) {
            readSome(out_, result.out);
        }
        if (files[1].revents != 0) {
            readSome(err_, result.err);
        }
    }
}

void ChildProcess::reap(ChildResult& result) {
    int status = 0;
    // A child may close its output and run on.
    while (waitpid(id_, &status, WNOHANG) == 0) {
        if (!result.timedOut && Clock::now() >= end_) {
            timeOut(result);
        }
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
    id_ = -1;
    if (WIFSIGNALED(status)) {
        result.signal = WTERMSIG(status);
    } else {
        result.exitCode = WEXITSTATUS(status);
    }
}

ChildResult ChildProcess::wait() {
    ChildResult result;
    collect(result);
    reap(result);
    return result;
}

ChildResult runChild(const ChildCommand& command) {
    return ChildProcess(command).wait();
}
