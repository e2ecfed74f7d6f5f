// What the tests of the clean-up's first step share: a cache, a configuration, and the messages.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "base/KvText.h"
#include "fileop/KvVcLock.h"
#include "ini/KvIniUtil.h"
#include "tests/support/ForkedProcess.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TempTree.h"
#include "tests/updater/RunGlobals.h"
#include "updater/KvCleanup.h"

inline const std::string kRemoves =
    "Inf 3 Flag \"keep_cache_file_on_success\" in configure file is off. Remove cached files.";
inline const std::string kKeeps =
    "Inf 3 Flag \"keep_cache_file_on_success\" in configure file is on. Don't remove cached files.";
inline const std::string kSucceeds = "Inf -1 VcPatch Action: remove cached files succeed.";

inline std::string removed(const std::string& file) {
    return "Inf -1 Remove cached file[" + file + "].";
}
inline std::string tagRemoved(const std::string& file) {
    return "Inf -1 Remove etag file[" + file + "].";
}
inline std::string notRemoved(const std::string& file) {
    return "Inf -1 Can not delete file [" + file + "].";
}
inline std::string dirRemoved(const std::string& dir) {
    return "Inf -1 Directory [" + dir + "] is empty, deleted.";
}

// Holds the lock of kind 3 on a path as another process does, until it goes.
class HeldElsewhere {
  public:
    explicit HeldElsewhere(const std::string& path)
        : holder_([path](const Talk& talk) {
              KvVcLock lock;
              if (!lock.create(kFileAndThreadLock, path.c_str(), true)) {
                  return 1;
              }
              talk.tell();
              return talk.hears() ? 0 : 2;
          }) {
        EXPECT_TRUE(holder_.talk().hears());
    }

  private:
    ForkedProcess holder_;
};

class CleanupTest : public testing::Test {
  protected:
    CleanupTest() {
        Strncpy(g_VelocorePath, tree.makeDir("vc").c_str(), sizeof g_VelocorePath);
        tree.makeDir("cache");
    }

    [[nodiscard]] std::string cache(const std::string& name) const {
        return tree.path("cache/" + name);
    }

    // With the section "cachedfiles" made of these lines, behind the cache's path.
    void removeCached(const std::string& lines) const {
        remove("cachepath=" + cachePath + "\n" + lines);
    }

    void remove(const std::string& section) const {
        const std::string text = "[cachedfiles]\n" + section;
        KvIniUtil description(text.c_str(), ';', false, true, '=');
        removeCachedFiles(&description);
    }

    TempTree tree;
    std::string cachePath = tree.path("cache");
    RunGlobals globals;
    LogCapture log;
};
