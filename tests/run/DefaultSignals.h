// The signals that a test is about as a program usually finds them, whatever the test itself was
// started with: a shell lets its background jobs ignore some of them.
#pragma once

#include <array>
#include <csignal>

class DefaultSignals {
  public:
    DefaultSignals() {
        for (size_t i = 0; i < kSignals.size(); ++i) {
            before_[i] = std::signal(kSignals[i], SIG_DFL);
        }
    }
    ~DefaultSignals() {
        for (size_t i = 0; i < kSignals.size(); ++i) {
            (void)std::signal(kSignals[i], before_[i]);
        }
    }
    DefaultSignals(const DefaultSignals&) = delete;
    DefaultSignals& operator=(const DefaultSignals&) = delete;

  private:
    static constexpr std::array<int, 5> kSignals = {SIGTERM, SIGINT, SIGHUP, SIGPIPE, SIGXFSZ};
    std::array<void (*)(int), kSignals.size()> before_{};
};
