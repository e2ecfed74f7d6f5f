// xmove and move.
#include "fileop/KvFileOpUtil.h"

int KvFileOpUtil::xmove(const char* src, const char* dst, bool overwrite, Callback callback,
                        CallbackEntry* entry) {
    const int copied = xcopy(src, dst, overwrite, callback, entry);
    return copied == kDone ? xunlink(src, callback, entry) : copied;
}

int KvFileOpUtil::move(const char* src, const char* dst, bool overwrite, Callback callback,
                       CallbackEntry* entry) {
    const int copied = copy(src, dst, overwrite, callback, entry);
    return copied == kDone ? unlink(src, callback, entry) : copied;
}
