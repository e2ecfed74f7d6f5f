#include "log/KvVcEventManager.h"

#include <climits>
#include <cstring>
#include <new>

#include "base/KvText.h"
#include "fileop/KvDiskNames.h"
#include "fileop/KvFileOpUtil.h"
#include "fileop/KvVcLock.h"
#include "log/KvLogSettings.h"
#include "log/KvVcLog.h"

KvDefaultContext g_DefaultContext;

namespace {

constexpr char kPathLock[] = "///VCPATH";
constexpr int kEveryLevel = -1;

// Any address inside the module would do.
bool findOwnDir(char (&path)[kPathCapacity]) {
    char module[kPathCapacity];
    if (!GetDllFilename(&g_DefaultContext, module)) {
        return false;
    }
    (void)Strncpy(path, KvFileOpUtil::getDirName(module).c_str(), kPathCapacity);
    return true;
}

bool findWorkDir(char (&path)[kPathCapacity]) {
    char full[PATH_MAX];
    // A name that does not fit would be cut to another directory's.
    if (!GetFullPath("./", full, sizeof full) || strlen(full) >= kPathCapacity) {
        return false;
    }
    (void)Strncpy(path, full, kPathCapacity);
    return true;
}

void findVelocorePath(char (&path)[kPathCapacity]) {
    if (!findOwnDir(path) && !findWorkDir(path)) {
        (void)Strncpy(path, "./", kPathCapacity);
    }
}

void fillDefaultContext() {
    g_DefaultContext.threadId = VcGetThreadId();
    (void)Strncpy(g_DefaultContext.velocorePath, s_vcpath, kPathCapacity);
    (void)Strncpy(g_DefaultContext.workPath, s_vcpath, kPathCapacity);
    (void)findDataPath(g_DefaultContext.dataPath);
}

}  // namespace

// Nothing that is called here may report: there is no manager yet to carry the message.
KvVcEventManager::KvVcEventManager() {
    findVelocorePath(s_vcpath);
    (void)joinLogPath(s_config_file, s_vcpath, kConfigName);
    _reInit();
    fillDefaultContext();
    errorListener_.reset(new (std::nothrow) KvVcErrorEventListener);
    infoListener_.reset(new (std::nothrow) KvVcInfoEventListener);
    KvEventPublisher::addEventListener(errorListener_.get());
    KvEventPublisher::addEventListener(infoListener_.get());
}

KvVcEventManager::~KvVcEventManager() {
    KvEventPublisher::removeEventListener(errorListener_.get());
    errorListener_.reset();
    KvEventPublisher::removeEventListener(infoListener_.get());
    infoListener_.reset();
}

void KvVcEventManager::resetVCPath(const char* velocorePath) {
    if (velocorePath == nullptr) {
        return;
    }
    // Waits for another thread that is switching: half of each directory's settings fits nobody.
    const KvVcLock lock(kThreadLock, kPathLock, true);
    if (!lock.isLocked()) {
        return;
    }
    (void)joinLogPath(s_config_file, velocorePath, kConfigName);
    (void)Strncpy(s_vcpath, velocorePath, kPathCapacity);
    _reInit();
}

void KvVcEventManager::redirectToCallback(KvLogCallback callback, void* data) {
    s_level = kEveryLevel;
    s_mode = kModeCallback;
    s_callback = callback;
    s_callback_data = data;
}
