#include "store/KvBackupRecordDump.h"

#include <cstdarg>

#include "base/KvSimpleString.h"
#include "base/KvText.h"
#include "log/KvReport.h"

namespace {

constexpr char kModule[] = "KvUpdaterStru";

constexpr size_t kLineCapacity = 1024;
constexpr unsigned kVersionTextCapacity = 64;

// An event is cut at this length; a list of any size costs no more.
constexpr size_t kDumpLimit = 20480;

__attribute__((format(printf, 2, 3))) void appendLine(KvSimpleString& dump, const char* format,
                                                      ...) {
    char line[kLineCapacity];
    va_list args;
    va_start(args, format);
    Vsnprintf(line, sizeof line, format, args);
    va_end(args);
    dump.append(line);
}

const char* orNull(const char* text) {
    return text != nullptr ? text : "Null";
}

void appendList(KvSimpleString& dump, char* const* list, uint64_t count) {
    for (uint64_t i = 0; list != nullptr && i < count && dump.length() < kDumpLimit; ++i) {
        appendLine(dump, "\tFile %d: ", static_cast<int>(i));
        dump.append(orNull(list[i]));
        dump.append("\n");
    }
}

}  // namespace

void logRecordCommon(const backupStru& backup) {
    KvSimpleString dump("Dump backup ini common section:");
    appendLine(dump, "Item Count: %d\n", static_cast<int>(backup.itemCount));
    appendLine(dump, "PatchAgent Ver: %d (%s)\n", backup.patchAgentVersion,
               backup.patchAgentVersion != 0 ? "New" : "Old");
    dump.append("PatchAgent File: ");
    dump.append(orNull(backup.patchAgentFile));
    KV_INFO(kLevelProgress, "%s", dump.c_str());
}

void logRecordItem(uint64_t index, const backupItem& item) {
    constexpr uint32_t kProduct = kClassProduct;
    char version[kVersionTextCapacity] = "";
    KvSimpleString dump;
    appendLine(dump, "Dump item[%d] in backup ini:\n", static_cast<int>(index));
    appendLine(dump, "Class[%u] ", item.itemClass);
    appendLine(dump, item.itemClass == kProduct ? "Type[%u]\n" : "Type[0x%x]\n", item.type);
    MakeVersionStringByClass(item.itemClass, item.originVersion, version, sizeof version);
    appendLine(dump, "Original Ver[%s] ", version);
    MakeVersionStringByClass(item.itemClass, item.resultVersion, version, sizeof version);
    appendLine(dump, "Result Ver[%s]\n", version);
    dump.append("Destination: ");
    dump.append(orNull(item.destination));
    appendLine(dump, "\nCount of Added Files[%d]\n", static_cast<int>(item.addedCount));
    appendList(dump, item.addedList, item.addedCount);
    appendLine(dump, "Count of OverWritten Files[%d]\n", static_cast<int>(item.writtenCount));
    appendList(dump, item.writtenList, item.writtenCount);
    KV_INFO(kLevelProgress, "%s", dump.c_str());
}
