// A program that reports and does nothing else for its log.
#include "log/KvReport.h"

namespace {

constexpr char kModule[] = "StartupMain";

}  // namespace

int main() {
    KV_INFO(kLevelProgress, "from main");
    return 0;
}
