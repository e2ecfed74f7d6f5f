#include "tests/support/ForkedProcess.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <stdexcept>

namespace {

#ifdef MSG_NOSIGNAL
constexpr int kSendFlags = MSG_NOSIGNAL;
#else
constexpr int kSendFlags = 0;  // macOS: the socket itself is told, see quietSocket
#endif

void quietSocket(int fd) {
#ifdef SO_NOSIGPIPE
    const int on = 1;
    (void)setsockopt(fd, SOL_SOCKET, SO_NOSIGPIPE, &on, sizeof(on));
#else
    (void)fd;
#endif
}

constexpr unsigned kLifetime = 2 * Talk::kPatience / 1000;

[[noreturn]] void runChild(const std::function<int(const Talk&)>& body, int fd) {
    alarm(kLifetime);
    int code = 99;
    try {
        const Talk talk(fd);
        code = body(talk);
    } catch (...) {
        // An exception must not reach the copy of the test behind this call.
    }
    _exit(code);
}

}  // namespace

void Talk::tell() const {
    const char word = '.';
    // A word to a side that has ended is lost, as is right.
    (void)send(fd_.get(), &word, 1, kSendFlags);
}

bool Talk::hears(int milliseconds) const {
    pollfd waiting{fd_.get(), POLLIN, 0};
    int ready = 0;
    do {
        ready = poll(&waiting, 1, milliseconds);
    } while (ready < 0 && errno == EINTR);
    char word = 0;
    return ready == 1 && recv(fd_.get(), &word, 1, 0) == 1;
}

ForkedProcess::Ends ForkedProcess::makeEnds() {
    int fds[2];
    if (socketpair(AF_UNIX, SOCK_STREAM, 0, fds) != 0) {
        throw std::runtime_error("no socket pair");
    }
    quietSocket(fds[0]);
    quietSocket(fds[1]);
    return {fds[0], fds[1]};
}

ForkedProcess::ForkedProcess(const std::function<int(const Talk&)>& body)
    : ForkedProcess(body, makeEnds()) {}

ForkedProcess::ForkedProcess(const std::function<int(const Talk&)>& body, Ends ends)
    : talk_(ends.parent), id_(fork()) {
    if (id_ == 0) {
        (void)close(ends.parent);
        runChild(body, ends.child);
    }
    (void)close(ends.child);
    if (id_ < 0) {
        throw std::runtime_error("cannot fork");
    }
}

ForkedProcess::~ForkedProcess() {
    kill();
}

int ForkedProcess::finish() {
    int status = 0;
    pid_t ended = 0;
    do {
        ended = waitpid(id_, &status, 0);
    } while (ended < 0 && errno == EINTR);
    id_ = -1;
    return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
}

void ForkedProcess::kill() {
    if (id_ > 0) {
        (void)::kill(id_, SIGKILL);
        (void)finish();
    }
}
