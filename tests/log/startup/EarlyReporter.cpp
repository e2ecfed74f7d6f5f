// Reports while static objects are made and destroyed.
#include "log/KvReport.h"

namespace {

constexpr char kModule[] = "EarlyReporter";

struct Reporter {
    Reporter() { KV_INFO(kLevelProgress, "from a static constructor"); }
    ~Reporter() { KV_INFO(kLevelProgress, "from a static destructor"); }
};

const Reporter s_reporter;

}  // namespace
