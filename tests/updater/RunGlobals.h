// What a run publishes for the whole process, put back when the object goes; until then everything
// is as at the start of the program.
#pragma once

#include <cstring>

#include "log/KvVcEventManager.h"
#include "tests/support/CodePage.h"
#include "updater/KvRebootList.h"
#include "updater/KvRunPaths.h"

class RunGlobals {
  public:
    RunGlobals() : codePage_(0) { clear(); }
    ~RunGlobals() {
        clear();
        // A run points the log at its own directory.
        g_pEventManager->redirectToCallback(nullptr, nullptr);
    }
    RunGlobals(const RunGlobals&) = delete;
    RunGlobals& operator=(const RunGlobals&) = delete;

  private:
    static void clear() {
        memset(g_VCTempPath, 0, sizeof g_VCTempPath);
        memset(g_VelocorePath, 0, sizeof g_VelocorePath);
        memset(g_VelocoreDataPath, 0, sizeof g_VelocoreDataPath);
        memset(g_VelocoreLib, 0, sizeof g_VelocoreLib);
        memset(g_SavFileLib, 0, sizeof g_SavFileLib);
        memset(g_RstFileLib, 0, sizeof g_RstFileLib);
        g_RebootForNewFile = false;
        // Writing the list frees its entries but leaves their pointers.
        g_rebootCopyList.Clear();
    }

    CodePage codePage_;
};
