// The one place above base where the system is given a path. No other source calls these functions
// of the system itself, so that a text that is not whole can never get there.
//
// Each does and answers what the system's function of its name does and answers, `errno` included.
// A path that is null or empty fails with ENOENT, one for which there was no memory
// (base/KvSimpleString.h) with ENOMEM: neither reaches the system.
#pragma once

#include <dirent.h>
#include <sys/stat.h>
#include <sys/types.h>

#include <cstddef>

#include "base/KvSimpleString.h"

// Borrows the text for the call.
class KvSysPath {
  public:
    // Not explicit: paths are texts and strings everywhere.
    KvSysPath(const char* path) : text_(path) {}
    KvSysPath(const KvSimpleString& path) : text_(path.c_str()) {}

    // Null, with `errno` set, when there is no whole text.
    [[nodiscard]] const char* get() const;

  private:
    const char* text_;
};

[[nodiscard]] int sysOpen(KvSysPath path, int flags, mode_t mode = 0);
[[nodiscard]] DIR* sysOpenDir(KvSysPath path);

[[nodiscard]] int sysStat(KvSysPath path, struct stat& status);
[[nodiscard]] int sysLstat(KvSysPath path, struct stat& status);
// The entry `name` of an open directory; a link is followed.
[[nodiscard]] int sysStatAt(int dir, KvSysPath name, struct stat& status);
[[nodiscard]] int sysAccess(KvSysPath path, int mode);
[[nodiscard]] bool sysRealPath(KvSysPath path, char* resolved);
[[nodiscard]] ssize_t sysReadLink(KvSysPath path, char* out, size_t size);

[[nodiscard]] int sysMkdir(KvSysPath path, mode_t mode);
[[nodiscard]] int sysRmdir(KvSysPath path);
[[nodiscard]] int sysUnlink(KvSysPath path);
[[nodiscard]] int sysRename(KvSysPath from, KvSysPath to);
