#include "updater/KvSignals.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

#include "tests/support/ForkedProcess.h"
#include "tests/support/TempTree.h"

namespace {

// Each body runs in a process of its own: what it does to signals and descriptors ends with it.
int runAlone(int (*body)()) {
    ForkedProcess process([body](const Talk&) { return body(); });
    return process.finish();
}

const int kEndSignals[] = {SIGTERM, SIGINT, SIGHUP};

TEST(KvSignals, AnEndSignalBeforeTheFirstWordEndsTheProcess) {
    for (const int signal : kEndSignals) {
        ForkedProcess process([signal](const Talk&) {
            const SignalScope scope;
            (void)raise(signal);
            return 0;
        });
        EXPECT_EQ(process.finish(), -signal);
    }
}

TEST(KvSignals, AnEndSignalWhileListeningIsACancel) {
    for (const int signal : kEndSignals) {
        ForkedProcess process([signal](const Talk&) {
            const SignalScope scope;
            listenForCancel();
            const bool before = isCancelled();
            (void)raise(signal);
            (void)raise(signal);  // a second one is no different
            return !before && isCancelled() ? 7 : 1;
        });
        EXPECT_EQ(process.finish(), 7) << signal;
    }
}

TEST(KvSignals, AfterTheRunAnEndSignalEndsTheProcessAgain) {
    EXPECT_EQ(runAlone([] {
                  {
                      const SignalScope scope;
                      listenForCancel();
                  }
                  (void)raise(SIGTERM);
                  return 0;
              }),
              -SIGTERM);
}

TEST(KvSignals, WithoutAScopeNothingIsListenedFor) {
    EXPECT_EQ(runAlone([] {
                  listenForCancel();
                  (void)raise(SIGINT);
                  return 0;
              }),
              -SIGINT);
}

TEST(KvSignals, AnIgnoredSignalStaysIgnored) {
    EXPECT_EQ(runAlone([] {
                  (void)signal(SIGHUP, SIG_IGN);
                  (void)signal(SIGPIPE, SIG_IGN);
                  const SignalScope scope;
                  listenForCancel();
                  (void)raise(SIGHUP);
                  struct sigaction hup {};
                  struct sigaction pipe {};
                  (void)sigaction(SIGHUP, nullptr, &hup);
                  (void)sigaction(SIGPIPE, nullptr, &pipe);
                  const bool areIgnored = hup.sa_handler == SIG_IGN && pipe.sa_handler == SIG_IGN;
                  return areIgnored && !isCancelled() ? 7 : 1;
              }),
              7);
}

TEST(KvSignals, ABrokenPipeOnlyFailsTheWrite) {
    EXPECT_EQ(runAlone([] {
                  const SignalScope scope;
                  int ends[2];
                  if (pipe(ends) != 0 || close(ends[0]) != 0) {
                      return 1;
                  }
                  return write(ends[1], "x", 1) == -1 && errno == EPIPE ? 7 : 2;
              }),
              7);
}

TEST(KvSignals, ASizeLimitOnlyFailsTheWrite) {
    const TempTree tree;
    const std::string file = tree.path("full");
    ForkedProcess process([&file](const Talk&) {
        const SignalScope scope;
        const rlimit none{0, RLIM_INFINITY};
        const int fd = open(file.c_str(), O_WRONLY | O_CREAT, 0600);
        if (fd < 0 || setrlimit(RLIMIT_FSIZE, &none) != 0) {
            return 1;
        }
        return write(fd, "x", 1) == -1 && errno == EFBIG ? 7 : 2;
    });
    EXPECT_EQ(process.finish(), 7);
}

TEST(KvSignals, AProgramThatIsStartedInheritsNothing) {
    EXPECT_EQ(runAlone([] {
                  const SignalScope scope;
                  listenForCancel();
                  const pid_t child = fork();
                  if (child == 0) {
                      (void)execl("/bin/sh", "sh", "-c", "kill -TERM $$; sleep 20", nullptr);
                      _exit(1);
                  }
                  int status = 0;
                  (void)waitpid(child, &status, 0);
                  return WIFSIGNALED(status) && WTERMSIG(status) == SIGTERM ? 7 : 2;
              }),
              7);
}

TEST(KvSignals, AWaitingCallGoesOnAfterACancel) {
    EXPECT_EQ(runAlone([] {
                  const SignalScope scope;
                  listenForCancel();
                  int ends[2];
                  if (pipe(ends) != 0) {
                      return 1;
                  }
                  const pid_t parent = getpid();
                  const pid_t child = fork();
                  if (child == 0) {
                      // The read below waits, or is about to; the byte comes after the signal.
                      (void)usleep(50000);
                      (void)kill(parent, SIGTERM);
                      (void)usleep(50000);
                      _exit(write(ends[1], "x", 1) == 1 ? 0 : 1);
                  }
                  char byte = '\0';
                  const bool isRead = read(ends[0], &byte, 1) == 1;
                  (void)waitpid(child, nullptr, 0);
                  return isRead && isCancelled() ? 7 : 2;
              }),
              7);
}

TEST(KvSignals, ClosedStandardStreamsLeadToTheNullDevice) {
    const TempTree tree;
    const std::string file = tree.path("file");
    ForkedProcess process([&file](const Talk&) {
        for (int fd = 0; fd <= 2; ++fd) {
            (void)close(fd);
        }
        const SignalScope scope;
        const int next = open(file.c_str(), O_WRONLY | O_CREAT, 0600);
        return next > 2 && write(1, "text", 4) == 4 && read(0, nullptr, 0) == 0 ? 7 : 2;
    });
    EXPECT_EQ(process.finish(), 7);
    EXPECT_EQ(tree.read("file"), "");
}

TEST(KvSignals, OpenStandardStreamsStayWhatTheyAre) {
    const TempTree tree;
    const std::string file = tree.path("out");
    ForkedProcess process([&file](const Talk&) {
        const int out = open(file.c_str(), O_WRONLY | O_CREAT, 0600);
        if (dup2(out, STDOUT_FILENO) < 0) {
            return 1;
        }
        (void)close(STDIN_FILENO);
        const SignalScope scope;
        return write(STDOUT_FILENO, "kept", 4) == 4 ? 7 : 2;
    });
    EXPECT_EQ(process.finish(), 7);
    EXPECT_EQ(tree.read("out"), "kept");
}

}  // namespace
