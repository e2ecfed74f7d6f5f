#include "tests/support/LogMatchers.h"

#include <algorithm>
#include <functional>
#include <utility>

namespace {

// "" when the log is as it should be, what is wrong otherwise.
using Judge = std::function<std::string(const LogLines& log)>;

class JudgingMatcher : public testing::MatcherInterface<const LogLines&> {
  public:
    JudgingMatcher(std::string demand, LogLines lines, Judge judge)
        : demand_(std::move(demand)), lines_(std::move(lines)), judge_(std::move(judge)) {}

    bool MatchAndExplain(const LogLines& log,
                         testing::MatchResultListener* listener) const override {
        const std::string wrong = judge_(log);
        *listener << wrong;
        return wrong.empty();
    }

    void DescribeTo(std::ostream* out) const override {
        *out << demand_;
        for (const std::string& line : lines_) {
            *out << "\n    " << line;
        }
    }

  private:
    std::string demand_;
    LogLines lines_;
    Judge judge_;
};

LogMatcher makeMatcher(const std::string& demand, const LogLines& lines, Judge judge) {
    return testing::MakeMatcher(new JudgingMatcher(demand, lines, std::move(judge)));
}

std::string lineAt(const LogLines& lines, size_t index) {
    return index < lines.size() ? lines[index] : "(nothing)";
}

// How the log from `start` on differs from the lines.
std::string firstDifference(const LogLines& log, size_t start, const LogLines& lines) {
    const size_t count = std::max(log.size() - start, lines.size());
    for (size_t i = 0; i < count; ++i) {
        if (lineAt(log, start + i) != lineAt(lines, i)) {
            return "\nwhose line " + std::to_string(start + i) + " is\n    " +
                   lineAt(log, start + i) + "\nand should be\n    " + lineAt(lines, i);
        }
    }
    return "";
}

size_t commonBeginning(const std::string& left, const std::string& right) {
    const auto end = std::mismatch(left.begin(), left.end(), right.begin(), right.end());
    return static_cast<size_t>(end.first - left.begin());
}

// The line that the missed one was probably meant to be.
std::string nearest(const LogLines& log, const std::string& missed) {
    const auto best =
        std::max_element(log.begin(), log.end(), [&](const auto& left, const auto& right) {
            return commonBeginning(left, missed) < commonBeginning(right, missed);
        });
    return best == log.end() ? "(nothing)" : *best;
}

}  // namespace

LogMatcher LogIs(const LogLines& lines) {
    return makeMatcher("is the log", lines,
                       [lines](const LogLines& log) { return firstDifference(log, 0, lines); });
}

LogMatcher LogHas(const LogLines& lines) {
    return makeMatcher("has, in this order,", lines, [lines](const LogLines& log) -> std::string {
        auto from = log.begin();
        for (const std::string& line : lines) {
            const auto found = std::find(from, log.end(), line);
            if (found == log.end()) {
                const bool isEarlier = std::find(log.begin(), from, line) != from;
                return "\nwhich lacks\n    " + line +
                       (isEarlier ? "\nbehind the line before it"
                                  : "\nand has nearest to it\n    " + nearest(log, line));
            }
            from = found + 1;
        }
        return "";
    });
}

LogMatcher LogEndsWith(const LogLines& lines) {
    return makeMatcher("ends with", lines, [lines](const LogLines& log) {
        return firstDifference(log, log.size() - std::min(log.size(), lines.size()), lines);
    });
}

LogMatcher LogLacks(const LogLines& texts) {
    return makeMatcher("has no line with", texts, [texts](const LogLines& log) -> std::string {
        for (const std::string& line : log) {
            for (const std::string& text : texts) {
                if (line.find(text) != std::string::npos) {
                    return "\nwhich has\n    " + line;
                }
            }
        }
        return "";
    });
}
