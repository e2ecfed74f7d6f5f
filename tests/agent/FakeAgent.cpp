#include "tests/agent/FakeAgent.h"

#include <cstdio>

#include "base/KvText.h"

namespace {

FakeAgent* s_agent = nullptr;

std::string hex(uint32_t number) {
    char text[16];
    (void)snprintf(text, sizeof text, "0x%x", number);
    return text;
}

std::string textOf(const char* text) {
    return text != nullptr ? text : "null";
}

std::string versionOf(const tag_Version* version) {
    return hex(version->version) + "/" + std::to_string(version->build);
}

std::string endArguments(int success, uint32_t origin, uint32_t result) {
    return std::to_string(success) + ", " + hex(origin) + ", " + hex(result);
}

void movePath(const char* entry, char* buffer) {
    (void)s_agent->note(entry, textOf(buffer), 0);
    const auto moved = s_agent->paths.find(entry);
    if (moved != s_agent->paths.end()) {
        Strncpy(buffer, moved->second.c_str(), PATCHAGENT_PATH_CAPACITY);
    }
}

int checkFile(const char* entry, const char* path) {
    const int fallback = s_agent->note(entry, textOf(path), CHECKFILE_REPLACE);
    const auto own = s_agent->fileAnswers.find(std::string(entry) + "(" + textOf(path) + ")");
    return own != s_agent->fileAnswers.end() ? own->second : fallback;
}

void fillOld(_PatchAgent& table) {
    table.StartPatch = [](uint32_t mask) { return s_agent->note("StartPatch", hex(mask), 0); };
    table.EndPatch = [](int success) {
        return s_agent->note("EndPatch", std::to_string(success), 1);
    };
    table.StartPattern = [](const char* name) {
        return s_agent->note("StartPattern", textOf(name), 1);
    };
    table.StartEngine = [](const char* name) {
        return s_agent->note("StartEngine", textOf(name), 1);
    };
    table.StartProduct = [](const char* name) {
        return s_agent->note("StartProduct", textOf(name), 1);
    };
    table.EndPattern = [](int success, uint32_t origin, uint32_t result) {
        return s_agent->note("EndPattern", endArguments(success, origin, result), 1);
    };
    table.EndEngine = [](int success, uint32_t origin, uint32_t result) {
        return s_agent->note("EndEngine", endArguments(success, origin, result), 1);
    };
    table.EndProduct = [](int success, uint32_t origin, uint32_t result) {
        return s_agent->note("EndProduct", endArguments(success, origin, result), 1);
    };
    table.CheckFile = [](const char* path) { return checkFile("CheckFile", path); };
    table.GetPatternPath = [](char* buffer) { movePath("GetPatternPath", buffer); };
    table.GetEnginePath = [](char* buffer) { movePath("GetEnginePath", buffer); };
    table.GetProductPath = [](char* buffer) { movePath("GetProductPath", buffer); };
    table.IsRollback = []() { return s_agent->note("IsRollback", "", 1); };
}

void fillNew(_PatchAgent& table) {
    table.StartAction = []() { return s_agent->note("StartAction", "", 0); };
    table.EndAction = []() { return s_agent->note("EndAction", "", 1); };
    table.StartItem = [](const char* name, uint32_t itemClass, uint32_t type, uint32_t flags,
                         tag_Version* origin, tag_Version* result) {
        return s_agent->note("StartItem",
                             textOf(name) + ", " + std::to_string(itemClass) + ", " +
                                 std::to_string(type) + ", " + hex(flags) + ", " +
                                 versionOf(origin) + ", " + versionOf(result),
                             1);
    };
    table.EndItem = [](int success, tag_Version* origin, tag_Version* result) {
        return s_agent->note(
            "EndItem",
            std::to_string(success) + ", " + versionOf(origin) + ", " + versionOf(result), 1);
    };
    table.CheckFileEx = [](const char* path) { return checkFile("CheckFileEx", path); };
    table.IsRollbackEx = []() { return s_agent->note("IsRollbackEx", "", 1); };
}

}  // namespace

FakeAgent::FakeAgent(uint32_t version) {
    s_agent = this;
    table_.version = version;
    if (version == PATCHAGENT_OLD) {
        fillOld(table_);
    } else if (version == PATCHAGENT_NEW) {
        fillNew(table_);
    }
}

FakeAgent::~FakeAgent() {
    s_agent = nullptr;
}

int FakeAgent::note(const std::string& entry, const std::string& arguments, int fallback) {
    calls.push_back(entry + "(" + arguments + ")");
    if (heard) {
        heard(calls.back());
    }
    const auto answer = answers.find(entry);
    return answer != answers.end() ? answer->second : fallback;
}
