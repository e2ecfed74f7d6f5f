#include "AgentScript.h"

#include <dlfcn.h>
#include <fnmatch.h>
#include <signal.h>
#include <unistd.h>

#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

#include "KvPatchAgentApi.h"

namespace {

constexpr size_t kEntryCount = 19;
constexpr size_t kLineCapacity = 16384;
constexpr int kWaitSteps = 3000;
constexpr useconds_t kWaitStep = 10000;  // microseconds

struct Rule {
    std::string entry;
    std::string condition;
    std::string verb;
    std::string object;
};

struct Counter {
    const char* entry;
    unsigned calls;
};

std::array<Counter, kEntryCount> s_counters;

unsigned countCall(const char* entry) {
    for (Counter& counter : s_counters) {
        if (counter.entry == nullptr) {
            counter.entry = entry;
        }
        if (strcmp(counter.entry, entry) == 0) {
            return ++counter.calls;
        }
    }
    return 0;
}

// The library's own file: the one that holds this very function.
std::string libraryPath() {
    Dl_info info{};
    if (dladdr(reinterpret_cast<void*>(&libraryPath), &info) == 0 || info.dli_fname == nullptr) {
        return "";
    }
    char* resolved = realpath(info.dli_fname, nullptr);
    std::string path(resolved != nullptr ? resolved : info.dli_fname);
    free(resolved);
    return path;
}

void record(const std::string& line) {
    FILE* file = fopen((libraryPath() + ".calls").c_str(), "ae");
    if (file != nullptr) {
        (void)fprintf(file, "%s\n", line.c_str());
        (void)fclose(file);
    }
}

std::string trimmed(const std::string& text) {
    const size_t first = text.find_first_not_of(" \t\r\n");
    return first == std::string::npos
               ? ""
               : text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
}

bool parseRule(const std::string& line, Rule& rule) {
    for (const char* verb : {" = ", " writes ", " waits ", " kills ", " raises ", " throws "}) {
        const std::string padded = line + " ";
        const size_t at = padded.find(verb);
        if (at != std::string::npos) {
            const std::string left = padded.substr(0, at);
            const size_t blank = left.find(' ');
            rule.entry = left.substr(0, blank);
            rule.condition = blank == std::string::npos ? "" : trimmed(left.substr(blank));
            rule.verb = trimmed(verb);
            rule.object = trimmed(padded.substr(at + strlen(verb)));
            return true;
        }
    }
    return false;
}

bool fits(const Rule& rule, const AgentCall& call, unsigned number) {
    if (rule.entry != call.entry) {
        return false;
    }
    if (rule.condition.empty()) {
        return true;
    }
    if (rule.condition[0] == '#') {
        return strtoul(rule.condition.c_str() + 1, nullptr, 10) == number;
    }
    return call.subject != nullptr && fnmatch(rule.condition.c_str(), call.subject, 0) == 0;
}

void writeVersion(const Rule& rule, const AgentCall& call) {
    const bool toOrigin = rule.object.compare(0, 7, "origin ") == 0;
    tag_Version* target = toOrigin ? call.origin : call.result;
    if (target == nullptr || (!toOrigin && rule.object.compare(0, 7, "result ") != 0)) {
        record("bad rule: " + rule.entry + " writes " + rule.object);
        return;
    }
    char* rest = nullptr;
    target->version = static_cast<uint32_t>(strtoul(rule.object.c_str() + 7, &rest, 0));
    target->build = static_cast<uint32_t>(strtoul(rest, nullptr, 0));
}

void waitFor(const std::string& file) {
    for (int step = 0; step < kWaitSteps && access(file.c_str(), F_OK) != 0; ++step) {
        (void)usleep(kWaitStep);
    }
}

// An answer: a number, or the path that the call asks for.
int32_t answer(const Rule& rule, const AgentCall& call) {
    if (call.pathBuffer != nullptr) {
        (void)snprintf(call.pathBuffer, PATCHAGENT_PATH_CAPACITY, "%s", rule.object.c_str());
        return 0;
    }
    return static_cast<int32_t>(strtol(rule.object.c_str(), nullptr, 0));
}

void raiseSignal(const Rule& rule) {
    constexpr std::pair<const char*, int> kSignals[] = {
        {"TERM", SIGTERM}, {"INT", SIGINT}, {"HUP", SIGHUP}};
    for (const auto& [name, signal] : kSignals) {
        if (rule.object == name) {
            (void)kill(getpid(), signal);
            return;
        }
    }
    record("bad rule: " + rule.entry + " raises " + rule.object);
}

void carryOut(const Rule& rule, const AgentCall& call) {
    if (rule.verb == "writes") {
        writeVersion(rule, call);
    } else if (rule.verb == "waits") {
        waitFor(rule.object);
    } else if (rule.verb == "raises") {
        raiseSignal(rule);
    } else if (rule.verb == "throws") {
        throw std::runtime_error(rule.entry);
    } else {
        (void)kill(getpid(), SIGKILL);
    }
}

int32_t obeyScript(FILE* script, const AgentCall& call, unsigned number, int32_t fallback) {
    int32_t result = fallback;
    bool isAnswered = false;
    std::array<char, kLineCapacity> buffer{};
    while (fgets(buffer.data(), static_cast<int>(buffer.size()), script) != nullptr) {
        const std::string line = trimmed(buffer.data());
        Rule rule;
        if (line.empty() || line[0] == ';') {
            continue;
        }
        if (!parseRule(line, rule)) {
            record("bad rule: " + line);
        } else if (fits(rule, call, number)) {
            if (rule.verb != "=") {
                carryOut(rule, call);
            } else if (!isAnswered) {
                isAnswered = true;
                result = answer(rule, call);
            }
        }
    }
    return result;
}

}  // namespace

int32_t answerCall(const AgentCall* call, int32_t fallback, const char* format, ...) {
    std::array<char, kLineCapacity> arguments{};
    va_list args;
    va_start(args, format);
    (void)vsnprintf(arguments.data(), arguments.size(), format, args);
    va_end(args);
    record(std::string(call->entry) + "(" + arguments.data() + ")");

    const unsigned number = countCall(call->entry);
    FILE* script = fopen((libraryPath() + ".script").c_str(), "re");
    if (script == nullptr) {
        return fallback;
    }
    const std::unique_ptr<FILE, int (*)(FILE*)> closed(script, fclose);  // also when a rule throws
    return obeyScript(script, *call, number, fallback);
}

const char* textOrNull(const char* text) {
    return text != nullptr ? text : "NULL";
}

const char* versionText(const tag_Version* version, char* buffer) {
    if (version == nullptr) {
        return "NULL";
    }
    (void)snprintf(buffer, AGENT_VERSION_TEXT, "0x%x/%u", version->version, version->build);
    return buffer;
}
