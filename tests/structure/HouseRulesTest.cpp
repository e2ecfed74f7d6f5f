// The rules themselves, on made-up trees: each fault is seen, and what is allowed is left alone.
#include "tests/structure/HouseRules.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/TempTree.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class HouseRules : public testing::Test {
  protected:
    HouseRules() {
        tree.write("base/Text.h", "#pragma once\n");
        tree.write("ini/Document.h", "#pragma once\n#include \"base/Text.h\"\n");
    }

    TempTree tree;
};

TEST_F(HouseRules, AWellBuiltTreeHasNoFaults) {
    tree.write("base/Text.cpp", "#include \"base/Text.h\"\n\n#include <string>\n");
    tree.write("ini/Document.cpp", "#include \"ini/Document.h\"\n#include \"base/Text.h\"\n");
    EXPECT_THAT(findIncludeFaults(tree.path()), IsEmpty());
    EXPECT_THAT(findCircles(tree.path()), IsEmpty());
    EXPECT_THAT(findLongSources(tree.path()), IsEmpty());
}

TEST_F(HouseRules, AnIncludeThatRunsUpTheHouseIsToldWithFileAndLine) {
    tree.write("base/Text.cpp", "#include \"base/Text.h\"\n\n  #  include \"ini/Document.h\"\n");
    EXPECT_THAT(findIncludeFaults(tree.path()),
                ElementsAre("base/Text.cpp:3: ini/Document.h: runs up the house"));
}

TEST_F(HouseRules, EveryFloorSeesTheFloorsBelowAndNoneAbove) {
    const std::vector<std::string> upwards{"base",  "fileop", "ini",    "log",
                                           "patch", "agent",  "updater"};
    for (const std::string& floor : upwards) {
        tree.write(floor + "/Face.h", "");
    }
    for (size_t from = 0; from < upwards.size(); ++from) {
        for (size_t to = 0; to < upwards.size(); ++to) {
            const std::string file =
                tree.write(upwards[from] + "/X.cpp", "#include \"" + upwards[to] + "/Face.h\"");
            EXPECT_EQ(findIncludeFaults(tree.path()).empty(), to <= from)
                << upwards[from] << " sees " << upwards[to];
            std::remove(file.c_str());
        }
    }
}

TEST_F(HouseRules, TheTwoHalvesOfAFloorDoNotSeeEachOther) {
    tree.write("agent/Face.h", "");
    tree.write("store/Face.h", "");
    tree.write("agent/X.cpp", "#include \"store/Face.h\"\n");
    tree.write("store/X.cpp", "#include \"agent/Face.h\"\n");
    EXPECT_THAT(findIncludeFaults(tree.path()),
                ElementsAre("agent/X.cpp:1: store/Face.h: runs sideways",
                            "store/X.cpp:1: agent/Face.h: runs sideways"));
}

TEST_F(HouseRules, AnIncludeMustBeAHouseHeaderWrittenFromTheRoot) {
    tree.write("tests/support/Tool.h", "");
    tree.write("bench/Tool.h", "");
    tree.write("ini/Part.cpp", "");
    const char* const refused[] = {"Document.h",
                                   "./ini/Document.h",
                                   "../ini/Document.h",
                                   "ini/../base/Text.h",
                                   "tests/support/Tool.h",
                                   "bench/Tool.h",
                                   "vector",
                                   "ini/Missing.h",
                                   "ini/Part.cpp"};
    for (const std::string name : refused) {
        tree.write("ini/Document.cpp", "#include \"" + name + "\"\n");
        EXPECT_THAT(findIncludeFaults(tree.path()),
                    ElementsAre(HasSubstr("ini/Document.cpp:1: " + name)));
    }
}

TEST_F(HouseRules, AHouseHeaderInAngleBracketsDoesNotEscape) {
    tree.write("base/Text.cpp", "#include <ini/Document.h>\n#include <sys/stat.h>\n");
    EXPECT_THAT(findIncludeFaults(tree.path()), ElementsAre(HasSubstr("base/Text.cpp:1: ")));
}

TEST_F(HouseRules, ACircleOfHeadersIsToldStepByStep) {
    tree.write("log/A.h", "#include \"log/B.h\"\n");
    tree.write("log/B.h", "#include \"log/C.h\"\n");
    tree.write("log/C.h", "#include \"log/A.h\"\n");
    EXPECT_THAT(findCircles(tree.path()), ElementsAre("circle: log/A -> log/B -> log/C -> log/A"));
}

TEST_F(HouseRules, SourcesCloseACircleOfRooms) {
    tree.write("log/A.h", "");
    tree.write("log/B.h", "#include \"log/A.h\"\n");
    tree.write("log/A.cpp", "#include \"log/A.h\"\n#include \"log/B.h\"\n");
    EXPECT_THAT(findCircles(tree.path()), ElementsAre("circle: log/A -> log/B -> log/A"));
}

TEST_F(HouseRules, AFurtherSourceOfAHeaderMayStandAboveAnotherRoom) {
    tree.write("log/A.h", "");
    tree.write("log/B.h", "#include \"log/A.h\"\n");
    tree.write("log/APart.cpp", "#include \"log/A.h\"\n#include \"log/B.h\"\n");
    EXPECT_THAT(findCircles(tree.path()), IsEmpty());
}

TEST_F(HouseRules, ACircleOfFloorsIsTold) {
    tree.write("base/Part.cpp", "#include \"ini/Document.h\"\n");
    EXPECT_THAT(findCircles(tree.path()), ElementsAre("circle: base -> ini -> base"));
}

TEST_F(HouseRules, APathGoesToTheSystemInOnePlaceOnly) {
    tree.write("base/Stream.cpp", "FILE* f = fopen(path, text);\n");
    tree.write("fileop/KvSystem.cpp", "return ::open(text, flags, mode);\n");
    tree.write("ini/Document.cpp",
               "// unlink(path) of old\n"
               "KvFileOpUtil::unlink(path);\nfile.open(path);\nlist->remove(x);\n"
               "sysStat(path, status);\nfstat(fd, &status);\nstruct stat status {};\n");
    EXPECT_THAT(findPathCalls(tree.path()), IsEmpty());
    tree.write("log/Log.cpp",
               "int x = 0;\nif (stat(path, &status) == 0) {\n(void)::unlink(path);\n");
    EXPECT_THAT(findPathCalls(tree.path()),
                ElementsAre("log/Log.cpp:2: stat: only fileop/KvSystem.cpp calls it",
                            "log/Log.cpp:3: unlink: only fileop/KvSystem.cpp calls it"));
}

TEST_F(HouseRules, ASourceMayHaveFourHundredLines) {
    std::string text;
    for (int i = 0; i < kLongestSource; ++i) {
        text += "//\n";
    }
    tree.write("base/Long.h", text);
    EXPECT_THAT(findLongSources(tree.path()), IsEmpty());
    tree.write("base/Long.h", text + "//\n");
    EXPECT_THAT(findLongSources(tree.path()),
                ElementsAre("base/Long.h:401: longer than 400 lines"));
}

TEST_F(HouseRules, AFloorLinksOnlyFloorsBelow) {
    tree.write("ini/CMakeLists.txt",
               "kv_floor(ini  # kv_log comes later\n    SOURCES\n        KvIni.cpp\n"
               "    LINKS\n        kv_base\n        kv_fileop\n        ${CMAKE_DL_LIBS})\n");
    EXPECT_THAT(findLinkFaults(tree.path()), IsEmpty());
    tree.write("ini/CMakeLists.txt",
               "kv_floor(ini\n    SOURCES\n        KvIni.cpp\n    LINKS kv_base kv_log)\n"
               "target_link_libraries(kv_ini PUBLIC kv_test_support)\n");
    EXPECT_THAT(findLinkFaults(tree.path()),
                ElementsAre("ini/CMakeLists.txt:4: kv_log: not a floor below",
                            "ini/CMakeLists.txt:5: kv_test_support: not a floor below"));
}

}  // namespace
