// The log's static objects, for log/KvLogStartup.h.
#include "log/KvListenerLists.h"
#include "log/KvLogStartup.h"
#include "log/KvVcEventManager.h"

KvVcEventManager* g_pEventManager = nullptr;

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
