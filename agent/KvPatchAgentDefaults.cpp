#include "agent/KvPatchAgent.h"

void intended_unused_variables(...) {}

int32_t lStartPatch(uint32_t classMask) {
    intended_unused_variables(classMask);
    return PATCH_GOON;
}

int32_t lEndPatch(int success) {
    intended_unused_variables(success);
    return PATCHAGENT_YES;
}

int32_t lStartPattern(const char* name) {
    intended_unused_variables(name);
    return PATCHAGENT_YES;
}

int32_t lEndPattern(int success, uint32_t origin, uint32_t result) {
    intended_unused_variables(success, origin, result);
    return PATCHAGENT_YES;
}

int32_t lStartEngine(const char* name) {
    intended_unused_variables(name);
    return PATCHAGENT_YES;
}

int32_t lEndEngine(int success, uint32_t origin, uint32_t result) {
    intended_unused_variables(success, origin, result);
    return PATCHAGENT_YES;
}

int32_t lStartProduct(const char* name) {
    intended_unused_variables(name);
    return PATCHAGENT_YES;
}

int32_t lEndProduct(int success, uint32_t origin, uint32_t result) {
    intended_unused_variables(success, origin, result);
    return PATCHAGENT_YES;
}

int32_t lCheckFile(const char* path) {
    intended_unused_variables(path);
    return CHECKFILE_REPLACE;
}

void lGetPatternPath(char* buffer) {
    intended_unused_variables(buffer);
}

void lGetEnginePath(char* buffer) {
    intended_unused_variables(buffer);
}

void lGetProductPath(char* buffer) {
    intended_unused_variables(buffer);
}

int32_t lIsRollback() {
    return PATCHAGENT_YES;
}

int32_t lStartAction() {
    return PATCH_GOON;
}

int32_t lEndAction() {
    return PATCHAGENT_YES;
}

int32_t lStartItem(const char* name, uint32_t itemClass, uint32_t type, uint32_t flags,
                   tag_Version* origin, tag_Version* result) {
    intended_unused_variables(name, itemClass, type, flags, origin, result);
    return PATCHAGENT_YES;
}

int32_t lEndItem(int success, tag_Version* origin, tag_Version* result) {
    intended_unused_variables(success, origin, result);
    return PATCHAGENT_YES;
}

int32_t lCheckFileEx(const char* path) {
    intended_unused_variables(path);
    return CHECKFILE_REPLACE;
}

int32_t lIsRollbackEx() {
    return PATCHAGENT_YES;
}
