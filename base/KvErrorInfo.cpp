#include "base/KvErrorInfo.h"

namespace {

constexpr unsigned kCategoryShift = 16;

}  // namespace

void MakeErrorInfo(tag_ErrorInfo* info, unsigned short category, unsigned short code) {
    if (info == nullptr) {
        return;
    }
    *info = tag_ErrorInfo{};
    info->category = category;
    info->combinedCode = (static_cast<uint32_t>(category) << kCategoryShift) + code;
}
