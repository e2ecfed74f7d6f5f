// Compiled by two tests: as it is it must compile, with KV_MISMATCH it must not.
#include "log/KvReport.h"

namespace {

constexpr char kModule[] = "FormatMismatch";

}  // namespace

int main() {
    KV_INFO(kLevelProgress, "%s", "text");
#ifdef KV_MISMATCH
    KV_INFO(kLevelProgress, "%s", 1);
#endif
    return 0;
}
