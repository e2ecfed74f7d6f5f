// The patch agent's word on one file of an update.
#pragma once

#include "agent/KvPatchAgent.h"

enum class FileDecision {
    kWrite,   // write the file now
    kReboot,  // leave the file, note it in the reboot list
    kSkip,    // leave the file alone
    kStop,    // stop the copy: the agent reports an error
};

// Asks CheckFile or CheckFileEx, whichever the agent's interface has, and logs the answer. An
// answer that has no meaning is logged and counts as "write"; an unknown interface gives kSkip,
// without a word, and so does a null `agent`. A null `destination` is logged as "Null_File".
[[nodiscard]] FileDecision decideFile(_PatchAgent* agent, const char* destination);
