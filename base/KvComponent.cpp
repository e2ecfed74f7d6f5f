// Names of component classes and of scan engines.
#include "base/KvVersion.h"

// Searched from the top; 0x20000 stands before 0x10000.
const EngineSection sectionTableEngine[] = {
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
    {"Path_ZELTA32_AS400", 0x100000},  {nullptr, 0},
};

const char* EngineIdToString(unsigned id) {
    const EngineSection* row = sectionTableEngine;
    while (row->name != nullptr && row->identifier != id) {
        ++row;
    }
    return row->name;
}

const char* GetClassDescription(unsigned cls) {
    switch (cls) {
        case kClassProduct:
            return "Product";
        case kClassEngine:
            return "Engine";
        case kClassPattern:
            return "Pattern";
        default:
            return "Unknown Component";
    }
}
