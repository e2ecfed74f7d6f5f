#include "updater/KvItemStep.h"

#include "base/KvText.h"
#include "log/KvReport.h"

namespace {

constexpr char kModule[] = "KvVcUpdater";
constexpr size_t kVersionTextCapacity = 256;

// Types up to this one are patterns of the old numbering.
constexpr unsigned kLastOldNumberingType = 4;

constexpr unsigned kVersionShift = 16;

struct VersionTexts {
    VersionTexts(unsigned itemClass, const tag_Version& from, const tag_Version& to) {
        MakeVersionStringByClass(itemClass, from, origin, sizeof origin);
        MakeVersionStringByClass(itemClass, to, result, sizeof result);
    }
    char origin[kVersionTextCapacity];
    char result[kVersionTextCapacity];
};

const char* truthText(int success) {
    return success != 0 ? "TRUE" : "FALSE";
}

const char* nameText(const char* name) {
    return name != nullptr ? name : "NULL_String";
}

int endNewItem(int success, _PatchAgent* agent, tag_Version* origin, tag_Version* result,
               const VersionTexts& texts) {
    KV_INFO(kLevelProgress, "Call PatchAgent EndItem with: %s, %s, %s", truthText(success),
            texts.origin, texts.result);
    return agent->EndItem(success, origin, result);
}

int startNewItem(_PatchAgent* agent, const char* name, unsigned itemClass, unsigned type,
                 tag_Version* origin, tag_Version* result, unsigned flags) {
    // Both messages show what the agent was told, not what it makes of the records.
    const VersionTexts texts(itemClass, *origin, *result);
    if (itemClass == kClassProduct) {
        KV_INFO(kLevelProgress, "Call PatchAgent StartItem with: %s, %u, %u, 0x%x, %s, %s",
                nameText(name), itemClass, type, flags, texts.origin, texts.result);
    } else {
        KV_INFO(kLevelProgress, "Call PatchAgent StartItem with: %s, %u, 0x%x, 0x%x, %s, %s",
                nameText(name), itemClass, type, flags, texts.origin, texts.result);
    }
    const int answer = agent->StartItem(name, itemClass, type, flags, origin, result);
    if (answer == 0) {
        KV_ERROR(kLevelProgress, "startEachItem: start item failed.");
        // The agent always sees a closed bracket; its answer to the end changes nothing here.
        (void)endNewItem(0, agent, origin, result, texts);
    }
    return answer;
}

int callOldStart(_PatchAgent* agent, const char* name, unsigned itemClass) {
    switch (itemClass) {
        case kClassEngine:
            KV_INFO(kLevelProgress, "Call PatchAgent StartEngine with: %s", nameText(name));
            return agent->StartEngine(name);
        case kClassPattern:
            KV_INFO(kLevelProgress, "Call PatchAgent StartPattern with: %s", nameText(name));
            return agent->StartPattern(name);
        default:
            KV_INFO(kLevelProgress, "Call PatchAgent StartProduct with: %s", nameText(name));
            return agent->StartProduct(name);
    }
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

int endOldItem(int success, _PatchAgent* agent, unsigned itemClass, unsigned type, unsigned origin,
               unsigned result) {
    switch (itemClass) {
        case kClassEngine:
            KV_INFO(kLevelProgress, "Call PatchAgent EndEngine with: %s, 0x%x, 0x%x",
                    truthText(success), origin, result);
            return agent->EndEngine(success, origin, result);
        case kClassPattern:
            // The message shows the words as they are, whatever numbering the agent gets.
            KV_INFO(kLevelProgress, "Call PatchAgent EndPattern with: %s, %u, %u",
                    truthText(success), origin << kVersionShift, result << kVersionShift);
            return agent->EndPattern(success, patternNumberForAgent(type, origin),
                                     patternNumberForAgent(type, result));
        default:
            KV_INFO(kLevelProgress, "Call PatchAgent EndProduct with: %s, 0x%x, 0x%x",
                    truthText(success), origin, result);
            return agent->EndProduct(success, origin, result);
    }
}

int startOldItem(_PatchAgent* agent, const char* name, unsigned itemClass, unsigned type,
                 unsigned origin, unsigned result) {
    const int answer = callOldStart(agent, name, itemClass);
    if (answer == 0) {
        reportRefusedStart(itemClass);
        (void)endOldItem(0, agent, itemClass, type, origin, result);  // as above
    }
    return answer;
}

bool isKnownClass(unsigned itemClass) {
    return itemClass == kClassProduct || itemClass == kClassEngine || itemClass == kClassPattern;
}

bool isCall(const _PatchAgent* agent, const tag_Version* origin, const tag_Version* result) {
    return agent != nullptr && origin != nullptr && result != nullptr;
}

}  // namespace

unsigned patternNumberForAgent(unsigned type, unsigned version) {
    const unsigned number =
        type > kLastOldNumberingType ? version : NewPatternVersionToOld(version);
    return number << kVersionShift;
}

unsigned startEachItem(_PatchAgent* agent, const char* name, unsigned itemClass, unsigned type,
                       tag_Version* origin, tag_Version* result, unsigned flags) {
    if (!isCall(agent, origin, result)) {
        return 0;
    }
    if (agent->version == PATCHAGENT_NEW) {
        return static_cast<unsigned>(
            startNewItem(agent, name, itemClass, type, origin, result, flags));
    }
    if (agent->version != PATCHAGENT_OLD) {
        KV_ERROR(kLevelAlways, "startEachItem: unknown patch agent version.");
        return 0;
    }
    if (!isKnownClass(itemClass)) {
        KV_ERROR(kLevelAlways, "startEachItem: unknown class.");
        return 0;
    }
    return static_cast<unsigned>(
        startOldItem(agent, name, itemClass, type, origin->version, result->version));
}

unsigned endEachItem(int success, _PatchAgent* agent, unsigned itemClass, unsigned type,
                     tag_Version* origin, tag_Version* result) {
    if (!isCall(agent, origin, result)) {
        return 0;
    }
    if (agent->version == PATCHAGENT_NEW) {
        const VersionTexts texts(itemClass, *origin, *result);
        return static_cast<unsigned>(endNewItem(success, agent, origin, result, texts));
    }
    if (agent->version != PATCHAGENT_OLD) {
        KV_ERROR(kLevelAlways, "endEachItem: unknown patch agent version.");
        return 0;
    }
    if (!isKnownClass(itemClass)) {
        KV_ERROR(kLevelAlways, "endEachItem: unknown class.");
        return 0;
    }
    return static_cast<unsigned>(
        endOldItem(success, agent, itemClass, type, origin->version, result->version));
}
