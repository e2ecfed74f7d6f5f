#include "log/KvListenerLists.h"

namespace {

KvListenerLists* s_current = nullptr;

}  // namespace

KvListenerLists::KvListenerLists() {
    s_current = this;
}

KvListenerLists::~KvListenerLists() {
    s_current = nullptr;
}

KvListenerLists* KvListenerLists::current() {
    return s_current;
}
