#include "updater/KvItemStep.h"

#include "agent/KvAgentItem.h"
#include "log/KvReport.h"

namespace {

constexpr char kModule[] = "KvVcUpdater";

AgentItemName nameOf(const char* name) {
    return {name, name != nullptr ? name : "NULL_String"};
}

int startOnNew(const _PatchAgent& agent, const AgentItemName& name, unsigned itemClass,
               unsigned type, const AgentItemVersions& versions, unsigned flags) {
    // Both messages show what the agent was told, not what it makes of the records.
    const AgentItemVersionTexts texts(itemClass, versions);
    const int answer = startNewItem(agent, name, itemClass, type, flags, versions, texts);
    if (answer == 0) {
        KV_ERROR(kLevelProgress, "startEachItem: start item failed.");
        // The agent always sees a closed bracket; its answer to the end changes nothing here.
        (void)endNewItem(agent, 0, versions, texts);
    }
    return answer;
}

void reportRefusedStart(unsigned itemClass) {
    if (itemClass == kClassEngine) {
        KV_ERROR(kLevelProgress, "startEachItem: start engine failed.");
    } else if (itemClass == kClassPattern) {
        KV_ERROR(kLevelProgress, "startEachItem: start pattern failed.");
    } else {
        KV_ERROR(kLevelProgress, "startEachItem: start product failed.");
    }
}

int startOnOld(const _PatchAgent& agent, const AgentItemName& name, unsigned itemClass,
               unsigned type, const AgentItemVersions& versions) {
    int answer = 0;
    if (!startOldItem(agent, name, itemClass, answer)) {
        KV_ERROR(kLevelAlways, "startEachItem: unknown class.");
        return 0;
    }
    if (answer == 0) {
        reportRefusedStart(itemClass);
        int ignored = 0;
        (void)endOldItem(agent, 0, itemClass, type, versions, ignored);  // as above
    }
    return answer;
}

int endOnOld(const _PatchAgent& agent, int success, unsigned itemClass, unsigned type,
             const AgentItemVersions& versions) {
    int answer = 0;
    if (!endOldItem(agent, success, itemClass, type, versions, answer)) {
        KV_ERROR(kLevelAlways, "endEachItem: unknown class.");
    }
    return answer;
}

bool isCall(const _PatchAgent* agent, const tag_Version* origin, const tag_Version* result) {
    return agent != nullptr && origin != nullptr && result != nullptr;
}

}  // namespace

unsigned startEachItem(_PatchAgent* agent, const char* name, unsigned itemClass, unsigned type,
                       tag_Version* origin, tag_Version* result, unsigned flags) {
    if (!isCall(agent, origin, result)) {
        return 0;
    }
    const AgentItemVersions versions{origin, result};
    switch (agent->version) {
        case PATCHAGENT_NEW:
            return static_cast<unsigned>(
                startOnNew(*agent, nameOf(name), itemClass, type, versions, flags));
        case PATCHAGENT_OLD:
            return static_cast<unsigned>(
                startOnOld(*agent, nameOf(name), itemClass, type, versions));
        default:
            KV_ERROR(kLevelAlways, "startEachItem: unknown patch agent version.");
            return 0;
    }
}

unsigned endEachItem(int success, _PatchAgent* agent, unsigned itemClass, unsigned type,
                     tag_Version* origin, tag_Version* result) {
    if (!isCall(agent, origin, result)) {
        return 0;
    }
    const AgentItemVersions versions{origin, result};
    switch (agent->version) {
        case PATCHAGENT_NEW:
            return static_cast<unsigned>(
                endNewItem(*agent, success, versions, AgentItemVersionTexts(itemClass, versions)));
        case PATCHAGENT_OLD:
            return static_cast<unsigned>(endOnOld(*agent, success, itemClass, type, versions));
        default:
            KV_ERROR(kLevelAlways, "endEachItem: unknown patch agent version.");
            return 0;
    }
}
