#include "journal/KvSettle.h"
#include "log/KvReport.h"

namespace {

constexpr char kModule[] = "KvVcUpdater";

}  // namespace

void SettleLog::tell(const SettleEvent& event) {
    if (event.reason != nullptr) {
        reportCause(event.path, event.reason);
    }
    switch (event.deed) {
        case SettleDeed::kUndoRun:
            KV_INFO(kLevelProgress, "settle: undoing the run that was cut off (%s).", event.path);
            break;
        case SettleDeed::kFinishRun:
            KV_INFO(kLevelProgress, "settle: finishing the run that was cut off (%s).", event.path);
            break;
        case SettleDeed::kLiveRun:
            break;
        case SettleDeed::kNoJournal:
            KV_ERROR(kLevelProgress, "settle: no journal, left alone: %s.", event.path);
            break;
        case SettleDeed::kPutBack:
            KV_INFO(kLevelProgress, "settle: put back %s.", event.path);
            break;
        case SettleDeed::kRemoved:
            KV_INFO(kLevelProgress, "settle: removed %s.", event.path);
            break;
        case SettleDeed::kLeftAlone:
            KV_ERROR(kLevelProgress, "settle: left alone %s (its copy: %s).", event.path,
                     *event.copy != '\0' ? event.copy : "none");
            break;
        case SettleDeed::kNotDeleted:
            KV_ERROR(kLevelProgress, "settle: could not delete %s.", event.path);
            break;
        case SettleDeed::kFailed:
            KV_ERROR(kLevelProgress, "settle: failed at %s.", event.path);
            break;
    }
}
