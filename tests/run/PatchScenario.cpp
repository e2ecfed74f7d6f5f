#include "tests/run/PatchScenario.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>

#include "fileop/KvDiskNames.h"

namespace fs = std::filesystem;

namespace {

const std::string kStaging = "staging/";

// Owns nothing on any system.
constexpr uid_t kOrdinaryUser = 65534;

bool isInStore(const std::string& name) {
    const std::string store = std::string(kBackupStoreName) + "/";
    return name.compare(0, store.size(), store) == 0;
}

std::string keyLines(const std::map<std::string, std::string>& keys) {
    std::string lines;
    for (const auto& [key, value] : keys) {
        lines += key + "=" + value + "\n";
    }
    return lines;
}

std::optional<int> readStatus(const TempTree& tree) {
    const std::string key = "result=";
    const std::string content = tree.read(kStaging + kResultName);
    const size_t at = content.find(key);
    return at == std::string::npos ? std::nullopt
                                   : std::optional<int>(std::stoi(content.substr(at + key.size())));
}

}  // namespace

std::string deferredLine(const std::string& source, const std::string& target) {
    return "Inf src[" + source + "] -> dst[" + target + "]";
}

std::string savedName(const std::string& number) {
    const size_t end = number.rfind('/') + 1;
    return number.substr(0, end) + kBackupFilePrefix + "." + number.substr(end);
}

ScenarioItem::ScenarioItem(const TempTree& tree, unsigned itemClass, unsigned type)
    : tree_(tree),
      place_("staging/" + std::to_string(itemClass) + "/" + std::to_string(type)),
      keys_{{"class", std::to_string(itemClass)},
            {"type", std::to_string(type)},
            {"origin.version", "100"},
            {"result.version", "101"}} {
    tree_.makeDir(place_);
    to("app");
}

ScenarioItem& ScenarioItem::stage(const std::string& name, const std::string& content) {
    tree_.write(place_ + "/" + name, content);
    return *this;
}

ScenarioItem& ScenarioItem::set(const std::string& key, const std::string& value) {
    keys_[key] = value;
    return *this;
}

ScenarioItem& ScenarioItem::unset(const std::string& key) {
    keys_.erase(key);
    return *this;
}

ScenarioItem& ScenarioItem::to(const std::string& destination) {
    return set("destination", tree_.makeDir(destination));
}

ScenarioItem& ScenarioItem::versions(const std::string& origin, const std::string& result) {
    return set("origin.version", origin).set("result.version", result);
}

std::string ScenarioItem::stagingDir() const {
    return tree_.path(place_);
}

std::string ScenarioItem::section(size_t index) const {
    return "[item_" + std::to_string(index) + "]\n" + keyLines(keys_);
}

std::string ScenarioDir::path(const std::string& name) const {
    return tree_.path(name.empty() ? name_ : name_ + "/" + name);
}

void ScenarioDir::write(const std::string& name, const std::string& content) const {
    tree_.write(name_ + "/" + name, content);
}

std::string ScenarioDir::read(const std::string& name) const {
    return tree_.read(name_ + "/" + name);
}

bool ScenarioDir::has(const std::string& name) const {
    return tree_.exists(name_ + "/" + name);
}

FileTree ScenarioDir::files() const {
    FileTree all = tree_.snapshot(name_);
    for (auto it = all.begin(); it != all.end();) {
        it = isInStore(it->first) ? all.erase(it) : std::next(it);
    }
    return all;
}

FileTree ScenarioDir::store() const {
    return tree_.snapshot(name_ + "/" + kBackupStoreName);
}

std::string ScenarioDir::storePath(const std::string& name) const {
    return path(name.empty() ? kBackupStoreName : std::string(kBackupStoreName) + "/" + name);
}

std::string ScenarioDir::record() const {
    return read(std::string(kBackupStoreName) + "/" + kBackupRecordName);
}

std::string ScenarioDir::recordPath() const {
    return storePath(kBackupRecordName);
}

void ScenarioDir::writeRecord(const std::string& content) const {
    write(std::string(kBackupStoreName) + "/" + kBackupRecordName, content);
}

bool ScenarioDir::hasSaved(const std::string& number) const {
    return has(std::string(kBackupStoreName) + "/" + savedName(number));
}

std::string ScenarioDir::saved(const std::string& number) const {
    EXPECT_TRUE(hasSaved(number)) << number;
    return read(std::string(kBackupStoreName) + "/" + savedName(number));
}

time_t ScenarioDir::savedTime(const std::string& number) const {
    return tree_.time(name_ + "/" + kBackupStoreName + "/" + savedName(number));
}

std::string ScenarioDir::savedPath(const std::string& number) const {
    return storePath(savedName(number));
}

PatchScenario::PatchScenario() {
    tree_.makeDir("app");
    tree_.makeDir("vc");
    // A hard link where the file systems allow it: the log is looked for beside the binary.
    std::error_code noLink;
    fs::create_hard_link(KV_VCPATCH, tree_.path("vc/VcPatch"), noLink);
    if (noLink) {
        fs::copy_file(KV_VCPATCH, tree_.path("vc/VcPatch"));
    }
    clearStaging();
}

ScenarioDir PatchScenario::destination(const std::string& name) const {
    return {tree_, name};
}

std::string PatchScenario::dataDir(const std::string& root) {
    return root.empty() ? kDataDirName : root + "/" + kDataDirName;
}

ScenarioDir PatchScenario::saveDir(const std::string& dataDir) const {
    return {tree_, dataDir + "/" + kLogDirName + "/" + kTempSaveName};
}

std::string PatchScenario::savedDescription() {
    return kStaging + kDescriptionName;
}

std::string PatchScenario::lockPath() const {
    return tree_.path(kStaging + kDescriptionName + kLockSuffix);
}

std::string PatchScenario::resultPath() const {
    return tree_.path(kStaging + kResultName);
}

std::string PatchScenario::result() const {
    return tree_.read(kStaging + kResultName);
}

ScenarioItem& PatchScenario::item(unsigned itemClass, unsigned type) {
    items_.push_back(std::make_unique<ScenarioItem>(tree_, itemClass, type));
    return *items_.back();
}

void PatchScenario::set(const std::string& key, const std::string& value) {
    common_[key] = value;
}

void PatchScenario::without(const std::string& key) {
    common_.erase(key);
}

void PatchScenario::append(const std::string& lines) {
    appended_ += lines;
}

void PatchScenario::configure(const std::string& content) const {
    tree_.write(std::string("vc/") + kConfigName, content);
}

ScriptedAgent& PatchScenario::agent(ScriptedAgent::Interface which) {
    agent_ = std::make_unique<ScriptedAgent>(tree_, which);
    set("patchagent", agent_->path());
    set("patchagent.version", which == ScriptedAgent::kNew ? "1" : "0");
    return *agent_;
}

void PatchScenario::clearStaging() {
    fs::remove_all(tree_.path("staging"));
    tree_.makeDir("staging");
    items_.clear();
    appended_.clear();
    const std::map<std::string, std::string> former = common_;
    common_ = {{"velocore_path", tree_.path("vc")}, {"patchagent.version", "1"}};
    if (agent_ != nullptr) {
        set("patchagent", agent_->path());
        set("patchagent.version", former.at("patchagent.version"));
    }
}

RunOutcome PatchScenario::update() {
    set("action", "0");
    return run();
}

RunOutcome PatchScenario::rollback() {
    set("action", "1");
    return run();
}

RunOutcome PatchScenario::run() {
    writeDescription();
    return runWith({tree_.path("staging")});
}

RunOutcome PatchScenario::runWith(const std::vector<std::string>& arguments) {
    return finish(*start(arguments));
}

std::unique_ptr<RunningPatch> PatchScenario::start() {
    return start({tree_.path("staging")});
}

std::unique_ptr<RunningPatch> PatchScenario::start(const std::vector<std::string>& arguments) {
    std::error_code
        readOnly;  // where the staging directory takes no result there is none to remove
    fs::remove(resultPath(), readOnly);
    if (ordinary_ && geteuid() == 0) {
        giveAway();
    }
    const size_t logged = logText().size();
    return std::unique_ptr<RunningPatch>(
        new RunningPatch{ChildProcess(command(arguments)), logged});
}

RunOutcome PatchScenario::finish(RunningPatch& running) {
    const ChildResult result = running.process.wait();
    EXPECT_EQ(result.err.find("Sanitizer"), std::string::npos) << result.err;
    EXPECT_EQ(result.err.find("runtime error"), std::string::npos) << result.err;
    RunOutcome outcome;
    outcome.exitCode = result.exitCode;
    outcome.timedOut = result.timedOut;
    outcome.status = readStatus(tree_);
    const std::string log = logText();
    outcome.log = parseLog(log.size() >= running.logStart ? log.substr(running.logStart) : log);
    return outcome;
}

void PatchScenario::writeDescription() const {
    std::map<std::string, std::string> common = common_;
    common.emplace("itemcount", std::to_string(items_.size()));
    std::string text = "[common]\n" + keyLines(common);
    for (size_t i = 0; i < items_.size(); ++i) {
        text += items_[i]->section(i);
    }
    tree_.write(kStaging + kDescriptionName, text + appended_);
}

ChildCommand PatchScenario::command(const std::vector<std::string>& arguments) const {
    ChildCommand child;
    child.executable = tree_.path("vc/VcPatch");
    child.arguments = arguments;
    child.directory = workDir_.empty() ? tree_.path() : workDir_;
    child.limit = std::chrono::seconds(60);
    child.user = ordinary_ ? kOrdinaryUser : 0;
    return child;
}

std::vector<std::string> PatchScenario::logIn(const std::string& dataDir) const {
    return parseLog(tree_.read(dataDir + "/" + kTextLogName));
}

std::string PatchScenario::logText() const {
    return tree_.read(dataDir() + "/" + kTextLogName);
}

void PatchScenario::giveAway() const {
    const auto give = [](const std::string& path) {
        EXPECT_EQ(lchown(path.c_str(), kOrdinaryUser, kOrdinaryUser), 0) << path;
    };
    give(tree_.path());
    for (const auto& entry : fs::recursive_directory_iterator(tree_.path())) {
        // The binary may be a link to the built one.
        if (entry.path() != tree_.path("vc/VcPatch")) {
            give(entry.path().string());
        }
    }
}
