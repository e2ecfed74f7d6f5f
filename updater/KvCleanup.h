// The clean-up after a run whose result nobody waits for: the download cache and the staging files.
// Nothing here fails the run, and no result is returned; where the system keeps something from
// being deleted or moved, the log tells the cause. No deletion goes through a link but the one by
// which the staging directory itself may be named.
#pragma once

#include "fileop/KvFileOpUtil.h"

class KvIniUtil;

// Deletes the downloaded files that the patch was built from, as listed in the section
// "cachedfiles" of the patch description, then the directories of the cache that hold neither bytes
// nor links any more. Does nothing when the configuration in `g_VelocorePath` manages no cache,
// keeps it or cannot be read. A missing key, and an empty path of the cache, ends the work at that
// point; a file that cannot be deleted is reported and passed over. The description stays as it
// was.
void removeCachedFiles(KvIniUtil* patchDescription);

// Deletes the staging directory `tempDir` after a success. After a failure moves it below
// `baseDir`/VC_Log/TempSave, where it replaces what the last failed run left; it stays when that
// place lies within itself. Of a staging directory named through a link the contents go, and link
// and directory stay. The lock of this process on the patch description outlives the move.
void CleanupTempFiles(bool success, const char* tempDir, const char* baseDir);

// Callbacks of the first step; 0 goes on, 2 skips the entry. A null entry goes on.
//
// Lets a file be deleted unless another process holds its lock.
int CB_DeleteFile(KvFileOpUtil::CallbackEntry* entry);
// Deletes a visited directory that holds neither bytes nor links, unless another process holds its
// lock. Keeps the walk out of links.
int CB_CheckEmptyDir(KvFileOpUtil::CallbackEntry* entry);
