// A forked copy of the test that runs a function, and the one-word talk between the two: enough to
// bring two processes into a certain order without sleeping. To run another executable, see
// ChildProcess.
#pragma once

#include <sys/types.h>

#include <functional>

#include "base/KvScoped.h"

// One end of the talk. Words have no content; they are counted.
class Talk {
  public:
    explicit Talk(int fd) : fd_(fd) {}

    void tell() const;
    // Takes one word of the other side; false when none comes within the time, or none can come.
    [[nodiscard]] bool hears(int milliseconds = kPatience) const;

    static constexpr int kPatience = 20000;

  private:
    ScopedFd fd_;
};

class ForkedProcess {
  public:
    // Runs `body` in the child, whose exit code is the body's result. The child never outlives the
    // patience by much: an alarm ends it. No destructors of the test run in it.
    explicit ForkedProcess(const std::function<int(const Talk&)>& body);
    ~ForkedProcess();  // kills the child if it still runs
    ForkedProcess(const ForkedProcess&) = delete;
    ForkedProcess& operator=(const ForkedProcess&) = delete;

    [[nodiscard]] const Talk& talk() const { return talk_; }
    [[nodiscard]] pid_t id() const { return id_; }

    // Waits for the end; the exit code, or minus the number of the signal that ended the child.
    int finish();
    void kill();  // at once (SIGKILL), and waits for the end

  private:
    struct Ends {
        int parent;
        int child;
    };
    static Ends makeEnds();
    ForkedProcess(const std::function<int(const Talk&)>& body, Ends ends);

    Talk talk_;
    pid_t id_;
};
