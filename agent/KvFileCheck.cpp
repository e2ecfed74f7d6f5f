#include "agent/KvFileCheck.h"

#include "log/KvReport.h"

namespace {

constexpr char kModule[] = "KvVcUpdater";

const char* answerText(int answer) {
    switch (answer) {
        case CHECKFILE_REBOOT:
            return "Do not copy the file now, but add to the reboot-list, to be executed on the "
                   "next restart of the OS. (Windows only)";
        case CHECKFILE_ERROR:
            return "Error, and VC will try to auto-rollback";
        case CHECKFILE_SKIP:
            return "Skip this file";
        case CHECKFILE_REPLACE:
            return "OK";
        default:
            return "unknown error";
    }
}

int askNewAgent(_PatchAgent* agent, const char* destination) {
    const int answer = agent->CheckFileEx(destination);
    KV_INFO(kLevelAlways, "Call PatchAgent CheckFileEx( %s ) return %d,(%s)",
            destination != nullptr ? destination : "Null_File", answer, answerText(answer));
    return answer;
}

int askOldAgent(_PatchAgent* agent, const char* destination) {
    const int answer = agent->CheckFile(destination);
    KV_INFO(kLevelAlways, "Call PatchAgent CheckFile( %s ) return %d",
            destination != nullptr ? destination : "Null_File", answer);
    return answer;
}

}  // namespace

FileDecision decideFile(_PatchAgent* agent, const char* destination) {
    if (agent == nullptr ||
        (agent->version != PATCHAGENT_OLD && agent->version != PATCHAGENT_NEW)) {
        return FileDecision::kSkip;
    }
    const int answer = agent->version == PATCHAGENT_NEW ? askNewAgent(agent, destination)
                                                        : askOldAgent(agent, destination);
    switch (answer) {
        case CHECKFILE_ERROR:
            KV_ERROR(kLevelProgress, "callBackForUpdate: check file failed.");
            return FileDecision::kStop;
        case CHECKFILE_SKIP:
            return FileDecision::kSkip;
        case CHECKFILE_REBOOT:
            return FileDecision::kReboot;
        case CHECKFILE_REPLACE:
            return FileDecision::kWrite;
        default:
            KV_ERROR(kLevelProgress, "callBackForUpdate: check file return unknown value.");
            return FileDecision::kWrite;
    }
}
