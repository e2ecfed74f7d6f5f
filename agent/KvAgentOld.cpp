// An agent of the old interface, which is told by component class: each has entry points of its
// own.
#include "agent/KvAgent.h"
#include "base/KvText.h"
#include "log/KvReport.h"

namespace {

constexpr char kModule[] = "KvVcUpdater";

// Types up to this one are patterns of the old numbering.
constexpr unsigned kLastOldNumberingType = 4;
constexpr unsigned kVersionShift = 16;

struct Component {
    unsigned itemClass;
    PatchClassMask bit;
    const char* noun;
    const char* entry;  // behind "Start" and "End"
    PatchGetPathFn* _PatchAgent::*getPath;
    PatchStartComponentFn* _PatchAgent::*start;
    PatchEndComponentFn* _PatchAgent::*end;
};

// By AgentComponent.
constexpr Component kComponents[kAgentComponentCount] = {
    {kClassPattern, PATCHMASK_PATTERN, "pattern", "Pattern", &_PatchAgent::GetPatternPath,
     &_PatchAgent::StartPattern, &_PatchAgent::EndPattern},
    {kClassEngine, PATCHMASK_ENGINE, "engine", "Engine", &_PatchAgent::GetEnginePath,
     &_PatchAgent::StartEngine, &_PatchAgent::EndEngine},
    {kClassProduct, PATCHMASK_PRODUCT, "product", "Product", &_PatchAgent::GetProductPath,
     &_PatchAgent::StartProduct, &_PatchAgent::EndProduct},
};

// Null for a class that the old interface does not know.
const Component* componentOf(unsigned itemClass) {
    for (const Component& component : kComponents) {
        if (component.itemClass == itemClass) {
            return &component;
        }
    }
    return nullptr;
}

const tag_ItemInfo* firstItemOf(const Component& component, const updateStru& description) {
    for (uint64_t i = 0; i < description.itemCount; ++i) {
        if (description.items[i].itemClass == component.itemClass) {
            return &description.items[i];
        }
    }
    return nullptr;
}

// An agent that throws may have begun to write.
void callGetPath(PatchGetPathFn* getPath, char (&path)[kLongPathCapacity]) {
    char before[kLongPathCapacity];
    Strncpy(before, path, sizeof before);
    try {
        getPath(path);
    } catch (...) {
        Strncpy(path, before, sizeof path);
    }
    path[sizeof path - 1] = '\0';
}

void askPath(const _PatchAgent& table, const Component& component, const tag_ItemInfo& item,
             const AgentPathWords& words, char (&path)[kLongPathCapacity]) {
    Strncpy(path, item.destination, sizeof path);
    KV_INFO(kLevelProgress, "%s: %s", words.before, path);
    callGetPath(table.*component.getPath, path);
    KV_INFO(kLevelProgress, "%s: %s", words.after, path);
}

unsigned classMaskOf(const updateStru& description) {
    unsigned mask = 0;
    for (uint64_t i = 0; i < description.itemCount; ++i) {
        const Component* component = componentOf(description.items[i].itemClass);
        if (component != nullptr) {
            mask |= component->bit;
        }
    }
    return mask;
}

// The number by which agents know a pattern version: in the high 16 bits, for the first types in
// the old three-digit numbering.
unsigned patternNumber(unsigned type, unsigned version) {
    const unsigned number =
        type > kLastOldNumberingType ? version : NewPatternVersionToOld(version);
    return number << kVersionShift;
}

}  // namespace

bool OldAgent::load(const char* file, const AgentLoadWords& words) {
    say(words.loading.oldAgent);
    loadOldPatchAgent(file, &table());
    return true;
}

PatchStartAnswer OldAgent::start(const updateStru& description, const AgentStartWords& words,
                                 AgentPaths& paths) {
    for (int i = 0; i < kAgentComponentCount; ++i) {
        const tag_ItemInfo* item = firstItemOf(kComponents[i], description);
        if (item != nullptr) {
            askPath(table(), kComponents[i], *item, words.paths[i], paths.ofFirst[i]);
        }
    }
    if (!mayGoOn(words.consent)) {
        return PATCH_ERROR;
    }
    const unsigned mask = classMaskOf(description);
    say(words.patch.intent);
    KV_INFO(kLevelProgress, "%s%x", words.patch.call, mask);
    return heed(answerOf(PATCH_ERROR, table().StartPatch, mask), words.patch);
}

bool OldAgent::mayGoOn(const AgentConsentWords& words) {
    say(words.before);
    if (answerOf(PATCHAGENT_NO, table().IsRollback) != PATCHAGENT_NO) {
        return true;
    }
    words.isBinding ? sayError(words.refused) : say(words.refused);
    return !words.isBinding;
}

// All items of a class go where the agent has put the first one; one of another class goes where
// the item before it went.
const char* OldAgent::destinationOf(const tag_ItemInfo& item, AgentPaths& paths) {
    for (int i = 0; i < kAgentComponentCount; ++i) {
        if (kComponents[i].itemClass == item.itemClass) {
            paths.last = paths.ofFirst[i];
        }
    }
    return paths.last;
}

ItemCall OldAgent::startItem(const AgentItem& item, int& answer) {
    const Component* component = componentOf(item.itemClass);
    if (component == nullptr) {
        return ItemCall::kUnknownClass;
    }
    KV_INFO(kLevelProgress, "Call PatchAgent Start%s with: %s", component->entry, item.name.shown);
    answer = answerOf(PATCHAGENT_NO, table().*component->start, item.name.told);
    return ItemCall::kMade;
}

ItemCall OldAgent::endItem(int success, const AgentItem& item, int& answer) {
    const Component* component = componentOf(item.itemClass);
    if (component == nullptr) {
        return ItemCall::kUnknownClass;
    }
    unsigned from = item.from->version;
    unsigned to = item.to->version;
    if (item.itemClass == kClassPattern) {
        // The message shows the words as they are, whatever numbering the agent gets.
        KV_INFO(kLevelProgress, "Call PatchAgent End%s with: %s, %u, %u", component->entry,
                truthText(success), from << kVersionShift, to << kVersionShift);
        from = patternNumber(item.type, from);
        to = patternNumber(item.type, to);
    } else {
        KV_INFO(kLevelProgress, "Call PatchAgent End%s with: %s, 0x%x, 0x%x", component->entry,
                truthText(success), from, to);
    }
    answer = answerOf(PATCHAGENT_NO, table().*component->end, success, from, to);
    return ItemCall::kMade;
}

const char* OldAgent::nounOf(unsigned itemClass) const {
    const Component* component = componentOf(itemClass);
    return component != nullptr ? component->noun : "class";
}

bool OldAgent::askFile(const char* path, const AgentFileWords& words, int& answer) {
    if (words.question.oldAgent != nullptr) {
        KV_INFO(kLevelProgress, "%s%s", words.question.oldAgent, shownPath(path));
    }
    answer = answerOf(CHECKFILE_ERROR, table().CheckFile, path);
    if (words.tellsAnswer) {
        KV_INFO(kLevelAlways, "Call PatchAgent CheckFile( %s ) return %d", shownPath(path), answer);
    }
    return true;
}

void OldAgent::end(int success, const char* /*unknownInterface*/) {
    KV_INFO(kLevelProgress, "Call PatchAgent EndPatch with: %s", truthText(success));
    // The run is done whatever the agent says.
    (void)answerOf(PATCHAGENT_NO, table().EndPatch, success);
}
