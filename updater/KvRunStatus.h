// The run status, and the result file `VcResult.ini` by which the caller learns it. The caller's
// code depends on the numbers; they never change meaning.
#pragma once

enum VcRunStatus : unsigned {
    // The action completed and nothing awaits a restart. Also the no-op action and, on purpose, a
    // rollback request for an agent interface that does not exist (logged as an error).
    kStatusSuccess = 0,
    // The action completed; some copies take effect at the next restart.
    kStatusRebootRequired = 1,
    // Rollback only: the agent wants the protected program closed first.
    kStatusCloseProgram = 3,
    // The description lists no items for the update.
    kStatusNothingToUpdate = 4,
    // The description lists no items for the rollback.
    kStatusNothingToRollBack = 5,
    // The description cannot be used, or an operation was given bad arguments.
    kStatusBadDescription = 12,
    kStatusOutOfMemory = 48,
    // Wrong argument count, no description document, no action or an unknown one.
    kStatusBadInvocation = 57,
    // Copying or restoring a file failed.
    kStatusDiskAccess = 58,
    // The agent refused or failed, or the user cancelled.
    kStatusAgentFailed = 60
};

// Writes `status` as the key "result" before the first section of `VcResult.ini` in the staging
// directory (`g_VCTempPath`), in place of a "result" that stands there; the rest of the file is
// kept. Of a file that cannot be written the log tells the cause.
void writeResult(int status);
