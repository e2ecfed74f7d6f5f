#include "agent/KvAgentItem.h"

#include "log/KvReport.h"

namespace {

constexpr char kModule[] = "KvVcUpdater";

// Types up to this one are patterns of the old numbering.
constexpr unsigned kLastOldNumberingType = 4;
constexpr unsigned kVersionShift = 16;

const char* truthText(int success) {
    return success != 0 ? "TRUE" : "FALSE";
}

}  // namespace

AgentItemVersionTexts::AgentItemVersionTexts(unsigned itemClass,
                                             const AgentItemVersions& versions) {
    MakeVersionStringByClass(itemClass, *versions.from, from, sizeof from);
    MakeVersionStringByClass(itemClass, *versions.to, to, sizeof to);
}

int startNewItem(const _PatchAgent& agent, const AgentItemName& name, unsigned itemClass,
                 unsigned type, unsigned flags, const AgentItemVersions& versions,
                 const AgentItemVersionTexts& texts) {
    if (itemClass == kClassProduct) {
        KV_INFO(kLevelProgress, "Call PatchAgent StartItem with: %s, %u, %u, 0x%x, %s, %s",
                name.shown, itemClass, type, flags, texts.from, texts.to);
    } else {
        KV_INFO(kLevelProgress, "Call PatchAgent StartItem with: %s, %u, 0x%x, 0x%x, %s, %s",
                name.shown, itemClass, type, flags, texts.from, texts.to);
    }
    return agent.StartItem(name.told, itemClass, type, flags, versions.from, versions.to);
}

int endNewItem(const _PatchAgent& agent, int success, const AgentItemVersions& versions,
               const AgentItemVersionTexts& texts) {
    KV_INFO(kLevelProgress, "Call PatchAgent EndItem with: %s, %s, %s", truthText(success),
            texts.from, texts.to);
    return agent.EndItem(success, versions.from, versions.to);
}

bool startOldItem(const _PatchAgent& agent, const AgentItemName& name, unsigned itemClass,
                  int& answer) {
    switch (itemClass) {
        case kClassEngine:
            KV_INFO(kLevelProgress, "Call PatchAgent StartEngine with: %s", name.shown);
            answer = agent.StartEngine(name.told);
            return true;
        case kClassPattern:
            KV_INFO(kLevelProgress, "Call PatchAgent StartPattern with: %s", name.shown);
            answer = agent.StartPattern(name.told);
            return true;
        case kClassProduct:
            KV_INFO(kLevelProgress, "Call PatchAgent StartProduct with: %s", name.shown);
            answer = agent.StartProduct(name.told);
            return true;
        default:
            return false;
    }
}

bool endOldItem(const _PatchAgent& agent, int success, unsigned itemClass, unsigned type,
                const AgentItemVersions& versions, int& answer) {
    const unsigned from = versions.from->version;
    const unsigned to = versions.to->version;
    switch (itemClass) {
        case kClassEngine:
            KV_INFO(kLevelProgress, "Call PatchAgent EndEngine with: %s, 0x%x, 0x%x",
                    truthText(success), from, to);
            answer = agent.EndEngine(success, from, to);
            return true;
        case kClassPattern:
            // The message shows the words as they are, whatever numbering the agent gets.
            KV_INFO(kLevelProgress, "Call PatchAgent EndPattern with: %s, %u, %u",
                    truthText(success), from << kVersionShift, to << kVersionShift);
            answer = agent.EndPattern(success, patternNumberForAgent(type, from),
                                      patternNumberForAgent(type, to));
            return true;
        case kClassProduct:
            KV_INFO(kLevelProgress, "Call PatchAgent EndProduct with: %s, 0x%x, 0x%x",
                    truthText(success), from, to);
            answer = agent.EndProduct(success, from, to);
            return true;
        default:
            return false;
    }
}

unsigned patternNumberForAgent(unsigned type, unsigned version) {
    const unsigned number =
        type > kLastOldNumberingType ? version : NewPatternVersionToOld(version);
    return number << kVersionShift;
}
