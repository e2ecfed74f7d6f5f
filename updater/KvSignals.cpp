#include "updater/KvSignals.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

namespace {

volatile sig_atomic_t s_cancelled = 0;

void doNothing(int /*signal*/) {}

void noteCancel(int /*signal*/) {
    s_cancelled = 1;
}

// One signal for as long as the run handles it.
struct Handled {
    int signal;
    void (*handler)(int);
    struct sigaction before {};
    bool isInstalled = false;

    void install() {
        if (isInstalled || sigaction(signal, nullptr, &before) != 0 ||
            before.sa_handler == SIG_IGN) {
            return;
        }
        struct sigaction own {};
        own.sa_handler = handler;
        own.sa_flags = SA_RESTART;
        (void)sigemptyset(&own.sa_mask);
        isInstalled = sigaction(signal, &own, nullptr) == 0;
    }

    void remove() {
        struct sigaction present {};
        // What the agent has put in the handler's place is the agent's to keep.
        if (isInstalled && sigaction(signal, nullptr, &present) == 0 &&
            present.sa_handler == handler) {
            (void)sigaction(signal, &before, nullptr);
        }
        isInstalled = false;
    }
};

Handled s_failingWrites[] = {{SIGPIPE, doNothing}, {SIGXFSZ, doNothing}};
Handled s_endOfProcess[] = {{SIGTERM, noteCancel}, {SIGINT, noteCancel}, {SIGHUP, noteCancel}};
bool s_isScoped = false;

void openClosedStandardStreams() {
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd) {
        if (fcntl(fd, F_GETFD) == -1 && errno == EBADF) {
            // Gets this number, the lowest that is free. Without a null device it stays closed.
            (void)open("/dev/null", O_RDWR);
        }
    }
}

}  // namespace

SignalScope::SignalScope() {
    openClosedStandardStreams();
    for (Handled& each : s_failingWrites) {
        each.install();
    }
    s_cancelled = 0;
    s_isScoped = true;
}

SignalScope::~SignalScope() {
    s_isScoped = false;
    for (Handled& each : s_endOfProcess) {
        each.remove();
    }
    for (Handled& each : s_failingWrites) {
        each.remove();
    }
}

void listenForCancel() {
    if (!s_isScoped) {
        return;
    }
    for (Handled& each : s_endOfProcess) {
        each.install();
    }
}

bool isCancelled() {
    return s_cancelled != 0;
}
