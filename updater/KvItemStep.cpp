#include "updater/KvItemStep.h"

#include "agent/KvAgent.h"
#include "log/KvReport.h"

namespace {

constexpr char kModule[] = "KvVcUpdater";

bool isCall(const _PatchAgent* agent, const tag_Version* origin, const tag_Version* result) {
    return agent != nullptr && origin != nullptr && result != nullptr;
}

// `step` is the function that speaks.
void reportUnknown(const char* step, ItemCall call) {
    if (call == ItemCall::kUnknownInterface) {
        KV_ERROR(kLevelAlways, "%s: unknown patch agent version.", step);
    } else if (call == ItemCall::kUnknownClass) {
        KV_ERROR(kLevelAlways, "%s: unknown class.", step);
    }
}

}  // namespace

unsigned startEachItem(_PatchAgent* agent, const char* name, unsigned itemClass, unsigned type,
                       tag_Version* origin, tag_Version* result, unsigned flags) {
    if (!isCall(agent, origin, result)) {
        return 0;
    }
    Conversation talk(*agent);
    const AgentItem item({name, name != nullptr ? name : "NULL_String"}, itemClass, type, flags,
                         origin, result);
    int answer = PATCHAGENT_NO;
    const ItemCall call = talk->startItem(item, answer);
    reportUnknown("startEachItem", call);
    if (call == ItemCall::kMade && answer == PATCHAGENT_NO) {
        KV_ERROR(kLevelProgress, "startEachItem: start %s failed.", talk->nounOf(itemClass));
        // The agent always sees a closed bracket; its answer to the end changes nothing here.
        int ignored = PATCHAGENT_NO;
        (void)talk->endItem(0, item, ignored);
    }
    return static_cast<unsigned>(answer);
}

unsigned endEachItem(int success, _PatchAgent* agent, unsigned itemClass, unsigned type,
                     tag_Version* origin, tag_Version* result) {
    if (!isCall(agent, origin, result)) {
        return 0;
    }
    const AgentItem item({nullptr, nullptr}, itemClass, type, 0, origin, result);
    int answer = PATCHAGENT_NO;
    reportUnknown("endEachItem", Conversation(*agent)->endItem(success, item, answer));
    return static_cast<unsigned>(answer);
}
