// An agent of the new interface, which is told by item.
#include "agent/KvAgent.h"
#include "log/KvReport.h"

namespace {

constexpr char kModule[] = "KvVcUpdater";

const char* meaningOf(int answer) {
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

}  // namespace

bool NewAgent::load(const char* file, const AgentLoadWords& words) {
    say(words.loading.newAgent);
    loadNewPatchAgent(file, &table());
    return true;
}

bool NewAgent::agreesToRollback() {
    KV_INFO(kLevelProgress, "Call PatchAgent IsRollbackEx with: void");
    return answerOf(PATCHAGENT_NO, table().IsRollbackEx) != PATCHAGENT_NO;
}

PatchStartAnswer NewAgent::start(const updateStru& /*description*/, const AgentStartWords& words,
                                 AgentPaths& /*paths*/) {
    say(words.action.intent);
    say(words.action.call);
    return heed(answerOf(PATCH_ERROR, table().StartAction), words.action);
}

const char* NewAgent::destinationOf(const tag_ItemInfo& item, AgentPaths& /*paths*/) {
    return item.destination;
}

ItemCall NewAgent::startItem(const AgentItem& item, int& answer) {
    // Of a product the type is shown in decimal, of everything else in hexadecimal.
    if (item.itemClass == kClassProduct) {
        KV_INFO(kLevelProgress, "Call PatchAgent StartItem with: %s, %u, %u, 0x%x, %s, %s",
                item.name.shown, item.itemClass, item.type, item.flags, item.fromText, item.toText);
    } else {
        KV_INFO(kLevelProgress, "Call PatchAgent StartItem with: %s, %u, 0x%x, 0x%x, %s, %s",
                item.name.shown, item.itemClass, item.type, item.flags, item.fromText, item.toText);
    }
    answer = answerOf(PATCHAGENT_NO, table().StartItem, item.name.told, item.itemClass, item.type,
                      item.flags, item.from, item.to);
    return ItemCall::kMade;
}

ItemCall NewAgent::endItem(int success, const AgentItem& item, int& answer) {
    KV_INFO(kLevelProgress, "Call PatchAgent EndItem with: %s, %s, %s", truthText(success),
            item.fromText, item.toText);
    answer = answerOf(PATCHAGENT_NO, table().EndItem, success, item.from, item.to);
    return ItemCall::kMade;
}

const char* NewAgent::nounOf(unsigned /*itemClass*/) const {
    return "item";
}

bool NewAgent::askFile(const char* path, const AgentFileWords& words, int& answer) {
    if (words.question.newAgent != nullptr) {
        KV_INFO(kLevelProgress, "%s%s", words.question.newAgent, shownPath(path));
    }
    answer = answerOf(CHECKFILE_ERROR, table().CheckFileEx, path);
    if (words.tellsAnswer) {
        KV_INFO(kLevelAlways, "Call PatchAgent CheckFileEx( %s ) return %d,(%s)", shownPath(path),
                answer, meaningOf(answer));
    }
    return true;
}

void NewAgent::end(int /*success*/, const char* /*unknownInterface*/) {
    KV_INFO(kLevelProgress, "Call PatchAgent EndAction with: void");
    // The run is done whatever the agent says.
    (void)answerOf(PATCHAGENT_NO, table().EndAction);
}
