// The events of log/KvEventPublisher.h.
#include <utility>

#include "log/KvEventPublisher.h"

KvInfoEvent::KvInfoEvent(KvSimpleString message, int level)
    : message_(std::move(message)), level_(level) {}

const char* KvInfoEvent::toString() const {
    return message_.c_str();
}

int KvInfoEvent::publish() {
    return KvEventPublisher::publishEvent(this);
}

int KvInfoEvent::getEventType() const {
    return kInfoEvent;
}

KvErrorEvent::KvErrorEvent(KvSimpleString message, int level)
    : message_(std::move(message)), level_(level) {}

const char* KvErrorEvent::toString() const {
    return message_.c_str();
}

int KvErrorEvent::publish() {
    return KvEventPublisher::publishEvent(this);
}

int KvErrorEvent::getEventType() const {
    return kErrorEvent;
}

int KvProgressEvent::publish() {
    return KvEventPublisher::publishEvent(this);
}

int KvActionEvent::publish() {
    return KvEventPublisher::publishEvent(this);
}
