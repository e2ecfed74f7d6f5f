// The listeners that carry events to the log, and the manager that registers them.
#pragma once

#include <memory>

#include "fileop/KvPath.h"
#include "log/KvEventPublisher.h"
#include "log/KvLogStartup.h"

// Receives -1, the text (characters that last for the call and must not be written to), and the
// data that was given with the callback. Its result is ignored.
using KvLogCallback = int (*)(int, void* text, void* data);

// Each takes events of its own kind whose level is at least the configured one to the output that
// the mode names, and ignores all others. Always 0.
class KvVcInfoEventListener : public KvInfoEventListener {
  public:
    int processEvent(KvEvent* event) override;
};

class KvVcErrorEventListener : public KvErrorEventListener {
  public:
    int processEvent(KvEvent* event) override;
};

class KvVcEventManager {
  public:
    // Takes the directory of the running module for the velocore directory, reads the log settings
    // there, fills `g_DefaultContext` and registers the two log listeners.
    KvVcEventManager();

    // Takes the listeners out of their lists and destroys them.
    ~KvVcEventManager();

    KvVcEventManager(const KvVcEventManager&) = delete;
    KvVcEventManager& operator=(const KvVcEventManager&) = delete;

    // Lets the log and its settings live in another velocore directory from now on; a callback that
    // was installed gives way to the settings found there. Waits for another thread that is
    // switching. Null, and a process without a free row for the lock, change nothing.
    void resetVCPath(const char* velocorePath);

    // Sends every event, whatever its level, to the callback instead of the log, until the next
    // `resetVCPath`. A null callback: events go nowhere.
    void redirectToCallback(KvLogCallback callback, void* data);

  private:
    std::unique_ptr<KvVcErrorEventListener> errorListener_;
    std::unique_ptr<KvVcInfoEventListener> infoListener_;
    [[maybe_unused]] int flag_ = 1;  // part of the record; nothing reads it
};

// Filled once, when the program starts.
struct KvDefaultContext {
    unsigned int threadId;             // of the starting thread
    char velocorePath[kPathCapacity];  // where the program was found
    char workPath[kPathCapacity];      // the same directory
    char dataPath[kPathCapacity];      // "VC_Data" in it, or the same under the old organisation
};

// The one manager: made before `main` (log/KvLogStartup.h), null before that and after its end.
extern KvVcEventManager* g_pEventManager;

extern KvDefaultContext g_DefaultContext;
