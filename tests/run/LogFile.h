// The tool's text log, read back as lines in the notation of LogMatchers.h: "Inf text", "Err text".
#pragma once

#include <string>
#include <vector>

// Times and numbers are removed, wrapped lines joined; line ends of a message are lost with those
// of the wrap. What is no record stands as it is.
[[nodiscard]] std::vector<std::string> parseLog(const std::string& content);
