#include "agent/KvAgent.h"

#include "log/KvReport.h"

namespace {

constexpr char kModule[] = "KvVcUpdater";

}  // namespace

Conversation::Conversation(_PatchAgent& table) : form_(std::in_place_type<UnknownAgent>, table) {
    switch (table.version) {
        case PATCHAGENT_OLD:
            agent_ = &form_.emplace<OldAgent>(table);
            break;
        case PATCHAGENT_NEW:
            agent_ = &form_.emplace<NewAgent>(table);
            break;
        default:
            agent_ = &std::get<UnknownAgent>(form_);
            break;
    }
}

AgentItem::AgentItem(const AgentItemName& itemName, unsigned cls, unsigned itemType, unsigned bits,
                     tag_Version* fromVersion, tag_Version* toVersion)
    : name(itemName),
      itemClass(cls),
      type(itemType),
      flags(bits),
      from(fromVersion),
      to(toVersion) {
    MakeVersionStringByClass(itemClass, *from, fromText, sizeof fromText);
    MakeVersionStringByClass(itemClass, *to, toText, sizeof toText);
}

FileDecision Agent::decideFile(const char* path, const AgentFileWords& words,
                               FileDecision otherwise) {
    int answer = 0;
    if (!askFile(path, words, answer)) {
        sayError(words.unknownInterface);
        return FileDecision::kSkip;
    }
    switch (answer) {
        case CHECKFILE_ERROR:
            sayError(words.failed);
            return FileDecision::kStop;
        case CHECKFILE_SKIP:
            return FileDecision::kSkip;
        case CHECKFILE_REBOOT:
            return FileDecision::kReboot;
        case CHECKFILE_REPLACE:
            return FileDecision::kWrite;
        default:
            sayError(words.unknownAnswer);
            return otherwise;
    }
}

PatchStartAnswer Agent::heed(int answer, const AgentStartCallWords& words) {
    switch (answer) {
        case PATCH_ERROR:
            sayError(words.error);
            return PATCH_ERROR;
        case PATCH_CLOSEPROGRAM:
            sayError(words.closeProgram);
            return PATCH_CLOSEPROGRAM;
        default:
            return PATCH_GOON;
    }
}

void Agent::say(const char* text) {
    if (text != nullptr) {
        KV_INFO(kLevelProgress, "%s", text);
    }
}

void Agent::sayError(const char* text) {
    if (text != nullptr) {
        KV_ERROR(kLevelProgress, "%s", text);
    }
}

const char* Agent::shownPath(const char* path) {
    return path != nullptr ? path : "Null_File";
}

const char* Agent::truthText(int success) {
    return success != 0 ? "TRUE" : "FALSE";
}

// --- An interface that does not exist

bool UnknownAgent::load(const char* /*file*/, const AgentLoadWords& words) {
    sayError(words.unknownInterface);
    return false;
}

PatchStartAnswer UnknownAgent::start(const updateStru& /*description*/,
                                     const AgentStartWords& words, AgentPaths& /*paths*/) {
    if (words.unknownInterface != nullptr) {
        KV_ERROR(kLevelAlways, "%s", words.unknownInterface);
    }
    // Goes on, on purpose: the first item is refused then, and the run ends for that.
    return PATCH_GOON;
}

const char* UnknownAgent::destinationOf(const tag_ItemInfo& item, AgentPaths& /*paths*/) {
    return item.destination;
}

ItemCall UnknownAgent::startItem(const AgentItem& /*item*/, int& /*answer*/) {
    return ItemCall::kUnknownInterface;
}

ItemCall UnknownAgent::endItem(int /*success*/, const AgentItem& /*item*/, int& /*answer*/) {
    return ItemCall::kUnknownInterface;
}

const char* UnknownAgent::nounOf(unsigned /*itemClass*/) const {
    return "item";
}

void UnknownAgent::end(int /*success*/, const char* unknownInterface) {
    if (unknownInterface != nullptr) {
        KV_ERROR(kLevelAlways, "%s", unknownInterface);
    }
}

bool UnknownAgent::askFile(const char* /*path*/, const AgentFileWords& /*words*/, int& /*answer*/) {
    return false;
}
