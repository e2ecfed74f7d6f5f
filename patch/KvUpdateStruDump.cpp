// The dumps that the parser logs.
#include "base/KvText.h"
#include "base/KvVersion.h"
#include "patch/KvUpdateStru.h"

namespace {

constexpr size_t kVersionCapacity = 256;

const char* yesOrNo(bool isYes) {
    return isYes ? "Yes" : "No";
}

const char* textOrNull(const char* text) {
    return text != nullptr ? text : "Null";
}

}  // namespace

KvSimpleString dumpCommon(const updateStru& description, const char* noWaiting) {
    KvSimpleString dump;
    Str_AppendFormat(dump, "Dump patch.ini common section info:\n");
    Str_AppendFormat(dump, "Action: %d (%s)\n", static_cast<int>(description.action),
                     description.action != kActionUpdate ? "Rollback" : "Update");
    Str_AppendFormat(dump, "Item Count: %d\n", static_cast<int>(description.itemCount));
    Str_AppendFormat(dump, "PatchAgent Ver: %d (%s)\n",
                     static_cast<int>(description.patchAgentVersion),
                     description.patchAgentVersion != 0 ? "New" : "Old");
    Str_AppendFormat(dump, "PatchAgent File: %s\n", textOrNull(description.patchAgentFile));
    Str_AppendFormat(dump, "Backup: %d (%s)\n", static_cast<int>(description.backup),
                     yesOrNo(description.backup != 0));
    // Only the first character counts here; the run itself reads the flag as a number.
    Str_AppendFormat(dump, "No waiting result: %s",
                     yesOrNo(noWaiting != nullptr && *noWaiting == '1'));
    return dump;
}

KvSimpleString dumpItem(uint64_t index, const tag_ItemInfo& item) {
    char origin[kVersionCapacity];
    char result[kVersionCapacity];
    MakeVersionStringByClass(item.itemClass, item.originVersion, origin, sizeof(origin));
    MakeVersionStringByClass(item.itemClass, item.resultVersion, result, sizeof(result));

    KvSimpleString dump;
    Str_AppendFormat(dump, "item[%d]:\n", static_cast<int>(index));
    Str_AppendFormat(dump, "Class[%u] ", item.itemClass);
    Str_AppendFormat(dump, item.itemClass == kClassProduct ? "Type[%u] " : "Type[0x%x] ",
                     item.type);
    Str_AppendFormat(dump, "Force Update[%s]\n", yesOrNo(item.forceUpdate != 0));
    Str_AppendFormat(dump, "Original Ver[%s] ", origin);
    Str_AppendFormat(dump, "Result Ver[%s]\n", result);
    Str_AppendFormat(dump, "Destination: %s\n", textOrNull(item.destination));
    Str_AppendFormat(dump, "Zip File: %s", textOrNull(item.zipFile));
    return dump;
}
