#include "tests/log/LogDir.h"

#include <pthread.h>
#include <unistd.h>

#include <cstdint>

#include "base/KvText.h"
#include "log/KvVcEventManager.h"
#include "log/KvVcLog.h"

LogDir::LogDir(const std::string& config) : codePage_(GetCurrentCharType()) {
    configure(config);
}

LogDir::~LogDir() {
    (void)tree_.write("vccfg.ini", "");
    g_pEventManager->resetVCPath(tree_.path().c_str());
    g_pEventManager->redirectToCallback(nullptr, nullptr);
    SetCurrentCharType(codePage_);
}

void LogDir::configure(const std::string& config) const {
    (void)tree_.write("vccfg.ini", config);
    g_pEventManager->resetVCPath(tree_.path().c_str());
}

std::string LogDir::readIfThere(const std::string& name) const {
    return tree_.exists(name) ? tree_.read(name) : "";
}

namespace {

int note(int first, void* text, void* data) {
    auto* overheard = static_cast<Overheard*>(data);
    overheard->firstArguments.push_back(first);
    overheard->texts.emplace_back(static_cast<const char*>(text));
    return 0;
}

constexpr int kCallsBetweenMeasures = 99;

}  // namespace

Overheard::Overheard() {
    g_pEventManager->redirectToCallback(note, this);
}

Overheard::~Overheard() {
    g_pEventManager->redirectToCallback(nullptr, nullptr);
}

std::string processNumber() {
    return std::to_string(static_cast<uint32_t>(getpid()));
}

std::string threadNumber() {
    return std::to_string(static_cast<uint32_t>((uintptr_t)pthread_self()));
}

void letNextCallsNotMeasure() {
    // A missing file is answered with true by the calls that look, and only by those.
    while (!checkLogFileSize("/missing/log")) {
    }
}

void letNextCallMeasure() {
    letNextCallsNotMeasure();
    for (int i = 0; i < kCallsBetweenMeasures; ++i) {
        (void)checkLogFileSize("/missing/log");  // only counts
    }
}
