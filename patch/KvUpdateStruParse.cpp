#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "base/KvScoped.h"
#include "base/KvText.h"
#include "fileop/KvDiskNames.h"
#include "ini/KvIniUtil.h"
#include "log/KvReport.h"
#include "patch/KvUpdateStru.h"

namespace {

constexpr char kModule[] = "KvUpdaterStru";

constexpr char kCommon[] = "common";
constexpr size_t kSectionNameCapacity = 128;
constexpr uint32_t kDefaultBackup = 1;

// So many items of 56 bytes, the fields that a section fills, stay within a 32-bit size. The record
// is larger by its selector words, but no array of this many is ever asked for: see appendItem.
constexpr uint64_t kMaxItemCount = 76695844;
constexpr uint64_t kFirstItemCapacity = 16;

// The description while it is read. `out.itemCount` counts the items that are there, so that a
// release in between walks these alone; `announced` is what the document promises.
struct Parse {
    const KvIniUtil* document;
    updateStru& out;
    uint64_t announced = 0;
    uint64_t capacity = 0;

    [[nodiscard]] const char* get(const char* section, const char* key) const {
        return document != nullptr ? document->get(section, key) : nullptr;
    }
};

bool fail(const char* reason) {
    KV_ERROR(kLevelProgress, "%s", reason);
    return false;
}

bool failWithoutMemory() {
    reportCauseErrno(kDescriptionName, ENOMEM);
    return fail("phaseIniForUpdate: malloc failed.");
}

// An exact-size heap copy into `copy`, which the structure owns; false is logged.
bool copyText(const char* text, char*& copy) {
    switch (copyToHeap(text, copy)) {
        case HeapCopy::kNoMemory:
            return failWithoutMemory();
        case HeapCopy::kCopyFailed:
            return fail("phaseIniForUpdate: Strncpy failed.");
        case HeapCopy::kDone:
            break;
    }
    return true;
}

bool copyOptional(const char* text, char*& copy) {
    copy = nullptr;
    return text == nullptr || copyText(text, copy);
}

uint32_t number(const char* text) {
    return static_cast<uint32_t>(leadingNumber(text));
}

bool readItemCount(Parse& parse) {
    const char* count = parse.get(kCommon, "itemcount");
    if (count == nullptr) {
        return fail("phaseIniForUpdate: fetch item count failed.");
    }
    // A negative count becomes huge here and meets the cap later.
    parse.announced = static_cast<uint64_t>(static_cast<int64_t>(leadingNumber(count)));
    return true;
}

bool readCommon(const Parse& parse) {
    updateStru& out = parse.out;
    const char* agentVersion = parse.get(kCommon, "patchagent.version");
    if (agentVersion == nullptr) {
        return fail("phaseIniForUpdate: fetch old/new patchagent failed.");
    }
    out.patchAgentVersion = number(agentVersion);
    const char* backup = parse.get(kCommon, "backup");
    out.backup = backup != nullptr ? number(backup) : kDefaultBackup;
    out.action = number(parse.get(kCommon, "action"));
    if (!copyOptional(parse.get(kCommon, "patchagent"), out.patchAgentFile)) {
        return false;
    }
    const char* velocorePath = parse.get(kCommon, "velocore_path");
    if (velocorePath == nullptr) {
        return fail("phaseIniForUpdate: fetch velocore full path failed.");
    }
    return copyText(velocorePath, out.velocorePath);
}

void logCommon(const Parse& parse) {
    updateStru shown = parse.out;
    shown.itemCount = parse.announced;
    KV_INFO(kLevelDetail, "%s", dumpCommon(shown, parse.get(kCommon, "nowaiting")).c_str());
}

// Room for one more item. The array grows with the sections that are found, whatever count is
// announced: memory that no section fills is neither asked for nor touched.
tag_ItemInfo* appendItem(Parse& parse) {
    updateStru& out = parse.out;
    if (out.itemCount == parse.capacity) {
        const uint64_t wanted = std::max(kFirstItemCapacity, 2 * parse.capacity);
        const uint64_t capacity = std::min(wanted, parse.announced);
        void* grown = realloc(out.items, capacity * sizeof(tag_ItemInfo));
        if (grown == nullptr) {
            (void)failWithoutMemory();
            return nullptr;
        }
        out.items = static_cast<tag_ItemInfo*>(grown);
        parse.capacity = capacity;
    }
    tag_ItemInfo* item = &out.items[out.itemCount++];
    *item = tag_ItemInfo{};
    return item;
}

bool readNumber(const char* text, const char* reason, uint32_t& value) {
    if (text == nullptr) {
        return fail(reason);
    }
    value = number(text);
    return true;
}

bool readVersion(const char* text, const char* reason, uint32_t itemClass, tag_Version& version) {
    if (text == nullptr) {
        return fail(reason);
    }
    version = MakeVersionByClass(text, itemClass);
    return true;
}

bool readDestination(const char* text, char*& destination) {
    return text != nullptr ? copyText(text, destination)
                           : fail("phaseIniForUpdate: fetch destination failed.");
}

bool readItem(Parse& parse, uint64_t index) {
    tag_ItemInfo* item = appendItem(parse);
    if (item == nullptr) {
        return false;
    }
    char section[kSectionNameCapacity];
    Snprintf(section, sizeof(section), "%s_%u", "item", static_cast<unsigned>(index));
    const auto get = [&](const char* key) { return parse.get(section, key); };
    const bool isRead =
        readNumber(get("class"), "phaseIniForUpdate: fetch class failed.", item->itemClass) &&
        readNumber(get("type"), "phaseIniForUpdate: fetch type failed.", item->type) &&
        readVersion(get("origin.version"), "phaseIniForUpdate: fetch origin version failed.",
                    item->itemClass, item->originVersion) &&
        readVersion(get("result.version"), "phaseIniForUpdate: fetch result version failed.",
                    item->itemClass, item->resultVersion) &&
        readDestination(get("destination"), item->destination) &&
        copyOptional(get("item.zip"), item->zipFile);
    if (!isRead) {
        return false;
    }
    item->forceUpdate = number(get("forceupdate"));
    KV_INFO(kLevelDetail, "%s", dumpItem(index, *item).c_str());
    return true;
}

bool readItems(Parse& parse) {
    parse.announced = std::min(parse.announced, kMaxItemCount);
    for (uint64_t i = 0; i < parse.announced; ++i) {
        if (!readItem(parse, i)) {
            return false;
        }
    }
    return true;
}

bool readWithItems(Parse& parse) {
    if (!readCommon(parse)) {
        return false;
    }
    logCommon(parse);
    return readItems(parse);
}

PatchDescriptionResult quit(const Parse& parse) {
    freeUpdateStru(&parse.out);
    parse.out.itemCount = parse.announced;
    KV_INFO(kLevelProgress, "phaseIniForUpdate: error quit.");
    return kDescriptionUnusable;
}

}  // namespace

PatchDescriptionResult phaseIniForUpdate(const KvIniUtil* document, updateStru* out) {
    if (out == nullptr) {
        return kDescriptionUnusable;
    }
    *out = updateStru{};
    Parse parse{document, *out};
    if (!readItemCount(parse)) {
        return quit(parse);
    }
    if (parse.announced == 0) {
        KV_INFO(kLevelProgress, "phaseIniForUpdate: done, item is zero or no item.");
        return kDescriptionWithoutItems;
    }
    return readWithItems(parse) ? kDescriptionParsed : quit(parse);
}
