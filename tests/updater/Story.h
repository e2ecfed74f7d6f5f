// Messages and agent calls in the one order in which they came: "Inf 6 text" for a message of this
// level, "call Name(arg, ...)" for a call.
//
//     Story story(agent);
//     ... what reports and calls ...
//     EXPECT_THAT(story.lines(), ElementsAre("Inf 6 ...", "call CheckFile(/app/a)"));
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "tests/agent/FakeAgent.h"
#include "tests/support/LogCapture.h"

class Story {
  public:
    explicit Story(FakeAgent& agent) : agent_(agent) {
        agent_.heard = [this](const std::string& call) {
            takeMessages();
            lines_.push_back("call " + call);
        };
    }
    ~Story() { agent_.heard = nullptr; }
    Story(const Story&) = delete;
    Story& operator=(const Story&) = delete;

    [[nodiscard]] const std::vector<std::string>& lines() {
        takeMessages();
        return lines_;
    }

    // What came behind the line that ends with `text`; everything without such a line.
    [[nodiscard]] std::vector<std::string> linesAfter(const std::string& text) {
        const std::vector<std::string>& all = lines();
        for (auto line = all.begin(); line != all.end(); ++line) {
            if (line->size() >= text.size() &&
                line->compare(line->size() - text.size(), text.size(), text) == 0) {
                return {line + 1, all.end()};
            }
        }
        return all;
    }

  private:
    void takeMessages() {
        const std::vector<std::string> messages = log_.lines();
        lines_.insert(lines_.end(), messages.begin(), messages.end());
        log_.forget();
    }

    FakeAgent& agent_;
    LogCapture log_;
    std::vector<std::string> lines_;
};
