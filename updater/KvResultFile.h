// The result file `VcResult.ini`, by which the caller learns the run status.
#pragma once

// Writes `status` as the key "result" before the first section of `VcResult.ini` in the staging
// directory (`g_VCTempPath`), in place of a "result" that stands there; the rest of the file is
// kept. A file that cannot be written is not reported.
void writeResult(int status);
