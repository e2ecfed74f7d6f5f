// A program that reports, tells what the log found at its start, and does nothing else for its log.
#include <cstdio>

#include "log/KvReport.h"
#include "log/KvVcEventManager.h"

namespace {

constexpr char kModule[] = "StartupMain";

}  // namespace

int main() {
    KV_INFO(kLevelProgress, "from main");
    (void)printf("%s %s %s\n", g_DefaultContext.velocorePath, g_DefaultContext.workPath,
                 g_DefaultContext.dataPath);
    return 0;
}
