// The two log listeners (log/KvVcEventManager.h).
#include <cstdio>

#include "log/KvLogSettings.h"
#include "log/KvVcEventManager.h"
#include "log/KvVcLog.h"

namespace {

constexpr char kModule[] = "KvVcEventManager";

// The lines that the listeners' records have always been set with; fixed, unlike real line numbers.
constexpr int kInfoLine = 141;
constexpr int kErrorLine = 180;

// -1: the message is no answer to anything that the callback numbers.
constexpr int kCallbackMessage = -1;

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
    // The type is what tells that the cast is right.
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
