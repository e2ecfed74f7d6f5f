// Reports as EarlyReporter does, but without the log's headers: nothing makes the log before this
// source's static objects, and nothing keeps it until they are gone.
void Throw_Event(int level, const char* format, ...);

namespace {

struct Reporter {
    Reporter() { Throw_Event(6, "from a stranger's constructor"); }
    ~Reporter() { Throw_Event(6, "from a stranger's destructor"); }
};

const Reporter s_reporter;

}  // namespace
