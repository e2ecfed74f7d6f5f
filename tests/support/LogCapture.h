// Everything that is reported while the object lives, whatever its level, or from a level on.
//
//     LogCapture log;
//     ... what reports ...
//     EXPECT_THAT(log.lines(), LogIs({"Err 6 item not found.", "Inf 6 done."}));
//
// A test program that uses this writes no log of its own.
#pragma once

#include <memory>
#include <ostream>
#include <string>
#include <vector>

enum class LogKind { kInfo, kError };

struct LogRecord {
    LogKind kind;
    int level;
    std::string text;
};

[[nodiscard]] LogRecord infoAt(int level, const std::string& text);
[[nodiscard]] LogRecord errorAt(int level, const std::string& text);

bool operator==(const LogRecord& left, const LogRecord& right);
std::ostream& operator<<(std::ostream& out, const LogRecord& record);

class LogCapture {
  public:
    static constexpr int kAllLevels = -1;

    explicit LogCapture(int lowestLevel = kAllLevels);
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    [[nodiscard]] const std::vector<LogRecord>& records() const { return records_; }
    // As LogMatchers.h writes them, of this level and above.
    [[nodiscard]] std::vector<std::string> lines(int lowestLevel = kAllLevels) const;
    // The texts alone, of this level and above.
    [[nodiscard]] std::vector<std::string> texts(int lowestLevel = 0) const;
    void forget() { records_.clear(); }

  private:
    class InfoListener;
    class ErrorListener;

    std::vector<LogRecord> records_;
    std::unique_ptr<InfoListener> info_;
    std::unique_ptr<ErrorListener> error_;
};
