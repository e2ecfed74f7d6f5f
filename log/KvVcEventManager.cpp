#include "log/KvVcEventManager.h"

#include <climits>
#include <cstdio>
#include <cstring>
#include <new>

#include "base/KvFailure.h"
#include "base/KvText.h"
#include "fileop/KvDiskNames.h"
#include "fileop/KvFileOpUtil.h"
#include "fileop/KvVcLock.h"
#include "log/KvLogSettings.h"
#include "log/KvVcLog.h"

KvVcEventManager* g_pEventManager = nullptr;
KvDefaultContext g_DefaultContext;

namespace {

constexpr char kModule[] = "KvVcEventManager";

// The lines that the listeners' records have always been set with; fixed, unlike real line numbers.
constexpr int kInfoLine = 141;
constexpr int kErrorLine = 180;

constexpr int kCallbackMessage = -1;  // the first argument of the callback, for every message

void deliver(const char* text, int line, VcLogType_t type) {
    switch (s_mode) {
        case kModeLogFile:
        case kModeLogFileToo:
            Log_Set(kModule, line, type);
            Log_Write(s_log_file, s_html, text);
            break;
        case kModeStandardOutput:
            (void)puts(text);  // a closed output loses the message, like a closed log
            break;
        case kModeCallback:
            if (s_callback != nullptr) {
                (void)s_callback(kCallbackMessage, const_cast<char*>(text), s_callback_data);
            }
            break;
        default:
            break;
    }
}

template <typename Event>
void deliverIf(KvEvent* event, KvEventType wanted, int line, VcLogType_t type) {
    if (event == nullptr || event->getEventType() != wanted) {
        return;
    }
    // The kind of an event tells its class, so the cast is right.
    if (static_cast<Event*>(event)->getLevel() >= s_level) {
        deliver(event->toString(), line, type);
    }
}

}  // namespace

int KvVcInfoEventListener::processEvent(KvEvent* event) {
    deliverIf<KvInfoEvent>(event, kInfoEvent, kInfoLine, kLogInfo);
    return 0;
}

int KvVcErrorEventListener::processEvent(KvEvent* event) {
    deliverIf<KvErrorEvent>(event, kErrorEvent, kErrorLine, kLogError);
    return 0;
}

namespace {

constexpr char kPathLock[] = "///VCPATH";
constexpr int kEveryLevel = -1;

// False when the system cannot tell the module's file.
bool findOwnDir(char (&path)[kPathCapacity]) {
    char module[kPathCapacity];
    // Any address inside the module would do as well as this one.
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
    const KvFailureScope unreported;  // defaults stand where nothing is found
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
    const KvFailureScope unreported;  // what cannot be switched or read stays as it is by design
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

namespace {

// The order of the members is the order of construction: lists, then manager; it ends in reverse.
struct Module {
    Module() { g_pEventManager = &manager; }
    ~Module() { g_pEventManager = nullptr; }
    Module(const Module&) = delete;
    Module& operator=(const Module&) = delete;

    KvListenerLists lists;
    KvVcEventManager manager;
};

}  // namespace

// A static of a function is made by the first call, wherever that comes from, and destroyed after
// every static object that was completed later: no count of the sources is needed.
KvLogStartup::KvLogStartup() {
    static Module module;
}
