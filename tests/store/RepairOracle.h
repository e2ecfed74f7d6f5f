// What a backup record must become when it is read with repair, worked out from its text alone.
#pragma once

#include <string>
#include <vector>

struct RepairedRecord {
    std::string text;              // the file afterwards
    std::vector<bool> isItemKept;  // one for each item that the record promised
};

// `text` may be cut anywhere, but must be written the way the tool writes records: no comments, no
// blanks, no double names, canonical numbers and versions. `agentVersion` and `agentFile` (may be
// empty for none) go into a record that has to be made anew.
[[nodiscard]] RepairedRecord repairedRecord(const std::string& text, int agentVersion,
                                            const std::string& agentFile);
