#include <gtest/gtest.h>

#include <iterator>

#include "base/KvVersion.h"

namespace {

// In the order in which the table is searched.
constexpr EngineSection kExpected[] = {
    {"Path_ZELTA32_95", 0x1},          {"Path_ZELTA32_VXD", 0x2},
    {"Path_ZELTA32_NT_I386", 0x4},     {"Path_ZELTA32_NT_ALPHA", 0x8},
    {"Path_ZELTA32_NT_KD", 0x10},      {"Path_ZELTA32_NLM", 0x20},
    {"Path_ZELTA32_OS2", 0x40},        {"Path_ZELTA32_DOS4G", 0x80},
    {"Path_ZELTA32_SOLARIS", 0x100},   {"Path_ZELTA32_HPUX", 0x200},
    {"Path_ZELTA32_AIX", 0x400},       {"Path_ZELTA16", 0x800},
    {"Path_PREZELTA32_95", 0x1000},    {"Path_PREZELTA32_NT", 0x2000},
    {"Path_PREZELTA16", 0x4000},       {"Path_ZELTA_ALL", 0x8000},
    {"Path_ZELTA32_LINUX", 0x20000},   {"Path_ZELTA32_SOLARIS_SPARC", 0x10000},
    {"Path_ZELTA_MIPS_4926", 0x40000}, {"Path_ZELTA32_S390", 0x80000},
    {"Path_ZELTA32_AS400", 0x100000},
};

TEST(KvComponent, TheEngineTableHasItsRowsInOrderAndEndsWithoutAName) {
    for (size_t i = 0; i < std::size(kExpected); ++i) {
        EXPECT_STREQ(sectionTableEngine[i].name, kExpected[i].name);
        EXPECT_EQ(sectionTableEngine[i].identifier, kExpected[i].identifier);
    }
    EXPECT_EQ(sectionTableEngine[std::size(kExpected)].name, nullptr);
}

TEST(KvComponent, EveryEngineHasItsName) {
    for (const EngineSection& row : kExpected) {
        EXPECT_STREQ(EngineIdToString(row.identifier), row.name);
    }
}

TEST(KvComponent, AMaskOfSeveralEnginesHasNoName) {
    EXPECT_EQ(EngineIdToString(0x3), nullptr);
    EXPECT_EQ(EngineIdToString(0), nullptr);
    EXPECT_EQ(EngineIdToString(0x200000), nullptr);
    EXPECT_EQ(EngineIdToString(0xFFFFFFFF), nullptr);
}

TEST(KvComponent, ClassesHaveDescriptions) {
    EXPECT_STREQ(GetClassDescription(kClassProduct), "Product");
    EXPECT_STREQ(GetClassDescription(kClassEngine), "Engine");
    EXPECT_STREQ(GetClassDescription(kClassPattern), "Pattern");
    EXPECT_STREQ(GetClassDescription(1), "Product");
    EXPECT_STREQ(GetClassDescription(2), "Engine");
    EXPECT_STREQ(GetClassDescription(3), "Pattern");
    for (const unsigned cls : {0u, 4u, 0x80000001u, 0xFFFFFFFFu}) {
        EXPECT_STREQ(GetClassDescription(cls), "Unknown Component");
    }
}

}  // namespace
