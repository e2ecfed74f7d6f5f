// What is expected of a log. A record is one line, written as the text log has it, without its time
// and numbers; where the level is known it follows the kind:
//
//     "Inf VcPatch end."                  of a log file (tests/run/LogFile.h)
//     "Err 6 Merge backup ini faild"      of a LogCapture
//
//     EXPECT_THAT(log.lines(), LogIs({"Inf 6 item found.", "Err 6 access failed."}));
//
// A failure names the first line that is wrong, and what stands in its place.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

using LogLines = std::vector<std::string>;
using LogMatcher = testing::Matcher<const LogLines&>;

// These lines and no others.
[[nodiscard]] LogMatcher LogIs(const LogLines& lines);
// These lines in this order; others may stand around and between them.
[[nodiscard]] LogMatcher LogHas(const LogLines& lines);
// These lines and then nothing more.
[[nodiscard]] LogMatcher LogEndsWith(const LogLines& lines);
// No line in which any of these texts stands.
[[nodiscard]] LogMatcher LogLacks(const LogLines& texts);
