#include "log/KvEventPublisher.h"

#include <algorithm>
#include <utility>

namespace {

// Null very early and very late in a process, when static objects of sources that do not know the
// log may still report something.
KvListenerLists* s_lists = nullptr;

using List = DList KvListenerLists::*;

int add(List list, void* listener) {
    if (s_lists != nullptr) {
        (void)(s_lists->*list).Add(listener);  // without memory it hears nothing: nobody to tell
    }
    return 0;
}

int remove(List list, void* listener) {
    if (s_lists != nullptr) {
        (void)(s_lists->*list).Remove(listener);  // one that was never there needs no removal
    }
    return 0;
}

// Asked again before each call: a listener may register others.
void* listenerAt(List list, int32_t index) {
    const bool isThere = s_lists != nullptr && index < (s_lists->*list).count;
    return isThere ? (s_lists->*list).items[index] : nullptr;
}

template <typename Listener>
int tellAll(List list, KvEvent* event) {
    int32_t index = 0;
    while (void* listener = event != nullptr ? listenerAt(list, index++) : nullptr) {
        // A message is no question: whoever heard it, nothing follows from the answer.
        (void)static_cast<Listener*>(listener)->processEvent(event);
    }
    return 0;
}

template <typename Listener>
int askAll(List list, KvEvent* event) {
    int largest = 0;
    int32_t index = 0;
    while (void* listener = event != nullptr ? listenerAt(list, index) : nullptr) {
        const int answer = static_cast<Listener*>(listener)->processEvent(event);
        largest = index == 0 ? answer : std::max(largest, answer);
        ++index;
    }
    return largest;
}

}  // namespace

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

KvListenerLists::KvListenerLists() {
    s_lists = this;
}

KvListenerLists::~KvListenerLists() {
    s_lists = nullptr;
}

int KvEventPublisher::addEventListener(KvInfoEventListener* listener) {
    return add(&KvListenerLists::m_InfoList, listener);
}

int KvEventPublisher::addEventListener(KvErrorEventListener* listener) {
    return add(&KvListenerLists::m_ErrorList, listener);
}

int KvEventPublisher::addEventListener(KvProgressEventListener* listener) {
    return add(&KvListenerLists::m_ProgressList, listener);
}

int KvEventPublisher::addEventListener(KvActionEventListener* listener) {
    return add(&KvListenerLists::m_ActionList, listener);
}

int KvEventPublisher::removeEventListener(KvInfoEventListener* listener) {
    return remove(&KvListenerLists::m_InfoList, listener);
}

int KvEventPublisher::removeEventListener(KvErrorEventListener* listener) {
    return remove(&KvListenerLists::m_ErrorList, listener);
}

int KvEventPublisher::removeEventListener(KvProgressEventListener* listener) {
    return remove(&KvListenerLists::m_ProgressList, listener);
}

int KvEventPublisher::removeEventListener(KvActionEventListener* listener) {
    return remove(&KvListenerLists::m_ActionList, listener);
}

int KvEventPublisher::publishEvent(KvInfoEvent* event) {
    return tellAll<KvInfoEventListener>(&KvListenerLists::m_InfoList, event);
}

int KvEventPublisher::publishEvent(KvErrorEvent* event) {
    return tellAll<KvErrorEventListener>(&KvListenerLists::m_ErrorList, event);
}

int KvEventPublisher::publishEvent(KvProgressEvent* event) {
    return askAll<KvProgressEventListener>(&KvListenerLists::m_ProgressList, event);
}

int KvEventPublisher::publishEvent(KvActionEvent* event) {
    return askAll<KvActionEventListener>(&KvListenerLists::m_ActionList, event);
}
