// A velocore directory of its own for the log, and words to look at what the log wrote.
#pragma once

#include <string>
#include <vector>

#include "tests/support/TempTree.h"

class LogDir {
  public:
    // Writes this "vccfg.ini" and lets the log live here; afterwards events go nowhere. The limits,
    // and the code page, are put back as well.
    explicit LogDir(const std::string& config = "");
    ~LogDir();
    LogDir(const LogDir&) = delete;
    LogDir& operator=(const LogDir&) = delete;

    // Writes another configuration and reads it.
    void configure(const std::string& config) const;

    [[nodiscard]] const TempTree& tree() const { return tree_; }

    // What the log of this directory holds; "" when there is none.
    [[nodiscard]] std::string text() const { return readIfThere(kText); }
    [[nodiscard]] std::string html() const { return readIfThere(kHtml); }

    static constexpr char kText[] = "VC_Data/VC_Log/KvuDump.txt";
    static constexpr char kHtml[] = "VC_Data/VC_Log/KvuDump.htm";

  private:
    [[nodiscard]] std::string readIfThere(const std::string& name) const;

    TempTree tree_;
    unsigned int codePage_;
};

// What redirectToCallback delivers, for as long as the object lives.
class Overheard {
  public:
    Overheard();
    ~Overheard();
    Overheard(const Overheard&) = delete;
    Overheard& operator=(const Overheard&) = delete;

    std::vector<std::string> texts;
    std::vector<int> firstArguments;
};

// The number of the running process and of this thread, as the log shows them: asked of the system.
[[nodiscard]] std::string processNumber();
[[nodiscard]] std::string threadNumber();

// Makes the next call of checkLogFileSize one that looks at the file, wherever the count stands.
void letNextCallMeasure();
// Makes the next 99 calls ones that do not look.
void letNextCallsNotMeasure();
