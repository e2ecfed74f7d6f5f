#include "tests/faults/FaultWorld.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>

namespace fs = std::filesystem;

namespace {

constexpr auto kPatience = std::chrono::seconds(20);

void useTool(const TempTree& tree) {
    const char* const tool = std::getenv("KV_FAULTS_TOOL");
    if (tool != nullptr) {
        fs::remove(tree.path(kToolFile));
        fs::copy_file(tool, tree.path(kToolFile));
    }
}

std::optional<int> readStatus(const TempTree& tree) {
    const std::string key = "result=";
    const std::string content = tree.read("staging/VcResult.ini");
    const size_t at = content.find(key);
    const char* const digits = content.c_str() + at + key.size();
    char* end = nullptr;
    const long status = at == std::string::npos ? 0 : std::strtol(digits, &end, 10);
    return end == nullptr || end == digits ? std::nullopt
                                           : std::optional<int>(static_cast<int>(status));
}

FaultTally readTally(const TempTree& dir) {
    FaultTally tally = {};
    const std::string bytes = dir.read("tally");
    std::memcpy(&tally, bytes.data(), std::min(bytes.size(), sizeof tally));
    return tally;
}

}  // namespace

void useMemoryForTemporaryFiles() {
    constexpr char kMemory[] = "/dev/shm";
    if (std::getenv("TMPDIR") == nullptr && access(kMemory, W_OK) == 0) {
        (void)setenv("TMPDIR", kMemory, 1);
    }
}

FaultWorld::FaultWorld(const std::string& scenario) {
    useTool(patch_.tree());
    scenario_ = layOut(scenario, patch_);
    start_ = std::make_unique<SavedTree>(patch_.tree().path(), kToolFile);
}

SavedTree FaultWorld::now() const {
    return SavedTree(patch_.tree().path(), kToolFile);
}

ChildResult FaultWorld::runTool(const std::map<std::string, std::string>& environment) {
    ChildCommand command = patch_.command({patch_.tree().path("staging")});
    command.environment = environment;
    command.limit = kPatience;
    return runChild(command);
}

FaultRun FaultWorld::run(const std::optional<Fault>& fault) {
    const std::string tally = tallyDir_.write("tally", std::string(sizeof(FaultTally), '\0'));
    FaultRun run;
    run.child = runTool({{"LD_PRELOAD", KV_FAULT_LIBRARY},
                         {"KV_FAULT_TALLY", tally},
                         {"KV_FAULT", fault ? fault->forLibrary() : ""},
                         {"KV_FAULT_AGENT_STOPS", std::to_string(scenario_.stopsAt)}});
    run.status = readStatus(patch_.tree());
    run.log = patch_.tree().read("vc/VC_Data/VC_Log/KvuDump.txt");
    run.tally = readTally(tallyDir_);
    return run;
}

FileContents FaultWorld::repeat() {
    return runAfterwards(scenario_.isRollback ? "1" : "0");
}

FileContents FaultWorld::rollBack() {
    return runAfterwards("1");
}

FileContents FaultWorld::runAfterwards(const std::string& action) {
    start_->putBack("staging");
    patch_.set("action", action);
    patch_.writeDescription();
    const ChildResult result = runTool({});
    EXPECT_FALSE(result.timedOut);
    return installedFiles(now().files());
}
