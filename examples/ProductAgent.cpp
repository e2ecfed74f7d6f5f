// The patch agent of a small product, in the new interface: it keeps the user's settings, lets no
// update through that brings a file its checks do not like, and makes new programs executable.
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#define KV_PATCH_AGENT_NEW
#include "KvPatchAgentApi.h"

namespace {

// Files of the current item that were not there before: they are written without an x bit.
std::vector<std::string> g_newFiles;

// The last name of a path.
const char* nameOf(const char* path) {
    const char* slash = std::strrchr(path, '/');
    return slash != nullptr ? slash + 1 : path;
}

// Whether the system can run the file: a script, or a binary of Linux or macOS.
bool isProgram(const char* path) {
    std::FILE* const file = std::fopen(path, "rb");
    if (file == nullptr) {
        return false;
    }
    char start[4] = {};
    const size_t length = std::fread(start, 1, sizeof start, file);
    (void)std::fclose(file);  // only read
    return (length >= 2 && std::memcmp(start, "#!", 2) == 0) ||
           (length == 4 && (std::memcmp(start, "\x7f\x45\x4c\x46", 4) == 0 ||  // ELF
                            std::memcmp(start, "\xcf\xfa\xed\xfe", 4) == 0 ||  // Mach-O
                            std::memcmp(start, "\xca\xfe\xba\xbe", 4) == 0));  // several of these
}

// Lets everybody run the file who may read it.
bool makeExecutable(const char* path) {
    struct stat status {};
    if (stat(path, &status) != 0) {
        return false;
    }
    const mode_t readers = status.st_mode & (S_IRUSR | S_IRGRP | S_IROTH);
    return chmod(path, (status.st_mode | readers >> 2) & 07777) == 0;
}

}  // namespace

KV_PATCH_AGENT_ENTRY int32_t IsRollbackEx(void) {
    return PATCHAGENT_YES;
}

KV_PATCH_AGENT_ENTRY int32_t StartAction(void) {
    return PATCH_GOON;
}

KV_PATCH_AGENT_ENTRY int32_t StartItem(const char* /*name*/, uint32_t /*itemClass*/,
                                       uint32_t /*type*/, uint32_t /*flags*/,
                                       tag_Version* /*origin*/, tag_Version* /*result*/) {
    g_newFiles.clear();
    return PATCHAGENT_YES;
}

KV_PATCH_AGENT_ENTRY int32_t CheckFileEx(const char* path) {
    const char* name = nameOf(path);
    if (std::strcmp(name, "settings.conf") == 0) {
        return CHECKFILE_SKIP;  // the user's own
    }
    if (std::strcmp(name, "unsigned.bin") == 0) {
        return CHECKFILE_ERROR;  // a product would check a signature here
    }
    if (access(path, F_OK) == 0) {
        return CHECKFILE_REPLACE;  // what is overwritten keeps its mode
    }
    try {
        g_newFiles.emplace_back(path);
    } catch (...) {
        return CHECKFILE_ERROR;
    }
    return CHECKFILE_REPLACE;
}

KV_PATCH_AGENT_ENTRY int32_t EndItem(int success, tag_Version* /*origin*/,
                                     tag_Version* /*result*/) {
    bool isDone = true;
    for (const std::string& file : g_newFiles) {
        // In a rollback the file may be gone by now.
        if (success != 0 && isProgram(file.c_str())) {
            isDone = makeExecutable(file.c_str()) && isDone;
        }
    }
    return isDone ? PATCHAGENT_YES : PATCHAGENT_NO;
}

KV_PATCH_AGENT_ENTRY int32_t EndAction(void) {
    return PATCHAGENT_YES;
}
