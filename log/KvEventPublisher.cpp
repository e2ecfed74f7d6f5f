#include "log/KvEventPublisher.h"

#include <algorithm>

#include "log/KvListenerLists.h"

namespace {

using List = DList KvListenerLists::*;

int add(List list, void* listener) {
    if (KvListenerLists* lists = KvListenerLists::current()) {
        (void)(lists->*list).Add(listener);  // without memory it hears nothing: nobody to tell
    }
    return 0;
}

int remove(List list, void* listener) {
    if (KvListenerLists* lists = KvListenerLists::current()) {
        (void)(lists->*list).Remove(listener);  // one that was never there needs no removal
    }
    return 0;
}

// Asked again before each call: a listener may register others.
void* listenerAt(List list, int32_t index) {
    const KvListenerLists* lists = KvListenerLists::current();
    const bool isThere = lists != nullptr && index < (lists->*list).count;
    return isThere ? (lists->*list).items[index] : nullptr;
}

template <typename Listener>
int tellAll(List list, KvEvent* event) {
    int32_t index = 0;
    while (void* listener = event != nullptr ? listenerAt(list, index++) : nullptr) {
        // Nothing depends on who could use a message.
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
