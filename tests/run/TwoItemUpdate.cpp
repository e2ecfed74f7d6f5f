#include "tests/run/TwoItemUpdate.h"

#include <algorithm>

namespace {

FileTimes timesOf(const PatchScenario& patch, const ScenarioDir& dir, const std::string& name) {
    FileTimes times;
    for (const auto& file : dir.files()) {
        if (file.first.back() != '/') {
            times[file.first] = patch.tree().time(name + "/" + file.first);
        }
    }
    return times;
}

bool holds(const FileTree& tree, const std::string& content) {
    return std::any_of(tree.begin(), tree.end(),
                       [&](const auto& file) { return file.second == content; });
}

}  // namespace

Destinations::Destinations(const PatchScenario& patch)
    : app(patch.destination("app").files()),
      lib(patch.destination("lib").files()),
      appTimes(timesOf(patch, patch.destination("app"), "app")),
      libTimes(timesOf(patch, patch.destination("lib"), "lib")) {}

void expectSame(const Destinations& before, const Destinations& after) {
    EXPECT_EQ(before.app, after.app);
    EXPECT_EQ(before.lib, after.lib);
    EXPECT_EQ(before.appTimes, after.appTimes);
    EXPECT_EQ(before.libTimes, after.libTimes);
}

void expectKept(const PatchScenario& patch, const std::string& content) {
    const ScenarioDir app = patch.destination("app");
    const ScenarioDir lib = patch.destination("lib");
    EXPECT_TRUE(holds(app.files(), content) || holds(app.store(), content) ||
                holds(lib.files(), content) || holds(lib.store(), content))
        << content;
}

void expectOldFilesKept(const PatchScenario& patch) {
    for (const std::string& name : kOldFiles) {
        expectKept(patch, "old " + name);
    }
}

void expectEmptyStore(const ScenarioDir& dir) {
    for (const auto& entry : dir.store()) {
        EXPECT_EQ(entry.first.back(), '/') << entry.first;
    }
}

void planTwoItems(PatchScenario& patch) {
    for (const std::string& name : kOldFiles) {
        patch.tree().write(name, "old " + name);
        patch.tree().setTime(name, kLongAgo);
    }
    patch.item(3, 5).stage("a.dat", "new a").stage("sub/b.dat", "new b").stage("added.dat", "new");
    patch.item(2, 4)
        .to("lib")
        .versions("5.2", "6.0")
        .stage("c.dat", "new c")
        .stage("sub/d.dat", "new d")
        .stage("added.dat", "new");
}
