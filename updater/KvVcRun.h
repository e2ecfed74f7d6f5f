// The run sequence: everything between the command line and the exit code.
#pragma once

// Runs VcPatch on the staging directory that is the only argument. Returns the exit code of the
// process: 1 for a wrong argument count or when the patch description document could not be made,
// else 0. The outcome of the run itself is the run status, which is written to `VcResult.ini`.
[[nodiscard]] int runVcPatch(int argc, char** argv);
