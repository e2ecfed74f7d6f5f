// What the rollback of one item makes of every answer of the agent, wherever in the item the file
// stands.
#include <gmock/gmock.h>

#include "tests/updater/RollbackItemTest.h"
#include "tests/updater/Story.h"
#include "updater/KvAutoRollback.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const std::string kFound = "rollbackItem: item found.";
const std::string kFailed = "Err 6 rollbackItem: rollback added file failed.";
const std::string kUnknownAnswer = "Err 6 rollbackItem:unknown action for checkfile.";

class KvRollbackItemAnswers : public RollbackItemTest {};

// --- One answer among two files that the agent approves

struct Answer {
    int answer;
    bool isUndone;    // the file itself
    bool goesOn;      // the files behind it
    int whenLast;     // the result when it is the answer to the last file
    bool isDeferred;  // to the restart
};

constexpr Answer kAnswers[] = {
    {1, true, true, 0, false},    {0, false, true, 2, false}, {-2, false, true, 2, true},
    {-1, false, false, 1, false}, {7, true, true, 0, false},
};

enum Kind { kAdded, kWritten };

// Interface, kind of the three files, place of the one with the answer, answer.
using Case = std::tuple<uint32_t, Kind, size_t, Answer>;

class KvRollbackItemAnswer : public RollbackItemTest, public testing::WithParamInterface<Case> {
  protected:
    static constexpr size_t kFiles = 3;
    static constexpr const char* kNames[kFiles] = {"a", "b", "c"};

    KvRollbackItemAnswer() {
        use(std::get<0>(GetParam()));
        app.item(3, 5);
        for (const char* name : kNames) {
            isAdded() ? app.added(name) : app.written(name);
        }
        answer(kNames[place()], given().answer);
    }

    static bool isAdded() { return std::get<1>(GetParam()) == kAdded; }
    static size_t place() { return std::get<2>(GetParam()); }
    static const Answer& given() { return std::get<3>(GetParam()); }

    static bool isUndone(size_t file) {
        return file == place() ? given().isUndone : file < place() || given().goesOn;
    }

    static int expectedResult() {
        const bool isLast = place() == kFiles - 1;
        return isLast || !given().goesOn ? given().whenLast : 0;
    }

    static std::vector<std::string> expectedFiles() {
        std::vector<std::string> files;
        for (size_t i = 0; i < kFiles; ++i) {
            const std::string name = kNames[i];
            if (!isUndone(i)) {
                files.push_back(name + (isAdded() ? "=added " : "=new ") + name);
            } else if (!isAdded()) {
                files.push_back(name + "=old " + name);
            }
        }
        return files;
    }
};

TEST_P(KvRollbackItemAnswer, DecidesAboutTheFileAndTheItem) {
    EXPECT_EQ(run(), expectedResult());

    EXPECT_EQ(app.files(), expectedFiles());
    const size_t asked = given().goesOn ? kFiles : place() + 1;
    EXPECT_EQ(agent().calls.size(), asked);
}

// The copy of a file is recorded whatever the answer is, but for the answer that stops the item:
// then it is deleted.
TEST_P(KvRollbackItemAnswer, RecordsTheCopies) {
    (void)run();

    const size_t firstCopy = isAdded() ? 0 : kFiles;
    for (size_t i = 0; i < kFiles; ++i) {
        const std::string copy = "backup.00" + std::to_string(firstCopy + i);
        const bool isRecorded = given().goesOn || i < place();
        EXPECT_EQ(app.has(app.store() + copy), isRecorded);
        if (isRecorded) {
            EXPECT_EQ(recorded().at(i), copy + ", " + app.path(kNames[i]));
            EXPECT_EQ(app.read(app.store() + copy),
                      std::string(isAdded() ? "added " : "new ") + kNames[i]);
        }
    }
    EXPECT_EQ(recorded().size(), given().goesOn ? kFiles : place());
}

TEST_P(KvRollbackItemAnswer, DefersOnlyWhatTheAgentDefers) {
    (void)run();

    const std::string target = " -> " + app.path(kNames[place()]);
    const std::string copy = inStore("backup.00" + std::to_string(place()));
    if (!given().isDeferred) {
        EXPECT_THAT(reboots.texts(), IsEmpty());
    } else if (isAdded()) {
        EXPECT_THAT(reboots.texts(), ElementsAre(target + ", 0"));
    } else {
        EXPECT_THAT(reboots.texts(), ElementsAre(copy + target + ", 1"));
        EXPECT_EQ(tree.read("app/" + app.store() + "backup.00" + std::to_string(place())),
                  std::string("old ") + kNames[place()]);
    }
}

INSTANTIATE_TEST_SUITE_P(Answers, KvRollbackItemAnswer,
                         testing::Combine(testing::Values(PATCHAGENT_OLD, PATCHAGENT_NEW),
                                          testing::Values(kAdded, kWritten),
                                          testing::Range<size_t>(0, 3),
                                          testing::ValuesIn(kAnswers)));

// --- What an answer without a meaning inherits

struct Course {
    const char* name;
    std::vector<int> added;    // the answers to the added files x0, x1 ...
    std::vector<int> written;  // and to the written ones a0, a1 ...
    int result;
    std::vector<std::string> undone;
};

void PrintTo(const Course& course, std::ostream* out) {
    *out << course.name;
}

class KvRollbackItemCourse : public RollbackItemTest, public testing::WithParamInterface<Course> {};

TEST_P(KvRollbackItemCourse, CarriesTheFateOfTheFileBefore) {
    app.item(3, 5);
    std::vector<std::string> undone;
    for (size_t i = 0; i < GetParam().added.size(); ++i) {
        app.added("x" + std::to_string(i));
        answer("x" + std::to_string(i), GetParam().added[i]);
    }
    for (size_t i = 0; i < GetParam().written.size(); ++i) {
        app.written("a" + std::to_string(i));
        answer("a" + std::to_string(i), GetParam().written[i]);
    }

    EXPECT_EQ(run(), GetParam().result);

    for (size_t i = 0; i < GetParam().added.size(); ++i) {
        const std::string name = "x" + std::to_string(i);
        if (!app.has(name)) {
            undone.push_back(name);
        }
    }
    for (size_t i = 0; i < GetParam().written.size(); ++i) {
        const std::string name = "a" + std::to_string(i);
        if (app.read(name) == "old " + name) {
            undone.push_back(name);
        }
    }
    EXPECT_EQ(undone, GetParam().undone);
}

INSTANTIATE_TEST_SUITE_P(Courses, KvRollbackItemCourse,
                         testing::Values(Course{"FirstAddedFile", {7}, {}, 0, {"x0"}},
                                         Course{"FirstFileOfAll", {}, {7}, 0, {"a0"}},
                                         Course{"AddedAfterASkip", {0, 7, 7}, {}, 2, {}},
                                         Course{"AddedAfterADeferral", {-2, 7}, {}, 2, {}},
                                         Course{"AddedAfterAYes", {0, 1, 7}, {}, 0, {"x1", "x2"}},
                                         Course{"FirstWrittenAfterASkip", {0}, {7}, 2, {}},
                                         Course{"FirstWrittenAfterADeferral", {-2}, {7}, 2, {}},
                                         Course{
                                             "FirstWrittenAfterAYes", {0, 1}, {7}, 0, {"x1", "a0"}},
                                         Course{"WrittenAfterASkip", {1}, {0, 7}, 2, {"x0"}},
                                         Course{"WrittenAfterADeferral", {1}, {-2, 7}, 2, {"x0"}},
                                         Course{"WrittenAfterAYes", {0}, {1, 7}, 0, {"a0", "a1"}},
                                         Course{"NoWrittenFileAfterASkip", {1, 0}, {}, 2, {"x0"}},
                                         Course{"YesAfterASkip", {0}, {1}, 0, {"a0"}},
                                         Course{"SkipAfterAYes", {1}, {0}, 2, {"x0"}}),
                         [](const auto& test) { return test.param.name; });

// --- What it says about an answer

TEST_F(KvRollbackItemAnswers, SaysThatAnAnswerHasNoMeaning) {
    app.item(3, 5).added("x").written("a");
    answer("x", 7);
    answer("a", -3);
    Story story(agent());

    EXPECT_EQ(run(), 0);

    EXPECT_THAT(story.linesAfter(kFound),
                ElementsAre("Inf 6 Call PatchAgent CheckFileEx with " + app.path("x"),
                            "call CheckFileEx(" + app.path("x") + ")", kUnknownAnswer,
                            "Inf 6 rollbackItem: rollback added file done.",
                            "Inf 6 Call PatchAgent CheckFileEx with: " + app.path("a"),
                            "call CheckFileEx(" + app.path("a") + ")", kUnknownAnswer));
}

TEST_F(KvRollbackItemAnswers, SaysThatAnAddedFileStoppedIt) {
    app.item(3, 5).added("x").written("a");
    answer("x", -1);
    Story story(agent());

    EXPECT_EQ(run(), 1);

    EXPECT_THAT(story.linesAfter(kFound),
                ElementsAre("Inf 6 Call PatchAgent CheckFileEx with " + app.path("x"),
                            "call CheckFileEx(" + app.path("x") + ")", kFailed));
}

// The words speak of an added file all the same.
TEST_F(KvRollbackItemAnswers, SaysThatAWrittenFileStoppedIt) {
    app.item(3, 5).written("a").written("b");
    answer("a", -1);
    Story story(agent());

    EXPECT_EQ(run(), 1);

    EXPECT_THAT(story.linesAfter(kFound),
                ElementsAre("Inf 6 rollbackItem: rollback added file done.",
                            "Inf 6 Call PatchAgent CheckFileEx with: " + app.path("a"),
                            "call CheckFileEx(" + app.path("a") + ")", kFailed));
}

TEST_F(KvRollbackItemAnswers, SaysNothingAboutTheOtherAnswers) {
    app.item(3, 5).added("x").added("y").written("a").written("b");
    answer("x", 0);
    answer("y", -2);
    answer("a", 0);
    answer("b", -2);
    Story story(agent());

    EXPECT_EQ(run(), 2);

    EXPECT_EQ(story.linesAfter(kFound).size(), 9U) << "two lines a file and one between the kinds";
    EXPECT_THAT(reboots.texts(),
                ElementsAre(" -> " + app.path("y") + ", 0",
                            inStore("backup.001") + " -> " + app.path("b") + ", 1"));
}

// --- All files alike, and a stop that is undone

TEST_F(KvRollbackItemAnswers, LeavesEverythingInPlaceWhenTheAgentSkipsEverything) {
    app.item(3, 5).added("x").added("y").written("a").written("b");
    agent().answers["CheckFileEx"] = 0;
    const std::vector<std::string> before = app.files();

    EXPECT_EQ(run(), 2);

    EXPECT_EQ(app.files(), before);
    EXPECT_THAT(recorded(),
                ElementsAre("backup.002, " + app.path("x"), "backup.003, " + app.path("y"),
                            "backup.004, " + app.path("a"), "backup.005, " + app.path("b")));
    EXPECT_EQ(app.read(app.store() + "backup.005"), "new b");
}

TEST_F(KvRollbackItemAnswers, LeavesARecordByWhichAStopCanBeUndone) {
    app.item(3, 5).added("x").added("y").added("z").written("a");
    answer("z", -1);
    const std::vector<std::string> before = app.files();

    EXPECT_EQ(run(), 1);
    EXPECT_THAT(app.files(), ElementsAre("a=new a", "z=added z"));
    EXPECT_THAT(recorded(),
                ElementsAre("backup.001, " + app.path("x"), "backup.002, " + app.path("y")));

    backupStru record{1, &own(), 1, nullptr};
    EXPECT_EQ(autoRollback(agent().table(), &record, kUndoRollback), 1);
    EXPECT_EQ(app.files(), before);
}

}  // namespace
