#include "patch/KvUpdateStruDump.h"

#include <cstdarg>

#include "base/KvText.h"
#include "base/KvVersion.h"

namespace {

constexpr size_t kLineCapacity = 1024;
constexpr size_t kVersionCapacity = 256;

void appendLine(KvSimpleString& dump, const char* format, ...)
    __attribute__((format(printf, 2, 3)));

void appendLine(KvSimpleString& dump, const char* format, ...) {
    char line[kLineCapacity];
    va_list args;
    va_start(args, format);
    (void)Vsnprintf(line, sizeof(line), format, args);
    va_end(args);
    dump += line;
}

const char* yesOrNo(bool isYes) {
    return isYes ? "Yes" : "No";
}

const char* textOrNull(const char* text) {
    return text != nullptr ? text : "Null";
}

}  // namespace

KvSimpleString dumpCommon(const updateStru& description, const char* noWaiting) {
    KvSimpleString dump;
    appendLine(dump, "Dump patch.ini common section info:\n");
    appendLine(dump, "Action: %d (%s)\n", static_cast<int>(description.action),
               description.action != kActionUpdate ? "Rollback" : "Update");
    appendLine(dump, "Item Count: %d\n", static_cast<int>(description.itemCount));
    appendLine(dump, "PatchAgent Ver: %d (%s)\n", static_cast<int>(description.patchAgentVersion),
               description.patchAgentVersion != 0 ? "New" : "Old");
    appendLine(dump, "PatchAgent File: %s\n", textOrNull(description.patchAgentFile));
    appendLine(dump, "Backup: %d (%s)\n", static_cast<int>(description.backup),
               yesOrNo(description.backup != 0));
    // Only the first character counts here; the run itself reads the flag as a number.
    appendLine(dump, "No waiting result: %s", yesOrNo(noWaiting != nullptr && *noWaiting == '1'));
    return dump;
}

KvSimpleString dumpItem(uint64_t index, const tag_ItemInfo& item) {
    char origin[kVersionCapacity];
    char result[kVersionCapacity];
    MakeVersionStringByClass(item.itemClass, item.originVersion, origin, sizeof(origin));
    MakeVersionStringByClass(item.itemClass, item.resultVersion, result, sizeof(result));

    KvSimpleString dump;
    appendLine(dump, "item[%d]:\n", static_cast<int>(index));
    appendLine(dump, "Class[%u] ", item.itemClass);
    appendLine(dump, item.itemClass == kClassProduct ? "Type[%u] " : "Type[0x%x] ", item.type);
    appendLine(dump, "Force Update[%s]\n", yesOrNo(item.forceUpdate != 0));
    appendLine(dump, "Original Ver[%s] ", origin);
    appendLine(dump, "Result Ver[%s]\n", result);
    appendLine(dump, "Destination: %s\n", textOrNull(item.destination));
    appendLine(dump, "Zip File: %s", textOrNull(item.zipFile));
    return dump;
}
