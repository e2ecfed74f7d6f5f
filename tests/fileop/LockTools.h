// What the tests of the lock share: the ways of taking one, a place for it, and the system's view.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>

#include <string>

#include "base/KvScoped.h"
#include "fileop/KvVcLock.h"
#include "tests/support/ForkedProcess.h"
#include "tests/support/TempTree.h"

constexpr bool kWait = true;
constexpr bool kTry = false;

class Lock : public testing::Test {
  protected:
    TempTree tree;
    std::string path = tree.path("VcPatch.ini");
};

// Whether the system would give another process the lock file. Asked without a lock object: a
// forked process inherits the table of what this one holds.
inline bool othersGet(const std::string& path) {
    ForkedProcess other([&](const Talk&) {
        const ScopedFd file(open((path + ".lock").c_str(), O_WRONLY | O_CREAT, 0600));
        struct flock whole {};
        whole.l_type = F_WRLCK;
        return file.isOpen() && fcntl(file.get(), F_SETLK, &whole) == 0 ? 1 : 0;
    });
    return other.finish() == 1;
}
