#include "tests/faults/FaultScenario.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

// More than one block of a copy.
constexpr size_t kLargeFile = 270000;
constexpr size_t kSmallFile = 150;

// The files of each generation, and how often each was replaced by then.
using Generation = std::map<std::string, int>;
const Generation kOriginal = {{"site/app/a.dat", 0},
                              {"site/app/sub/b.dat", 0},
                              {"site/app/keep.dat", 0},
                              {"site/lib/large.dat", 0},
                              {"site/lib/keep.dat", 0}};
const Generation kFirst = {{"site/app/a.dat", 1},     {"site/app/sub/b.dat", 1},
                           {"site/app/keep.dat", 0},  {"site/app/added.dat", 1},
                           {"site/lib/large.dat", 1}, {"site/lib/keep.dat", 0},
                           {"site/lib/more/c.dat", 1}};
const Generation kSecond = {{"site/app/a.dat", 2},      {"site/app/sub/b.dat", 1},
                            {"site/app/keep.dat", 0},   {"site/app/added.dat", 2},
                            {"site/app/second.dat", 2}, {"site/lib/large.dat", 2},
                            {"site/lib/more/c.dat", 1}, {"site/lib/keep.dat", 0}};

// A name that a path cut short, or one that has lost its beginning, would hit.
const std::vector<std::string> kCanaries = {
    "canary.txt",
    "backup.000",
    "site/canary.txt",
    "site/ap",
    "site/application/a.dat",
    "site/VC_Backup/VcBackup.ini",
    "vc/canary.txt",
    "vc/VC_Dat/canary.txt",
    "stagin",
    "staging2/VcPatch.ini",
    "work/canary.txt",
    "work/a.dat",
    "work/added.dat",
    "work/sub/b.dat",
    "work/backup.000",
    "work/3/5/a.dat",
    "work/3/5/backup.000",
    "work/VcPatch.ini",
    "work/VcBackup.ini",
    "work/VC_Backup/VcBackup.ini",
    "work/VC_Backup/3/5/backup.000",
    "work/staging/VcPatch.ini",
    "work/site/app/a.dat",
    "work/TempSave/canary.txt",
    "work/data.bin",
    "work/sub/data.bin",
};

std::string contentOf(const std::string& name, int generation) {
    const bool isLarge = name.find("large") != std::string::npos;
    const std::string line = "generation " + std::to_string(generation) + " of " + name + "\n";
    std::string content;
    while (content.size() < (isLarge ? kLargeFile : kSmallFile)) {
        content += line;
    }
    return content;
}

FileContents contentsOf(const Generation& files) {
    FileContents contents;
    for (const auto& [name, generation] : files) {
        contents[name] = contentOf(name, generation);
    }
    return contents;
}

// Stages what the newer generation replaces and adds.
void stage(PatchScenario& patch, const Generation& from, const Generation& to,
           const std::string& versions) {
    ScenarioItem& app = patch.item(3, 5).to("site/app").versions(versions + "0", versions + "1");
    ScenarioItem& lib = patch.item(2, 4).to("site/lib").versions(versions + ".0", versions + ".1");
    for (const auto& [name, generation] : to) {
        const auto former = from.find(name);
        if (former == from.end() || former->second != generation) {
            ScenarioItem& item = name.compare(0, 9, "site/app/") == 0 ? app : lib;
            item.stage(name.substr(std::string("site/app/").size()), contentOf(name, generation));
        }
    }
}

void useAgent(PatchScenario& patch, const char* interfaceVersion) {
    patch.set("patchagent", KV_FAULT_AGENT);
    patch.set("patchagent.version", interfaceVersion);
}

// Installs the first generation by a run of its own.
void installFirst(PatchScenario& patch) {
    stage(patch, kOriginal, kFirst, "10");
    EXPECT_EQ(patch.update().status, 0);
}

void planUnattended(PatchScenario& patch) {
    patch.set("nowaiting", "1");
    patch.tree().write(kCachedFile, "download");
    patch.tree().write("cache/sub/data.etag", "tag");
    patch.tree().write("cache/keep/other.bin", "another download");
    patch.append("[cachedfiles]\ncachepath=" + patch.tree().path("cache") +
                 "\ncachedfilescount=1\ncachedfile_0=sub/,data.bin,data.etag,1\n");
}

void planFirst(PatchScenario& patch, FaultScenario& scenario) {
    stage(patch, kOriginal, kFirst, "10");
    scenario.before = contentsOf(kOriginal);
    scenario.after = contentsOf(kFirst);
    scenario.older = scenario.before;
}

void planSecond(PatchScenario& patch, FaultScenario& scenario) {
    installFirst(patch);
    patch.clearStaging();
    stage(patch, kFirst, kSecond, "20");
    scenario.before = contentsOf(kFirst);
    scenario.after = contentsOf(kSecond);
    scenario.older = contentsOf(kOriginal);
}

void planRollback(PatchScenario& patch, FaultScenario& scenario) {
    installFirst(patch);
    scenario.isRollback = true;
    scenario.before = contentsOf(kFirst);
    scenario.after = contentsOf(kOriginal);
    scenario.older = scenario.after;
}

bool isWithin(const std::string& path, const std::string& directory) {
    return path == directory || path.compare(0, directory.size() + 1, directory + "/") == 0;
}

// Whether the path is one of the files or a directory above one.
bool isOf(const FileContents& files, const std::string& path) {
    const auto found = files.lower_bound(path);
    const auto below = files.lower_bound(path + "/");
    return (found != files.end() && found->first == path) ||
           (below != files.end() && isWithin(below->first, path));
}

bool isInStore(const std::string& path) {
    return isWithin(path, "site/app/VC_Backup") || isWithin(path, "site/lib/VC_Backup");
}

// What came before the run is no matter of its own.
void forgetFormerRuns(const PatchScenario& patch) {
    std::filesystem::remove_all(patch.tree().path("vc/VC_Data"));
    std::filesystem::remove(patch.tree().path("staging/VcResult.ini"));
    std::filesystem::remove(patch.tree().path("staging/VcPatch.ini.lock"));
}

}  // namespace

bool FaultScenario::mayChange(const std::string& path) const {
    if (isWithin(path, "vc/VC_Data") || path == "staging/VcResult.ini" ||
        path == "staging/VcPatch.ini.lock" || isInStore(path)) {
        return true;
    }
    if (isUnattended && (isWithin(path, "staging") || isWithin(path, "cache/sub") ||
                         path == "cache/sub.lock" || path == "cache/keep.lock")) {
        return true;
    }
    return isOf(before, path) || isOf(after, path);
}

const std::vector<std::string>& scenarioNames() {
    static const std::vector<std::string> names = {"update",   "oldagent", "newagent", "second",
                                                   "rollback", "stopped",  "unrolled", "cleanup"};
    return names;
}

FaultScenario layOut(const std::string& name, PatchScenario& patch) {
    FaultScenario scenario;
    scenario.name = name;
    for (const auto& [file, content] : contentsOf(kOriginal)) {
        patch.tree().write(file, content);
    }
    for (const std::string& canary : kCanaries) {
        patch.tree().write(canary, "canary " + canary);
    }
    patch.workIn(patch.tree().path(kWorkingDir));
    if (name != "update" && name != "cleanup") {
        useAgent(patch, name == "newagent" || name == "unrolled" ? "1" : "0");
    }
    if (name == "second") {
        planSecond(patch, scenario);
    } else if (name == "rollback" || name == "unrolled") {
        planRollback(patch, scenario);
    } else {
        planFirst(patch, scenario);
    }
    if (name == "stopped" || name == "unrolled") {
        scenario.stopsAt = 4;
    }
    if (name == "cleanup") {
        scenario.isUnattended = true;
        planUnattended(patch);
    }
    patch.set("action", scenario.isRollback ? "1" : "0");
    patch.writeDescription();
    forgetFormerRuns(patch);
    return scenario;
}

FileContents installedFiles(const TreeFiles& tree) {
    FileContents files;
    for (const auto& [path, file] : tree) {
        const bool isInstalled = isWithin(path, "site/app") || isWithin(path, "site/lib");
        if (isInstalled && !file.isDirectory && !isInStore(path)) {
            files[path] = file.content;
        }
    }
    return files;
}

FileContents storedFiles(const TreeFiles& tree) {
    FileContents files;
    for (const auto& [path, file] : tree) {
        if (isInStore(path) && !file.isDirectory) {
            files[path] = file.content;
        }
    }
    return files;
}
