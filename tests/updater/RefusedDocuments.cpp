#include "tests/updater/RefusedDocuments.h"

#include <new>

#include "ini/KvIniUtil.h"

namespace {

bool s_refusesDocuments = false;

}  // namespace

// In place of the library's own, for the whole test program.
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    if (s_refusesDocuments && size == sizeof(KvIniUtil)) {
        return nullptr;
    }
    try {
        return ::operator new(size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

RefusedDocuments::RefusedDocuments() {
    s_refusesDocuments = true;
}

RefusedDocuments::~RefusedDocuments() {
    s_refusesDocuments = false;
}
