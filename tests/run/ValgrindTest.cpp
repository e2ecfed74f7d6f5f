// Updates and rollbacks under valgrind: nothing is lost, no descriptor stays open.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/run/PatchScenario.h"

namespace {

using testing::HasSubstr;

constexpr int kFoundErrors = 99;

// Runs the scenario's binary on its staging directory.
ChildResult runUnderValgrind(PatchScenario& patch, const char* action) {
    patch.set("action", action);
    patch.writeDescription();
    ChildCommand command = patch.command({patch.staging().path()});
    command.arguments.insert(
        command.arguments.begin(),
        {"--track-fds=yes", "--leak-check=full", "--errors-for-leak-kinds=definite,indirect",
         "--error-exitcode=" + std::to_string(kFoundErrors), command.executable});
    command.executable = KV_VALGRIND;
    return runChild(command);
}

size_t countOf(const std::string& part, const std::string& text) {
    size_t count = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++count;
    }
    return count;
}

void expectClean(const ChildResult& result) {
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_THAT(result.err, HasSubstr("ERROR SUMMARY: 0 errors"));
    // Of what the tool has opened itself nothing is left.
    EXPECT_THAT(result.err, HasSubstr("FILE DESCRIPTORS: "));
    EXPECT_EQ(countOf("Open file descriptor ", result.err),
              countOf("<inherited from parent>", result.err))
        << result.err;
}

class Valgrind : public testing::Test {
  protected:
    Valgrind() {
        patch.destination().write("a.dat", "old");
        patch.item(3, 5).stage("a.dat", "new").stage("deep/b.dat", "more");
    }

    void SetUp() override {
        if (std::string(KV_VALGRIND).empty()) {
            GTEST_SKIP() << "valgrind is not installed, or the build has a sanitizer";
        }
    }

    PatchScenario patch;
    ScriptedAgent& agent = patch.agent(ScriptedAgent::kNew);
};

TEST_F(Valgrind, FindsUpdateAndRollbackClean) {
    expectClean(runUnderValgrind(patch, "0"));
    EXPECT_EQ(patch.destination().read("a.dat"), "new");
    expectClean(runUnderValgrind(patch, "1"));
    EXPECT_EQ(patch.destination().read("a.dat"), "old");
    EXPECT_FALSE(patch.destination().has("deep/b.dat"));
}

TEST_F(Valgrind, FindsARefusedRollbackClean) {
    agent.script("IsRollbackEx = 0");
    expectClean(runUnderValgrind(patch, "1"));
    EXPECT_EQ(patch.result(), "result=60\n");
}

TEST_F(Valgrind, FindsARollbackThatFailsClean) {
    ASSERT_EQ(patch.update().status, 0);
    agent.script("EndItem = 0");
    expectClean(runUnderValgrind(patch, "1"));
    EXPECT_EQ(patch.result(), "result=60\n");
    EXPECT_EQ(patch.destination().read("a.dat"), "new");
}

TEST_F(Valgrind, FindsARollbackForAnUnknownInterfaceClean) {
    patch.set("patchagent.version", "5");
    expectClean(runUnderValgrind(patch, "1"));
    EXPECT_EQ(patch.result(), "result=0\n");
}

}  // namespace
