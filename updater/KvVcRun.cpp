#include "updater/KvVcRun.h"

#include <cerrno>
#include <memory>
#include <new>

#include "base/KvFailure.h"
#include "base/KvText.h"
#include "fileop/KvDiskNames.h"
#include "fileop/KvPath.h"
#include "fileop/KvVcLock.h"
#include "ini/KvIniUtil.h"
#include "ini/KvVcCfg.h"
#include "log/KvReport.h"
#include "log/KvVcEventManager.h"
#include "patch/KvUpdateStru.h"
#include "updater/KvCleanup.h"
#include "updater/KvRollbackAction.h"
#include "updater/KvRunPaths.h"
#include "updater/KvRunStatus.h"
#include "updater/KvSignals.h"
#include "updater/KvUpdateAction.h"

namespace {

constexpr char kModule[] = "KvVcUpdater";
constexpr char kCommon[] = "common";

enum ExitCode : int {
    kExitDone = 0,
    kExitBadInvocation = 1,
};

struct Outcome {
    VcRunStatus status = kStatusBadInvocation;
    ExitCode exitCode = kExitBadInvocation;
    bool nowaiting = false;     // nobody waits for the result file
    bool isStagingCut = false;  // its path is too long to be kept whole
};

void publishVelocorePaths(const KvIniUtil& document) {
    const KvFailureScope unreported;  // defaults stand for a configuration that cannot be read
    const char* velocorePath = document.get(kCommon, "velocore_path");
    Strncpy(g_VelocorePath, velocorePath, sizeof g_VelocorePath);
    if (KvVcCfg(g_VelocorePath).UseOldDirOrganization()) {
        Strncpy(g_VelocoreDataPath, g_VelocorePath, sizeof g_VelocoreDataPath);
    } else {
        // A root that leaves no room for the name stays the data directory itself.
        (void)CatURIWithPath(g_VelocoreDataPath, sizeof g_VelocoreDataPath, g_VelocorePath,
                             kDataDirName);
    }
    g_pEventManager->resetVCPath(g_VelocorePath);
}

void copyIfPresent(const char* value, char (&name)[kLibraryNameCapacity]) {
    if (value != nullptr) {
        Strncpy(name, value, sizeof name);
    }
}

void publishSettings(const KvIniUtil& document) {
    const char* codePage = document.get(kCommon, "codepage");
    if (codePage != nullptr) {
        SetCurrentCharType(static_cast<unsigned>(leadingNumber(codePage)));
    }
    copyIfPresent(document.get(kCommon, "VCLib"), g_VelocoreLib);
    copyIfPresent(document.get(kCommon, "SavLib"), g_SavFileLib);
    copyIfPresent(document.get(kCommon, "RstLib"), g_RstFileLib);
}

VcRunStatus runUpdate(KvIniUtil& document, bool nowaiting) {
    KV_INFO(kLevelProgress, "VcPatch Action: update.");
    const auto status = static_cast<VcRunStatus>(update(&document));
    if (status == kStatusSuccess && nowaiting) {
        removeCachedFiles(&document);
    }
    return status;
}

VcRunStatus runAction(KvIniUtil& document, bool nowaiting) {
    const char* action = document.get(kCommon, "action");
    if (action == nullptr) {
        (void)reportNotedCause();  // none where the description could be read and lacks it
        KV_ERROR(kLevelProgress, "VcPatch fetch (common:action) failed.");
        return kStatusBadInvocation;
    }
    switch (leadingNumber(action)) {
        case kActionUpdate:
            return runUpdate(document, nowaiting);
        case kActionRollback:
            KV_INFO(kLevelProgress, "VcPatch Action: rollback.");
            return rollback(&document);
        case kActionNone:
            // A no-op that callers ask for; it is logged in the same words as the rollback.
            KV_INFO(kLevelProgress, "VcPatch Action: rollback.");
            return kStatusSuccess;
        default:
            KV_ERROR(kLevelProgress, "VcPatch Action: Undefined action value.");
            return kStatusBadInvocation;
    }
}

void finish(const Outcome& outcome) {
    if (outcome.nowaiting && outcome.isStagingCut) {
        // What is left of the path names a directory that is not ours to delete.
        reportCauseErrno(g_VCTempPath, ENAMETOOLONG);
    } else if (outcome.nowaiting) {
        CleanupTempFiles(outcome.status == kStatusSuccess, g_VCTempPath, g_VelocoreDataPath);
    } else {
        writeResult(static_cast<int>(outcome.status));
    }
}

ExitCode finishBadInvocation() {
    const Outcome outcome;
    finish(outcome);
    return outcome.exitCode;
}

ExitCode runDescription(KvIniUtil& document, const char* staging) {
    publishVelocorePaths(document);
    KV_INFO(kLevelProgress, "VcPatch[%s] argv[1]: %s\nVC Path: %s", KvGetVersion(), staging,
            g_VelocorePath);
    Outcome outcome;
    outcome.exitCode = kExitDone;
    outcome.nowaiting = leadingNumber(document.get(kCommon, "nowaiting")) == 1;
    outcome.isStagingCut = !Str_Equal(staging, g_VCTempPath, true);
    publishSettings(document);
    outcome.status = runAction(document, outcome.nowaiting);
    finish(outcome);
    return outcome.exitCode;
}

// A lock that cannot be had (a read-only directory) does not keep the update from running.
void lockDescription(const char* path, KvVcLock& lock) {
    const KvFailureScope unreported;
    (void)lock.create(kFileLock, path, true);
}

ExitCode runStaging(const char* staging, KvVcLock& lock) {
    const KvFailureScope failure;
    Strncpy(g_VCTempPath, staging, sizeof g_VCTempPath);
    char path[kLongPathCapacity];
    if (CatURIWithPath(path, sizeof path, staging, kDescriptionName) == 0) {
        lockDescription(path, lock);
    } else {
        // What is left of the path names another file. The run ends for want of an action.
        path[0] = '\0';
        noteFailure(staging, ENAMETOOLONG);
    }
    const std::unique_ptr<KvIniUtil> document = newDocument(path);
    if (!document) {
        if (!reportNotedCause()) {
            reportCauseErrno(path, ENOMEM);
        }
        KV_ERROR(kLevelProgress, "VcPatch: KvIniUtil failed.");
        return finishBadInvocation();
    }
    return runDescription(*document, staging);
}

}  // namespace

int runVcPatch(int argc, char** argv) {
    const SignalScope signals;
    KvVcLock lock;  // held until everything else is done
    const ExitCode exitCode = argc == 2 ? runStaging(argv[1], lock) : finishBadInvocation();
    KV_INFO(kLevelProgress, "VcPatch end.");
    return exitCode;
}
