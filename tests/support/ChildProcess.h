// Runs an executable, without a shell, and tells what became of it.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <map>
#include <string>
#include <vector>

#include "base/KvScoped.h"

struct ChildCommand {
    std::string executable;  // a path, absolute or from the test's working directory; not searched
    std::vector<std::string> arguments = {};              // without the executable's name
    std::string directory = {};                           // working directory; "" is the test's own
    std::map<std::string, std::string> environment = {};  // set beside the test's own variables
    std::chrono::milliseconds limit = std::chrono::seconds(30);  // then the child is killed
    // The child of a test that runs as root becomes this user; 0, or another test: no change.
    uid_t user = 0;
};

struct ChildResult {
    int exitCode = -1;      // -1 when a signal ended the child
    int signal = 0;         // the signal that ended the child; 0 when it exited
    bool timedOut = false;  // the time was up, and SIGKILL was sent
    std::string out;        // all of its standard output
    std::string err;        // all of its standard error
};

// A child that runs beside the test. Its standard input is empty; it leads a process group of its
// own, so that what it starts is killed with it. Its output is read by `wait`: a child that writes
// more than a pipe holds stops there until then.
class ChildProcess {
  public:
    // Throws std::runtime_error when the executable cannot be run or the directory not be entered.
    explicit ChildProcess(const ChildCommand& command);
    ~ChildProcess();  // kills what still runs
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    [[nodiscard]] pid_t id() const { return id_; }
    void kill() const;  // SIGKILL, for the whole group

    // Once: waits until the child has ended and its output is complete. Output that something else
    // holds open beyond the child's end is waited for, too, until the time is up.
    ChildResult wait();

  private:
    using Clock = std::chrono::steady_clock;

    void collect(ChildResult& result);
    void reap(ChildResult& result);
    void timeOut(ChildResult& result) const;

    Clock::time_point end_;
    ScopedFd out_;
    ScopedFd err_;
    pid_t id_ = -1;
};

// Runs the command to its end.
ChildResult runChild(const ChildCommand& command);
