#include "tests/support/ScriptedAgent.h"

#include <filesystem>
#include <fstream>

namespace fs = std::filesystem;

ScriptedAgent::ScriptedAgent(const TempTree& tree, Interface which, const std::string& name,
                             const std::string& lacking)
    : path_(tree.path(name) + librarySuffix()) {
    std::string library = which == kOld ? "old_agent" : "new_agent";
    if (!lacking.empty()) {
        library += "_without_" + lacking;
    }
    fs::create_directories(fs::path(path_).parent_path());
    fs::copy_file(libraryDir() + "/" + library + librarySuffix(), path_);
    path_ = fs::canonical(path_).string();
}

void ScriptedAgent::script(const std::string& rules) const {
    std::ofstream(path_ + ".script", std::ios::app) << rules << "\n";
}

void ScriptedAgent::forgetScript() const {
    fs::remove(path_ + ".script");
}

std::vector<std::string> ScriptedAgent::calls() const {
    std::vector<std::string> calls;
    std::ifstream file(path_ + ".calls");
    for (std::string line; std::getline(file, line);) {
        calls.push_back(line);
    }
    return calls;
}

void ScriptedAgent::forgetCalls() const {
    fs::remove(path_ + ".calls");
}

std::vector<std::string> ScriptedAgent::entries(Interface which) {
    if (which == kOld) {
        return {"StartPatch",    "EndPatch",       "StartPattern", "EndPattern", "StartEngine",
                "EndEngine",     "StartProduct",   "EndProduct",   "CheckFile",  "GetPatternPath",
                "GetEnginePath", "GetProductPath", "IsRollback"};
    }
    return {"StartAction", "EndAction", "StartItem", "EndItem", "CheckFileEx", "IsRollbackEx"};
}

std::string ScriptedAgent::libraryDir() {
    return KV_AGENT_DIR;
}

std::string ScriptedAgent::librarySuffix() {
    return KV_AGENT_SUFFIX;
}
