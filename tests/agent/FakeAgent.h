// A patch agent's table inside the test: notes every call and answers what the test has set.
//
//     FakeAgent agent(PATCHAGENT_OLD);
//     agent.answers["StartEngine"] = 0;
//     startEachItem(agent.table(), ...);
//     EXPECT_THAT(agent.calls, ElementsAre("StartEngine(x.zip)", "EndEngine(0, 0x52000,
//     0x60000)"));
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "agent/KvPatchAgent.h"

class FakeAgent {
  public:
    explicit FakeAgent(uint32_t version);
    ~FakeAgent();
    FakeAgent(const FakeAgent&) = delete;
    FakeAgent& operator=(const FakeAgent&) = delete;

    [[nodiscard]] _PatchAgent* table() { return &table_; }

    // "Name(arg, arg, ...)" each, in order. Texts as they are, null as "null"; versions in
    // hexadecimal, records as "0x52000/7".
    std::vector<std::string> calls;
    // By entry point; the built-in defaults' answers otherwise.
    std::map<std::string, int> answers;
    // By "Name(path)", before `answers`: of CheckFile and CheckFileEx.
    std::map<std::string, int> fileAnswers;
    // What GetPatternPath and its like write; unset: the path stays.
    std::map<std::string, std::string> paths;
    // Hears every call when it comes, before it is answered.
    std::function<void(const std::string& call)> heard;

    int note(const std::string& entry, const std::string& arguments, int fallback);

  private:
    _PatchAgent table_{};
};
