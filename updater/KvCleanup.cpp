#include "updater/KvCleanup.h"

#include <cerrno>
#include <climits>
#include <cstring>

#include "base/KvFailure.h"
#include "base/KvScoped.h"
#include "base/KvText.h"
#include "fileop/KvDirList.h"
#include "fileop/KvDiskNames.h"
#include "fileop/KvPath.h"
#include "fileop/KvVcLock.h"
#include "ini/KvIniUtil.h"
#include "log/KvReport.h"
#include "updater/KvRunPaths.h"

namespace {

constexpr char kModule[] = "KvVcUpdater";
constexpr char kDownloader[] = "Downloader";
constexpr char kCachedFiles[] = "cachedfiles";
constexpr size_t kKeyCapacity = 128;

// Kept whatever line the call stands in: it tells this message in the state of the log.
constexpr int kEmptyDirLine = 154;

// One cached download: `prefix,name,tag name,mark`.
struct CacheEntry {
    KvSimpleString file;
    KvSimpleString tagFile;
    KvSimpleString mark;

    [[nodiscard]] bool failed() const { return file.failed() || tagFile.failed() || mark.failed(); }
};

void reportNoMemory() {
    reportCauseErrno(kCachedFiles, ENOMEM);
}

bool isExactly(const char* value, const char* wanted) {
    return value != nullptr && Str_Equal(value, wanted, true);
}

// Whether the configuration lets cached files be removed; says so when the cache is managed.
bool mayRemoveCachedFiles() {
    char path[kPathCapacity];
    if (CatPathWithPath(path, sizeof path, g_VelocorePath, kConfigName) != 0) {
        path[0] = '\0';  // names no configuration: the defaults hold
    }
    const KvIniUtil config = openDocument(path);
    if (!config.isWhole()) {
        // What cannot be read may ask to keep them.
        (void)reportNotedCause();
        return false;
    }
    if (isExactly(config.get(kDownloader, "UseCacheManagement"), "0")) {
        return false;
    }
    if (isExactly(config.get(kDownloader, "keep_cache_file_on_success"), "1")) {
        KV_INFO(kLevelDetail,
                "Flag \"keep_cache_file_on_success\" in configure file is on. Don't remove cached "
                "files.");
        return false;
    }
    KV_INFO(kLevelDetail,
            "Flag \"keep_cache_file_on_success\" in configure file is off. Remove cached files.");
    return true;
}

CacheEntry parseEntry(const char* value, const KvSimpleString& cacheDir) {
    const auto field = [value](int index) {
        KvSimpleString text;
        // A missing field counts as empty.
        (void)Str_Piece(value, ',', index, text);
        Str_TrimAll(text);
        return text;
    };
    // The prefix brings its own separator.
    return {cacheDir + field(0) + field(1), cacheDir + field(0) + field(2), field(3)};
}

void removeEntry(const CacheEntry& entry) {
    KvFileOpUtil::CallbackEntry step{};
    step.cbSize = sizeof step;
    const KvFailureScope failure;
    if (KvFileOpUtil::unlink(entry.file.c_str(), CB_DeleteFile, &step) != KvFileOpUtil::kDone) {
        (void)reportNotedCause();
        KV_INFO(kLevelCallbackOnly, "Can not delete file [%s].", entry.file.c_str());
        return;
    }
    KV_INFO(kLevelCallbackOnly, "Remove cached file[%s].", entry.file.c_str());
    // A tag file that stays is of no use to anybody, and of no harm.
    (void)KvFileOpUtil::unlink(entry.tagFile.c_str());
    KV_INFO(kLevelCallbackOnly, "Remove etag file[%s].", entry.tagFile.c_str());
}

// False when an entry is missing: the work ends there.
bool removeListedFiles(const KvIniUtil& description, const KvSimpleString& cacheDir, int count) {
    for (int i = 0; i < count; ++i) {
        char key[kKeyCapacity];
        Snprintf(key, sizeof key, "%s_%d", "cachedfile", i);
        const char* value = description.get(kCachedFiles, key);
        if (value == nullptr) {
            return false;
        }
        const CacheEntry entry = parseEntry(value, cacheDir);
        if (entry.failed()) {
            reportNoMemory();
        } else if (entry.mark == "1") {
            removeEntry(entry);
        }
    }
    return true;
}

void removeEmptyDirs(const KvSimpleString& cacheDir) {
    if (!KvFileOpUtil::isExist(cacheDir.c_str())) {
        return;
    }
    KvFileOpUtil::CallbackEntry step{};
    step.cbSize = sizeof step;
    KvDirList entries(cacheDir.c_str());
    while (entries.hasNext()) {
        // An entry that has vanished meanwhile needs no cleaning.
        (void)KvFileOpUtil::xaccess(entries.getNext().c_str(), CB_CheckEmptyDir, &step);
    }
}

// Whether `inner` is `outer` or lies below it; false when one of them does not exist.
bool liesWithin(const char* inner, const char* outer) {
    char innerPath[PATH_MAX];
    char outerPath[PATH_MAX];
    if (!GetFullPath(inner, innerPath, sizeof innerPath) ||
        !GetFullPath(outer, outerPath, sizeof outerPath)) {
        return false;
    }
    const size_t length = strlen(outerPath);
    return strncmp(innerPath, outerPath, length) == 0 &&
           (EndsWithSeparator(outerPath) || innerPath[length] == '/' || innerPath[length] == '\0');
}

// Copying opens the source, and closing any descriptor of a lock file drops the lock that this
// process holds on it. So the run's lock file, which is empty, is made anew instead of copied.
int CB_KeepRunLock(KvFileOpUtil::CallbackEntry* entry) {
    const bool isCopied =
        entry->action == KvFileOpUtil::kNewFile || entry->action == KvFileOpUtil::kOverwrite;
    if (!isCopied || entry->phase != KvFileOpUtil::kBefore ||
        !Str_Equal(entry->path, static_cast<const char*>(entry->userData), true)) {
        return KvFileOpUtil::kGoOn;
    }
    const ScopedFile file(fopen(entry->destination, "wb"));
    return file ? int{KvFileOpUtil::kSkip} : int{KvFileOpUtil::kDestinationNotWritable};
}

// A file that stays where it should not has nobody but the log to tell of it.
void reportUnlessDone(int result) {
    if (result != KvFileOpUtil::kDone) {
        (void)reportNotedCause();
    }
}

int saveStaging(const char* tempDir, const char* saveDir) {
    // Where this fails, so does the copy, and the files stay where they are.
    (void)KvFileOpUtil::createDir(saveDir);
    if (liesWithin(saveDir, tempDir)) {
        return KvFileOpUtil::kDone;  // copied into itself it would fill the disk
    }
    char lockFile[kLongPathCapacity];
    // A name that does not fit is not the lock's either.
    (void)CatURIWithPath(lockFile, sizeof lockFile, tempDir, kDescriptionName);
    (void)Strncat(lockFile, kLockSuffix, sizeof lockFile);
    KvFileOpUtil::CallbackEntry step{};
    step.cbSize = sizeof step;
    step.userData = lockFile;
    const int copied = KvFileOpUtil::xcopy(tempDir, saveDir, true, CB_KeepRunLock, &step);
    return copied == KvFileOpUtil::kDone ? KvFileOpUtil::xunlinkContents(tempDir) : copied;
}

}  // namespace

void removeCachedFiles(KvIniUtil* patchDescription) {
    const KvFailureScope failure;
    if (patchDescription == nullptr || !mayRemoveCachedFiles()) {
        return;
    }
    const char* cachePath = patchDescription->get(kCachedFiles, "cachepath");
    if (cachePath == nullptr || *cachePath == '\0') {
        return;  // an empty one would be the working directory
    }
    const KvSimpleString cacheDir = KvSimpleString(cachePath) + "/";
    if (cacheDir.failed()) {
        reportNoMemory();
        return;
    }
    const char* count = patchDescription->get(kCachedFiles, "cachedfilescount");
    if (count == nullptr || !removeListedFiles(*patchDescription, cacheDir, leadingNumber(count))) {
        return;
    }
    KV_INFO(kLevelCallbackOnly, "VcPatch Action: remove cached files succeed.");
    removeEmptyDirs(cacheDir);
}

void CleanupTempFiles(bool success, const char* tempDir, const char* baseDir) {
    const KvFailureScope failure;
    char saveDir[kPathCapacity];
    // Without room for the whole name the buffer names a directory that is not ours to delete.
    const bool isSaveDirKnown =
        CatURIWithPath(saveDir, sizeof saveDir, baseDir, kLogDirName) == 0 &&
        CatURIWithPath(saveDir, sizeof saveDir, saveDir, kTempSaveName) == 0;
    if (isSaveDirKnown) {
        reportUnlessDone(KvFileOpUtil::xunlink(saveDir));
    }
    if (success) {
        reportUnlessDone(KvFileOpUtil::xunlinkContents(tempDir));
    } else if (isSaveDirKnown) {
        reportUnlessDone(saveStaging(tempDir, saveDir));
    }
}

int CB_DeleteFile(KvFileOpUtil::CallbackEntry* entry) {
    if (entry == nullptr || entry->action != KvFileOpUtil::kDeleteFile) {
        return KvFileOpUtil::kGoOn;
    }
    const KvFailureScope unreported;  // a file whose lock cannot be had is kept
    KvVcLock lock;
    return lock.create(kFileAndThreadLock, entry->path, false) ? KvFileOpUtil::kGoOn
                                                               : KvFileOpUtil::kSkip;
}

int CB_CheckEmptyDir(KvFileOpUtil::CallbackEntry* entry) {
    if (entry == nullptr || entry->action != KvFileOpUtil::kVisitDir) {
        return KvFileOpUtil::kGoOn;
    }
    if (KvFileOpUtil::isLink(entry->path)) {
        entry->action = KvFileOpUtil::kVisitFile;  // keeps the walk out of it
        return KvFileOpUtil::kGoOn;
    }
    const KvFailureScope failure;
    if (!KvFileOpUtil::isTreeWithoutBytes(entry->path)) {
        return KvFileOpUtil::kGoOn;
    }
    KvVcLock lock;
    if (!lock.create(kFileAndThreadLock, entry->path, false)) {
        return KvFileOpUtil::kSkip;
    }
    clearFailure();
    // A directory that cannot be deleted stays as it is; the message is the same.
    reportUnlessDone(KvFileOpUtil::xunlink(entry->path));
    Log_Set(kModule, kEmptyDirLine, kLogInfo);
    Throw_Event(kLevelCallbackOnly, "Directory [%s] is empty, deleted.", entry->path);
    return KvFileOpUtil::kGoOn;
}
