// The publisher's four lists of listeners, in the order of registration.
#pragma once

#include "base/DList.h"

// One object exists in a process, a part of the log's module. The lists do not own the listeners.
class KvListenerLists {
  public:
    // From here on the publisher uses these lists.
    KvListenerLists();
    // From here on it uses none.
    ~KvListenerLists();
    KvListenerLists(const KvListenerLists&) = delete;
    KvListenerLists& operator=(const KvListenerLists&) = delete;

    // Null very early and very late in a process, when static objects of sources that do not know
    // the log may still report something.
    [[nodiscard]] static KvListenerLists* current();

    DList m_InfoList;
    DList m_ErrorList;
    DList m_ProgressList;
    DList m_ActionList;
};
