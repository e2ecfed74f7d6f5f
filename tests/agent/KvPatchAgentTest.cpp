#include "agent/KvPatchAgent.h"

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <array>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/agent/LoadedLibrary.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ScriptedAgent.h"
#include "tests/support/TempTree.h"

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::IsNull;
using ::testing::NotNull;
using ::testing::StartsWith;

namespace {

constexpr size_t kEntryCount = 19;
constexpr size_t kOldEntryCount = 13;

using Slots = std::vector<void*>;

// The nineteen entry points in the order of the record.
Slots slotsOf(const _PatchAgent& agent) {
    Slots slots(kEntryCount);
    static_assert(offsetof(_PatchAgent, handle) == kEntryCount * sizeof(void*));
    memcpy(slots.data(), &agent, kEntryCount * sizeof(void*));
    return slots;
}

Slots oldSlots(const _PatchAgent& agent) {
    Slots slots = slotsOf(agent);
    slots.resize(kOldEntryCount);
    return slots;
}

Slots newSlots(const _PatchAgent& agent) {
    const Slots slots = slotsOf(agent);
    return {slots.begin() + kOldEntryCount, slots.end()};
}

const _PatchAgent kDefaults = {
    lStartPatch,     lEndPatch,      lStartPattern,
    lEndPattern,     lStartEngine,   lEndEngine,
    lStartProduct,   lEndProduct,    lCheckFile,
    lGetPatternPath, lGetEnginePath, lGetProductPath,
    lIsRollback,     lStartAction,   lEndAction,
    lStartItem,      lEndItem,       lCheckFileEx,
    lIsRollbackEx,   nullptr,        0,
};

// What the library itself exports under the names of the interface.
Slots exportsOf(void* handle, ScriptedAgent::Interface which) {
    Slots slots;
    for (const std::string& entry : ScriptedAgent::entries(which)) {
        slots.push_back(dlsym(handle, entry.c_str()));
    }
    return slots;
}

// A table as a caller may hand it over: with something in every field.
_PatchAgent usedTable() {
    _PatchAgent agent = kDefaults;
    agent.handle = &agent;
    agent.version = 99;
    return agent;
}

class WorkingDirectory {
  public:
    explicit WorkingDirectory(const std::string& path) : former_(std::filesystem::current_path()) {
        std::filesystem::current_path(path);
    }
    ~WorkingDirectory() { std::filesystem::current_path(former_); }
    WorkingDirectory(const WorkingDirectory&) = delete;
    WorkingDirectory& operator=(const WorkingDirectory&) = delete;

  private:
    std::filesystem::path former_;
};

}  // namespace

TEST(KvPatchAgent, UsesTheDefaultsWhenThePatchNamesNoAgent) {
    LogCapture log;
    _PatchAgent agent = usedTable();
    loadOldPatchAgent(nullptr, &agent);
    EXPECT_EQ(oldSlots(agent), oldSlots(kDefaults));
    EXPECT_THAT(newSlots(agent), Each(IsNull()));
    EXPECT_EQ(agent.handle, nullptr);
    EXPECT_EQ(agent.version, 0U);

    agent = usedTable();
    loadNewPatchAgent(nullptr, &agent);
    EXPECT_EQ(newSlots(agent), newSlots(kDefaults));
    EXPECT_THAT(oldSlots(agent), Each(IsNull()));
    EXPECT_EQ(agent.handle, nullptr);
    EXPECT_EQ(agent.version, 1U);

    const auto message = "Inf 6 No patchagent. Use default patchagent inside VC";
    EXPECT_THAT(log.lines(), ElementsAre(message, message));
}

TEST(KvPatchAgent, FillsTheOldInterfaceFromTheLibrary) {
    TempTree tree;
    const ScriptedAgent library(tree, ScriptedAgent::kOld);
    LogCapture log;
    _PatchAgent agent = usedTable();

    loadOldPatchAgent(library.path().c_str(), &agent);

    ASSERT_NE(agent.handle, nullptr);
    EXPECT_EQ(agent.version, 0U);
    EXPECT_THAT(oldSlots(agent), Each(NotNull()));
    EXPECT_EQ(oldSlots(agent), exportsOf(agent.handle, ScriptedAgent::kOld));
    EXPECT_THAT(newSlots(agent), Each(IsNull()));
    EXPECT_THAT(log.lines(), IsEmpty());
    unloadPatchAgent(&agent);
}

TEST(KvPatchAgent, FillsTheNewInterfaceFromTheLibrary) {
    TempTree tree;
    const ScriptedAgent library(tree, ScriptedAgent::kNew);
    LogCapture log;
    _PatchAgent agent = usedTable();

    loadNewPatchAgent(library.path().c_str(), &agent);

    ASSERT_NE(agent.handle, nullptr);
    EXPECT_EQ(agent.version, 1U);
    EXPECT_THAT(newSlots(agent), Each(NotNull()));
    EXPECT_EQ(newSlots(agent), exportsOf(agent.handle, ScriptedAgent::kNew));
    EXPECT_THAT(oldSlots(agent), Each(IsNull()));
    EXPECT_THAT(log.lines(), IsEmpty());
    unloadPatchAgent(&agent);
}

TEST(KvPatchAgent, UsesNoneOfAnOldAgentThatLacksOneEntryPoint) {
    for (const std::string& entry : ScriptedAgent::entries(ScriptedAgent::kOld)) {
        SCOPED_TRACE(entry);
        TempTree tree;
        const ScriptedAgent library(tree, ScriptedAgent::kOld, "agent", entry);
        LogCapture log;
        _PatchAgent agent = usedTable();

        loadOldPatchAgent(library.path().c_str(), &agent);

        EXPECT_THAT(log.lines(), ElementsAre("Err 6 Cause: " + library.path() + ": entry point " +
                                             entry + " is missing"));
        EXPECT_EQ(oldSlots(agent), oldSlots(kDefaults));
        EXPECT_THAT(newSlots(agent), Each(IsNull()));
        EXPECT_NE(agent.handle, nullptr);
        EXPECT_TRUE(isLoaded(library.path()));
        unloadPatchAgent(&agent);
        EXPECT_FALSE(isLoaded(library.path()));
    }
}

TEST(KvPatchAgent, UsesNoneOfANewAgentThatLacksOneEntryPoint) {
    for (const std::string& entry : ScriptedAgent::entries(ScriptedAgent::kNew)) {
        SCOPED_TRACE(entry);
        TempTree tree;
        const ScriptedAgent library(tree, ScriptedAgent::kNew, "agent", entry);
        LogCapture log;
        _PatchAgent agent = usedTable();

        loadNewPatchAgent(library.path().c_str(), &agent);

        EXPECT_THAT(log.lines(), ElementsAre("Err 6 Cause: " + library.path() + ": entry point " +
                                             entry + " is missing"));
        EXPECT_EQ(newSlots(agent), newSlots(kDefaults));
        EXPECT_THAT(oldSlots(agent), Each(IsNull()));
        EXPECT_NE(agent.handle, nullptr);
        EXPECT_TRUE(isLoaded(library.path()));
        unloadPatchAgent(&agent);
        EXPECT_FALSE(isLoaded(library.path()));
    }
}

TEST(KvPatchAgent, TakesAnAgentOfTheOtherInterfaceForAnIncompleteOne) {
    TempTree tree;
    const ScriptedAgent library(tree, ScriptedAgent::kNew);
    LogCapture log;
    _PatchAgent agent = usedTable();
    loadOldPatchAgent(library.path().c_str(), &agent);
    // The first of the thirteen that are missing.
    EXPECT_THAT(log.texts(),
                ElementsAre("Cause: " + library.path() + ": entry point StartPatch is missing"));
    EXPECT_EQ(oldSlots(agent), oldSlots(kDefaults));
    EXPECT_THAT(newSlots(agent), Each(IsNull()));
    unloadPatchAgent(&agent);
}

TEST(KvPatchAgent, TellsOfALibraryThatCannotBeOpened) {
    TempTree tree;
    const std::string missing = tree.path("missing.so");
    const std::string text = tree.write("text.so", "this is no library");
    const std::string directory = tree.makeDir("directory.so");
    for (const std::string& file : {missing, text, directory}) {
        LogCapture log;
        _PatchAgent agent = usedTable();
        loadOldPatchAgent(file.c_str(), &agent);
        EXPECT_EQ(oldSlots(agent), oldSlots(kDefaults));
        EXPECT_EQ(agent.handle, nullptr);

        agent = usedTable();
        loadNewPatchAgent(file.c_str(), &agent);
        EXPECT_EQ(newSlots(agent), newSlots(kDefaults));
        EXPECT_EQ(agent.handle, nullptr);

        const auto message = "Err 6 load patchagent: " + file + " failed.";
        ASSERT_EQ(log.lines().size(), 4U);
        EXPECT_EQ(log.lines()[1], message);
        EXPECT_EQ(log.lines()[3], message);
        EXPECT_EQ(log.lines()[0], log.lines()[2]);
        // The loader's words follow.
        const std::string cause = "Cause: " + file + ": ";
        EXPECT_THAT(log.texts()[0], StartsWith(cause));
        EXPECT_GT(log.texts()[0].size(), cause.size());
        EXPECT_EQ(log.lines()[0], std::string("Err 6 ") + log.texts()[0]);
    }
}

#ifdef __GLIBC__
TEST(KvPatchAgent, TellsWhatTheLoaderSaysOfALibraryThatIsNotThere) {
    LogCapture log;
    _PatchAgent agent{};
    EXPECT_EQ(loadSharedObj("/nowhere/agent.so", &agent), 0);
    EXPECT_THAT(log.texts(),
                ElementsAre("Cause: /nowhere/agent.so: /nowhere/agent.so: cannot open shared "
                            "object file: No such file or directory",
                            "load patchagent: /nowhere/agent.so failed."));
}
#endif

TEST(KvPatchAgent, TellsOfAnEmptyName) {
    for (const auto load : {loadOldPatchAgent, loadNewPatchAgent}) {
        LogCapture log;
        _PatchAgent agent = usedTable();
        load("", &agent);
        EXPECT_EQ(agent.handle, nullptr);
        EXPECT_THAT(log.lines(), ElementsAre("Err 6 Cause: patchagent: the file name is empty",
                                             "Err 6 load patchagent:  failed."));
    }
}

TEST(KvPatchAgent, FindsALibraryByARelativePath) {
    TempTree tree;
    const ScriptedAgent library(tree, ScriptedAgent::kNew, "below/agent");
    const WorkingDirectory inside(tree.path());
    const std::string relative = "below/agent" + ScriptedAgent::librarySuffix();
    _PatchAgent agent{};
    loadNewPatchAgent(relative.c_str(), &agent);
    ASSERT_NE(agent.handle, nullptr);
    EXPECT_EQ(agent.IsRollbackEx(), 1);
    EXPECT_THAT(library.calls(), ElementsAre("IsRollbackEx()"));
    unloadPatchAgent(&agent);
}

// A bare name is searched for where the platform's loader looks: this program names the directory
// of the agents in its run path, and platforms without one look into the working directory.
TEST(KvPatchAgent, FindsALibraryByABareNameWhereTheLoaderLooks) {
    const WorkingDirectory inside(ScriptedAgent::libraryDir());
    const std::string name = "old_agent" + ScriptedAgent::librarySuffix();
    _PatchAgent agent{};
    loadOldPatchAgent(name.c_str(), &agent);
    ASSERT_NE(agent.handle, nullptr);
    EXPECT_EQ(oldSlots(agent), exportsOf(agent.handle, ScriptedAgent::kOld));
    unloadPatchAgent(&agent);
}

#ifndef __APPLE__
TEST(KvPatchAgent, ResolvesWhatALibraryNeedsNotBeforeItIsCalled) {
    const std::string library =
        ScriptedAgent::libraryDir() + "/unresolved_agent" + ScriptedAgent::librarySuffix();
    LogCapture log;
    _PatchAgent agent{};
    EXPECT_EQ(loadSharedObj(library.c_str(), &agent), 1);
    EXPECT_THAT(log.lines(), IsEmpty());
    unloadPatchAgent(&agent);
}
#endif

TEST(KvPatchAgent, OpensALibraryIntoATableWithoutEntryPoints) {
    TempTree tree;
    const ScriptedAgent library(tree, ScriptedAgent::kNew);
    _PatchAgent agent = usedTable();
    EXPECT_EQ(loadSharedObj(library.path().c_str(), &agent), 1);
    EXPECT_NE(agent.handle, nullptr);
    EXPECT_THAT(slotsOf(agent), Each(IsNull()));
    unloadPatchAgent(&agent);
    EXPECT_FALSE(isLoaded(library.path()));

    agent = usedTable();
    EXPECT_EQ(loadSharedObj(nullptr, &agent), 0);
    EXPECT_EQ(agent.handle, nullptr);
    EXPECT_THAT(slotsOf(agent), Each(IsNull()));

    agent = usedTable();
    EXPECT_EQ(loadSharedObj(tree.path("missing").c_str(), &agent), 0);
    EXPECT_EQ(agent.handle, nullptr);
    EXPECT_THAT(slotsOf(agent), Each(IsNull()));
}

TEST(KvPatchAgent, ClosesTheLibraryAndKeepsHandleAndVersionWhenUnloaded) {
    TempTree tree;
    const ScriptedAgent library(tree, ScriptedAgent::kNew);
    _PatchAgent agent{};
    loadNewPatchAgent(library.path().c_str(), &agent);
    void* const handle = agent.handle;
    ASSERT_TRUE(isLoaded(library.path()));

    unloadPatchAgent(&agent);

    EXPECT_FALSE(isLoaded(library.path()));
    EXPECT_THAT(slotsOf(agent), Each(IsNull()));
    EXPECT_EQ(agent.handle, handle);
    EXPECT_EQ(agent.version, 1U);
}

TEST(KvPatchAgent, ClosesNothingWhenNoLibraryWasOpened) {
    _PatchAgent agent = usedTable();
    loadNewPatchAgent(nullptr, &agent);
    unloadPatchAgent(&agent);
    EXPECT_THAT(slotsOf(agent), Each(IsNull()));
    EXPECT_EQ(agent.handle, nullptr);
    EXPECT_EQ(agent.version, 1U);
}

TEST(KvPatchAgent, ToleratesANullTable) {
    EXPECT_EQ(loadSharedObj("agent", nullptr), 0);
    loadOldPatchAgent("agent", nullptr);
    loadNewPatchAgent("agent", nullptr);
    unloadPatchAgent(nullptr);
}

TEST(KvPatchAgent, CallsTheOldInterfaceWithItsArguments) {
    TempTree tree;
    const ScriptedAgent library(tree, ScriptedAgent::kOld);
    library.script("GetEnginePath = /moved/engine\nStartPatch = 2\nStartEngine #2 = 0");
    _PatchAgent agent{};
    loadOldPatchAgent(library.path().c_str(), &agent);
    char path[PATCHAGENT_PATH_CAPACITY] = "/opt/engine";

    agent.GetEnginePath(path);
    EXPECT_STREQ(path, "/moved/engine");
    EXPECT_EQ(agent.IsRollback(), 1);
    EXPECT_EQ(agent.StartPatch(0x5), PATCH_CLOSEPROGRAM);
    EXPECT_EQ(agent.StartEngine("engine.zip"), 1);
    EXPECT_EQ(agent.CheckFile("/opt/engine/a.dat"), 1);
    EXPECT_EQ(agent.EndEngine(1, 0x52000, 0x53000), 1);
    EXPECT_EQ(agent.StartEngine(nullptr), 0);
    EXPECT_EQ(agent.EndPatch(1), 1);
    EXPECT_THAT(library.calls(),
                ElementsAre("GetEnginePath(/opt/engine)", "IsRollback()", "StartPatch(0x5)",
                            "StartEngine(engine.zip)", "CheckFile(/opt/engine/a.dat)",
                            "EndEngine(1, 0x52000, 0x53000)", "StartEngine(NULL)", "EndPatch(1)"));
    unloadPatchAgent(&agent);
}

TEST(KvPatchAgent, CallsTheNewInterfaceWithItsArguments) {
    TempTree tree;
    const ScriptedAgent library(tree, ScriptedAgent::kNew);
    library.script("CheckFileEx *.dat = -1\nStartItem writes origin 0x50000 7");
    _PatchAgent agent{};
    loadNewPatchAgent(library.path().c_str(), &agent);
    tag_Version origin = {0x52000, 1234, 0};
    tag_Version result = {0x53000, 0, 0};

    EXPECT_EQ(agent.StartAction(), 0);
    EXPECT_EQ(agent.StartItem("x.zip", 1, 7, 0x1, &origin, &result), 1);
    EXPECT_EQ(origin, (tag_Version{0x50000, 7, 0}));
    EXPECT_EQ(agent.CheckFileEx("/opt/app/a.dat"), -1);
    EXPECT_EQ(agent.CheckFileEx("/opt/app/a.txt"), 1);
    EXPECT_EQ(agent.EndItem(0, &origin, &result), 1);
    EXPECT_EQ(agent.EndAction(), 1);
    EXPECT_THAT(library.calls(),
                ElementsAre("StartAction()", "StartItem(x.zip, 1, 7, 0x1, 0x52000/1234, 0x53000/0)",
                            "CheckFileEx(/opt/app/a.dat)", "CheckFileEx(/opt/app/a.txt)",
                            "EndItem(0, 0x50000/7, 0x53000/0)", "EndAction()"));
    unloadPatchAgent(&agent);
}
