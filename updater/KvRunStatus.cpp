#include "updater/KvRunStatus.h"

#include "base/KvFailure.h"
#include "base/KvText.h"
#include "fileop/KvDiskNames.h"
#include "fileop/KvPath.h"
#include "ini/KvIniUtil.h"
#include "log/KvReport.h"
#include "updater/KvRunPaths.h"

namespace {

constexpr char kModule[] = "KvVcUpdater";
constexpr char kResultKey[] = "result";
constexpr size_t kStatusCapacity = 64;

}  // namespace

void writeResult(int status) {
    const KvFailureScope failure;
    char path[kLongPathCapacity];
    // The staging path is shorter than the buffer by far: the join always fits.
    (void)CatURIWithPath(path, sizeof path, g_VCTempPath, kResultName);
    KvIniUtil document = openDocument(path, KvLastLink::kFollowOwn);
    char text[kStatusCapacity];
    Snprintf(text, sizeof text, "%d", status);
    KV_INFO(kLevelProgress, "Writing result file (%s), status = %s", path, text);
    document.del(nullptr, kResultKey);
    document.add(nullptr, kResultKey, text);
    if (!document.flush(false)) {
        (void)reportNotedCause();  // without one there is nothing more to tell
    }
    document.discard();  // it is written, or would fail once more
}
