// KvUpdaterStru: what a run reads and remembers. The patch description and its agent, and the
// backup records with everything that reads, writes, names and merges them.
#pragma once

#include "updater/KvBackupEntry.h"
#include "updater/KvBackupMerge.h"
#include "updater/KvBackupName.h"
#include "updater/KvBackupRecord.h"
#include "updater/KvBackupSection.h"
#include "updater/KvBackupStru.h"
#include "updater/KvPatchAgent.h"
#include "updater/KvUpdateStru.h"
