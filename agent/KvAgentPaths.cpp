#include "agent/KvAgentPaths.h"

#include "base/KvText.h"
#include "log/KvReport.h"

namespace {

constexpr char kModule[] = "KvVcUpdater";

using PathEntry = void (*)(char*);

const tag_ItemInfo* firstItemOfClass(const updateStru& description, unsigned itemClass) {
    for (uint64_t i = 0; i < description.itemCount; ++i) {
        if (description.items[i].itemClass == itemClass) {
            return &description.items[i];
        }
    }
    return nullptr;
}

void askPath(const tag_ItemInfo* item, PathEntry entry, const PathQuestionWords& words,
             char (&path)[kLongPathCapacity]) {
    if (item == nullptr) {
        return;
    }
    Strncpy(path, item->destination, sizeof path);
    KV_INFO(kLevelProgress, "%s: %s", words.before, path);
    entry(path);
    path[sizeof path - 1] = '\0';
    KV_INFO(kLevelProgress, "%s: %s", words.after, path);
}

}  // namespace

void askAgentPaths(const _PatchAgent& agent, const updateStru& description,
                   const AgentPathWords& words, AgentPaths& paths) {
    askPath(firstItemOfClass(description, kClassPattern), agent.GetPatternPath, words.pattern,
            paths.pattern);
    askPath(firstItemOfClass(description, kClassEngine), agent.GetEnginePath, words.engine,
            paths.engine);
    askPath(firstItemOfClass(description, kClassProduct), agent.GetProductPath, words.product,
            paths.product);
}

unsigned classMaskOf(const updateStru& description) {
    unsigned mask = 0;
    for (uint64_t i = 0; i < description.itemCount; ++i) {
        switch (description.items[i].itemClass) {
            case kClassPattern:
                mask |= PATCHMASK_PATTERN;
                break;
            case kClassEngine:
                mask |= PATCHMASK_ENGINE;
                break;
            case kClassProduct:
                mask |= PATCHMASK_PRODUCT;
                break;
            default:
                break;
        }
    }
    return mask;
}
